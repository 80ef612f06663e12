#pragma once
// The tray item: a StatusNotifierItem on the session bus with its menu served by
// libdbusmenu-glib. It runs on a thread of its own that iterates GLib's default main
// context, so the app's main loop needs no GLib integration; the menu comes from the app core and the
// chosen item goes back to the main loop as its action text. Without a session bus or a
// tray host the app works the same; a host that appears later (or again) gets the item.

#include "halyward/app/tray_menu.hpp"

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace halyward::x11 {

class Tray {
public:
    /// `chosen` and `hostChanged` are called on the tray's thread.
    Tray(std::function<void(const std::string& action)> chosen,
         std::function<void(bool found)> hostChanged);
    ~Tray();
    Tray(const Tray&) = delete;
    Tray& operator=(const Tray&) = delete;

    /// Shows `menu` from now on. Safe from any thread.
    void setMenu(std::vector<TrayMenuItem> menu);
    /// Whether a tray host (a StatusNotifierWatcher) is on the bus.
    bool hostFound() const { return hostFound_; }

    struct State;

private:
    std::shared_ptr<State> state_;
    std::atomic<bool> hostFound_{false};
    std::thread thread_;
};

}  // namespace halyward::x11
