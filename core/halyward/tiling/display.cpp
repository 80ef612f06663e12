#include "halyward/tiling/display.hpp"

#include "halyward/tiling/layout.hpp"
#include "halyward/tiling/tile_slot.hpp"

namespace halyward {

namespace {

// How far (in points, per edge on average) a window may sit from a tile and still count
// as being in it when it changes display.
constexpr double tileTolerance = 8.0;
// The notice's distance from its anchor and from the screen's edges.
constexpr double noticeMargin = 8.0;
// Where the notice's anchor point sits below the top of a screen when there is no frame
// to place it next to.
constexpr double topAnchorDepth = 48.0;

// Raises `value` to `floor`; NaN becomes the floor too.
double atLeast(double value, double floor) { return value >= floor ? value : floor; }

bool holds(const Frame& screen, double x, double y) {
    return screen.x <= x && x < screen.x + screen.width && screen.y <= y &&
           y < screen.y + screen.height;
}

}  // namespace

std::optional<std::int64_t> displayDelta(const TileAction& action) {
    switch (action.kind()) {
        case TileAction::Kind::nextDisplay: return 1;
        case TileAction::Kind::previousDisplay: return -1;
        default: return std::nullopt;
    }
}

DisplayShift displayMove(const Frame& window, const std::vector<Frame>& screens, std::int64_t delta,
                         double gap) {
    if (screens.size() < 2) return DisplayShift::onlyOneDisplay();
    const double centreX = window.x + window.width * 0.5;
    const double centreY = window.y + window.height * 0.5;
    std::size_t current = 0;
    for (std::size_t i = 0; i < screens.size(); ++i) {
        if (holds(screens[i], centreX, centreY)) {
            current = i;
            break;
        }
    }
    // The remainder is taken first so that any delta, however large or negative, wraps
    // without overflowing.
    const auto count = static_cast<std::int64_t>(screens.size());
    const std::int64_t target =
        ((static_cast<std::int64_t>(current) + delta % count) + count) % count;
    return DisplayShift::moved(frameMovedToDisplay(window, screens[current],
                                                   screens[static_cast<std::size_t>(target)], gap));
}

Frame frameMovedToDisplay(const Frame& window, const Frame& from, const Frame& to, double gap) {
    if (auto slot = inferSlot(window, from, gap, tileTolerance)) {
        return frameForTile(*slot, to, gap);
    }
    double rx = 0;
    double rw = 1;
    if (from.width != 0) {
        rx = (window.x - from.x) / from.width;
        rw = window.width / from.width;
    }
    double ry = 0;
    double rh = 1;
    if (from.height != 0) {
        ry = (window.y - from.y) / from.height;
        rh = window.height / from.height;
    }
    return {to.x + to.width * rx, to.y + to.height * ry, atLeast(to.width * rw, 1),
            atLeast(to.height * rh, 1)};
}

Frame displayNoticeFrame(const std::optional<Frame>& anchor, const NoticeSize& size,
                         const Frame& screen) {
    double anchorX = screen.x + screen.width * 0.5;
    double anchorY = screen.y + topAnchorDepth;
    double offset = 0;
    double depth = 0;
    if (anchor) {
        anchorX = anchor->x;
        anchorY = anchor->y;
        offset = anchor->width * 0.5;
        depth = anchor->height;
    }
    // Never wider than the screen less its margins; like every computed size, at least a
    // point in each direction.
    const double widest = atLeast(screen.width - 2 * noticeMargin, 1);
    const double width = atLeast(size.width < widest ? size.width : widest, 1);
    const double height = atLeast(size.height, 1);

    double x = anchorX + offset - width / 2;
    double y = anchorY - height - noticeMargin;
    if (y < screen.y + noticeMargin) y = anchorY + depth + noticeMargin;

    if (x < screen.x + noticeMargin) x = screen.x + noticeMargin;
    if (y + height > screen.y + screen.height - noticeMargin) {
        y = screen.y + screen.height - noticeMargin - height;
        if (y < screen.y + noticeMargin) y = screen.y + noticeMargin;
    }
    // Applied last so that it wins over the left margin when the two disagree.
    if (x + width > screen.x + screen.width - noticeMargin) {
        x = screen.x + screen.width - noticeMargin - width;
    }
    return {x, y, width, height};
}

}  // namespace halyward
