// Reading and editing a large configuration: 5,000 web apps (about 1 MB of TOML).

#include "generated_config.hpp"

#include "halyward/config/config_file.hpp"

#include <benchmark/benchmark.h>

#include <string>

using namespace halyward;

namespace {

constexpr int appCount = 5000;

const std::string& largeText() {
    static const std::string text = generatedConfig(appCount);
    return text;
}

void parseAndDecode(benchmark::State& state) {
    const std::string& text = largeText();
    for (auto _ : state) {
        HalywardConfig config = ConfigFile(text).decode();
        benchmark::DoNotOptimize(config);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}
BENCHMARK(parseAndDecode)->Unit(benchmark::kMillisecond);

void decodeOnly(benchmark::State& state) {
    const ConfigFile file(largeText());
    for (auto _ : state) {
        HalywardConfig config = file.decode();
        benchmark::DoNotOptimize(config);
    }
    state.counters["apps"] = static_cast<double>(file.decode().apps.size());
}
BENCHMARK(decodeOnly)->Unit(benchmark::kMillisecond);

// Changing an app that sits in the middle of the file, as `app` edits do.
void upsertExistingAppAndRender(benchmark::State& state) {
    ConfigFile file(largeText());
    const HalywardConfig config = file.decode();
    WebAppRecord record = config.apps.at(config.apps.size() / 2);
    std::int64_t round = 0;
    for (auto _ : state) {
        record.spec.url = "https://changed.example/" + std::to_string(round++);
        file.upsertApp(record);
        std::string text = file.text();
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(upsertExistingAppAndRender)->Unit(benchmark::kMillisecond);

// Adding a new app, which creates its table at the end of the file. The app is removed
// again outside the timing so that every round starts from the same file.
void upsertNewAppAndRender(benchmark::State& state) {
    ConfigFile file(largeText());
    const WebAppRecord record{"bench-new",
                              {"https://new.example", "New", "app.halyward.web.bench-new"}};
    for (auto _ : state) {
        file.upsertApp(record);
        std::string text = file.text();
        benchmark::DoNotOptimize(text);
        state.PauseTiming();
        file.removeApp(record.slug);
        state.ResumeTiming();
    }
}
BENCHMARK(upsertNewAppAndRender)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
