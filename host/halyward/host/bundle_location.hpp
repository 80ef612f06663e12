#pragma once
/// Finding the web-app bundle that holds the running host.

#include <filesystem>
#include <optional>

namespace halyward {

/// The bundle folder of the host executable at `executable`, which a bundle holds as
/// `<bundle>/Contents/MacOS/<name>`. Symbolic links are resolved first, so a link to the
/// executable finds the bundle of the real file. None when the executable does not sit in
/// a bundle.
std::optional<std::filesystem::path> bundleOfExecutable(const std::filesystem::path& executable);

}  // namespace halyward
