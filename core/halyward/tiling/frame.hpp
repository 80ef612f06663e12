#pragma once
/// The rectangle every tiling computation works on, and the conversion between the
/// top-left coordinates used here and the bottom-left coordinates of AppKit.

namespace halyward {

/// A rectangle in points. Unless a function says otherwise the origin is the top-left
/// corner of the primary display and y grows downwards, so "top" means smaller y.
struct Frame {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    double maxX() const { return x + width; }
    double maxY() const { return y + height; }
    double midX() const { return x + width / 2; }
    double midY() const { return y + height / 2; }

    bool operator==(const Frame&) const = default;
};

/// `frame` in AppKit's bottom-left coordinates: x, width and height are kept and
/// y becomes primaryHeight − y − height. `primaryHeight` is the height of the display
/// whose AppKit origin is (0, 0).
Frame appKitFrame(const Frame& fromTopLeft, double primaryHeight);

/// The inverse of `appKitFrame`; the formula is its own inverse.
Frame topLeftFrame(const Frame& fromAppKit, double primaryHeight);

}  // namespace halyward
