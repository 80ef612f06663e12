// The tray menu's side of the app core: the menu for the configuration in force, and the
// items the core carries out itself.

#include "halyward/app/app_core_impl.hpp"
#include "halyward/app/app_hotkeys.hpp"
#include "halyward/app/desktop.hpp"
#include "halyward/app/first_run.hpp"
#include "halyward/config/config_file.hpp"

namespace halyward {

std::optional<std::string> AppCore::firstRun(bool trayHostFound) {
    Impl& impl = *impl_;
    // Decided at start: a later save of the file without the key does not bring it back.
    if (!impl.started || !impl.firstRunDue) return std::nullopt;
    impl.firstRunDue = false;
    try {
        ConfigFile::update(impl.config.path(), [](ConfigFile& file) {
            file.document.set({"general"}, "onboarding_complete", TOMLValue::boolean(true));
        });
    } catch (const HalywardError& error) {
        // A file that cannot be written would bring the window back at every start.
        impl.say(error.message);
        return std::nullopt;
    }
    impl.reload(false);
    return firstRunText(impl.config.config().general, trayHostFound);
}

std::vector<TrayMenuItem> AppCore::trayMenu() const {
    return halyward::trayMenu(impl_->config.config());
}

std::optional<TrayAction> AppCore::trayChosen(std::string_view action) {
    const std::optional<TrayAction> chosen = parseTrayAction(action);
    if (!chosen || !impl_->started) return std::nullopt;
    Impl& impl = *impl_;
    switch (chosen->kind) {
        case TrayAction::Kind::applyLayout: {
            // The same command the socket runs, so a missing window reads the same.
            const CommandOutput output = runCommand({"layout", "apply", chosen->name});
            if (!output.ok()) impl.say(output.message);
            return std::nullopt;
        }
        case TrayAction::Kind::tileMode:
            if (!impl.tileMode) impl.enterTileMode();
            return std::nullopt;
        case TrayAction::Kind::openApp:
            for (const WebAppRecord& app : impl.config.config().apps) {
                if (app.slug != chosen->name) continue;
                const std::string& identity = app.spec.bundleIdentifier;
                // Opening brings the app up; it never hides it, whatever the hotkey does.
                const detail::AppHotkeyStep step = detail::appHotkeyStep(
                    detail::Desktop::read(impl.system), identity, false, false);
                if (step.action.kind() == FocusAction::Kind::launch || !step.window) {
                    std::string error;
                    if (!impl.system.launch(detail::launchRequest(impl.config.config(), identity,
                                                                  impl.options.home),
                                            error))
                        impl.say(error.empty() ? "Halyward could not start " + identity + "."
                                               : error);
                } else {
                    impl.system.focus(*step.window);
                }
            }
            return std::nullopt;
        case TrayAction::Kind::startAtLogin:
            try {
                // One key flipped in place, under the lock, from what the file says now.
                ConfigFile::update(impl.config.path(), [](ConfigFile& file) {
                    const bool on = file.decode().general.launchAtLogin;
                    file.document.set({"general"}, "launch_at_login", TOMLValue::boolean(!on));
                });
            } catch (const HalywardError& error) {
                impl.say(error.message);
            }
            impl.reload(false);
            return std::nullopt;
        case TrayAction::Kind::newApp:
        case TrayAction::Kind::editConfiguration:
        case TrayAction::Kind::quit: return chosen;
    }
    return std::nullopt;
}

}  // namespace halyward
