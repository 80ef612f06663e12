#include "halyward/app/desktop.hpp"

#include "halyward/text/text.hpp"

#include <cmath>
#include <limits>
#include <string>

namespace halyward::detail {

namespace {

bool holds(const Frame& area, double x, double y) {
    return area.x <= x && x < area.maxX() && area.y <= y && y < area.maxY();
}

}  // namespace

Desktop Desktop::read(WindowSystem& system) {
    return Desktop{system.displays(), system.windows(), system.focusedWindow()};
}

const WindowInfo* Desktop::window(WindowId id) const {
    for (const WindowInfo& window : windows) {
        if (window.id == id) return &window;
    }
    return nullptr;
}

const WindowInfo* Desktop::focusedWindow() const { return focused ? window(*focused) : nullptr; }

std::size_t Desktop::displayIndex(const Frame& frame) const {
    const double x = frame.midX(), y = frame.midY();
    for (std::size_t i = 0; i < displays.size(); ++i) {
        if (holds(displays[i].frame, x, y)) return i;
    }
    // A window dragged half off every screen still belongs somewhere: to the nearest.
    std::size_t best = 0;
    double bestDistance = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < displays.size(); ++i) {
        const double d = std::hypot(displays[i].frame.midX() - x, displays[i].frame.midY() - y);
        if (d < bestDistance) {
            best = i;
            bestDistance = d;
        }
    }
    return best;
}

std::size_t Desktop::focusedDisplay() const {
    const WindowInfo* focusedOne = focusedWindow();
    return focusedOne ? displayIndex(focusedOne->frame) : 0;
}

std::vector<const WindowInfo*> Desktop::windowsOn(std::size_t index) const {
    std::vector<const WindowInfo*> found;
    for (const WindowInfo& window : windows) {
        if (!window.hidden && displayIndex(window.frame) == index) found.push_back(&window);
    }
    return found;
}

std::vector<const WindowInfo*> Desktop::windowsOf(std::string_view identity) const {
    std::vector<const WindowInfo*> found;
    for (const WindowInfo& window : windows) {
        if (belongsTo(window, identity)) found.push_back(&window);
    }
    return found;
}

std::vector<Frame> Desktop::visibleFrames() const {
    std::vector<Frame> frames;
    frames.reserve(displays.size());
    for (const DisplayInfo& display : displays) frames.push_back(display.visibleFrame);
    return frames;
}

bool belongsTo(const WindowInfo& window, std::string_view identity) {
    if (identity.empty()) return false;
    if (window.appIdentity == identity) return true;
    if (window.appAliases.empty()) return false;
    const std::string folded = text::lowercased(identity);
    for (const std::string& alias : window.appAliases) {
        if (text::lowercased(alias) == folded) return true;
    }
    return false;
}

std::string boxId(WindowId id) { return std::to_string(id); }

}  // namespace halyward::detail
