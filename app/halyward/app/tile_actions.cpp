#include "halyward/app/tile_actions.hpp"

#include "halyward/tiling/display.hpp"
#include "halyward/tiling/layout.hpp"
#include "halyward/tiling/motion.hpp"
#include "halyward/tiling/tile_slot.hpp"

#include <string>
#include <vector>

namespace halyward::detail {

namespace {

// The tile a window takes when it moves towards an edge from no tile at all.
TileSlot halfToward(Direction direction) {
    switch (direction) {
        case Direction::left: return TileSlot::leftHalf;
        case Direction::right: return TileSlot::rightHalf;
        case Direction::up: return TileSlot::topHalf;
        case Direction::down: return TileSlot::bottomHalf;
    }
    return TileSlot::fill;
}

// How close a window must be to a tile to count as in it: 8 points per edge, as moves
// between displays judge it.
constexpr double slotTolerance = 8.0;

std::vector<WindowBox> boxes(const std::vector<const WindowInfo*>& windows) {
    std::vector<WindowBox> list;
    list.reserve(windows.size());
    for (const WindowInfo* window : windows) list.push_back({boxId(window->id), window->frame});
    return list;
}

const WindowInfo* byBoxId(const std::vector<const WindowInfo*>& windows, const std::string& id) {
    for (const WindowInfo* window : windows) {
        if (boxId(window->id) == id) return window;
    }
    return nullptr;
}

}  // namespace

TileActions::TileActions(WindowSystem& system, WindowMover& mover)
    : system_(system), mover_(mover), noticeTimer_(system) {}

TileActions::DisplayKey TileActions::key(const DisplayInfo& display) {
    return {display.frame.x, display.frame.y, display.frame.width, display.frame.height};
}

void TileActions::perform(const TileAction& action, const TileSettings& settings) {
    const Desktop desktop = Desktop::read(system_);
    if (desktop.displays.empty()) return;
    switch (action.kind()) {
        case TileAction::Kind::focus: focusToward(desktop, *action.direction()); break;
        case TileAction::Kind::move: moveToward(desktop, *action.direction(), settings); break;
        case TileAction::Kind::layout:
            applyLayout(desktop, desktop.focusedDisplay(), *action.layoutNumber(), settings);
            break;
        case TileAction::Kind::fill:
            if (const WindowInfo* window = desktop.focusedWindow()) {
                const Frame& visible =
                    desktop.displays[desktop.displayIndex(window->frame)].visibleFrame;
                place(*window, frameForTile(TileSlot::fill, visible, settings.gap), settings);
            }
            break;
        case TileAction::Kind::nextDisplay:
        case TileAction::Kind::previousDisplay:
            moveToDisplay(desktop, *displayDelta(action), settings);
            break;
        case TileAction::Kind::exit: break;
    }
}

void TileActions::focusToward(const Desktop& desktop, Direction direction) {
    const WindowInfo* focused = desktop.focusedWindow();
    if (!focused) {
        // With nothing focused (the last window just closed), a focus key still reaches a
        // window, so the keyboard is never stuck: the front-most one.
        for (const WindowInfo& window : desktop.windows) {
            if (!window.hidden) {
                system_.focus(window.id);
                break;
            }
        }
        return;
    }
    // Focus crosses displays: the neighbour search works on the whole desktop.
    std::vector<const WindowInfo*> shown;
    for (const WindowInfo& window : desktop.windows) {
        if (!window.hidden || window.id == focused->id) shown.push_back(&window);
    }
    if (auto next = neighborWindow(boxId(focused->id), direction, boxes(shown))) {
        if (const WindowInfo* target = byBoxId(shown, *next)) system_.focus(target->id);
    }
}

// Moving swaps the window with its neighbour on that side of its display, so windows
// arranged by a layout trade places and the arrangement stays whole. With no neighbour
// there, a tiled window steps to the adjacent tile, and a window in no tile takes the half
// of the display on that side.
void TileActions::moveToward(const Desktop& desktop, Direction direction,
                             const TileSettings& settings) {
    const WindowInfo* focused = desktop.focusedWindow();
    if (!focused) return;
    const std::size_t display = desktop.displayIndex(focused->frame);
    const Frame& visible = desktop.displays[display].visibleFrame;
    std::vector<const WindowInfo*> onDisplay = desktop.windowsOn(display);
    if (focused->hidden) onDisplay.push_back(focused);
    if (auto next = neighborWindow(boxId(focused->id), direction, boxes(onDisplay))) {
        if (const WindowInfo* other = byBoxId(onDisplay, *next)) {
            const Frame mine = focused->frame;
            place(*focused, other->frame, settings);
            place(*other, mine, settings);
            return;
        }
    }
    const std::optional<TileSlot> slot =
        inferSlot(focused->frame, visible, settings.gap, slotTolerance);
    std::optional<TileSlot> target = slot ? adjacentSlot(*slot, direction) : halfToward(direction);
    if (target) place(*focused, frameForTile(*target, visible, settings.gap), settings);
}

void TileActions::applyLayout(const Desktop& desktop, std::size_t display, std::int64_t number,
                              const TileSettings& settings) {
    const std::optional<LayoutKind> kind = layoutKindForNumber(number);
    if (!kind || display >= desktop.displays.size()) return;
    lastLayouts_[key(desktop.displays[display])] = number;
    const std::vector<const WindowInfo*> windows = desktop.windowsOn(display);
    if (windows.empty()) return;
    const std::vector<Frame> frames =
        framesForLayout(*kind, static_cast<std::int64_t>(windows.size()),
                        desktop.displays[display].visibleFrame, settings.gap);
    for (std::size_t i = 0; i < windows.size() && i < frames.size(); ++i) {
        place(*windows[i], frames[i], settings);
    }
}

std::optional<std::int64_t> TileActions::lastLayout(const DisplayInfo& display) const {
    const auto found = lastLayouts_.find(key(display));
    if (found == lastLayouts_.end()) return std::nullopt;
    return found->second;
}

void TileActions::cycleLayout(const TileSettings& settings) {
    const Desktop desktop = Desktop::read(system_);
    if (desktop.displays.empty()) return;
    const std::size_t display = desktop.focusedDisplay();
    const std::optional<std::int64_t> last = lastLayout(desktop.displays[display]);
    applyLayout(desktop, display, last ? *last % 6 + 1 : 1, settings);
}

void TileActions::moveToDisplay(const Desktop& desktop, std::int64_t delta,
                                const TileSettings& settings) {
    const WindowInfo* focused = desktop.focusedWindow();
    const std::vector<Frame> screens = desktop.visibleFrames();
    if (!focused) {
        // Nothing to move, but with one display the user still learns why [ and ] do
        // nothing here.
        if (screens.size() < 2)
            showNotice(std::string(DisplayNotice::onlyOne), std::nullopt, screens[0]);
        return;
    }
    const DisplayShift shift = displayMove(focused->frame, screens, delta, settings.gap);
    if (const std::optional<Frame> frame = shift.frame()) {
        place(*focused, *frame, settings);
    } else {
        showNotice(std::string(DisplayNotice::onlyOne), focused->frame,
                   screens[desktop.displayIndex(focused->frame)]);
    }
}

void TileActions::showNotice(const std::string& text, const std::optional<Frame>& anchor,
                             const Frame& screen) {
    system_.showNotice(text, displayNoticeFrame(anchor, system_.noticeSize(text), screen));
    noticeTimer_.start(DisplayNotice::seconds, [this] { system_.hideNotice(); });
}

void TileActions::place(const WindowInfo& window, const Frame& frame,
                        const TileSettings& settings) {
    mover_.move(window.id, window.frame, frame, settings.animate);
}

void TileActions::stop() {
    if (noticeTimer_.pending()) system_.hideNotice();
    noticeTimer_.cancel();
}

}  // namespace halyward::detail
