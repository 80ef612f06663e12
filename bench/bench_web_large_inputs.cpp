// Inputs from pages are untrusted and may be huge: these measure that the link policy, the
// badge reader, download names and command-line splitting stay linear in the input size
// on the shapes most likely to make them slow. Complexity() reports the fitted order.
#include "halyward/text/shell_quote.hpp"
#include "halyward/web/badge.hpp"
#include "halyward/web/downloads.hpp"
#include "halyward/web/link_policy.hpp"

#include <benchmark/benchmark.h>

#include <string>

using namespace halyward;

namespace {

std::string repeated(std::string_view piece, std::size_t size) {
    std::string out;
    out.reserve(size + piece.size());
    while (out.size() < size) out.append(piece);
    return out;
}

void finish(benchmark::State& state) {
    state.SetComplexityN(state.range(0));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}

void BM_decideLink_long_query(benchmark::State& state) {
    const std::string target =
        "https://other.org/p?" + repeated("a_b=%41&", static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            decideLink("https://www.example.com", target, false, true, LinkActivation::userLink));
    }
    finish(state);
}

void BM_decideLink_unparsable_blanks(benchmark::State& state) {
    const std::string target =
        "mailto:" + repeated(" \xC3\xA9[#%", static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            decideLink("https://www.example.com", target, true, true, LinkActivation::userLink));
    }
    finish(state);
}

void BM_badgeCount_near_misses(benchmark::State& state) {
    const std::string title =
        "x" + repeated("(1)   (22)\xC2\xA0 ((((", static_cast<std::size_t>(state.range(0))) + "x";
    for (auto _ : state) benchmark::DoNotOptimize(badgeCount(title));
    finish(state);
}

void BM_safeDownloadName_mixed_text(benchmark::State& state) {
    const std::string name =
        repeated("a/b:\xE2\x80\xA8\x65\xCC\x81\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x92\xBB ",
                 static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(safeDownloadName(name));
    finish(state);
}

void BM_split_quoted_text(benchmark::State& state) {
    const std::string line = repeated("'it'\"'\"'s' a\\ b \"x\\\"y\" \xCC\x81 ",
                                      static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(ShellQuote::split(line));
    finish(state);
}

}  // namespace

BENCHMARK(BM_decideLink_long_query)->RangeMultiplier(8)->Range(1 << 14, 10 << 20)->Complexity();
BENCHMARK(BM_decideLink_unparsable_blanks)
    ->RangeMultiplier(8)
    ->Range(1 << 14, 10 << 20)
    ->Complexity();
BENCHMARK(BM_badgeCount_near_misses)->RangeMultiplier(8)->Range(1 << 14, 10 << 20)->Complexity();
BENCHMARK(BM_safeDownloadName_mixed_text)
    ->RangeMultiplier(8)
    ->Range(1 << 14, 10 << 20)
    ->Complexity();
BENCHMARK(BM_split_quoted_text)->RangeMultiplier(8)->Range(1 << 14, 10 << 20)->Complexity();
BENCHMARK_MAIN();
