#pragma once
// The configuration the app runs with: read from config.toml at start and again whenever
// the file changes, keeping the last configuration that parsed when a saved file does
// not.

#include "halyward/base/error.hpp"
#include "halyward/config/config.hpp"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace halyward::detail {

class ConfigFollower {
public:
    // Starts from the defaults; call `reload` to read the file.
    ConfigFollower(std::string path, std::function<void(std::string_view)> report);

    struct Reload {
        // The configuration in force differs from the one before.
        bool changed = false;
        // Why the file could not be read; the configuration in force stays as it was.
        std::optional<HalywardError> error;
    };

    // Reads the file again. A missing file reads as the default file (nothing is written).
    // A file that cannot be read or parsed keeps the configuration in force and is
    // reported once, however often it is saved in that state, until it reads again.
    Reload reload();

    const HalywardConfig& config() const { return config_; }
    const std::string& path() const { return path_; }

private:
    std::string path_;
    std::function<void(std::string_view)> report_;
    HalywardConfig config_;
    bool broken_ = false;
};

}  // namespace halyward::detail
