#pragma once
/// Moving a window to another display, and placing the notice shown when there is no
/// other display to move to.

#include <cstdint>
#include <optional>
#include <string_view>
#include <variant>
#include <vector>

#include "halyward/tiling/frame.hpp"
#include "halyward/tiling/tile_action.hpp"

namespace halyward {

/// The outcome of a move between displays: the window's new frame, or the finding that
/// there is only one display. Equality is by case and frame.
class DisplayShift {
public:
    enum class Kind { moved, onlyOneDisplay };

    static DisplayShift moved(const Frame& frame) { return DisplayShift(frame); }
    static DisplayShift onlyOneDisplay() { return DisplayShift(std::monostate{}); }

    Kind kind() const { return static_cast<Kind>(storage_.index()); }
    /// The new frame of `moved`; none for `onlyOneDisplay`.
    std::optional<Frame> frame() const {
        if (const auto* moved = std::get_if<Frame>(&storage_)) return *moved;
        return std::nullopt;
    }

    bool operator==(const DisplayShift& other) const = default;

private:
    explicit DisplayShift(std::variant<Frame, std::monostate> storage) : storage_(storage) {}

    std::variant<Frame, std::monostate> storage_;
};

/// The notice shown instead of a move when only one display is connected.
namespace DisplayNotice {
inline constexpr std::string_view onlyOne = "Only one display connected";
/// How long the notice stays, in seconds.
inline constexpr double seconds = 1.0;
}  // namespace DisplayNotice

/// The requested size of the notice panel, in points.
struct NoticeSize {
    double width = 0;
    double height = 0;

    bool operator==(const NoticeSize&) const = default;
};

/// +1 for `nextDisplay`, −1 for `previousDisplay`, none for every other action.
std::optional<std::int64_t> displayDelta(const TileAction& action);

/// Moves `window` `delta` displays along `screens` (the displays' visible frames in the
/// caller's order), wrapping around in both directions. The window's current display is
/// the first whose area holds its centre (left and top edges inclusive, right and bottom
/// exclusive), or the first display when none does. A delta of 0 re-fits the window on
/// its own display. Fewer than two screens give `onlyOneDisplay`.
DisplayShift displayMove(const Frame& window, const std::vector<Frame>& screens, std::int64_t delta,
                         double gap);

/// `window`'s frame on screen `to` when it leaves screen `from`: a window that sits in a
/// tile of `from` (within 32 points summed over x, y, width and height) gets the same tile
/// on `to`; any other window keeps its position and size relative to the screen, at least
/// 1 × 1 point.
Frame frameMovedToDisplay(const Frame& window, const Frame& from, const Frame& to, double gap);

/// Where a notice panel of `size` goes on `screen`: centred above `anchor` (the frame it
/// belongs to), or below it when there is no room above, or near the top centre of the
/// screen without an anchor; always kept 8 points inside the screen where it fits, and
/// never wider than the screen less its margins.
Frame displayNoticeFrame(const std::optional<Frame>& anchor, const NoticeSize& size,
                         const Frame& screen);

}  // namespace halyward
