#pragma once
/// Names and destinations of files that web pages download.

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

namespace halyward {

/// A file name that is safe to create in the downloads folder: trimmed, with "/", ":",
/// line breaks and NUL bytes replaced by "-", and "download" for an empty name, "." or
/// "..". Nothing else is changed.
std::string safeDownloadName(std::string_view name);

/// Where a download suggested as `suggestedFileName` is saved in `folder`: the safe name,
/// or, when `fileExists` says that path is taken, the first free "stem-2.ext",
/// "stem-3.ext", ... (for README: README-2, README-3, ...).
std::filesystem::path downloadDestination(
    const std::filesystem::path& folder, std::string_view suggestedFileName,
    const std::function<bool(const std::filesystem::path&)>& fileExists);

}  // namespace halyward
