#pragma once
// Named pipes planted where a file is expected, and a way to tell whether a reader waited
// on one, without the suite hanging when it does.

#include <chrono>
#include <filesystem>
#include <functional>
#include <future>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

inline void makeFifo(const std::filesystem::path& path) {
    std::filesystem::create_directories(path.parent_path());
    if (::mkfifo(path.c_str(), 0644) != 0) std::abort();
}

// Runs `work` and tells whether it finished on its own. A reader stuck opening or reading
// the pipe is let go by opening and closing the pipe's writing end, so the test goes on
// and reports the hang instead of hanging itself. The wait is generous: it only has to
// tell "returns" from "waits for a writer forever".
inline bool finishesWithoutAWriter(const std::filesystem::path& fifo,
                                   const std::function<void()>& work) {
    std::future<void> done = std::async(std::launch::async, work);
    if (done.wait_for(std::chrono::seconds(20)) == std::future_status::ready) {
        done.get();
        return true;
    }
    while (done.wait_for(std::chrono::milliseconds(50)) != std::future_status::ready) {
        const int writer = ::open(fifo.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        if (writer >= 0) ::close(writer);
    }
    return false;
}
