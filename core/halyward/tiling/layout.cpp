#include "halyward/tiling/layout.hpp"

#include <cmath>

namespace halyward {

namespace {

struct Adjacency {
    TileSlot from;
    Direction direction;
    TileSlot to;
};

const std::array<Adjacency, 18>& adjacencies() {
    using enum TileSlot;
    static const std::array<Adjacency, 18> table{{
        {leftHalf, Direction::right, rightHalf},
        {rightHalf, Direction::left, leftHalf},
        {topHalf, Direction::down, bottomHalf},
        {bottomHalf, Direction::up, topHalf},
        {leftThird, Direction::right, centerThird},
        {centerThird, Direction::left, leftThird},
        {centerThird, Direction::right, rightThird},
        {rightThird, Direction::left, centerThird},
        // Deliberately not symmetric: stepping off a two-thirds tile lands on the third
        // that remains beside it.
        {leftTwoThirds, Direction::right, rightThird},
        {rightTwoThirds, Direction::left, leftThird},
        {topLeft, Direction::right, topRight},
        {topLeft, Direction::down, bottomLeft},
        {topRight, Direction::left, topLeft},
        {topRight, Direction::down, bottomRight},
        {bottomLeft, Direction::right, bottomRight},
        {bottomLeft, Direction::up, topLeft},
        {bottomRight, Direction::left, bottomLeft},
        {bottomRight, Direction::up, topRight},
    }};
    return table;
}

// A main tile for the first window and a stack tile shared by the others.
struct MainAndStack {
    TileSlot main;
    TileSlot stack;
};

// The layouts that fill fixed slots first (thirds, quarters) and stack the overflow in
// their last slot once there are more windows than slots.
void appendSlotsThenStack(std::vector<Frame>& frames, const std::vector<TileSlot>& slots,
                          std::int64_t count, const Frame& visible, double gap) {
    const auto slotCount = static_cast<std::int64_t>(slots.size());
    if (count <= slotCount) {
        for (std::int64_t i = 0; i < count; ++i) {
            frames.push_back(frameForTile(slots[static_cast<std::size_t>(i)], visible, gap));
        }
        return;
    }
    for (std::int64_t i = 0; i + 1 < slotCount; ++i) {
        frames.push_back(frameForTile(slots[static_cast<std::size_t>(i)], visible, gap));
    }
    const auto rows = stack(frameForTile(slots.back(), visible, gap), count - (slotCount - 1), gap);
    frames.insert(frames.end(), rows.begin(), rows.end());
}

}  // namespace

std::string_view rawValue(LayoutKind kind) {
    switch (kind) {
        case LayoutKind::halves: return "halves";
        case LayoutKind::thirds: return "thirds";
        case LayoutKind::quarters: return "quarters";
        case LayoutKind::mainStack: return "mainStack";
        case LayoutKind::stackMain: return "stackMain";
        case LayoutKind::horizontal: return "horizontal";
    }
    return "halves";
}

std::optional<LayoutKind> parseLayoutKind(std::string_view text) {
    for (LayoutKind kind : allLayoutKinds) {
        if (rawValue(kind) == text) return kind;
    }
    return std::nullopt;
}

std::optional<LayoutKind> layoutKindForNumber(std::int64_t number) {
    if (number < 1 || number > static_cast<std::int64_t>(allLayoutKinds.size())) {
        return std::nullopt;
    }
    return allLayoutKinds[static_cast<std::size_t>(number - 1)];
}

std::vector<Frame> stack(const Frame& region, std::int64_t count, double gap) {
    if (count <= 1) return {region};
    const double g = gap >= 0 ? gap : 0;
    const auto n = static_cast<double>(count);
    double height = (region.height - g * (n - 1)) / n;
    // Written so that NaN is raised too: a row is never less than a point high.
    if (!(height >= 1)) height = 1;
    std::vector<Frame> rows;
    rows.reserve(static_cast<std::size_t>(count));
    for (std::int64_t i = 0; i < count; ++i) {
        rows.push_back(
            {region.x, region.y + (g + height) * static_cast<double>(i), region.width, height});
    }
    return rows;
}

std::vector<Frame> framesForLayout(LayoutKind kind, std::int64_t windowCount, const Frame& visible,
                                   double gap) {
    const std::int64_t count = windowCount > 1 ? windowCount : 1;
    std::vector<Frame> frames;
    frames.reserve(static_cast<std::size_t>(count));

    MainAndStack areas{};
    switch (kind) {
        case LayoutKind::thirds:
            appendSlotsThenStack(frames,
                                 {TileSlot::leftThird, TileSlot::centerThird, TileSlot::rightThird},
                                 count, visible, gap);
            return frames;
        case LayoutKind::quarters:
            appendSlotsThenStack(frames,
                                 {TileSlot::topLeft, TileSlot::topRight, TileSlot::bottomLeft,
                                  TileSlot::bottomRight},
                                 count, visible, gap);
            return frames;
        case LayoutKind::halves: areas = {TileSlot::leftHalf, TileSlot::rightHalf}; break;
        case LayoutKind::mainStack: areas = {TileSlot::leftTwoThirds, TileSlot::rightThird}; break;
        case LayoutKind::stackMain: areas = {TileSlot::rightTwoThirds, TileSlot::leftThird}; break;
        case LayoutKind::horizontal: areas = {TileSlot::topHalf, TileSlot::bottomHalf}; break;
    }
    frames.push_back(frameForTile(areas.main, visible, gap));
    if (count >= 2) {
        const auto rows = stack(frameForTile(areas.stack, visible, gap), count - 1, gap);
        frames.insert(frames.end(), rows.begin(), rows.end());
    }
    return frames;
}

std::optional<TileSlot> inferSlot(const Frame& frame, const Frame& visible, double gap,
                                  double tolerance) {
    const double limit = 4 * tolerance;
    std::optional<TileSlot> best;
    double bestError = 0;
    for (TileSlot slot : allTileSlots) {
        const Frame tile = frameForTile(slot, visible, gap);
        const double error = std::abs(frame.x - tile.x) + std::abs(frame.y - tile.y) +
                             std::abs(frame.width - tile.width) +
                             std::abs(frame.height - tile.height);
        // A NaN error fails both comparisons, so a frame with NaN never matches.
        if (!(error <= limit)) continue;
        if (!best || error < bestError) {
            best = slot;
            bestError = error;
        }
    }
    return best;
}

std::optional<TileSlot> adjacentSlot(TileSlot slot, Direction direction) {
    for (const Adjacency& entry : adjacencies()) {
        if (entry.from == slot && entry.direction == direction) return entry.to;
    }
    return std::nullopt;
}

}  // namespace halyward
