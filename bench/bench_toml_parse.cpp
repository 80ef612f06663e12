// Reading and writing a 5,000-app configuration (about 1 MB): our parser and renderer,
// and toml++ reading the same text for scale.

#include <benchmark/benchmark.h>

#include <string>

#include "generated_config.hpp"
#include "halyward/toml/document.hpp"

// Debian's package ships the header as toml.h, upstream as toml.hpp.
#if __has_include(<toml++/toml.hpp>)
#include <toml++/toml.hpp>
#define HALYWARD_HAVE_TOMLPLUSPLUS 1
#elif __has_include(<toml++/toml.h>)
#include <toml++/toml.h>
#define HALYWARD_HAVE_TOMLPLUSPLUS 1
#endif

namespace {

const std::string& configText() {
    static const std::string text = halyward::generatedConfig(5000);
    return text;
}

void parseOurs(benchmark::State& state) {
    const std::string& text = configText();
    for (auto _ : state) {
        auto document = halyward::TOMLParser::parse(text);
        benchmark::DoNotOptimize(document);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}
BENCHMARK(parseOurs)->Unit(benchmark::kMillisecond);

void renderOurs(benchmark::State& state) {
    const std::string& text = configText();
    const auto document = halyward::TOMLParser::parse(text);
    for (auto _ : state) {
        auto rendered = halyward::renderTOML(document);
        benchmark::DoNotOptimize(rendered);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}
BENCHMARK(renderOurs)->Unit(benchmark::kMillisecond);

#ifdef HALYWARD_HAVE_TOMLPLUSPLUS
void parseTomlPlusPlus(benchmark::State& state) {
    const std::string& text = configText();
    for (auto _ : state) {
        auto table = toml::parse(text);
        benchmark::DoNotOptimize(table);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}
BENCHMARK(parseTomlPlusPlus)->Unit(benchmark::kMillisecond);
#endif

}  // namespace

BENCHMARK_MAIN();
