#pragma once
/// The app's side of the control socket: a local stream socket on which each connection
/// brings one request line and takes one response line back.

#include "halyward/base/command_output.hpp"

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace halyward {

/// Runs one request's argument list (the command line's arguments after the program
/// name) and returns the command's output. A thrown HalywardError becomes its output;
/// anything else thrown becomes exit status 8 with the payload {"code":"failed"}.
using ControlHandler = std::function<CommandOutput(const std::vector<std::string>& arguments)>;

/// Runs a request's work on the thread that must do it. The server calls it from its
/// handler thread, once per request, with `work` that calls the handler; the executor runs
/// `work` once, on the thread it chooses, and may return before it has (a GUI app queues
/// it to its main loop). The request's answer is written when `work` has run, and the next
/// request waits until then. Work still queued when the server stops does nothing when it
/// runs at last, so an executor may keep it past `stop()`.
using ControlExecutor = std::function<void(std::function<void()> work)>;

/// Limits of one ControlServer.
struct ControlServerOptions {
    /// How long a connection may take to deliver its request line, and again to take its
    /// answer; a connection that exceeds it is closed. At least 1 ms.
    std::chrono::milliseconds ioTimeout{10000};
    /// Connections read or answered at once; later ones wait in the listen queue. At least 1.
    std::size_t maxConnections = 128;

    bool operator==(const ControlServerOptions&) const = default;
};

/// Serves the control protocol on a local stream socket.
///
/// `start()` creates the socket's folder (mode 0700) when it is missing, replaces a stale
/// socket file left by a server that died, and listens with the socket file at mode 0600.
/// Only processes of the same user are answered; anyone else's connection is closed
/// without a word. Each connection sends one line of at most 1 MiB; a line that is not a
/// request, or too long, is answered with exit status 8 and {"code":"failed"}, and the
/// server goes on serving.
///
/// Connections are read and written by one thread that never blocks on any of them, so a
/// client that connects and stays silent delays nobody. Handler calls never overlap: they
/// run one after another, because the commands behind them edit the configuration and are
/// not re-entrant. They run on a second thread of the server's own unless the owner gives
/// a ControlExecutor, which puts them where the owner wants them: a GUI app runs them on
/// its main thread, which alone may touch windows. A slow command therefore makes later
/// requests wait (their clients' own time limits apply), while malformed lines are still
/// refused and silent clients still dropped in the meantime.
///
/// `start` and `stop` belong to the thread that owns the server; the handler must not
/// call them, as `stop` waits for the handler call in progress. With an executor, `stop`
/// does not wait for work the executor has not started yet.
class ControlServer {
public:
    /// The longest request line accepted, its line feed excluded.
    static constexpr std::size_t maxRequestBytes = 1024 * 1024;

    /// Without an `executor`, the handler runs on a thread of the server's own.
    ControlServer(std::string socketPath, ControlHandler handler, ControlServerOptions options = {},
                  ControlExecutor executor = {});
    /// Stops the server and removes its socket file.
    ~ControlServer();

    ControlServer(const ControlServer&) = delete;
    ControlServer& operator=(const ControlServer&) = delete;

    /// Binds the socket and starts serving; does nothing when already serving. Throws
    /// HalywardError::unavailable when another server answers on the socket path, and
    /// HalywardError::failed when the path is unusable (too long for a local socket
    /// address, taken by a file that is not a socket, or in a folder that cannot be made).
    void start();

    /// Stops serving: waits for a handler call in progress, drops requests not yet run,
    /// closes every connection and removes the socket file (unless another server has
    /// replaced it meanwhile). Does nothing when not serving.
    void stop();

    bool running() const;
    const std::string& socketPath() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace halyward
