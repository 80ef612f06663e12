#pragma once
// The one boundary between Cocoa's value types and the host's: rectangles, texts,
// addresses, the bundle's information dictionary and keyboard modifiers.

#import <AppKit/AppKit.h>

#include "halyward/host/platform.hpp"
#include "halyward/tiling/frame.hpp"
#include "halyward/webapps/bundle_info.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace halyward::mac {

/// `text` as an NSString. Bytes that are not UTF-8 become U+FFFD rather than losing the
/// whole text, which is what NSString's own UTF-8 decoding would do.
NSString* toNSString(std::string_view text);

/// `string` as UTF-8; nil reads as empty text. Unpaired surrogates, which page titles and
/// script messages may carry, become U+FFFD.
std::string toStdString(NSString* string);

/// `string` as UTF-8, none for nil.
std::optional<std::string> toOptionalString(NSString* string);

/// `frame` (top-left coordinates from the primary display's top-left) as an AppKit rectangle
/// (bottom-left coordinates), and back.
NSRect toNSRect(const Frame& frame);
Frame toFrame(NSRect rect);

/// The URL for an address, nil when Foundation cannot parse it.
NSURL* toNSURL(std::string_view address);

/// A URL's absolute text; empty text for nil.
std::string toURLText(NSURL* url);

/// The text entries of an information dictionary; entries of other types are left out, so a
/// key of the wrong type reads as missing. None for nil.
std::optional<BundleInfo> toBundleInfo(NSDictionary* info);

/// An event's modifier flags as `KeyModifier` bits.
std::uint32_t toKeyModifiers(NSEventModifierFlags flags);

/// `KeyModifier` bits as a menu item's key-equivalent modifier mask (Caps Lock left out).
NSEventModifierFlags toEventModifierFlags(std::uint32_t modifiers);

}  // namespace halyward::mac
