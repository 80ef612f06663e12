#pragma once
// The tile actions on the desktop: focus and move towards a neighbour, layouts 1 to 6 and
// their cycle, fill, and moves between displays with the notice when there is only one.

#include "halyward/app/desktop.hpp"
#include "halyward/app/timer.hpp"
#include "halyward/app/window_mover.hpp"
#include "halyward/tiling/tile_action.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>

namespace halyward::detail {

// The settings every tile action reads.
struct TileSettings {
    double gap = 0;
    bool animate = true;
};

class TileActions {
public:
    TileActions(WindowSystem& system, WindowMover& mover);

    // Carries out `action` on the focused window (the layouts: on its display). `exit`
    // belongs to tile mode and does nothing here.
    void perform(const TileAction& action, const TileSettings& settings);
    // Layout `number` (1 to 6) over the shown windows of display `display`, front-most
    // first, remembered as that display's layout.
    void applyLayout(const Desktop& desktop, std::size_t display, std::int64_t number,
                     const TileSettings& settings);
    // The layout after the one last applied on the focused window's display (1 after 6,
    // and 1 when none was).
    void cycleLayout(const TileSettings& settings);
    // The layout last applied on `display`; none before the first.
    std::optional<std::int64_t> lastLayout(const DisplayInfo& display) const;
    // Moves `window` to `frame`.
    void place(const WindowInfo& window, const Frame& frame, const TileSettings& settings);
    // Shows `text` in the notice for a short while, near `anchor` or centred on `screen`.
    void showNotice(const std::string& text, const std::optional<Frame>& anchor,
                    const Frame& screen);
    // Hides the notice and forgets its timer.
    void stop();

private:
    void focusToward(const Desktop& desktop, Direction direction);
    void moveToward(const Desktop& desktop, Direction direction, const TileSettings& settings);
    void moveToDisplay(const Desktop& desktop, std::int64_t delta, const TileSettings& settings);

    using DisplayKey = std::array<double, 4>;
    static DisplayKey key(const DisplayInfo& display);

    WindowSystem& system_;
    WindowMover& mover_;
    Timer noticeTimer_;
    std::map<DisplayKey, std::int64_t> lastLayouts_;
};

}  // namespace halyward::detail
