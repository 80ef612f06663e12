// Pages come from the network and may be hostile: these measure that icon discovery and
// the page title stay linear in the page size on the shapes that make naive scanners
// quadratic (link tags that never close, one attribute megabytes long, titles that never
// end), next to an ordinary page full of icon links. Complexity() reports the fitted
// order; bytes per second shows the scan rate.
#include "halyward/webapps/site_icons.hpp"

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

const std::string kBase = "https://www.example.com/app/";

void BM_iconCandidates_unclosed_link_tags(benchmark::State& state) {
    const std::string page = "<html><head>" + repeated("<link rel=icon href=/a.png ",
                                                       static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(iconCandidates(page, kBase));
    finish(state);
}

void BM_iconCandidates_unclosed_tags_then_one_close(benchmark::State& state) {
    const std::string page =
        repeated("<link rel='icon", static_cast<std::size_t>(state.range(0))) + ">";
    for (auto _ : state) benchmark::DoNotOptimize(iconCandidates(page, kBase));
    finish(state);
}

void BM_iconCandidates_one_huge_attribute(benchmark::State& state) {
    const std::string page =
        "<link rel=\"icon\" sizes=\"" +
        repeated("16x16 ", static_cast<std::size_t>(state.range(0))) + "\" data-x=\"" +
        repeated("href= sizes='", static_cast<std::size_t>(state.range(0))) + "\" href=\"/i.png\">";
    for (auto _ : state) benchmark::DoNotOptimize(iconCandidates(page, kBase));
    finish(state);
}

void BM_iconCandidates_many_icon_links(benchmark::State& state) {
    std::string page;
    for (int i = 0; page.size() < static_cast<std::size_t>(state.range(0)); ++i) {
        page += "<link rel=\"apple-touch-icon\" sizes=\"180x180\" href=\"/icons/touch-" +
                std::to_string(i) + ".png\">\n";
    }
    for (auto _ : state) benchmark::DoNotOptimize(iconCandidates(page, kBase));
    finish(state);
}

void BM_pageTitle_never_closed(benchmark::State& state) {
    const std::string page =
        repeated("<title>&amp;&#x1F600; a  b <TITLE x>", static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(pageTitle(page));
    finish(state);
}

void BM_pageTitle_huge(benchmark::State& state) {
    const std::string page =
        "<title>" + repeated("Caf&#233; &amp; \t Co ", static_cast<std::size_t>(state.range(0))) +
        "</title>";
    for (auto _ : state) benchmark::DoNotOptimize(pageTitle(page));
    finish(state);
}

}  // namespace

BENCHMARK(BM_iconCandidates_unclosed_link_tags)
    ->RangeMultiplier(8)
    ->Range(1 << 14, 5 << 20)
    ->Complexity();
BENCHMARK(BM_iconCandidates_unclosed_tags_then_one_close)
    ->RangeMultiplier(8)
    ->Range(1 << 14, 5 << 20)
    ->Complexity();
BENCHMARK(BM_iconCandidates_one_huge_attribute)
    ->RangeMultiplier(8)
    ->Range(1 << 14, 5 << 20)
    ->Complexity();
BENCHMARK(BM_iconCandidates_many_icon_links)
    ->RangeMultiplier(8)
    ->Range(1 << 14, 5 << 20)
    ->Complexity();
BENCHMARK(BM_pageTitle_never_closed)->RangeMultiplier(8)->Range(1 << 14, 5 << 20)->Complexity();
BENCHMARK(BM_pageTitle_huge)->RangeMultiplier(8)->Range(1 << 14, 5 << 20)->Complexity();
BENCHMARK_MAIN();
