#include "halyward/control/control_client.hpp"
#include "halyward/control/internal/local_socket.hpp"
#include "halyward/control/rpc_codec.hpp"
#include "support/scratch_folder.hpp"
#include "support/thrown.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <thread>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace halyward;

namespace {

struct ClientTest : ::testing::Test {
    ScratchFolder scratch;
    std::string folder = scratch.path.string();

    // A listening socket at `path` that is never accepted from.
    UniqueFd listenAt(const std::string& path) {
        UniqueFd socket = detail::makeLocalSocket();
        EXPECT_EQ(detail::bindLocalSocket(socket.get(), path), 0);
        EXPECT_EQ(::listen(socket.get(), 4), 0);
        return socket;
    }
};

// Serves one connection: reads the request line and writes what `reply` makes of it.
std::thread fakeServer(int listener, std::function<std::string(const RPCRequest&)> reply) {
    return std::thread([listener, reply] {
        pollfd ready{listener, POLLIN, 0};
        if (::poll(&ready, 1, 5000) != 1) return;
        UniqueFd connection(::accept(listener, nullptr, nullptr));
        std::string line;
        char byte;
        while (::recv(connection.get(), &byte, 1, MSG_WAITALL) == 1 && byte != '\n') line += byte;
        std::string bytes = reply(RPCCodec::decode<RPCRequest>(line));
        ::send(connection.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    });
}

std::string line(const RPCResponse& response) {
    auto bytes = RPCCodec::encodeLine(response);
    return {bytes.begin(), bytes.end()};
}

}  // namespace

TEST_F(ClientTest, reports_not_running_when_nothing_listens) {
    const std::string stale = folder + "/stale.sock", plain = folder + "/plain";
    {
        UniqueFd dead = detail::makeLocalSocket();
        ASSERT_EQ(detail::bindLocalSocket(dead.get(), stale), 0);
    }
    writeFile(plain, "x");
    for (const std::string& path :
         {folder + "/none.sock", folder + "/missing/h.sock", stale, plain, plain + "/h.sock"}) {
        EXPECT_EQ(thrownBy([&] { ControlClient::send(path, {"ping"}, 1); }),
                  HalywardError::unavailable("Halyward is not running."))
            << path;
    }
    EXPECT_EQ(thrownBy([&] { ControlClient::send(folder + std::string(200, 'a'), {}, 1); }).code,
              "failed");
}

TEST_F(ClientTest, gives_up_after_the_timeout_and_says_how_long_it_waited) {
    const std::string path = folder + "/slow.sock";
    UniqueFd listener = listenAt(path);
    const std::pair<double, std::string> cases[] = {
        {0.25, "Halyward did not answer within 0.25 seconds."},
        {1, "Halyward did not answer within 1 second."},
        {0, "Halyward did not answer within 0 seconds."},
    };
    for (const auto& c : cases)
        EXPECT_EQ(thrownBy([&] { ControlClient::send(path, {"ping"}, c.first); }),
                  HalywardError::unavailable(c.second));
}

TEST_F(ClientTest, rejects_answers_it_cannot_trust) {
    const std::string path = folder + "/odd.sock";
    UniqueFd listener = listenAt(path);
    using Reply = std::function<std::string(const RPCRequest&)>;
    const std::pair<Reply, std::string> cases[] = {
        {[](const RPCRequest&) { return line(RPCResponse("other", 0, "hi", "null")); }, "failed"},
        {[](const RPCRequest& r) { return line(RPCResponse(r.id, 0, "hi", "{nope")); }, "failed"},
        {[](const RPCRequest& r) { return "{\"id\":\"" + r.id + "\"}\n"; }, "failed"},
        {[](const RPCRequest&) { return std::string("{\"id\":"); }, "failed"},
        {[](const RPCRequest&) { return std::string(); }, "unavailable"},
    };
    for (const auto& [reply, code] : cases) {
        std::thread server = fakeServer(listener.get(), reply);
        HalywardError error = thrownBy([&] { ControlClient::send(path, {"ping"}, 5); });
        server.join();
        EXPECT_EQ(error.code, code) << error.message;
    }

    std::thread server = fakeServer(listener.get(), [](const RPCRequest& r) {
        return line(RPCResponse(r.id, 5, "No app.", R"({"code":"not_found"})")) + "ignored";
    });
    EXPECT_EQ(ControlClient::send(path, {"app", "remove", "x"}, 5),
              CommandOutput::fromError(HalywardError::notFound("No app.")));
    server.join();
}

TEST_F(ClientTest, takes_only_exit_statuses_the_program_defines) {
    // A process keeps only the low eight bits of its exit status: 256 would exit 0 and -1
    // would exit 255, so statuses outside 0 to 8 are an unexpected answer, not the app's.
    const std::string path = folder + "/status.sock";
    UniqueFd listener = listenAt(path);
    for (const std::int64_t status : {0ll, 8ll, 9ll, 256ll, -1ll, 1ll << 32}) {
        std::thread server = fakeServer(listener.get(), [status](const RPCRequest& r) {
            return line(RPCResponse(r.id, status, "from the app", "null"));
        });
        std::optional<CommandOutput> output;
        const HalywardError error = thrownBy([&] { output = ControlClient::send(path, {}, 5); });
        server.join();
        if (status >= 0 && status <= 8) {
            EXPECT_EQ(output, (CommandOutput{static_cast<int>(status), "from the app", {}}));
        } else {
            EXPECT_EQ(error, HalywardError::failed(
                                 "Halyward answered something unexpected: the exit status " +
                                 std::to_string(status) + " is not one Halyward uses."));
        }
    }
}
