#include "conversions.h"

#include "halyward/text/text.hpp"

namespace halyward::mac {

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
    // Unlike UTF8String, this keeps embedded NUL characters and survives lone surrogates,
    // which window titles may carry.
    NSData* bytes = [string dataUsingEncoding:NSUTF8StringEncoding allowLossyConversion:YES];
    if (bytes == nil) return {};
    return std::string(static_cast<const char*>(bytes.bytes), bytes.length);
}

std::string toStdString(CFStringRef string) {
    return string != nullptr ? toStdString((__bridge NSString*)string) : std::string();
}

double primaryDisplayHeight() {
    NSScreen* primary = NSScreen.screens.firstObject;
    return primary != nil ? primary.frame.size.height : 0;
}

NSRect toNSRect(const Frame& frame) {
    const Frame flipped = appKitFrame(frame, primaryDisplayHeight());
    return NSMakeRect(flipped.x, flipped.y, flipped.width, flipped.height);
}

Frame toFrame(NSRect rect) {
    return topLeftFrame(Frame{rect.origin.x, rect.origin.y, rect.size.width, rect.size.height},
                        primaryDisplayHeight());
}

Frame toFrame(CGPoint position, CGSize size) {
    return Frame{position.x, position.y, size.width, size.height};
}

CGPoint toCGPoint(const Frame& frame) { return CGPointMake(frame.x, frame.y); }

CGSize toCGSize(const Frame& frame) { return CGSizeMake(frame.width, frame.height); }

}  // namespace halyward::mac
