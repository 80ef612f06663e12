#pragma once
// A one-shot timer slot of the app core on top of `WindowSystem::after`.

#include "halyward/app/window_system.hpp"

#include <functional>
#include <memory>

namespace halyward::detail {

// Holds at most one pending timer. Starting it again replaces the pending one. A timer's
// handle is never destroyed from inside its own callback (a callback usually starts the
// next timer, which replaces the handle of the one that is running): the replaced handle
// waits in `spent_` until the next start, when its callback has long returned.
class Timer {
public:
    explicit Timer(WindowSystem& system) : system_(system) {}
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    void start(double seconds, std::function<void()> work) {
        retire();
        armed_ = true;
        current_ = system_.after(seconds, [this, work = std::move(work)] {
            armed_ = false;
            work();
        });
    }
    void cancel() {
        armed_ = false;
        retire();
    }
    // Started and neither fired nor cancelled yet.
    bool pending() const { return armed_; }

private:
    void retire() {
        if (current_) current_->cancel();
        spent_ = std::move(current_);
    }

    WindowSystem& system_;
    std::unique_ptr<TimerHandle> current_;
    std::unique_ptr<TimerHandle> spent_;
    bool armed_ = false;
};

}  // namespace halyward::detail
