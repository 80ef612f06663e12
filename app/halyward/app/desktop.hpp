#pragma once
// One look at the desktop: the displays, the windows front-most first and the focused
// window, read once per decision so that every step of it sees the same picture.

#include "halyward/app/window_system.hpp"

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace halyward::detail {

struct Desktop {
    std::vector<DisplayInfo> displays;
    std::vector<WindowInfo> windows;
    std::optional<WindowId> focused;

    static Desktop read(WindowSystem& system);

    const WindowInfo* window(WindowId id) const;
    // The focused window when it is one of `windows`.
    const WindowInfo* focusedWindow() const;
    // The display that holds the centre of `frame` (whole display first, then the nearest
    // by centre), 0 when there are no displays.
    std::size_t displayIndex(const Frame& frame) const;
    // The display of the focused window, else the first display.
    std::size_t focusedDisplay() const;
    // The shown windows whose centre lies on display `index`, front-most first.
    std::vector<const WindowInfo*> windowsOn(std::size_t index) const;
    // Every window of the application `identity`, front-most first, hidden ones included.
    std::vector<const WindowInfo*> windowsOf(std::string_view identity) const;
    // The visible frames of the displays, in display order.
    std::vector<Frame> visibleFrames() const;
};

// Whether `window` belongs to the application `identity`: its app identity equals it, or
// one of its other names does ignoring case.
bool belongsTo(const WindowInfo& window, std::string_view identity);

// The identifier `neighborWindow` uses for a window.
std::string boxId(WindowId id);

}  // namespace halyward::detail
