#include "halyward/system/paths.hpp"

namespace halyward::HalywardPaths {

namespace {

std::string joined(std::string_view home, std::string_view suffix) {
    std::string path;
    path.reserve(home.size() + suffix.size());
    path.append(home);
    path.append(suffix);
    return path;
}

constexpr std::string_view configSuffix = "/.config/halyward";
constexpr std::string_view supportSuffix = "/Library/Application Support/Halyward";

}  // namespace

std::string configDirectory(std::string_view home) { return joined(home, configSuffix); }

std::string configFile(std::string_view home) { return configDirectory(home) + "/config.toml"; }

std::string applicationSupport(std::string_view home) { return joined(home, supportSuffix); }

std::string socketFile(std::string_view home) {
    return applicationSupport(home) + "/halyward.sock";
}

std::string fallbackSocketFile(std::string_view home) {
    return configDirectory(home) + "/halyward.sock";
}

std::string resolvedSocketFile(std::string_view home, std::int64_t pathLimit) {
    std::string preferred = socketFile(home);
    // std::string counts bytes, which is what a socket address holds.
    if (pathLimit >= 0 && preferred.size() <= static_cast<std::uint64_t>(pathLimit)) {
        return preferred;
    }
    return fallbackSocketFile(home);
}

std::string commandFile(std::string_view home) {
    return applicationSupport(home) + "/agent.command";
}

std::string updateStampFile(std::string_view home) {
    return applicationSupport(home) + "/update-check.json";
}

std::string accessibilityGrantFile(std::string_view home) {
    return applicationSupport(home) + "/accessibility-grant.txt";
}

std::string appsDirectory(std::string_view home) {
    return joined(home, "/Applications/Halyward Apps");
}

std::vector<std::string> preferredCLILinks(std::string_view home) {
    return {"/usr/local/bin/halyward", joined(home, "/.local/bin/halyward")};
}

}  // namespace halyward::HalywardPaths
