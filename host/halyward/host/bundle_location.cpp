#include "halyward/host/bundle_location.hpp"

#include <system_error>

namespace halyward {

std::optional<std::filesystem::path> bundleOfExecutable(const std::filesystem::path& executable) {
    std::error_code error;
    std::filesystem::path real = std::filesystem::canonical(executable, error);
    if (error) real = executable.lexically_normal();
    const std::filesystem::path macOS = real.parent_path();
    const std::filesystem::path contents = macOS.parent_path();
    if (macOS.filename() != "MacOS" || contents.filename() != "Contents") return std::nullopt;
    const std::filesystem::path bundle = contents.parent_path();
    if (bundle.empty() || bundle == contents) return std::nullopt;
    return bundle;
}

}  // namespace halyward
