#include "halyward/control/control_server.hpp"

#include "halyward/base/error.hpp"
#include "halyward/control/internal/local_socket.hpp"
#include "halyward/control/internal/server_socket.hpp"
#include "halyward/control/internal/server_state.hpp"
#include "halyward/control/rpc_codec.hpp"

#include <cerrno>
#include <exception>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

// Starting and stopping the server, and running each request through the handler, on
// the server's handler thread or wherever the owner's executor puts it. The I/O thread
// that reads requests and writes answers is in server_connections.cpp.

namespace halyward {

namespace detail {

CommandOutput failedOutput(std::string message) {
    return CommandOutput::fromError(HalywardError::failed(std::move(message)));
}

std::string encodedResponse(const std::string& id, const CommandOutput& output) {
    const auto bytes = RPCCodec::encodeLine(RPCResponse(id, output));
    return std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

}  // namespace detail

namespace {

using detail::encodedResponse;
using detail::failedOutput;
using detail::Handoff;

}  // namespace

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
