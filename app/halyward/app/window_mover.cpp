#include "halyward/app/window_mover.hpp"

#include "halyward/tiling/motion.hpp"

#include <vector>

namespace halyward::detail {

WindowMover::WindowMover(WindowSystem& system) : system_(system), timer_(system) {}

void WindowMover::move(WindowId id, const Frame& from, const Frame& to, bool animate) {
    Frame start = from;
    if (const auto running = motions_.find(id); running != motions_.end()) {
        start = running->second.current;
        motions_.erase(running);
    }
    const AxisWrite order = TileMotion::attributeOrder(start, to);
    if (!animate || start == to) {
        write(id, to, order);
        return;
    }
    motions_[id] = Motion{start, to, system_.now(), order, start};
    if (!timer_.pending()) timer_.start(frameInterval, [this] { tick(); });
}

void WindowMover::forget(WindowId id) { motions_.erase(id); }

void WindowMover::stop() {
    motions_.clear();
    timer_.cancel();
}

bool WindowMover::write(WindowId id, const Frame& frame, AxisWrite order) {
    if (!system_.setFrame(id, frame, order)) return false;
    if (onFrame) onFrame(id, frame);
    return true;
}

void WindowMover::tick() {
    // Writing a frame may report events that end other animations; walk a copy of the ids.
    std::vector<WindowId> ids;
    ids.reserve(motions_.size());
    for (const auto& entry : motions_) ids.push_back(entry.first);
    for (const WindowId id : ids) {
        const auto found = motions_.find(id);
        if (found == motions_.end()) continue;
        const Motion motion = found->second;
        const double progress = (system_.now() - motion.start) / TileMotion::duration;
        if (!(progress < 1)) {
            motions_.erase(id);
            write(id, motion.to, motion.order);
            continue;
        }
        const Frame frame = TileMotion::frame(motion.from, motion.to, progress);
        const double before = system_.now();
        const bool written = write(id, frame, motion.order);
        const bool slow = system_.now() - before > TileMotion::slowWrite;
        if (!written) {
            // The window vanished, or will not be moved: nothing more to animate.
            motions_.erase(id);
        } else if (slow) {
            // A window this slow to move would stutter through the animation and make it
            // late; it goes straight to its tile instead.
            motions_.erase(id);
            write(id, motion.to, motion.order);
        } else if (const auto still = motions_.find(id); still != motions_.end()) {
            still->second.current = frame;
        }
    }
    if (!motions_.empty()) timer_.start(frameInterval, [this] { tick(); });
}

}  // namespace halyward::detail
