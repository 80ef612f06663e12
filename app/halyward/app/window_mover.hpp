#pragma once
// Gives windows their new frames, animated or at once. Every animation of the moment
// shares one ~60 Hz timer; frames follow the clock, so a move lasts `TileMotion::duration`
// however late the timer fires, and the last frame is exactly the tile.

#include "halyward/app/timer.hpp"
#include "halyward/app/window_system.hpp"

#include <functional>
#include <map>

namespace halyward::detail {

class WindowMover {
public:
    explicit WindowMover(WindowSystem& system);

    // Moves window `id` from `from` (where it is now) to `to`. A window already moving
    // starts again from where its animation has brought it.
    void move(WindowId id, const Frame& from, const Frame& to, bool animate);
    // The window is gone: its animation ends without another write.
    void forget(WindowId id);
    // Ends every animation where it is.
    void stop();
    bool animating(WindowId id) const { return motions_.count(id) != 0; }

    // Told of every frame written, so the focus outline can follow the window.
    std::function<void(WindowId, const Frame&)> onFrame;

    // The time between two animation frames, in seconds.
    static constexpr double frameInterval = 1.0 / 60.0;

private:
    struct Motion {
        Frame from;
        Frame to;
        double start = 0;
        AxisWrite order = AxisWrite::positionThenSize;
        Frame current;
    };

    bool write(WindowId id, const Frame& frame, AxisWrite order);
    void tick();

    WindowSystem& system_;
    std::map<WindowId, Motion> motions_;
    Timer timer_;
};

}  // namespace halyward::detail
