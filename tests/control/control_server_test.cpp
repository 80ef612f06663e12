#include "halyward/control/control_server.hpp"
#include "halyward/control/control_client.hpp"
#include "halyward/control/internal/local_socket.hpp"
#include "halyward/control/rpc_codec.hpp"
#include "support/scratch_folder.hpp"
#include "support/thrown.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <limits>
#include <mutex>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace halyward;
namespace fs = std::filesystem;

namespace {

using Args = std::vector<std::string>;

// A handler that echoes its arguments, answers "fail …" with the failure it names, and
// records whether two calls ever overlapped.
struct EchoHandler {
    std::shared_ptr<std::atomic<int>> inside = std::make_shared<std::atomic<int>>(0);
    std::shared_ptr<std::atomic<bool>> overlapped = std::make_shared<std::atomic<bool>>(false);

    CommandOutput operator()(const Args& arguments) const {
        if (inside->fetch_add(1) != 0) *overlapped = true;
        struct Leave {
            std::atomic<int>& count;
            ~Leave() { --count; }
        } leave{*inside};
        if (arguments.size() == 2 && arguments[0] == "fail") {
            if (arguments[1] == "halyward") throw HalywardError::notFound("No app \u201Cx\u201D.");
            if (arguments[1] == "std") throw std::runtime_error("disk on fire");
            throw 42;
        }
        if (arguments.size() == 1 && arguments[0] == "big")  // more than a socket buffer holds
            return {ExitCode::ok, std::string(4 << 20, 'm'), nullptr};
        JSONArray echoed(arguments.begin(), arguments.end());
        return {ExitCode::ok, "pong", JSONValue(JSONObject{{"arguments", echoed}})};
    }
};

// A blocking connection to the server at `path`; invalid when nothing accepts there.
UniqueFd connectTo(const std::string& path) {
    UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM, 0));
    ::fcntl(socket.get(), F_SETFD, FD_CLOEXEC);  // macOS has no SOCK_CLOEXEC
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    if (::connect(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
        socket.reset();
    return socket;
}

// Everything the server sends on `socket` until it closes.
std::string readToEnd(int socket) {
    timeval limit{60, 0};  // only so that a broken server cannot hang the suite
    ::setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    std::string reply;
    char chunk[4096];
    long got;
    while ((got = ::recv(socket, chunk, sizeof chunk, 0)) > 0) reply.append(chunk, got);
    return reply;
}

// Writes `bytes` on a fresh connection, optionally closes the writing side, and returns
// everything the server sends until it closes.
std::string rawExchange(const std::string& path, const std::string& bytes, bool halfClose) {
    UniqueFd socket = connectTo(path);
    if (!socket.valid()) return "connect failed";
    ::send(socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (halfClose) ::shutdown(socket.get(), SHUT_WR);
    return readToEnd(socket.get());
}

std::string refusal(const std::string& id, const std::string& message) {
    auto bytes = RPCCodec::encodeLine(RPCResponse(id, 8, message, R"({"code":"failed"})"));
    return {bytes.begin(), bytes.end()};
}

// No time limit: these exchanges check what arrives, not how fast; the speed of large
// answers is measured in bench/bench_control_ping.cpp.
constexpr double untimed = std::numeric_limits<double>::infinity();

// How many of `count` clients sending at once get their own arguments back.
int echoedAtOnce(const std::string& path, int count, double timeout) {
    std::atomic<int> correct{0};
    std::vector<std::thread> clients;
    for (int i = 0; i < count; ++i) {
        clients.emplace_back([&, i] {
            try {
                const Args sent{"echo", std::to_string(i)};
                const CommandOutput output = ControlClient::send(path, sent, timeout);
                JSONArray expected(sent.begin(), sent.end());
                if (output.payload == JSONValue(JSONObject{{"arguments", expected}})) ++correct;
            } catch (const std::exception&) {}
        });
    }
    for (auto& client : clients) client.join();
    return correct;
}

struct ServerTest : ::testing::Test {
    ScratchFolder folder;
    std::string path = folder / "run/halyward.sock";
    EchoHandler handler;
};

}  // namespace

TEST_F(ServerTest, answers_each_line_and_refuses_malformed_ones) {
    ControlServer server(path, handler);
    server.start();
    const std::string ping = R"({"id":"7","arguments":["ping"]})";
    const std::string pong =
        R"({"id":"7","exitCode":0,"message":"pong","payload":"{\"arguments\":[\"ping\"]}"})"
        "\n";
    EXPECT_EQ(rawExchange(path, ping + "\n", false), pong);
    EXPECT_EQ(rawExchange(path, ping, true), pong);  // no line feed, then end of stream
    EXPECT_EQ(rawExchange(path, ping + "\ntrailing bytes", false), pong);
    EXPECT_EQ(rawExchange(path, "", true), "");  // a probe that says nothing gets nothing

    // What is wrong with each line is the decoder's to say; the server adds the id when
    // the line is at least an object with a string id, so the client can pair them.
    struct Refused {
        std::string sent;
        std::string id;
    };
    const Refused refused[] = {
        {"not json\n", ""},
        {"[1,2]\n", ""},
        {R"({"id":"x9","arguments":"ping"})", "x9"},
        {R"({"id":7,"arguments":[]})", ""},
        {std::string("\0\xFF\xFE{", 4), ""},  // garbage, then the client hangs up
        {"{\"id\":\"\xC3\"}\n", ""},
    };
    for (const auto& c : refused) {
        auto response = RPCCodec::decode<RPCResponse>(rawExchange(path, c.sent, true));
        EXPECT_EQ(response.id, c.id) << c.sent;
        EXPECT_EQ(response.exitCode, 8) << c.sent;
        EXPECT_FALSE(response.message.empty());
        EXPECT_EQ(response.payload, R"({"code":"failed"})") << c.sent;
    }
    EXPECT_EQ(ControlClient::send(path, {"ping"}, 5).message, "pong");  // still serving
    EXPECT_EQ(ControlClient::send(path, {"big"}, untimed).message, std::string(4 << 20, 'm'));
}

TEST_F(ServerTest, caps_a_line_at_one_mebibyte) {
    ControlServer server(path, handler);
    server.start();
    const std::string head = R"({"id":"b","arguments":[")", tail = R"("]})";
    auto line = [&](std::size_t size) {
        return head + std::string(size - head.size() - tail.size(), 'a') + tail + "\n";
    };
    auto fits = RPCCodec::decode<RPCResponse>(
        rawExchange(path, line(ControlServer::maxRequestBytes), false));
    EXPECT_EQ(fits.exitCode, 0);
    EXPECT_EQ(rawExchange(path, line(ControlServer::maxRequestBytes + 1), false),
              refusal("", "The request is longer than 1 MiB."));

    // The real client, still writing when the server refuses, reads the refusal.
    auto output = ControlClient::send(path, {std::string(3 << 20, 'x')}, untimed);
    EXPECT_EQ(output,
              CommandOutput::fromError(HalywardError::failed("The request is longer than 1 MiB.")));
}

TEST_F(ServerTest, turns_handler_failures_into_output) {
    ControlServer server(path, handler);
    server.start();
    const std::pair<std::string, CommandOutput> cases[] = {
        {"halyward", CommandOutput::fromError(HalywardError::notFound("No app \u201Cx\u201D."))},
        {"std", CommandOutput::fromError(HalywardError::failed("disk on fire"))},
        {"other", CommandOutput::fromError(HalywardError::failed("The command failed."))},
    };
    for (const auto& [kind, expected] : cases)
        EXPECT_EQ(ControlClient::send(path, {"fail", kind}, 5), expected) << kind;
}

TEST_F(ServerTest, drops_a_client_that_sends_no_whole_request_in_time_and_says_why) {
    ControlServer server(path, handler, {std::chrono::milliseconds(300), 128});
    server.start();
    UniqueFd silent = connectTo(path), halfLine = connectTo(path);
    ::send(halfLine.get(), "{\"id\":", 6, MSG_NOSIGNAL);
    const std::string dropped = refusal("", "No request arrived within 0.3 seconds.");
    EXPECT_EQ(readToEnd(silent.get()), dropped);
    EXPECT_EQ(readToEnd(halfLine.get()), dropped);
}

TEST_F(ServerTest, idle_clients_block_nobody_and_a_full_server_drops_the_oldest) {
    // Idle connections are only dropped for taking too long after an hour here, so the
    // ping can only be answered by reading around them and making room for it.
    ControlServer server(path, handler, {std::chrono::hours(1), 128});
    server.start();
    std::vector<UniqueFd> idle;
    for (int i = 0; i < 200; ++i) {
        idle.push_back(connectTo(path));
        ASSERT_TRUE(idle.back().valid());
    }
    // A generous limit: it only tells "answered" from "waiting for an idle one to go".
    EXPECT_EQ(ControlClient::send(path, {"ping"}, 30).message, "pong");

    // The oldest was told why it was dropped; the newest is still open and unanswered.
    EXPECT_EQ(readToEnd(idle.front().get()),
              refusal("",
                      "Halyward closed this connection to serve newer ones, as no "
                      "request had arrived on it."));
    char byte;
    EXPECT_EQ(::recv(idle.back().get(), &byte, 1, MSG_DONTWAIT), -1);
    EXPECT_EQ(errno, EAGAIN);
}

TEST_F(ServerTest, answers_two_hundred_concurrent_clients_one_handler_call_at_a_time) {
    ControlServer server(path, handler);
    server.start();
    EXPECT_EQ(echoedAtOnce(path, 200, 30), 200);
    EXPECT_FALSE(*handler.overlapped);
}

TEST_F(ServerTest, makes_private_files_and_removes_its_socket) {
    {
        ControlServer server(path, handler);
        server.start();
        struct stat info;
        ASSERT_EQ(::stat(path.c_str(), &info), 0);
        EXPECT_TRUE(S_ISSOCK(info.st_mode));
        EXPECT_EQ(info.st_mode & 0777, 0600u);
        ASSERT_EQ(::stat((folder / "run").c_str(), &info), 0);
        EXPECT_EQ(info.st_mode & 0777, 0700u);
        server.stop();
        EXPECT_FALSE(fs::exists(path));
        server.start();  // restartable
        EXPECT_EQ(ControlClient::send(path, {"ping"}, 5).message, "pong");
    }
    EXPECT_FALSE(fs::exists(path));  // the destructor stops too
}

TEST_F(ServerTest, replaces_a_stale_socket_but_not_a_live_one_or_other_files) {
    fs::create_directories(folder / "run");
    {
        // A server that died without cleaning up leaves its socket file behind.
        UniqueFd dead = detail::makeLocalSocket();
        ASSERT_EQ(detail::bindLocalSocket(dead.get(), path), 0);
    }
    ControlServer server(path, handler);
    server.start();
    EXPECT_EQ(ControlClient::send(path, {"ping"}, 5).message, "pong");

    ControlServer second(path, handler);
    EXPECT_EQ(thrownBy([&] { second.start(); }),
              HalywardError::unavailable("Another Halyward is already listening on \u201C" + path +
                                         "\u201D."));
    EXPECT_EQ(ControlClient::send(path, {"ping"}, 5).message, "pong");

    const std::string plain = folder / "notes";
    writeFile(plain, "keep me");
    const std::pair<std::string, std::string> unusable[] = {
        {plain, "a file that is not a socket is already there"},
        {plain + "/x.sock", "a file is in the way"},
        {folder / std::string(120, 'n'), "bytes long"},
    };
    for (const auto& [where, why] : unusable) {
        ControlServer bad(where, handler);
        const HalywardError error = thrownBy([&] { bad.start(); });
        EXPECT_EQ(error.code, "failed") << where;
        EXPECT_NE(error.message.find(why), std::string::npos) << error.message;
    }
    EXPECT_EQ(readFile(plain), "keep me");
}

TEST_F(ServerTest, closes_other_users_connections_without_answering) {
    if (::geteuid() != 0) GTEST_SKIP() << "needs root to connect as another user";
    ControlServer server(path, handler);
    server.start();
    // Let the other user through the file permissions, so only the credential check stands.
    ::chmod((folder / "run").c_str(), 0755);
    ::chmod(folder.path.c_str(), 0755);
    ::chmod(path.c_str(), 0666);
    pid_t child = ::fork();
    if (child == 0) {
        if (::setgid(65534) != 0 || ::setuid(65534) != 0) ::_exit(2);
        std::string reply = rawExchange(path, "{\"id\":\"1\",\"arguments\":[\"ping\"]}\n", false);
        ::_exit(reply.empty() ? 0 : 1);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

// What a GUI app does: the executor queues each request's work for the main loop, and the
// loop (here a thread) runs it. The handler must run there and nowhere else.
struct MainLoop {
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::function<void()>> queue;
    bool quit = false;

    ControlExecutor executor() {
        return [this](std::function<void()> work) {
            {
                std::lock_guard lock(mutex);
                queue.push_back(std::move(work));
            }
            changed.notify_all();
        };
    }
    // The next piece of work, once there is one; none when the loop has quit or no work
    // came within `patience`.
    std::function<void()> next(std::chrono::seconds patience = std::chrono::hours(24)) {
        std::unique_lock lock(mutex);
        changed.wait_for(lock, patience, [&] { return quit || !queue.empty(); });
        if (queue.empty()) return {};
        std::function<void()> work = std::move(queue.front());
        queue.pop_front();
        return work;
    }
    void pump() {
        while (std::function<void()> work = next()) work();
    }
    void stop() {
        {
            std::lock_guard lock(mutex);
            quit = true;
        }
        changed.notify_all();
    }
};

TEST_F(ServerTest, an_executor_runs_every_request_on_the_owners_thread) {
    MainLoop loop;
    std::thread mainThread([&] { loop.pump(); });
    std::atomic<int> elsewhere{0};
    {
        ControlServer server(
            path,
            [&](const Args& arguments) {
                if (std::this_thread::get_id() != mainThread.get_id()) ++elsewhere;
                return handler(arguments);
            },
            {}, loop.executor());
        server.start();
        EXPECT_EQ(echoedAtOnce(path, 20, untimed), 20);
        EXPECT_EQ(ControlClient::send(path, {"fail", "std"}, untimed),
                  CommandOutput::fromError(HalywardError::failed("disk on fire")));
    }
    loop.stop();
    mainThread.join();
    EXPECT_EQ(elsewhere, 0);
    EXPECT_FALSE(*handler.overlapped);
}

TEST_F(ServerTest, stopping_abandons_work_the_owner_has_not_run) {
    MainLoop busy;  // a main loop that is busy elsewhere until the server has gone
    std::atomic<int> calls{0};
    std::function<void()> kept;
    {
        ControlServer server(
            path,
            [&](const Args& arguments) {
                ++calls;
                return handler(arguments);
            },
            {}, busy.executor());
        server.start();
        std::thread client([&] {
            try {
                ControlClient::send(path, {"ping"}, untimed);
            } catch (const HalywardError&) {
                // The server stopped without answering; that is the point.
            }
        });
        kept = busy.next(std::chrono::seconds(60));
        EXPECT_TRUE(kept) << "the request's work was never handed over";
        server.stop();  // must return although the work never ran
        client.join();
    }
    if (kept) kept();  // the loop gets to it after the server has gone
    EXPECT_EQ(calls, 0);
}
