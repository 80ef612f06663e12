#pragma once
// The app's one main loop: poll(2) over the X connection, an eventfd that `post` wakes,
// inotify and a signal fd, with a heap of timers for `after`. Everything but `post` runs
// on the thread that calls `run`.

#include "halyward/app/window_system.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <queue>
#include <vector>

namespace halyward::x11 {

class EventLoop {
public:
    EventLoop();
    ~EventLoop();
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    /// Calls `ready` on the loop's thread whenever `fd` is readable (or hung up).
    void watch(int fd, std::function<void()> ready);
    void unwatch(int fd);

    /// Safe from any thread.
    void post(std::function<void()> work);
    std::unique_ptr<TimerHandle> after(double seconds, std::function<void()> work);
    /// Monotonic seconds.
    static double now();

    /// Called before each wait, for work that must not sit unseen while the loop sleeps
    /// (events a library has already read off its socket).
    void beforeWait(std::function<void()> work) { beforeWait_ = std::move(work); }

    /// Runs until `quit`.
    void run();
    void quit() { running_ = false; }

    /// Work queued by `post` before this call runs now; used where a caller needs the
    /// queue drained before it blocks.
    void runPosted();

private:
    struct Timer {
        double due;
        std::uint64_t serial;
        std::shared_ptr<std::function<void()>> work;
        bool operator>(const Timer& other) const {
            return due != other.due ? due > other.due : serial > other.serial;
        }
    };
    class Handle;

    void runDueTimers();
    int pollTimeoutMilliseconds() const;

    int wakeFd_ = -1;
    std::function<void()> beforeWait_;
    bool running_ = false;
    std::vector<std::pair<int, std::function<void()>>> watches_;
    std::mutex postedMutex_;
    std::vector<std::function<void()>> posted_;
    std::priority_queue<Timer, std::vector<Timer>, std::greater<>> timers_;
    std::uint64_t nextSerial_ = 0;
};

}  // namespace halyward::x11
