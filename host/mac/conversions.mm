#include "conversions.h"

#include "halyward/text/text.hpp"

namespace halyward::mac {

namespace {

// The height of the display whose AppKit origin is (0, 0), which the two coordinate
// systems are flipped about; 0 without a display.
double primaryDisplayHeight() {
    NSScreen* primary = NSScreen.screens.firstObject;
    return primary != nil ? primary.frame.size.height : 0;
}


}  // namespace

NSString* toNSString(std::string_view text) {
    NSString* string = [[NSString alloc] initWithBytes:text.data()
                                                length:text.size()
                                              encoding:NSUTF8StringEncoding];
    if (string != nil) return string;
    const std::string valid = text::repairedUTF8(text);
    return [[NSString alloc] initWithBytes:valid.data()
                                    length:valid.size()
                                  encoding:NSUTF8StringEncoding];
}

std::string toStdString(NSString* string) {
    if (string == nil) return {};
    // Unlike UTF8String, this keeps embedded NUL characters and survives lone surrogates.
    NSData* bytes = [string dataUsingEncoding:NSUTF8StringEncoding allowLossyConversion:YES];
    if (bytes == nil) return {};
    return std::string(static_cast<const char*>(bytes.bytes), bytes.length);
}

std::optional<std::string> toOptionalString(NSString* string) {
    if (string == nil) return std::nullopt;
    return toStdString(string);
}

NSRect toNSRect(const Frame& frame) {
    const Frame flipped = appKitFrame(frame, primaryDisplayHeight());
    return NSMakeRect(flipped.x, flipped.y, flipped.width, flipped.height);
}

Frame toFrame(NSRect rect) {
    return topLeftFrame(Frame{rect.origin.x, rect.origin.y, rect.size.width, rect.size.height},
                        primaryDisplayHeight());
}

NSURL* toNSURL(std::string_view address) { return [NSURL URLWithString:toNSString(address)]; }

std::string toURLText(NSURL* url) { return url != nil ? toStdString(url.absoluteString) : std::string(); }

std::optional<BundleInfo> toBundleInfo(NSDictionary* info) {
    if (info == nil) return std::nullopt;
    BundleInfo bundle;
    for (id key in info) {
        id value = info[key];
        if ([key isKindOfClass:[NSString class]] && [value isKindOfClass:[NSString class]]) {
            bundle.strings.emplace(toStdString(key), toStdString(value));
        }
    }
    return bundle;
}

std::uint32_t toKeyModifiers(NSEventModifierFlags flags) {
    std::uint32_t modifiers = 0;
    if ((flags & NSEventModifierFlagShift) != 0) modifiers |= keyShift;
    if ((flags & NSEventModifierFlagControl) != 0) modifiers |= keyControl;
    if ((flags & NSEventModifierFlagOption) != 0) modifiers |= keyOption;
    if ((flags & NSEventModifierFlagCommand) != 0) modifiers |= keyCommand;
    if ((flags & NSEventModifierFlagCapsLock) != 0) modifiers |= keyCapsLock;
    if ((flags & NSEventModifierFlagFunction) != 0) modifiers |= keyFunction;
    return modifiers;
}

NSEventModifierFlags toEventModifierFlags(std::uint32_t modifiers) {
    NSEventModifierFlags flags = 0;
    if ((modifiers & keyShift) != 0) flags |= NSEventModifierFlagShift;
    if ((modifiers & keyControl) != 0) flags |= NSEventModifierFlagControl;
    if ((modifiers & keyOption) != 0) flags |= NSEventModifierFlagOption;
    if ((modifiers & keyCommand) != 0) flags |= NSEventModifierFlagCommand;
    if ((modifiers & keyFunction) != 0) flags |= NSEventModifierFlagFunction;
    return flags;
}

}  // namespace halyward::mac
