#pragma once
// The app core's state, shared by the files that carry out its parts: app_core.cpp (start,
// stop, configuration, chords, tile mode, the leader key, window events) and
// control_commands.cpp (the window side of the control socket).

#include "halyward/app/app_core.hpp"
#include "halyward/app/chord_bindings.hpp"
#include "halyward/app/config_follower.hpp"
#include "halyward/app/tile_actions.hpp"
#include "halyward/app/timer.hpp"
#include "halyward/app/window_mover.hpp"
#include "halyward/app/window_rules.hpp"
#include "halyward/commands/command_router.hpp"
#include "halyward/control/control_server.hpp"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace halyward {

struct AppCore::Impl {
    Impl(WindowSystem& system, AppCoreOptions options);

    // Lifecycle and configuration.
    void start();
    void stop();
    void say(std::string_view line) const;
    // Reads the file again; applies it when it changed or when `force` says so.
    detail::ConfigFollower::Reload reload(bool force);
    // Grabs the chords of the configuration in force, watches the leader key and reads
    // the rules.
    void applyConfiguration();
    detail::TileSettings settings() const;

    // Keys.
    void run(const detail::ChordCommand& command);
    void pressAppHotkey(const std::string& identity);
    // agent_chord_run.cpp.
    void pressAgent();
    void enterTileMode();
    void leaveTileMode();
    void tileModeKey(const KeyPress& press);
    void refreshOutline();
    void startLeader();
    void endLeader();

    // Windows.
    void placeByRule(const detail::Desktop& desktop, const WindowInfo& window,
                     const detail::Placement& placement, bool animate);
    // Lays out the display of `window` (a newcomer, or one that has just closed) again.
    void autoTile(const WindowInfo& window, bool gone);

    // The control socket (control_commands.cpp).
    CommandOutput windowCommand(const Invocation& invocation);
    CommandOutput tileCommand(const Invocation& invocation);
    CommandOutput layoutSaveCommand(const Invocation& invocation);
    CommandOutput layoutApplyCommand(const Invocation& invocation);
    CommandOutput applyCommand();

    WindowSystem& system;
    AppCoreOptions options;
    detail::ConfigFollower config;
    detail::ChordBindings bindings;
    std::vector<ChordGrabFailure> grabFailures;
    detail::WindowRules rules;
    detail::WindowMover mover;
    detail::TileActions tiles;
    CommandRouter router;
    std::unique_ptr<ControlServer> server;

    bool started = false;
    // The file said onboarding_complete = false at start and the first-run window has not
    // been shown yet.
    bool firstRunDue = false;
    bool tileMode = false;
    // The leader key is watched: leader chords exist and the key could be watched.
    bool leaderWatched = false;
    bool leaderWaiting = false;
    detail::Timer leaderTimer;
    // The windows auto_tile laid out, with the frame each was given, so that a window that
    // closes is known to leave a gap in its display's layout.
    std::map<WindowId, Frame> autoTiled;
    // The focused window while tile mode is on, whose frame the outline rings.
    std::optional<WindowId> outlined;
};

}  // namespace halyward
