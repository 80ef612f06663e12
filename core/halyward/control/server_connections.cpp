#include "halyward/base/number_text.hpp"
#include "halyward/control/internal/local_socket.hpp"
#include "halyward/control/internal/server_socket.hpp"
#include "halyward/control/internal/server_state.hpp"

#include <boost/json/parse.hpp>
#include <boost/json/value.hpp>

#include <algorithm>
#include <cerrno>
#include <exception>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

// The server's I/O thread: accepts connections, reads request lines, hands requests to the
// handler thread, writes answers and drops connections that take too long. It never
// blocks on any one connection.

namespace halyward {

namespace {

using detail::encodedResponse;
using detail::failedOutput;

// The id of a line that is not a valid request, when it is at least a JSON object with a
// string "id", so the client can still pair the refusal with its request.
std::string salvagedId(std::string_view line) {
    boost::system::error_code error;
    boost::json::value value = boost::json::parse(line, error);
    if (error || !value.is_object()) return {};
    const boost::json::value* id = value.as_object().if_contains("id");
    if (!id || !id->is_string()) return {};
    return std::string(id->as_string());
}

std::string secondsText(std::chrono::milliseconds duration) {
    std::string text;
    appendDouble(text, static_cast<double>(duration.count()) / 1000.0, DoubleNotation::shortest);
    return text + (duration == std::chrono::seconds(1) ? " second" : " seconds");
}

}  // namespace

void ControlServer::Impl::acceptAll(Clock::time_point now) {
    while (connections.size() < options.maxConnections) {
        UniqueFd socket = detail::acceptConnection(listener.get());
        if (!socket.valid()) {
            if (errno == EINTR || errno == ECONNABORTED) continue;
            if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM)
                // Out of descriptors or memory: the listener stays readable, so without a
                // pause we would spin. Connections being served will free some.
                acceptPausedUntil = now + std::chrono::milliseconds(100);
            return;
        }
        if (!detail::fromSameUser(socket.get())) continue;  // closed without an answer
        std::uint64_t key = nextConnection++;
        Connection& connection = connections[key];
        connection.socket = std::move(socket);
        connection.deadline = now + options.ioTimeout;
        // The request usually arrives with the connection; reading now saves a poll round.
        readFrom(key, connection, now);
    }
}

void ControlServer::Impl::readFrom(std::uint64_t key, Connection& connection,
                                   Clock::time_point now) {
    char chunk[64 * 1024];
    for (;;) {
        long got = ::recv(connection.socket.get(), chunk, sizeof chunk, 0);
        if (got > 0) {
            const std::size_t before = connection.input.size();
            connection.input.append(chunk, static_cast<std::size_t>(got));
            // Only the new bytes are searched, so a long line costs linear time.
            std::size_t feed = connection.input.find('\n', before);
            if (std::min(feed, connection.input.size()) > maxRequestBytes) {
                connection.input = std::string();
                return answer(
                    connection,
                    encodedResponse("", failedOutput("The request is longer than 1 MiB.")), now);
            }
            if (feed != std::string::npos) {
                connection.input.resize(feed);
                return dispatch(key, connection, now);
            }
            continue;
        }
        if (got == 0) {
            // The client closed its end: a line without its line feed is still a request,
            // and an empty connection (a probe) ends without an answer.
            if (connection.input.empty()) {
                connection.socket.reset();
                return;
            }
            return dispatch(key, connection, now);
        }
        if (errno == EINTR) continue;
        if (errno != EAGAIN && errno != EWOULDBLOCK) connection.socket.reset();
        return;
    }
}

void ControlServer::Impl::dispatch(std::uint64_t key, Connection& connection,
                                   Clock::time_point now) {
    std::string line = std::move(connection.input);
    connection.input = std::string();
    std::optional<RPCRequest> request;
    std::string problem;
    try {
        request = RPCCodec::decode<RPCRequest>(line);
    } catch (const std::exception& error) {
        problem = error.what();
    }
    if (!request) {
        // The decoder's own sentence says what is wrong with the line.
        if (problem.empty()) problem = "The request is not a valid control request.";
        return answer(connection, encodedResponse(salvagedId(line), failedOutput(problem)), now);
    }
    connection.phase = Connection::Phase::waiting;
    {
        std::lock_guard lock(queueMutex);
        jobs.push_back({key, connection.socket.get(), std::move(*request)});
    }
    jobReady.notify_one();
}

void ControlServer::Impl::answer(Connection& connection, std::string bytes, Clock::time_point now,
                                 std::size_t written) {
    connection.phase = Connection::Phase::writing;
    connection.output = std::move(bytes);
    connection.written = written;
    connection.deadline = now + options.ioTimeout;
    if (writeTo(connection)) connection.socket.reset();
}

// True when the connection is finished with: everything written, or the client gone.
bool ControlServer::Impl::writeTo(Connection& connection) {
    while (connection.written < connection.output.size()) {
        long sent = detail::sendNoSignal(connection.socket.get(),
                                         connection.output.data() + connection.written,
                                         connection.output.size() - connection.written);
        if (sent > 0) {
            connection.written += static_cast<std::size_t>(sent);
            continue;
        }
        if (sent < 0 && errno == EINTR) continue;
        return !(sent < 0 && (errno == EAGAIN || errno == EWOULDBLOCK));
    }
    return true;
}

void ControlServer::Impl::collectAnswers(Clock::time_point now) {
    std::deque<Answer> ready;
    {
        std::lock_guard lock(queueMutex);
        ready.swap(answers);
    }
    for (Answer& done : ready) {
        auto found = connections.find(done.connection);
        if (found == connections.end() || !found->second.socket.valid()) continue;
        answer(found->second, std::move(done.bytes), now, done.written);
    }
}

void ControlServer::Impl::expire(Clock::time_point now) {
    for (auto& [key, connection] : connections) {
        if (!connection.socket.valid() || connection.phase == Connection::Phase::waiting ||
            connection.deadline > now)
            continue;
        if (connection.phase == Connection::Phase::reading) {
            // Tell a client that is merely slow why it is dropped; one that is not
            // listening loses nothing, as this answer is only tried once.
            connection.output = encodedResponse(
                "",
                failedOutput("No request arrived within " + secondsText(options.ioTimeout) + "."));
            connection.written = 0;
            writeTo(connection);
        }
        connection.socket.reset();
    }
}

void ControlServer::Impl::serveConnections() {
    std::vector<pollfd> watched;
    std::vector<std::uint64_t> keys;
    while (!stopping) {
        try {
            pollOnce(watched, keys);
        } catch (const std::exception&) {
            // Only memory can run out here. The connections stay consistent, so going on
            // after a pause serves everyone who can still be served.
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
}

void ControlServer::Impl::pollOnce(std::vector<pollfd>& watched, std::vector<std::uint64_t>& keys) {
    Clock::time_point now = Clock::now();
    watched.clear();
    keys.clear();
    watched.push_back({wakeReader.get(), POLLIN, 0});
    const bool accepting = connections.size() < options.maxConnections && now >= acceptPausedUntil;
    if (accepting) watched.push_back({listener.get(), POLLIN, 0});
    const std::size_t firstConnection = watched.size();

    Clock::time_point soonest = Clock::time_point::max();
    if (!accepting && now < acceptPausedUntil) soonest = acceptPausedUntil;
    for (auto& [key, connection] : connections) {
        if (connection.phase == Connection::Phase::waiting) continue;
        short events = connection.phase == Connection::Phase::reading ? POLLIN : POLLOUT;
        watched.push_back({connection.socket.get(), events, 0});
        keys.push_back(key);
        soonest = std::min(soonest, connection.deadline);
    }
    int timeout = -1;
    if (soonest != Clock::time_point::max()) {
        auto left = std::chrono::ceil<std::chrono::milliseconds>(soonest - now).count();
        timeout = static_cast<int>(std::clamp<long long>(left, 0, 60 * 60 * 1000));
    }

    int ready = ::poll(watched.data(), watched.size(), timeout);
    if (ready < 0 && errno != EINTR) {
        // Nothing sensible is left to wait on; back off rather than spin.
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return;
    }
    if (stopping) return;
    now = Clock::now();

    if (watched[0].revents != 0) {
        char drain[256];
        while (::read(wakeReader.get(), drain, sizeof drain) > 0) {}
    }
    collectAnswers(now);
    for (std::size_t index = firstConnection; index < watched.size(); ++index) {
        if (watched[index].revents == 0) continue;
        auto found = connections.find(keys[index - firstConnection]);
        if (found == connections.end()) continue;
        Connection& connection = found->second;
        if (!connection.socket.valid()) continue;
        if (connection.phase == Connection::Phase::reading) {
            readFrom(found->first, connection, now);
        } else if (connection.phase == Connection::Phase::writing) {
            if (writeTo(connection)) connection.socket.reset();
        }
    }
    if (accepting && watched[1].revents != 0) acceptAll(now);
    expire(now);

    // A connection whose client left while its command was queued or running keeps
    // its entry until the answer arrives and is dropped then.
    std::erase_if(connections, [](const auto& entry) { return !entry.second.socket.valid(); });
}

ControlServer::ControlServer(std::string socketPath, ControlHandler handler,
                             ControlServerOptions options, ControlExecutor executor)
    : impl_(std::make_unique<Impl>(std::move(socketPath), std::move(handler), options,
                                   std::move(executor))) {}

}  // namespace halyward
