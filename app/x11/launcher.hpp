#pragma once
// Starting applications through GIO's desktop-app launching, as a desktop's own launcher
// does: the desktop entry's Exec line and working folder, and startup notification for
// entries that ask for it, with the time of the user's action in the startup id so the
// new window may take the focus.

#include "halyward/app/window_system.hpp"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace halyward::x11 {

class Launcher {
public:
    /// `announce` sends one startup-notification message ("new: ID=…", "remove: ID=…") to
    /// the X screen.
    explicit Launcher(std::function<void(const std::string& message)> announce);

    /// Starts `request`'s app: its desktop entry (the identity as a desktop id, or the
    /// application id our launcher entries are named by), else the web-app bundle's host.
    /// Answers the new process's id (0 when GIO does not say), or none with `error` set.
    std::optional<std::int64_t> launch(const LaunchRequest& request, std::uint32_t userTime,
                                       std::string& error);

    /// The startup id of the next launch and the "new:" message that announces it; GIO
    /// asks for it only for entries with StartupNotify=true.
    std::string beginStartup(const std::string& name, const std::string& application);
    void startupFailed(const std::string& id);

private:
    std::function<void(const std::string&)> announce_;
    std::uint64_t launches_ = 0;
    std::uint32_t userTime_ = 0;
};

}  // namespace halyward::x11
