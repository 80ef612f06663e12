// Feeds arbitrary bytes to the page and manifest scanners. The input is split at its
// first NUL into a base address and the document; the same document is read as a page
// and as a manifest.
#include "halyward/webapps/site_icons.hpp"

#include <cstdint>
#include <cstdlib>
#include <string_view>

using namespace halyward;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::size_t cut = input.find('\0');
    const std::string_view base =
        cut == std::string_view::npos ? "https://example.com/a/" : input.substr(0, cut);
    const std::string_view document = cut == std::string_view::npos ? input : input.substr(cut + 1);

    const std::vector<IconCandidate> page = iconCandidates(document, base);
    std::size_t manifests = 0;
    for (const IconCandidate& candidate : page) {
        if (candidate.rel == "manifest") ++manifests;
        // Every candidate is absolute and never an inline image.
        if (candidate.url.empty() || candidate.url.rfind("data:", 0) == 0) abort();
        if (candidate.size && *candidate.size < 0) abort();
    }
    if (manifests > 1 ||
        (manifests == 1) != (manifestHref(document) && resolve(*manifestHref(document), base)))
        abort();

    // The best address is the first of the ranked list, and ranking keeps every address.
    const std::vector<IconCandidate> ranked = rankedIcons(page);
    const std::optional<std::string> best = bestIconURL(page);
    if (best.has_value() != !ranked.empty() || (best && *best != ranked.front().url)) abort();

    for (const IconCandidate& candidate : manifestIconCandidates(document, base)) {
        if (candidate.rel != "manifest-icon") abort();
    }
    (void)manifestName(document);
    if (const auto title = pageTitle(document)) {
        if (title->empty() || title->front() == ' ' || title->back() == ' ') abort();
    }
    (void)iconSize(document);
    (void)attribute(base, document);
    return 0;
}
