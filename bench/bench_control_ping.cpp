// One `ping` round trip through the control socket, as the command line makes it: connect,
// write the request line, wait for the response line, decode it. The server runs in this
// process with a handler that answers at once, so the figure is the transport's own cost.
#include "halyward/control/control_client.hpp"
#include "halyward/control/control_server.hpp"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>

#include <unistd.h>

namespace {

using namespace halyward;

void BM_control_ping_round_trip(benchmark::State& state) {
    char pattern[] = "/tmp/hwbench-XXXXXX";
    const std::string folder = ::mkdtemp(pattern);
    const std::string path = folder + "/halyward.sock";
    {
        ControlServer server(path, [](const std::vector<std::string>&) {
            return CommandOutput{ExitCode::ok, "pong", JSONValue(JSONObject{{"pong", true}})};
        });
        server.start();
        const std::vector<std::string> arguments{"ping"};
        for (auto _ : state) {
            CommandOutput output = ControlClient::send(path, arguments, 5);
            if (!output.ok()) {
                state.SkipWithError("the server did not answer pong");
                break;
            }
            benchmark::DoNotOptimize(output);
        }
    }
    std::filesystem::remove_all(folder);
}
BENCHMARK(BM_control_ping_round_trip)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

// A 4 MiB answer (more than any socket buffer holds), as a long `config show` would give:
// the server writes it in pieces as the client reads.
void BM_control_large_answer(benchmark::State& state) {
    char pattern[] = "/tmp/hwbench-XXXXXX";
    const std::string folder = ::mkdtemp(pattern);
    const std::string path = folder + "/halyward.sock";
    const std::string text(4 << 20, 'm');
    {
        ControlServer server(path, [&](const std::vector<std::string>&) {
            return CommandOutput{ExitCode::ok, text, nullptr};
        });
        server.start();
        const std::vector<std::string> arguments{"config", "show"};
        for (auto _ : state) {
            CommandOutput output = ControlClient::send(path, arguments, 60);
            if (output.message.size() != text.size()) {
                state.SkipWithError("the answer arrived incomplete");
                break;
            }
            benchmark::DoNotOptimize(output);
        }
        state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                                static_cast<std::int64_t>(text.size()));
    }
    std::filesystem::remove_all(folder);
}
BENCHMARK(BM_control_large_answer)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
