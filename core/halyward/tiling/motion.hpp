#pragma once
/// Neighbour search over window rectangles, and the timing and interpolation of animated
/// tile moves.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "halyward/tiling/direction.hpp"
#include "halyward/tiling/frame.hpp"

namespace halyward {

/// A window as the neighbour search sees it: the caller's identifier and its frame.
struct WindowBox {
    std::string id;
    Frame frame;

    bool operator==(const WindowBox&) const = default;
};

/// The order in which the window mover writes a window's position and size.
enum class AxisWrite { positionThenSize, sizeThenPosition };

/// The id of the window that lies next to window `id` in `direction`, judged by the
/// centres of the frames. Windows whose centres are within one point of the source's along
/// the direction's axis never count. Among the others the nearest wins, except that
/// windows within 8 points of each other in distance are ranked by how well they line up
/// across the axis instead; ties keep the earlier window of the list. None when `id` is
/// not in the list or no window lies that way.
std::optional<std::string> neighborWindow(std::string_view id, Direction direction,
                                          const std::vector<WindowBox>& windows);

/// `steps` frames moving linearly from `from` to `to`, excluding `from` and ending exactly
/// at `to`; a step count of 1 or less gives just `to`.
std::vector<Frame> interpolatedFrames(const Frame& from, const Frame& to, std::int64_t steps);

namespace TileMotion {

/// The length of one tile animation, in seconds.
inline constexpr double duration = 0.2;
/// A single position or size write slower than this (seconds) counts as slow.
inline constexpr double slowWrite = 0.012;

/// Cubic ease-out of progress `p`: 0 for p < 0, rising to 1 at p = 1 and staying there.
/// NaN progress counts as finished (1), so a broken clock ends an animation on its target.
double easeOut(double p);

/// `sizeThenPosition` when the window shrinks by more than one square point, so that a
/// window never grows past its target screen area while it moves; `positionThenSize`
/// otherwise.
AxisWrite attributeOrder(const Frame& from, const Frame& to);

/// The eased frame between `from` and `to` at `progress` (0 to 1).
Frame frame(const Frame& from, const Frame& to, double progress);

}  // namespace TileMotion

/// The opacity (0 to 1) of the switch hint `t` seconds into its repeating 2.25-second
/// cycle: hidden, fading in over 0.4 s from 0.55 s, shown, fading out over the last 0.4 s.
/// Negative times continue the cycle backwards; a time that is not finite gives 0.
double switchHintProgress(double t);

}  // namespace halyward
