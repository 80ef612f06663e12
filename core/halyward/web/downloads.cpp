#include "halyward/web/downloads.hpp"

#include "halyward/text/text.hpp"

#include <cstdint>
#include <cstdio>
#include <random>

namespace halyward {

namespace {

constexpr std::string_view kFallbackName = "download";

// Numbered names are tried up to this count; a folder that really holds that many copies
// of one name is better served by a random suffix than by ever longer scans.
constexpr int kMaxNumberedCandidates = 100000;

// A character is replaced when it would change the meaning of the name as a path ("/"),
// is the old macOS path separator that file dialogs show as "/" (":"), or breaks the name
// across lines. A NUL byte is replaced too: the C file interfaces would silently cut the name
// there and could write over another file. The test looks inside the whole cluster
// because a prepended mark can pull a "/" into the middle of one.
bool mustReplace(std::string_view cluster) {
    if (text::isLineBreak(text::decodeAt(cluster, 0).value)) return true;
    return cluster.find_first_of(std::string_view("/:\0", 3)) != std::string_view::npos;
}

// Splits a file name into stem and extension the way file managers show them: the
// extension follows the last ".", but a name that starts with its only "." (".profile")
// or ends with a "." has none.
std::pair<std::string_view, std::string_view> stemAndExtension(std::string_view name) {
    const std::size_t dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0 || dot + 1 == name.size()) return {name, {}};
    return {name.substr(0, dot), name.substr(dot + 1)};
}

std::string numberedName(std::string_view stem, std::string_view extension, std::string_view tag) {
    std::string name;
    name.reserve(stem.size() + extension.size() + tag.size() + 2);
    name.append(stem).append("-").append(tag);
    if (!extension.empty()) name.append(".").append(extension);
    return name;
}

}  // namespace

std::string safeDownloadName(std::string_view name) {
    const std::string_view trimmed = text::trim(name);
    if (trimmed.empty()) return std::string(kFallbackName);
    std::string safe;
    safe.reserve(trimmed.size());
    for (std::size_t pos = 0; pos < trimmed.size();) {
        const std::size_t end = text::nextGrapheme(trimmed, pos);
        const std::string_view cluster = trimmed.substr(pos, end - pos);
        if (mustReplace(cluster)) {
            safe.push_back('-');
        } else {
            safe.append(cluster);
        }
        pos = end;
    }
    if (safe == "." || safe == "..") return std::string(kFallbackName);
    return safe;
}

std::filesystem::path downloadDestination(
    const std::filesystem::path& folder, std::string_view suggestedFileName,
    const std::function<bool(const std::filesystem::path&)>& fileExists) {
    const std::string safe = safeDownloadName(suggestedFileName);
    std::filesystem::path candidate = folder / safe;
    if (!fileExists || !fileExists(candidate)) return candidate;

    const auto [stem, extension] = stemAndExtension(safe);
    for (int n = 2; n <= kMaxNumberedCandidates; ++n) {
        candidate = folder / numberedName(stem, extension, std::to_string(n));
        if (!fileExists(candidate)) return candidate;
    }
    std::random_device seed;
    std::mt19937_64 random((static_cast<std::uint64_t>(seed()) << 32) ^ seed());
    for (int attempt = 0; attempt < 100; ++attempt) {
        char tag[17];
        std::snprintf(tag, sizeof tag, "%016llx", static_cast<unsigned long long>(random()));
        candidate = folder / numberedName(stem, extension, tag);
        if (!fileExists(candidate)) break;
    }
    // A predicate that calls every name taken gets the last random name; the platform then
    // fails the download if the file really cannot be created.
    return candidate;
}

}  // namespace halyward
