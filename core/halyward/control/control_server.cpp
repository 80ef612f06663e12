#include "halyward/control/control_server.hpp"

#include "halyward/base/error.hpp"
#include "halyward/base/number_text.hpp"
#include "halyward/control/internal/local_socket.hpp"
#include "halyward/control/internal/server_socket.hpp"
#include "halyward/control/rpc_codec.hpp"
#include "halyward/text/text.hpp"

#include <boost/json/parse.hpp>
#include <boost/json/value.hpp>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/un.h>
#include <unistd.h>

namespace halyward {

namespace {

using Clock = std::chrono::steady_clock;

CommandOutput failedOutput(std::string message) {
    return CommandOutput::fromError(HalywardError::failed(std::move(message)));
}

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

std::string encodedResponse(const std::string& id, const CommandOutput& output) {
    const auto bytes = RPCCodec::encodeLine(RPCResponse(id, output));
    return std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

// What one request's work shares with the handler thread that waits for it. Owned jointly,
// because an executor may keep the work after the server has gone.
struct Handoff {
    enum class State { queued, running, finished, abandoned };
    std::mutex mutex;
    std::condition_variable changed;
    State state = State::queued;
    std::optional<CommandOutput> output;
};

}  // namespace

struct ControlServer::Impl {
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
    std::shared_ptr<Handoff> handedOff;

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

void ControlServer::Impl::listen() {
    detail::SocketFile file = detail::listenOnSocketFile(path);
    int ends[2];
    if (::pipe(ends) != 0) {
        const int error = errno;
        detail::removeSocketFile(path, file.device, file.inode);
        throw HalywardError::failed("Cannot start the control server: " + systemReason(error) +
                                    ".");
    }
    wakeReader.reset(ends[0]);
    wakeWriter.reset(ends[1]);
    for (int end : ends) {
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
        ::fcntl(end, F_SETFL, ::fcntl(end, F_GETFL) | O_NONBLOCK);
    }
    listener = std::move(file.socket);
    socketDevice = file.device;
    socketInode = file.inode;
}

void ControlServer::Impl::wake() {
    char byte = 1;
    // A full pipe already guarantees a wake-up, so a failed write loses nothing.
    [[maybe_unused]] auto ignored = ::write(wakeWriter.get(), &byte, 1);
}

CommandOutput ControlServer::Impl::runHandler(const std::vector<std::string>& arguments) const {
    try {
        return handler(arguments);
    } catch (const HalywardError& error) {
        return CommandOutput::fromError(error);
    } catch (const std::exception& error) {
        std::string message = error.what();
        return failedOutput(message.empty() ? "The command failed." : message);
    } catch (...) {
        return failedOutput("The command failed.");
    }
}

// The handler's output for one request, run where the executor puts it; nothing when the
// server stopped before the executor started the work.
std::optional<CommandOutput> ControlServer::Impl::execute(std::vector<std::string> arguments) {
    if (!executor) return runHandler(arguments);
    auto handoff = std::make_shared<Handoff>();
    {
        std::lock_guard lock(queueMutex);
        handedOff = handoff;
    }
    auto work = [this, handoff, arguments = std::move(arguments)] {
        {
            std::lock_guard lock(handoff->mutex);
            // Abandoned work belongs to a server that has stopped, perhaps gone: touch
            // nothing of it.
            if (handoff->state != Handoff::State::queued) return;
            handoff->state = Handoff::State::running;
        }
        std::optional<CommandOutput> output;
        try {
            output = runHandler(arguments);
        } catch (const std::exception&) {
            // Out of memory while building the failure itself; the waiter makes one.
        }
        {
            std::lock_guard lock(handoff->mutex);
            handoff->output = std::move(output);
            handoff->state = Handoff::State::finished;
        }
        handoff->changed.notify_all();
    };
    std::optional<CommandOutput> result;
    bool handed = true;
    try {
        executor(std::move(work));
    } catch (const std::exception&) {
        handed = false;
    }
    if (handed) {
        std::unique_lock lock(handoff->mutex);
        // Work already running is waited for even while stopping, as stop() promises.
        handoff->changed.wait(lock, [&] {
            return handoff->state == Handoff::State::finished ||
                   (stopping && handoff->state == Handoff::State::queued);
        });
        if (handoff->state == Handoff::State::queued) {
            handoff->state = Handoff::State::abandoned;
        } else {
            result = std::move(handoff->output);
            if (!result) result = failedOutput("The command failed.");
        }
    } else {
        result = failedOutput("The running app could not take the command.");
    }
    std::lock_guard lock(queueMutex);
    handedOff.reset();
    return result;
}

void ControlServer::Impl::runHandlers() {
    for (;;) {
        Job job;
        {
            std::unique_lock lock(queueMutex);
            jobReady.wait(lock, [&] { return stopping.load() || !jobs.empty(); });
            if (stopping) return;
            job = std::move(jobs.front());
            jobs.pop_front();
        }
        std::optional<CommandOutput> output = execute(std::move(job.request.arguments));
        if (!output) return;  // stopping
        std::string bytes;
        try {
            bytes = encodedResponse(job.request.id, *output);
        } catch (const std::exception&) {
            // Out of memory while encoding: the client still learns that its command ended.
            bytes =
                "{\"id\":\"\",\"exitCode\":8,\"message\":\"The answer could not be "
                "encoded.\",\"payload\":\"{\\\"code\\\":\\\"failed\\\"}\"}\n";
        }
        // Writing the answer here rather than on the I/O thread spares the client one
        // thread hand-over. The socket stays open meanwhile: the I/O thread neither polls
        // nor expires nor closes a connection whose command is queued or running.
        std::size_t written = 0;
        while (written < bytes.size()) {
            long sent =
                detail::sendNoSignal(job.socket, bytes.data() + written, bytes.size() - written);
            if (sent > 0) {
                written += static_cast<std::size_t>(sent);
            } else if (sent < 0 && errno == EINTR) {
                continue;
            } else {
                break;  // the rest, or the failure, is for the I/O thread to deal with
            }
        }
        {
            std::lock_guard lock(queueMutex);
            answers.push_back({job.connection, std::move(bytes), written});
        }
        wake();
    }
}

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

ControlServer::~ControlServer() { stop(); }

void ControlServer::start() {
    Impl& impl = *impl_;
    if (impl.serving) return;
    impl.listen();
    impl.stopping = false;
    impl.serving = true;
    try {
        impl.handlerThread = std::thread([&impl] { impl.runHandlers(); });
        impl.ioThread = std::thread([&impl] { impl.serveConnections(); });
    } catch (const std::system_error& error) {
        stop();  // joins whichever thread did start and removes the socket file
        throw HalywardError::failed(std::string("Cannot start the control server: ") +
                                    error.what() + ".");
    }
}

void ControlServer::stop() {
    Impl& impl = *impl_;
    if (!impl.serving) return;
    std::shared_ptr<Handoff> handedOff;
    {
        std::lock_guard lock(impl.queueMutex);
        impl.stopping = true;
        handedOff = impl.handedOff;
    }
    impl.jobReady.notify_all();
    if (handedOff) {
        // Taking the lock orders this wake-up after the waiter's last look at `stopping`.
        { std::lock_guard lock(handedOff->mutex); }
        handedOff->changed.notify_all();
    }
    impl.wake();
    if (impl.ioThread.joinable()) impl.ioThread.join();
    if (impl.handlerThread.joinable()) impl.handlerThread.join();

    impl.connections.clear();
    impl.jobs.clear();
    impl.answers.clear();
    impl.listener.reset();
    impl.wakeReader.reset();
    impl.wakeWriter.reset();
    detail::removeSocketFile(impl.path, impl.socketDevice, impl.socketInode);
    impl.serving = false;
}

bool ControlServer::running() const { return impl_->serving; }

const std::string& ControlServer::socketPath() const { return impl_->path; }

}  // namespace halyward
