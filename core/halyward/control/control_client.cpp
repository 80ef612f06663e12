#include "halyward/control/control_client.hpp"

#include "halyward/base/error.hpp"
#include "halyward/base/number_text.hpp"
#include "halyward/control/internal/local_socket.hpp"
#include "halyward/control/rpc_codec.hpp"
#include "halyward/text/text.hpp"

#include <cerrno>
#include <chrono>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace halyward {

namespace {

using Clock = std::chrono::steady_clock;

// An answer this long is not one our server writes (even `config show` of thousands of
// apps stays far below); stop reading rather than grow without bound.
constexpr std::size_t maxResponseBytes = 64u * 1024u * 1024u;

// Timeouts beyond this are "forever": it keeps the clock arithmetic far from overflow.
constexpr double foreverSeconds = 1e9;

/// The end of the time a caller gave us, or none at all.
class Deadline {
public:
    explicit Deadline(double seconds) {
        if (std::isnan(seconds) || seconds <= 0) {
            end_ = Clock::now();
        } else if (seconds >= foreverSeconds) {
            forever_ = true;
        } else {
            end_ = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                      std::chrono::duration<double>(seconds));
        }
    }

    bool passed() const { return !forever_ && Clock::now() >= end_; }

    /// Milliseconds for poll(2): -1 when there is no end, rounded up so that a poll never
    /// wakes just before the end and spins.
    int pollTimeout() const {
        if (forever_) return -1;
        auto left = end_ - Clock::now();
        if (left <= Clock::duration::zero()) return 0;
        auto ms = std::chrono::ceil<std::chrono::milliseconds>(left).count();
        return ms > INT_MAX ? INT_MAX : static_cast<int>(ms);
    }

private:
    Clock::time_point end_{};
    bool forever_ = false;
};

HalywardError notRunning() { return HalywardError::unavailable("Halyward is not running."); }

std::string secondsText(double seconds) {
    if (std::isnan(seconds) || seconds < 0) seconds = 0;
    std::string text;
    appendDouble(text, seconds, DoubleNotation::shortest);
    return text + (seconds == 1 ? " second" : " seconds");
}

HalywardError timedOut(double seconds) {
    return HalywardError::unavailable("Halyward did not answer within " + secondsText(seconds) +
                                      ".");
}

// Waits until `socket` is ready for `events`; false when the deadline passed first.
bool waitFor(int socket, short events, const Deadline& deadline) {
    for (;;) {
        pollfd entry{socket, events, 0};
        int ready = ::poll(&entry, 1, deadline.pollTimeout());
        if (ready > 0) return true;
        if (ready == 0) {
            if (deadline.passed()) return false;
            continue;
        }
        if (errno != EINTR) return false;
    }
}

// Ids only need to be unlikely to repeat between two requests on one socket; 128 random
// bits make a reply to someone else's request practically impossible to mistake.
std::string freshRequestId() {
    std::uint64_t halves[2];
    try {
        std::random_device device;
        for (auto& half : halves) half = (std::uint64_t{device()} << 32) | device();
    } catch (const std::exception&) {
        // No entropy source: the clock and the process id still tell requests apart.
        halves[0] = static_cast<std::uint64_t>(Clock::now().time_since_epoch().count());
        halves[1] = static_cast<std::uint64_t>(::getpid());
    }
    char text[33];
    std::snprintf(text, sizeof text, "%016llx%016llx", static_cast<unsigned long long>(halves[0]),
                  static_cast<unsigned long long>(halves[1]));
    return text;
}

void connectWithin(int socket, const std::string& path, const Deadline& deadline,
                   double timeoutSeconds) {
    for (;;) {
        int error = detail::connectLocalSocket(socket, path);
        if (error == EINPROGRESS) {
            if (!waitFor(socket, POLLOUT, deadline)) throw timedOut(timeoutSeconds);
            socklen_t length = sizeof error;
            if (::getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &length) != 0) error = errno;
        }
        switch (error) {
            case 0:
            case EISCONN: return;
            case ENOENT:
            case ENOTDIR:
            case ECONNREFUSED: throw notRunning();
            case EAGAIN:
            case EINTR:
                // The listener's backlog is full: the app is busy, not gone. Try again shortly
                // for as long as the caller lets us.
                if (deadline.passed()) throw timedOut(timeoutSeconds);
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
                continue;
            default:
                throw HalywardError::failed("Cannot connect to Halyward at " + text::quoted(path) +
                                            ": " + systemReason(error) + ".");
        }
    }
}

// Writes the whole request. Returns false when the app closed its end first, which it
// does after answering a request it refuses (one that is too long), so the caller still
// reads the answer.
bool writeAll(int socket, std::string_view bytes, const Deadline& deadline, double timeoutSeconds) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        long sent = detail::sendNoSignal(socket, bytes.data() + done, bytes.size() - done);
        if (sent > 0) {
            done += static_cast<std::size_t>(sent);
            continue;
        }
        if (sent < 0 && errno == EINTR) continue;
        if (sent < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            if (!waitFor(socket, POLLOUT, deadline)) throw timedOut(timeoutSeconds);
            continue;
        }
        if (sent < 0 && (errno == EPIPE || errno == ECONNRESET)) return false;
        throw HalywardError::failed(std::string("Cannot send the request to Halyward: ") +
                                    systemReason(errno) + ".");
    }
    return true;
}

// Reads up to and including the first line feed; what the app sends after it is ignored.
std::string readLine(int socket, const Deadline& deadline, double timeoutSeconds) {
    std::string line;
    char chunk[64 * 1024];
    for (;;) {
        long got = ::recv(socket, chunk, sizeof chunk, 0);
        if (got > 0) {
            const auto* feed =
                static_cast<const char*>(std::memchr(chunk, '\n', static_cast<std::size_t>(got)));
            if (feed) {
                line.append(chunk, static_cast<std::size_t>(feed - chunk));
                return line;
            }
            line.append(chunk, static_cast<std::size_t>(got));
            if (line.size() > maxResponseBytes)
                throw HalywardError::failed("Halyward's answer is longer than 64 MiB.");
            continue;
        }
        if (got == 0 || errno == ECONNRESET) {
            if (line.empty())
                throw HalywardError::unavailable(
                    "Halyward closed the connection without answering.");
            throw HalywardError::failed("Halyward's answer ended before its end of line.");
        }
        if (errno == EINTR) continue;
        if (errno == EAGAIN || errno == EWOULDBLOCK) {
            if (!waitFor(socket, POLLIN, deadline)) throw timedOut(timeoutSeconds);
            continue;
        }
        throw HalywardError::failed(std::string("Cannot read Halyward's answer: ") +
                                    systemReason(errno) + ".");
    }
}

CommandOutput outputOf(const RPCResponse& response, const std::string& id) {
    // A server that could not read the request (too long, say) cannot know its id and
    // answers a failure with an empty one; that answer is still ours.
    const bool refusalOfUnreadable = response.id.empty() && response.exitCode != ExitCode::ok;
    if (response.id != id && !refusalOfUnreadable)
        throw HalywardError::failed("Halyward answered another request (id " +
                                    text::quoted(response.id) + " instead of " + text::quoted(id) +
                                    ").");
    if (response.exitCode < std::numeric_limits<std::int32_t>::min() ||
        response.exitCode > std::numeric_limits<std::int32_t>::max())
        throw HalywardError::failed("Halyward answered with the exit status " +
                                    std::to_string(response.exitCode) + ", which is out of range.");
    JSONValue payload;
    try {
        payload = JSONValue::parse(response.payload);
    } catch (const std::exception&) {
        throw HalywardError::failed("Halyward's answer carries a payload that is not JSON.");
    }
    return CommandOutput{static_cast<std::int32_t>(response.exitCode), response.message,
                         std::move(payload)};
}

}  // namespace

CommandOutput ControlClient::send(const std::string& socketPath,
                                  const std::vector<std::string>& arguments,
                                  double timeoutSeconds) {
    detail::requireSocketPath(socketPath);
    Deadline deadline(timeoutSeconds);
    UniqueFd socket = detail::makeLocalSocket();
    connectWithin(socket.get(), socketPath, deadline, timeoutSeconds);

    const std::string id = freshRequestId();
    const auto request = RPCCodec::encodeLine(RPCRequest(id, arguments));
    writeAll(socket.get(),
             std::string_view(reinterpret_cast<const char*>(request.data()), request.size()),
             deadline, timeoutSeconds);

    const std::string line = readLine(socket.get(), deadline, timeoutSeconds);
    RPCResponse response;
    try {
        response = RPCCodec::decode<RPCResponse>(line);
    } catch (const std::exception& error) {
        throw HalywardError::failed(std::string("Halyward's answer could not be read. ") +
                                    error.what());
    }
    return outputOf(response, id);
}

}  // namespace halyward
