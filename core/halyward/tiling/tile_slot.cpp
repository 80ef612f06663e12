#include "halyward/tiling/tile_slot.hpp"

#include <cmath>
#include <string>

#include "halyward/text/text.hpp"

namespace halyward {

namespace {

// The weights that divide a slot's width (columns, left to right) and height (rows, top
// to bottom), and the band the slot occupies in each.
struct TileGrid {
    std::vector<double> columns;
    std::size_t column;
    std::vector<double> rows;
    std::size_t row;
};

const std::array<TileGrid, allTileSlots.size()>& tileGrids() {
    static const std::array<TileGrid, allTileSlots.size()> grids{{
        {{1, 1}, 0, {1}, 0},     // left-half
        {{1, 1}, 1, {1}, 0},     // right-half
        {{1}, 0, {1, 1}, 0},     // top-half
        {{1}, 0, {1, 1}, 1},     // bottom-half
        {{1, 1, 1}, 0, {1}, 0},  // left-third
        {{1, 1, 1}, 1, {1}, 0},  // center-third
        {{1, 1, 1}, 2, {1}, 0},  // right-third
        {{2, 1}, 0, {1}, 0},     // left-two-thirds
        {{1, 2}, 1, {1}, 0},     // right-two-thirds
        {{1, 1}, 0, {1, 1}, 0},  // top-left
        {{1, 1}, 1, {1, 1}, 0},  // top-right
        {{1, 1}, 0, {1, 1}, 1},  // bottom-left
        {{1, 1}, 1, {1, 1}, 1},  // bottom-right
        {{1}, 0, {1}, 0},        // fill: computed on its own, never from this row
    }};
    return grids;
}

// Clamps a gap to at least 0; NaN counts as no gap, like a negative one.
double clampedGap(double gap) { return gap >= 0 ? gap : 0; }

// Raises `value` to `floor`. Written so that NaN also becomes the floor: a computed size
// is then never below its floor, whatever the input.
double atLeast(double value, double floor) { return value >= floor ? value : floor; }

}  // namespace

std::string_view rawValue(TileSlot slot) {
    switch (slot) {
        case TileSlot::leftHalf: return "left-half";
        case TileSlot::rightHalf: return "right-half";
        case TileSlot::topHalf: return "top-half";
        case TileSlot::bottomHalf: return "bottom-half";
        case TileSlot::leftThird: return "left-third";
        case TileSlot::centerThird: return "center-third";
        case TileSlot::rightThird: return "right-third";
        case TileSlot::leftTwoThirds: return "left-two-thirds";
        case TileSlot::rightTwoThirds: return "right-two-thirds";
        case TileSlot::topLeft: return "top-left";
        case TileSlot::topRight: return "top-right";
        case TileSlot::bottomLeft: return "bottom-left";
        case TileSlot::bottomRight: return "bottom-right";
        case TileSlot::fill: return "fill";
    }
    return "fill";
}

std::optional<TileSlot> parseTileSlot(std::string_view text) {
    std::string_view trimmed = text::trim(text);
    // Every accepted name is ASCII of at most 16 bytes, and lower-casing shrinks a
    // character by at most two bytes (the Kelvin sign becomes "k"), so longer text can
    // never match; this keeps huge input from being case-mapped for nothing.
    if (trimmed.size() > 48) return std::nullopt;
    const std::string name = text::lowercased(trimmed);
    if (name == "maximize" || name == "max" || name == "full" || name == "fill") {
        return TileSlot::fill;
    }
    if (name == "left") return TileSlot::leftHalf;
    if (name == "right") return TileSlot::rightHalf;
    if (name == "top") return TileSlot::topHalf;
    if (name == "bottom") return TileSlot::bottomHalf;
    for (TileSlot slot : allTileSlots) {
        if (rawValue(slot) == name) return slot;
    }
    return std::nullopt;
}

std::vector<Band> bands(double origin, double length, const std::vector<double>& fractions,
                        double gap) {
    std::vector<Band> result;
    if (fractions.empty()) return result;
    const double count = static_cast<double>(fractions.size());
    const double g = clampedGap(gap);
    double total = 0;
    for (double weight : fractions) total += weight;
    // Weights that do not add up to a positive finite amount cannot share anything out;
    // dividing equally then keeps every band a real number.
    const bool equalShares = !(total > 0) || !std::isfinite(total);
    // The outer margins equal the gutters between bands. On a length too short for its
    // gaps every band still keeps a point on average, even if the bands then overrun.
    const double available = atLeast(length - g * (count + 1), count);
    result.reserve(fractions.size());
    double start = origin + g;
    for (double weight : fractions) {
        const double size = equalShares ? available / count : available * (weight / total);
        result.push_back({start, size});
        start = start + g + size;
    }
    return result;
}

Frame frameForTile(TileSlot slot, const Frame& visible, double gap) {
    if (slot == TileSlot::fill) {
        const double g = clampedGap(gap);
        return {visible.x + g, visible.y + g, atLeast(visible.width - 2 * g, 1),
                atLeast(visible.height - 2 * g, 1)};
    }
    const TileGrid& grid = tileGrids()[static_cast<std::size_t>(slot)];
    const Band column = bands(visible.x, visible.width, grid.columns, gap)[grid.column];
    const Band row = bands(visible.y, visible.height, grid.rows, gap)[grid.row];
    return {column.start, row.start, column.size, row.size};
}

}  // namespace halyward
