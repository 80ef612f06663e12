#pragma once
/// Layouts that arrange several windows of one display at once, and the recognition of
/// the slot a window already occupies.

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "halyward/tiling/direction.hpp"
#include "halyward/tiling/frame.hpp"
#include "halyward/tiling/tile_slot.hpp"

namespace halyward {

/// The six layouts, numbered 1 to 6 in this order. Raw values equal the case names.
enum class LayoutKind { halves, thirds, quarters, mainStack, stackMain, horizontal };

inline constexpr std::array<LayoutKind, 6> allLayoutKinds{
    LayoutKind::halves,    LayoutKind::thirds,    LayoutKind::quarters,
    LayoutKind::mainStack, LayoutKind::stackMain, LayoutKind::horizontal,
};

std::string_view rawValue(LayoutKind kind);
/// The kind whose raw value is exactly `text`, or none.
std::optional<LayoutKind> parseLayoutKind(std::string_view text);

/// The layout with number `number`: 1 halves, 2 thirds, 3 quarters, 4 mainStack,
/// 5 stackMain, 6 horizontal; none for any other number.
std::optional<LayoutKind> layoutKindForNumber(std::int64_t number);

/// The frames that `windowCount` windows receive under `kind` inside `visible`, in the
/// order the caller assigns its windows (front-most first, as the caller decides). The
/// first window gets the layout's main tile and the rest share the stack area in equal
/// rows. The result has max(windowCount, 1) frames, one per window, so a count of 0 or
/// less still gives the main frame.
std::vector<Frame> framesForLayout(LayoutKind kind, std::int64_t windowCount, const Frame& visible,
                                   double gap);

/// Divides `region` into `count` equal rows from top to bottom with `gap` (at least 0)
/// between rows but not at the outer edges; each row is at least one point high. A count
/// of 1 or less gives the region itself.
std::vector<Frame> stack(const Frame& region, std::int64_t count, double gap);

/// The slot whose frame in `visible` lies closest to `frame`, measured as the summed
/// absolute difference of x, y, width and height, among those within 4 × `tolerance`. On
/// equal distance the earlier slot in case order wins. None when no slot is close enough.
std::optional<TileSlot> inferSlot(const Frame& frame, const Frame& visible, double gap,
                                  double tolerance);

/// The slot next to `slot` in `direction`, following a fixed table of neighbours; none
/// when there is no such neighbour (`fill` has none). Moving right from left-two-thirds
/// leads to right-third, and left from right-two-thirds to left-third.
std::optional<TileSlot> adjacentSlot(TileSlot slot, Direction direction);

}  // namespace halyward
