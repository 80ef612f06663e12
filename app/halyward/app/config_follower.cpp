#include "halyward/app/config_follower.hpp"

#include "halyward/config/config_file.hpp"
#include "halyward/text/text.hpp"

namespace halyward::detail {

ConfigFollower::ConfigFollower(std::string path, std::function<void(std::string_view)> report)
    : path_(std::move(path)),
      report_(std::move(report)),
      config_(ConfigFile::makeDefault().decode()) {}

ConfigFollower::Reload ConfigFollower::reload() {
    Reload result;
    try {
        HalywardConfig fresh = ConfigFile::load(path_).decode();
        broken_ = false;
        if (fresh != config_) {
            config_ = std::move(fresh);
            result.changed = true;
        }
    } catch (const HalywardError& error) {
        // An editor saving half a change must not take every chord away: the app goes on
        // with what it last read, and says so once rather than at every save.
        if (!broken_ && report_) {
            std::string line = error.message;
            if (!line.empty() && line.back() != '.') line += '.';
            report_(line + " Halyward keeps the settings it last read from " + text::quoted(path_) +
                    ".");
        }
        broken_ = true;
        result.error = error;
    }
    return result;
}

}  // namespace halyward::detail
