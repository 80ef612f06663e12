#pragma once
/// The running app's decisions: which chord does what, tile mode, focus and moves between
/// neighbours, layouts, displays, app hotkeys, window rules, animation, following the
/// configuration file, and the window side of the control socket. It acts only through a
/// `WindowSystem`, so everything here is tested against a fake one.

#include "halyward/app/tray_menu.hpp"
#include "halyward/app/window_system.hpp"
#include "halyward/base/command_output.hpp"
#include "halyward/commands/invocation.hpp"
#include "halyward/commands/targets.hpp"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace halyward {

/// What the app core needs besides the window system. Tests fill it with fakes.
struct AppCoreOptions {
    /// The user's home folder, the root of every default path.
    std::string home;
    /// The configuration file; empty means `HalywardPaths::configFile(home)`.
    std::string configPath;
    /// The control socket; empty means no control server (tests drive `runCommand`).
    std::string socketPath;
    /// Finds an installed application by the name a user typed (the `<app>` word of
    /// `tile` and of `[hotkeys]`); absent means names resolve only to web apps and
    /// identifiers.
    ApplicationLookup findApplication;
    /// Says one line to the user's log (standard error of the app): a chord another
    /// program holds, a configuration that no longer parses. Absent says nothing.
    std::function<void(std::string_view line)> report;
    /// The session's autostart entry that `launch_at_login` keeps (see autostart.hpp);
    /// empty leaves starting at login alone.
    std::string autostartFile;
    /// The absolute path of the running app's executable, which that entry starts.
    std::string executable;
    /// Called after each configuration is taken into use (at start and on every change
    /// that parses), so a front end can show what depends on it (the tray menu).
    std::function<void()> configurationApplied;
    /// Opens the new-app form (the new-app chord); absent leaves the chord unused.
    std::function<void()> showNewAppForm;
    /// Where the agent chord writes its launcher script; empty means the state folder of
    /// this platform for `home`.
    std::string commandFile;
};

/// The running app. Construct it, then `start()`; events arrive through the
/// `WindowSystemEvents` it implements. Lives on the main thread.
class AppCore : public WindowSystemEvents {
public:
    AppCore(WindowSystem& system, AppCoreOptions options);
    ~AppCore() override;
    AppCore(const AppCore&) = delete;
    AppCore& operator=(const AppCore&) = delete;

    /// Reads the configuration, grabs the chords, watches the file and starts the control
    /// server (when `socketPath` is set). Throws HalywardError::unavailable when another
    /// app already serves the socket.
    void start();
    /// Releases the chords and the keyboard, hides the app's own windows, stops the
    /// control server and removes its socket. Safe to call twice.
    void stop();

    /// Runs one command line (the arguments after the program name) as the control socket
    /// does, on the main thread.
    CommandOutput runCommand(const std::vector<std::string>& arguments);

    /// The tray menu for the configuration in force (tray_actions.cpp).
    std::vector<TrayMenuItem> trayMenu() const;
    /// Carries out the tray item whose action is `action`: applies a layout, enters tile
    /// mode, opens a web app or flips `launch_at_login` in the file (under the lock). What
    /// only the front end can do (the new-app form, opening the file, quitting) is handed
    /// back; none when the core did it all or the action is unknown.
    std::optional<TrayAction> trayChosen(std::string_view action);

    /// When `onboarding_complete` was false at start: the first-run window's text (with whether a
    /// tray host was found), after setting `onboarding_complete` to true in the file under
    /// the lock, so the window shows once. None once onboarding is complete.
    std::optional<std::string> firstRun(bool trayHostFound);

    /// The chords that could not be grabbed at the last (re)load.
    const std::vector<ChordGrabFailure>& grabFailures() const;
    /// Whether tile mode is on.
    bool tileModeActive() const;

    // WindowSystemEvents.
    void chordPressed(const HotkeyChord& chord) override;
    void keyPressed(const KeyPress& press) override;
    void leaderTapped() override;
    void windowAppeared(const WindowInfo& window) override;
    void windowVanished(WindowId id) override;
    void windowMoved(WindowId id, const Frame& frame) override;
    void focusChanged(std::optional<WindowId> id) override;
    void displaysChanged() override;
    void configurationChanged() override;
    void windowSystemLost() override;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace halyward
