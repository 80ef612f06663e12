#pragma once
// The state of a running ControlServer, shared by its two halves: control_server.cpp
// (starting, stopping, and running requests through the handler or the executor) and
// server_connections.cpp (the I/O thread that reads requests and writes answers).
// Internal to the control module.

#include "halyward/base/command_output.hpp"
#include "halyward/control/control_server.hpp"
#include "halyward/control/rpc_codec.hpp"
#include "halyward/system/unique_fd.hpp"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <poll.h>
#include <sys/types.h>

namespace halyward {

namespace detail {

using Clock = std::chrono::steady_clock;

// A failure answer with the given sentence and {"code":"failed"}.
CommandOutput failedOutput(std::string message);
// The response line for `output`, line feed included.
std::string encodedResponse(const std::string& id, const CommandOutput& output);

// What one request's work shares with the handler thread that waits for it. Owned jointly,
// because an executor may keep the work after the server has gone.
struct Handoff {
    enum class State { queued, running, finished, abandoned };
    std::mutex mutex;
    std::condition_variable changed;
    State state = State::queued;
    std::optional<CommandOutput> output;
};

}  // namespace detail

struct ControlServer::Impl {
    using Clock = detail::Clock;
    struct Connection {
        enum class Phase { reading, waiting, writing };
        UniqueFd socket;
        Phase phase = Phase::reading;
        std::string input;
        std::string output;
        std::size_t written = 0;
        Clock::time_point deadline;
    };
    struct Job {
        std::uint64_t connection = 0;
        int socket = -1;
        RPCRequest request;
    };
    struct Answer {
        std::uint64_t connection;
        std::string bytes;
        std::size_t written;
    };

    Impl(std::string path, ControlHandler handler, ControlServerOptions options,
         ControlExecutor executor)
        : path(std::move(path)),
          handler(std::move(handler)),
          executor(std::move(executor)),
          options(sensible(options)) {}

    static ControlServerOptions sensible(ControlServerOptions options) {
        options.ioTimeout = std::max(options.ioTimeout, std::chrono::milliseconds(1));
        options.maxConnections = std::max<std::size_t>(options.maxConnections, 1);
        return options;
    }

    const std::string path;
    const ControlHandler handler;
    const ControlExecutor executor;
    const ControlServerOptions options;

    UniqueFd listener;
    UniqueFd wakeReader;
    UniqueFd wakeWriter;
    // The socket file we made, so stop() never removes one a newer server put there.
    dev_t socketDevice = 0;
    ino_t socketInode = 0;
    std::thread ioThread;
    std::thread handlerThread;
    std::atomic<bool> stopping{false};
    bool serving = false;

    std::mutex queueMutex;
    std::condition_variable jobReady;
    std::deque<Job> jobs;
    std::deque<Answer> answers;
    // The work handed to the executor and not yet finished, so stop() can wake its waiter.
    std::shared_ptr<detail::Handoff> handedOff;

    // Owned by the I/O thread alone.
    std::map<std::uint64_t, Connection> connections;
    std::uint64_t nextConnection = 1;
    Clock::time_point acceptPausedUntil{};

    void listen();
    void wake();
    void serveConnections();
    void pollOnce(std::vector<pollfd>& watched, std::vector<std::uint64_t>& keys);
    void runHandlers();
    CommandOutput runHandler(const std::vector<std::string>& arguments) const;
    std::optional<CommandOutput> execute(std::vector<std::string> arguments);

    void acceptAll(Clock::time_point now);
    void readFrom(std::uint64_t key, Connection& connection, Clock::time_point now);
    void dispatch(std::uint64_t key, Connection& connection, Clock::time_point now);
    void answer(Connection& connection, std::string bytes, Clock::time_point now,
                std::size_t written = 0);
    bool writeTo(Connection& connection);
    void collectAnswers(Clock::time_point now);
    void expire(Clock::time_point now);
};

}  // namespace halyward
