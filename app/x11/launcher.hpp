#pragma once
// Starting applications through GIO's desktop-app launching, as a desktop's own launcher
// does: the desktop entry's Exec line, its working folder and a startup id carrying the
// time of the user's action, so that the new window may take the focus.

#include "halyward/app/window_system.hpp"

#include <cstdint>
#include <optional>
#include <string>

namespace halyward::x11 {

class Launcher {
public:
    /// Starts `request`'s app: its desktop entry (the identity as a desktop id, or the
    /// application id our launcher entries are named by), else the web-app bundle's host.
    /// Answers the new process's id (0 when GIO does not say), or none with `error` set.
    std::optional<std::int64_t> launch(const LaunchRequest& request, std::uint32_t userTime,
                                       std::string& error);

private:
    std::uint64_t launches_ = 0;
};

}  // namespace halyward::x11
