#pragma once
// What makes halyward-app at home on a Linux desktop beyond tiling: the tray item and its
// menu, and carrying out the menu items only a front end can (opening the configuration
// in the user's editor, the new-app form, quitting).

#include "event_loop.hpp"
#include "halyward/app/app_core.hpp"
#include "halyward/system/platform_paths.hpp"
#include "tray.hpp"

#include <functional>
#include <memory>
#include <string>

namespace halyward::x11 {

class DesktopCitizen {
public:
    DesktopCitizen(EventLoop& loop, PlatformPaths paths, std::string executable);

    /// For `AppCoreOptions::configurationApplied`: shows the menu of the new configuration.
    std::function<void()> configurationApplied();
    /// For `AppCoreOptions::showNewAppForm`: starts the form beside this executable.
    std::function<void()> newAppForm();
    /// Shows the tray item for `core` once it runs; `core` must outlive this object.
    void attach(AppCore& core);
    /// Whether a tray host was on the bus when last asked.
    bool trayHostFound() const { return tray_ && tray_->hostFound(); }

private:
    void chosen(const std::string& action);
    void showNewAppForm();
    void showFirstRun();

    EventLoop& loop_;
    PlatformPaths paths_;
    std::string executable_;
    AppCore* core_ = nullptr;
    std::unique_ptr<Tray> tray_;
    std::unique_ptr<TimerHandle> firstRun_;
};

}  // namespace halyward::x11
