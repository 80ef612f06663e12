#pragma once
// The one boundary between Cocoa's and the Accessibility API's value types and the app
// core's: rectangles, points and sizes, texts, and an owner for Core Foundation objects.

#import <AppKit/AppKit.h>
#import <ApplicationServices/ApplicationServices.h>

#include "halyward/tiling/frame.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace halyward::mac {

/// Owns one reference to a Core Foundation object (ARC does not manage them). Moving hands
/// the reference on; copying takes another.
template <class T>
class CFRef {
public:
    CFRef() = default;
    /// Takes over a reference the caller owns (from a Create or Copy function).
    static CFRef adopt(T object) { return CFRef(object); }
    /// Takes a reference of its own to an object the caller does not own.
    static CFRef retain(T object) {
        if (object != nullptr) CFRetain(object);
        return CFRef(object);
    }
    ~CFRef() { reset(); }
    CFRef(const CFRef& other) : object_(other.object_) {
        if (object_ != nullptr) CFRetain(object_);
    }
    CFRef& operator=(const CFRef& other) {
        CFRef copy(other);
        std::swap(object_, copy.object_);
        return *this;
    }
    CFRef(CFRef&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    CFRef& operator=(CFRef&& other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    void reset() {
        if (object_ != nullptr) CFRelease(object_);
        object_ = nullptr;
    }
    T get() const { return object_; }
    explicit operator bool() const { return object_ != nullptr; }

private:
    explicit CFRef(T object) : object_(object) {}
    T object_ = nullptr;
};

/// `text` as an NSString; bytes that are not UTF-8 become U+FFFD.
NSString* toNSString(std::string_view text);

/// `string` as UTF-8; nil reads as empty text.
std::string toStdString(NSString* string);

/// A Core Foundation string as UTF-8; null reads as empty text.
std::string toStdString(CFStringRef string);

/// The height of the primary display (the one whose AppKit origin is (0, 0)), which
/// AppKit's bottom-left and the core's top-left coordinates are flipped about; 0 without
/// a display.
double primaryDisplayHeight();

/// A top-left frame as an AppKit rectangle (bottom-left coordinates), and back.
NSRect toNSRect(const Frame& frame);
Frame toFrame(NSRect rect);

/// A window's frame from its Accessibility position and size. The Accessibility API
/// already counts from the primary display's top-left corner with y downwards, as the core
/// does, so nothing is flipped.
Frame toFrame(CGPoint position, CGSize size);
CGPoint toCGPoint(const Frame& frame);
CGSize toCGSize(const Frame& frame);

}  // namespace halyward::mac
