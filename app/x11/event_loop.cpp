#include "event_loop.hpp"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <ctime>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace halyward::x11 {

// A cancelled timer keeps its heap slot until it is due, but its work is dropped at once,
// so nothing it captured outlives the owner that cancelled it.
class EventLoop::Handle : public TimerHandle {
public:
    explicit Handle(std::shared_ptr<std::function<void()>> work) : work_(std::move(work)) {}
    ~Handle() override { cancel(); }
    void cancel() override {
        if (auto work = work_.lock()) *work = nullptr;
    }

private:
    std::weak_ptr<std::function<void()>> work_;
};

EventLoop::EventLoop() : wakeFd_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    watch(wakeFd_, [this] {
        std::uint64_t count = 0;
        while (::read(wakeFd_, &count, sizeof count) > 0) {}
        runPosted();
    });
}

EventLoop::~EventLoop() {
    if (wakeFd_ >= 0) ::close(wakeFd_);
}

void EventLoop::watch(int fd, std::function<void()> ready) {
    unwatch(fd);
    watches_.emplace_back(fd, std::move(ready));
}

void EventLoop::unwatch(int fd) {
    std::erase_if(watches_, [fd](const auto& entry) { return entry.first == fd; });
}

void EventLoop::post(std::function<void()> work) {
    {
        const std::lock_guard lock(postedMutex_);
        posted_.push_back(std::move(work));
    }
    const std::uint64_t one = 1;
    // A full counter already means "wake up"; nothing is lost when the write fails.
    [[maybe_unused]] const ssize_t written = ::write(wakeFd_, &one, sizeof one);
}

void EventLoop::runPosted() {
    std::vector<std::function<void()>> batch;
    {
        const std::lock_guard lock(postedMutex_);
        batch.swap(posted_);
    }
    for (auto& work : batch) {
        if (work) work();
    }
}

std::unique_ptr<TimerHandle> EventLoop::after(double seconds, std::function<void()> work) {
    auto shared = std::make_shared<std::function<void()>>(std::move(work));
    timers_.push(Timer{now() + std::max(0.0, seconds), nextSerial_++, shared});
    return std::make_unique<Handle>(shared);
}

double EventLoop::now() {
    timespec time{};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

void EventLoop::runDueTimers() {
    const double current = now();
    while (!timers_.empty() && timers_.top().due <= current) {
        std::shared_ptr<std::function<void()>> work = timers_.top().work;
        timers_.pop();
        // Taken out first: the work may cancel its own handle or add timers.
        std::function<void()> once = std::move(*work);
        *work = nullptr;
        if (once) once();
        if (!running_) return;
    }
}

int EventLoop::pollTimeoutMilliseconds() const {
    if (timers_.empty()) return -1;
    const double wait = timers_.top().due - now();
    if (wait <= 0) return 0;
    return static_cast<int>(std::ceil(wait * 1000));
}

void EventLoop::run() {
    running_ = true;
    std::vector<pollfd> fds;
    while (running_) {
        if (beforeWait_) beforeWait_();
        if (!running_) break;
        fds.clear();
        for (const auto& [fd, ready] : watches_) fds.push_back(pollfd{fd, POLLIN, 0});
        const int count = ::poll(fds.data(), fds.size(), pollTimeoutMilliseconds());
        if (count < 0 && errno != EINTR) break;
        runDueTimers();
        for (const pollfd& entry : fds) {
            if (!running_) break;
            if ((entry.revents & (POLLIN | POLLHUP | POLLERR)) == 0) continue;
            // Looked up again: an earlier handler may have removed this watch.
            auto found = std::find_if(watches_.begin(), watches_.end(),
                                      [&](const auto& w) { return w.first == entry.fd; });
            if (found == watches_.end()) continue;
            std::function<void()> ready = found->second;
            ready();
        }
    }
    running_ = false;
}

}  // namespace halyward::x11
