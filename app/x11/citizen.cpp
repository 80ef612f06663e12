#include "citizen.hpp"

#include "spawn.hpp"

#include <gio/gio.h>

#include <cstdio>
#include <filesystem>
#include <utility>

namespace halyward::x11 {

namespace {

void say(const std::string& line) { std::fprintf(stderr, "halyward-app: %s\n", line.c_str()); }

// Opens the configuration file in the application the desktop uses for such files.
void openInEditor(const std::string& path) {
    GFile* file = g_file_new_for_path(path.c_str());
    gchar* uri = g_file_get_uri(file);
    GError* error = nullptr;
    if (!g_app_info_launch_default_for_uri(uri, nullptr, &error)) {
        say("Cannot open " + path + ": " + (error != nullptr ? error->message : "no application"));
        g_clear_error(&error);
    }
    g_free(uri);
    g_object_unref(file);
}

}  // namespace

DesktopCitizen::DesktopCitizen(EventLoop& loop, PlatformPaths paths, std::string executable)
    : loop_(loop), paths_(std::move(paths)), executable_(std::move(executable)) {}

std::function<void()> DesktopCitizen::configurationApplied() {
    return [this] {
        if (core_ && tray_) tray_->setMenu(core_->trayMenu());
    };
}

std::function<void()> DesktopCitizen::newAppForm() {
    return [this] { showNewAppForm(); };
}

void DesktopCitizen::showNewAppForm() {
    // The form is its own small program beside this one, so this process stays small.
    const std::string form =
        (std::filesystem::path(executable_).parent_path() / "halyward-new-app").string();
    std::string error;
    if (!spawnDetached({form}, error)) say("Cannot open the new-app form: " + error);
}

void DesktopCitizen::showFirstRun() {
    const std::optional<std::string> text = core_->firstRun(trayHostFound());
    if (!text) return;
    const std::string program =
        (std::filesystem::path(executable_).parent_path() / "halyward-new-app").string();
    std::string error;
    if (!spawnDetached({program, "--first-run", *text}, error))
        say("Cannot show the first-run window: " + error);
}

void DesktopCitizen::attach(AppCore& core) {
    core_ = &core;
    // The tray's thread hands the choice to the main loop, where the core lives.
    tray_ = std::make_unique<Tray>(
        [this](const std::string& action) { loop_.post([this, action] { chosen(action); }); },
        nullptr);
    tray_->setMenu(core.trayMenu());
    // A moment for a tray host to answer, so the window can say whether there is one.
    firstRun_ = loop_.after(1.0, [this] { showFirstRun(); });
}

void DesktopCitizen::chosen(const std::string& action) {
    if (!core_) return;
    const std::optional<TrayAction> rest = core_->trayChosen(action);
    if (!rest) return;
    switch (rest->kind) {
        case TrayAction::Kind::editConfiguration: openInEditor(paths_.configFile); break;
        case TrayAction::Kind::quit: loop_.quit(); break;
        case TrayAction::Kind::newApp: showNewAppForm(); break;
        default: break;
    }
}

}  // namespace halyward::x11
