#include "halyward/app/app_core.hpp"

#include "halyward/app/app_core_impl.hpp"
#include "halyward/app/app_hotkeys.hpp"
#include "halyward/app/autostart.hpp"
#include "halyward/app/desktop.hpp"
#include "halyward/app/tile_mode.hpp"
#include "halyward/app/tile_panel.hpp"
#include "halyward/hotkeys/hotkey_parser.hpp"
#include "halyward/system/paths.hpp"
#include "halyward/text/text.hpp"
#include "halyward/tiling/layout.hpp"

#include <algorithm>

namespace halyward {

namespace {

// How long the key after a tap of the leader key may take.
constexpr double leaderWindow = 1.0;

std::string configPathFor(const AppCoreOptions& options) {
    return options.configPath.empty() ? HalywardPaths::configFile(options.home)
                                      : options.configPath;
}

CommandContext commandContext(
    const AppCoreOptions& options,
    std::function<CommandOutput(const Invocation& invocation)> windowCommand,
    std::function<JSONArray()> grabFailures) {
    CommandContext context;
    context.home = options.home;
    context.configPath = configPathFor(options);
    context.findApplication = options.findApplication;
    context.windowCommand = std::move(windowCommand);
    context.grabFailures = std::move(grabFailures);
    return context;
}

}  // namespace

AppCore::Impl::Impl(WindowSystem& system, AppCoreOptions options)
    : system(system),
      options(options),
      config(configPathFor(options), options.report),
      mover(system),
      tiles(system, mover),
      router(commandContext(
          options, [this](const Invocation& invocation) { return windowCommand(invocation); },
          [this] {
              JSONArray failures;
              for (const ChordGrabFailure& failure : grabFailures)
                  failures.push_back(
                      JSONObject{{"chord", failure.chord.canonical()}, {"reason", failure.reason}});
              return failures;
          })),
      leaderTimer(system) {
    mover.onFrame = [this](WindowId id, const Frame& frame) {
        if (tileMode && outlined == id) this->system.showFocusOutline(frame);
    };
}

void AppCore::Impl::say(std::string_view line) const {
    if (options.report) options.report(line);
}

detail::TileSettings AppCore::Impl::settings() const {
    const GeneralConfig& general = config.config().general;
    return {general.tileGap, general.animateTiles};
}

void AppCore::Impl::start() {
    if (started) return;
    config.reload();
    // The socket first: a second instance learns that it is one before it takes any key.
    if (!options.socketPath.empty()) {
        server = std::make_unique<ControlServer>(
            options.socketPath,
            [this](const std::vector<std::string>& arguments) { return router.run(arguments); },
            ControlServerOptions{},
            [this](std::function<void()> work) { system.post(std::move(work)); });
        server->start();
    }
    started = true;
    firstRunDue = !config.config().general.onboardingComplete;
    applyConfiguration();
    system.watchConfiguration(config.path());
}

void AppCore::Impl::stop() {
    if (!started) return;
    started = false;
    if (server) {
        server->stop();
        server.reset();
    }
    mover.stop();
    tiles.stop();
    if (tileMode) leaveTileMode();
    if (leaderWaiting) endLeader();
    system.grabChords({});
    system.watchLeaderKey(std::nullopt);
    leaderWatched = false;
    system.hideTilePanel();
    system.hideFocusOutline();
}

detail::ConfigFollower::Reload AppCore::Impl::reload(bool force) {
    detail::ConfigFollower::Reload result = config.reload();
    if (started && !result.error && (result.changed || force)) applyConfiguration();
    return result;
}

void AppCore::Impl::applyConfiguration() {
    const HalywardConfig& current = config.config();
    bindings = detail::chordBindings(current);
    const std::vector<ChordGrabFailure> previous = std::move(grabFailures);
    grabFailures = system.grabChords(bindings.grabbed);
    for (const ChordGrabFailure& failure : grabFailures) {
        // A chord that stays taken is said once, not at every save of the file.
        if (std::find(previous.begin(), previous.end(), failure) != previous.end()) continue;
        say("Halyward cannot use the chord " + failure.chord.canonical() + ": " + failure.reason +
            ". Every other chord works.");
    }

    std::optional<HotkeyKey> leader;
    try {
        leader = HotkeyParser::parseLeader(current.general.leaderKey);
    } catch (const HalywardError& error) {
        say("The leader key setting is not a key: " + error.message);
    }
    // Caps Lock is only taken over when some chord needs it.
    leaderWatched = false;
    if (bindings.byLeaderKey.empty()) {
        system.watchLeaderKey(std::nullopt);
    } else if (!leader) {
        say("Chords with leader+ need leader_key = \"caps\" in [general]; until then they do "
            "nothing.");
        system.watchLeaderKey(std::nullopt);
    } else if (system.watchLeaderKey(leader)) {
        leaderWatched = true;
    } else {
        say("Halyward cannot watch " + text::quoted(leader->canonical()) +
            " as the leader key here, so chords with leader+ do nothing.");
    }

    if (!options.autostartFile.empty()) {
        std::string error;
        applyAutostart(options.autostartFile, current.general.launchAtLogin, options.executable,
                       error);
        if (!error.empty()) say(error);
    }

    rules = detail::WindowRules(current, options.findApplication);
    for (const std::string& problem : rules.problems) say(problem);
    if (options.configurationApplied) options.configurationApplied();

    if (tileMode) {
        // The panel shows the chords in force.
        const detail::Desktop desktop = detail::Desktop::read(system);
        if (!desktop.displays.empty()) {
            system.showTilePanel(detail::tilePanelContent(
                current.general, desktop.displays[desktop.focusedDisplay()].visibleFrame));
        }
    }
}

void AppCore::Impl::run(const detail::ChordCommand& command) {
    switch (command.kind) {
        case detail::ChordCommand::Kind::tileMode:
            if (tileMode) {
                leaveTileMode();
            } else {
                enterTileMode();
            }
            break;
        case detail::ChordCommand::Kind::layoutCycle: tiles.cycleLayout(settings()); break;
        case detail::ChordCommand::Kind::tile:
            if (command.action->kind() == TileAction::Kind::exit) {
                if (tileMode) leaveTileMode();
            } else {
                tiles.perform(*command.action, settings());
            }
            break;
        case detail::ChordCommand::Kind::app: pressAppHotkey(command.bundleIdentifier); break;
        case detail::ChordCommand::Kind::agent: pressAgent(); break;
        case detail::ChordCommand::Kind::newApp:
            if (options.showNewAppForm) options.showNewAppForm();
            break;
    }
}

void AppCore::Impl::pressAppHotkey(const std::string& identity) {
    const GeneralConfig& general = config.config().general;
    const detail::Desktop desktop = detail::Desktop::read(system);
    const detail::AppHotkeyStep step =
        detail::appHotkeyStep(desktop, identity, general.cycleWindows, general.hideOnRepeat);
    switch (step.action.kind()) {
        case FocusAction::Kind::launch: {
            std::string error;
            if (!system.launch(detail::launchRequest(config.config(), identity, options.home),
                               error)) {
                say(error.empty() ? "Halyward could not start " + identity + "." : error);
            }
            break;
        }
        case FocusAction::Kind::hide: system.hideApp(identity); break;
        case FocusAction::Kind::focus:
        case FocusAction::Kind::cycle:
            if (step.window) system.focus(*step.window);
            break;
    }
}

void AppCore::Impl::enterTileMode() {
    if (leaderWaiting) endLeader();
    if (!system.grabKeyboard()) {
        say("Tile mode needs the whole keyboard, and another program holds it.");
        return;
    }
    tileMode = true;
    const detail::Desktop desktop = detail::Desktop::read(system);
    if (!desktop.displays.empty()) {
        system.showTilePanel(detail::tilePanelContent(
            config.config().general, desktop.displays[desktop.focusedDisplay()].visibleFrame));
    }
    refreshOutline();
}

void AppCore::Impl::leaveTileMode() {
    tileMode = false;
    outlined.reset();
    system.releaseKeyboard();
    system.hideTilePanel();
    system.hideFocusOutline();
}

void AppCore::Impl::refreshOutline() {
    if (!tileMode) return;
    const std::optional<WindowId> focused = system.focusedWindow();
    const WindowInfo* window = nullptr;
    std::vector<WindowInfo> windows;
    if (focused) {
        windows = system.windows();
        for (const WindowInfo& candidate : windows) {
            if (candidate.id == *focused && !candidate.hidden) window = &candidate;
        }
    }
    if (window) {
        outlined = window->id;
        system.showFocusOutline(window->frame);
    } else {
        outlined.reset();
        system.hideFocusOutline();
    }
}

void AppCore::Impl::tileModeKey(const KeyPress& press) {
    const detail::TileModeKey step = detail::tileModeKey(press, bindings);
    switch (step.kind) {
        case detail::TileModeKey::Kind::ignore: break;
        case detail::TileModeKey::Kind::leave: leaveTileMode(); break;
        case detail::TileModeKey::Kind::action: tiles.perform(*step.action, settings()); break;
        case detail::TileModeKey::Kind::command: run(*step.command); break;
    }
}

void AppCore::Impl::startLeader() {
    if (tileMode || leaderWaiting || !leaderWatched) return;
    if (!system.grabKeyboard()) return;
    leaderWaiting = true;
    leaderTimer.start(leaderWindow, [this] { endLeader(); });
}

void AppCore::Impl::endLeader() {
    if (!leaderWaiting) return;
    leaderWaiting = false;
    leaderTimer.cancel();
    system.releaseKeyboard();
}

void AppCore::Impl::placeByRule(const detail::Desktop& desktop, const WindowInfo& window,
                                const detail::Placement& placement, bool animate) {
    if (desktop.displays.empty()) return;
    std::size_t display = desktop.displayIndex(window.frame);
    // A rule for a display that is not connected now tiles on the window's own display.
    if (placement.display && *placement.display >= 1 &&
        static_cast<std::size_t>(*placement.display) <= desktop.displays.size()) {
        display = static_cast<std::size_t>(*placement.display - 1);
    }
    const Frame frame =
        frameForTile(placement.slot, desktop.displays[display].visibleFrame, settings().gap);
    mover.move(window.id, window.frame, frame, animate);
}

// With auto_tile on, a window that no rule places joins the layout of its display: the
// one last applied there, or halves when none was; when such a window closes, the others
// close the gap. Windows that rules place keep their tiles and stay out of the layout.
void AppCore::Impl::autoTile(const WindowInfo& window, bool gone) {
    detail::Desktop desktop = detail::Desktop::read(system);
    if (desktop.displays.empty()) return;
    std::erase_if(desktop.windows, [&](const WindowInfo& other) {
        if (other.id == window.id) return gone;
        return rules.placementFor(other, true).has_value();
    });
    if (!gone && !desktop.window(window.id))
        desktop.windows.insert(desktop.windows.begin(), window);
    const std::size_t display = desktop.displayIndex(window.frame);
    const std::int64_t layout = tiles.lastLayout(desktop.displays[display]).value_or(1);
    tiles.applyLayout(desktop, display, layout, settings());
    // Only the display matters later, and each of these is on this one.
    for (const WindowInfo* laidOut : desktop.windowsOn(display)) {
        autoTiled[laidOut->id] = laidOut->frame;
    }
}

// AppCore: the public face forwards to Impl.

AppCore::AppCore(WindowSystem& system, AppCoreOptions options)
    : impl_(std::make_unique<Impl>(system, std::move(options))) {
    system.setEvents(this);
}

AppCore::~AppCore() { impl_->stop(); }

void AppCore::start() { impl_->start(); }
void AppCore::stop() { impl_->stop(); }

CommandOutput AppCore::runCommand(const std::vector<std::string>& arguments) {
    return impl_->router.run(arguments);
}

const std::vector<ChordGrabFailure>& AppCore::grabFailures() const { return impl_->grabFailures; }
bool AppCore::tileModeActive() const { return impl_->tileMode; }

void AppCore::chordPressed(const HotkeyChord& chord) {
    if (!impl_->started) return;
    if (const detail::ChordCommand* command = impl_->bindings.find(chord)) impl_->run(*command);
}

void AppCore::keyPressed(const KeyPress& press) {
    if (!impl_->started) return;
    if (impl_->leaderWaiting) {
        impl_->endLeader();
        if (const detail::ChordCommand* command = impl_->bindings.findAfterLeader(press.key)) {
            impl_->run(detail::ChordCommand(*command));
        }
        return;
    }
    if (impl_->tileMode) impl_->tileModeKey(press);
}

void AppCore::leaderTapped() {
    if (!impl_->started) return;
    impl_->startLeader();
}

void AppCore::windowAppeared(const WindowInfo& window) {
    if (!impl_->started || window.hidden) return;
    const detail::Desktop desktop = detail::Desktop::read(impl_->system);
    bool firstOfApp = true;
    for (const WindowInfo* other : desktop.windowsOf(window.appIdentity)) {
        if (other->id != window.id) firstOfApp = false;
    }
    if (std::optional<detail::Placement> placement =
            impl_->rules.placementFor(window, firstOfApp)) {
        // A window that has just appeared goes straight to its tile: there is nothing on
        // screen yet worth animating from.
        impl_->placeByRule(desktop, window, *placement, false);
    } else if (impl_->config.config().general.autoTile) {
        impl_->autoTile(window, false);
    }
}

void AppCore::windowVanished(WindowId id) {
    impl_->mover.forget(id);
    if (const auto laidOut = impl_->autoTiled.find(id); laidOut != impl_->autoTiled.end()) {
        WindowInfo gone;
        gone.id = id;
        gone.frame = laidOut->second;
        impl_->autoTiled.erase(laidOut);
        if (impl_->started && impl_->config.config().general.autoTile) impl_->autoTile(gone, true);
    }
    if (impl_->tileMode && impl_->outlined == id) impl_->refreshOutline();
}

void AppCore::windowMoved(WindowId id, const Frame& frame) {
    if (impl_->tileMode && impl_->outlined == id) impl_->system.showFocusOutline(frame);
}

void AppCore::focusChanged(std::optional<WindowId>) { impl_->refreshOutline(); }

void AppCore::displaysChanged() {
    if (!impl_->tileMode) return;
    const detail::Desktop desktop = detail::Desktop::read(impl_->system);
    if (desktop.displays.empty()) return;
    impl_->system.showTilePanel(detail::tilePanelContent(
        impl_->config.config().general, desktop.displays[desktop.focusedDisplay()].visibleFrame));
}

void AppCore::configurationChanged() {
    if (impl_->started) impl_->reload(false);
}

void AppCore::windowSystemLost() { impl_->stop(); }

}  // namespace halyward
