#pragma once
/// The named tiles of a display and the rectangle each one covers.

#include <array>
#include <optional>
#include <string_view>
#include <vector>

#include "halyward/tiling/frame.hpp"

namespace halyward {

/// A named region of a display's visible frame. Raw values are "left-half",
/// "right-half", "top-half", "bottom-half", "left-third", "center-third", "right-third",
/// "left-two-thirds", "right-two-thirds", "top-left", "top-right", "bottom-left",
/// "bottom-right" and "fill".
enum class TileSlot {
    leftHalf,
    rightHalf,
    topHalf,
    bottomHalf,
    leftThird,
    centerThird,
    rightThird,
    leftTwoThirds,
    rightTwoThirds,
    topLeft,
    topRight,
    bottomLeft,
    bottomRight,
    fill,
};

/// Every slot in case order, which is also the order of the help text.
inline constexpr std::array<TileSlot, 14> allTileSlots{
    TileSlot::leftHalf,       TileSlot::rightHalf,   TileSlot::topHalf,    TileSlot::bottomHalf,
    TileSlot::leftThird,      TileSlot::centerThird, TileSlot::rightThird, TileSlot::leftTwoThirds,
    TileSlot::rightTwoThirds, TileSlot::topLeft,     TileSlot::topRight,   TileSlot::bottomLeft,
    TileSlot::bottomRight,    TileSlot::fill,
};

std::string_view rawValue(TileSlot slot);

/// Reads a tile name as a user types it: surrounding white space is ignored and case
/// does not matter. Besides the raw values, "maximize", "max" and "full" mean `fill` and
/// "left", "right", "top", "bottom" mean the halves. Anything else gives none.
std::optional<TileSlot> parseTileSlot(std::string_view text);

/// One band of a divided length: where it starts and how long it is.
struct Band {
    double start = 0;
    double size = 0;

    bool operator==(const Band&) const = default;
};

/// Divides `length` starting at `origin` into one band per weight of `fractions`, with
/// `gap` (clamped to at least 0) at both outer edges and between neighbours. The space
/// left for the bands never drops below one point per band, so on a length too short for
/// its gaps the bands overrun it rather than vanish. No weights give no bands. Weights
/// are meant to be positive; when they do not add up to a positive finite amount the
/// length is shared equally.
std::vector<Band> bands(double origin, double length, const std::vector<double>& fractions,
                        double gap);

/// The rectangle of `slot` inside `visible` with `gap` points around and between tiles
/// (a negative gap counts as none). `fill` is the visible frame inset by the gap, at
/// least 1 × 1 point.
Frame frameForTile(TileSlot slot, const Frame& visible, double gap);

}  // namespace halyward
