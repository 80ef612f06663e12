// Random frames, gaps and counts through every tiling function. The first byte picks how
// the numbers are read: as raw doubles (any bit pattern: NaN, infinities, subnormals,
// huge values) or as whole sixteenths of a point within ±134 million points, which is
// finite input far beyond any display. Any input must not crash; every floored size must
// meet its floor; and finite input must give finite output.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "halyward/tiling/display.hpp"
#include "halyward/tiling/layout.hpp"
#include "halyward/tiling/motion.hpp"
#include "halyward/tiling/tile_action.hpp"
#include "halyward/tiling/tile_slot.hpp"

using namespace halyward;

namespace {

class Reader {
public:
    Reader(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

    bool quantised = false;

    std::uint8_t byte() {
        if (position_ >= size_) return 0;
        return data_[position_++];
    }

    std::uint64_t bits(std::size_t count) {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < count; ++i) value = value << 8 | byte();
        return value;
    }

    double number() {
        if (quantised) {
            return static_cast<double>(static_cast<std::int32_t>(bits(4))) / 16.0;
        }
        const std::uint64_t raw = bits(8);
        double value;
        std::memcpy(&value, &raw, sizeof value);
        return value;
    }

    Frame frame() { return {number(), number(), number(), number()}; }

private:
    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t position_ = 0;
};

void require(bool condition) {
    if (!condition) __builtin_trap();
}

bool finite(const Frame& f) {
    return std::isfinite(f.x) && std::isfinite(f.y) && std::isfinite(f.width) &&
           std::isfinite(f.height);
}

bool finiteInput = false;

// Every frame a layout or tile gives is at least a point in each direction, and finite
// when its inputs were.
void checkSized(const Frame& f) {
    require(f.width >= 1 && f.height >= 1);
    if (finiteInput) require(finite(f));
}

bool overlaps(const Frame& a, const Frame& b, double slack) {
    return a.x + slack < b.maxX() && b.x + slack < a.maxX() && a.y + slack < b.maxY() &&
           b.y + slack < a.maxY();
}

bool inside(const Frame& in, const Frame& out, double slack) {
    return in.x >= out.x - slack && in.y >= out.y - slack && in.maxX() <= out.maxX() + slack &&
           in.maxY() <= out.maxY() + slack;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Reader in(data, size);
    in.quantised = (in.byte() & 1) != 0;
    finiteInput = in.quantised;

    const Frame screen = in.frame();
    const double gap = in.number();
    const auto count = static_cast<std::int64_t>(static_cast<std::int8_t>(in.byte()));

    for (TileSlot slot : allTileSlots) checkSized(frameForTile(slot, screen, gap));

    // Roomy enough that no one-point floor is reached: every frame must then fit the
    // screen and no two frames of a layout may overlap.
    const double g = gap > 0 ? gap : 0;
    const double windows = count > 1 ? static_cast<double>(count) : 1;
    const bool roomy = screen.width > 4 * g + 3 && screen.height > 2 * (windows + 3) * (g + 1);
    const double scale = std::fabs(screen.x) + std::fabs(screen.y) + std::fabs(screen.width) +
                         std::fabs(screen.height) + g + 1;
    for (LayoutKind kind : allLayoutKinds) {
        const auto frames = framesForLayout(kind, count, screen, gap);
        require(frames.size() == static_cast<std::size_t>(count > 1 ? count : 1));
        for (std::size_t i = 0; i < frames.size(); ++i) {
            checkSized(frames[i]);
            if (!finiteInput || !roomy) continue;
            require(inside(frames[i], screen, scale * 1e-12));
            for (std::size_t j = i + 1; j < frames.size(); ++j) {
                require(!overlaps(frames[i], frames[j], scale * 1e-12));
            }
        }
    }

    // A recognised slot is one whose frame is within the asked distance.
    const Frame window = in.frame();
    const double tolerance = in.number();
    if (auto slot = inferSlot(window, screen, gap, tolerance)) {
        const Frame tile = frameForTile(*slot, screen, gap);
        require(std::fabs(window.x - tile.x) + std::fabs(window.y - tile.y) +
                    std::fabs(window.width - tile.width) + std::fabs(window.height - tile.height) <=
                4 * tolerance);
    }

    // Moving between displays: any delta lands on a listed screen, sizes keep their floor.
    std::vector<Frame> screens{screen};
    const std::size_t extra = in.byte() % 4;
    for (std::size_t i = 0; i < extra; ++i) screens.push_back(in.frame());
    const auto delta = static_cast<std::int64_t>(in.bits(8));
    const DisplayShift shift = displayMove(window, screens, delta, gap);
    require((shift.kind() == DisplayShift::Kind::moved) == (screens.size() >= 2));
    if (auto moved = shift.frame()) checkSized(*moved);

    // The notice is never wider than the screen less its margins, nor smaller than a point.
    const NoticeSize noticeSize{in.number(), in.number()};
    const std::optional<Frame> anchor =
        in.byte() & 1 ? std::optional<Frame>(in.frame()) : std::nullopt;
    const Frame notice = displayNoticeFrame(anchor, noticeSize, screen);
    require(notice.width >= 1 && notice.height >= 1);
    require(notice.width <= (screen.width - 16 >= 1 ? screen.width - 16 : 1));
    if (finiteInput) require(finite(notice));

    // Neighbours: never the source, always one of the listed windows.
    std::vector<WindowBox> boxes;
    const std::size_t boxCount = in.byte() % 8;
    for (std::size_t i = 0; i < boxCount; ++i) {
        boxes.push_back({std::string(1, static_cast<char>('a' + in.byte() % 4)), in.frame()});
    }
    const auto direction = allDirections[in.byte() % 4];
    if (auto found = neighborWindow("a", direction, boxes)) {
        require(*found != "a");
        bool listed = false;
        for (const auto& box : boxes) listed = listed || box.id == *found;
        require(listed);
    }

    // Motion: easing and the hint stay within 0 to 1 whatever the clock says.
    const double progress = in.number();
    const double eased = TileMotion::easeOut(progress);
    require(eased >= 0 && eased <= 1);
    const double hint = switchHintProgress(progress);
    require(hint >= 0 && hint <= 1 + 1e-12);
    const Frame mid = TileMotion::frame(screen, window, progress);
    if (finiteInput) require(finite(mid));
    const auto steps = static_cast<std::int64_t>(static_cast<std::int8_t>(in.byte()));
    const auto path = interpolatedFrames(screen, window, steps);
    require(path.size() == static_cast<std::size_t>(steps > 1 ? steps : 1));
    require(std::memcmp(&path.back(), &window, sizeof window) == 0);

    // Tokens read back as the action that wrote them.
    const auto layout = TileAction::layout(static_cast<std::int64_t>(in.bits(8)));
    require(parseTileAction(layout.token()) == layout);
    const auto focus = TileAction::focus(direction);
    require(parseTileAction(focus.token()) == focus);
    return 0;
}
