#pragma once
// A temporary home with a configuration file, a fake window system with a desktop, and an
// app core started on them; shared by the app core's suites.

#include "fake_window_system.hpp"
#include "halyward/app/app_core.hpp"
#include "halyward/hotkeys/hotkey_parser.hpp"
#include "halyward/tiling/tile_slot.hpp"
#include "support/scratch_folder.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace halyward::fakes {

// A display with a 30-point panel along its top.
inline DisplayInfo display(double x, double y, double width, double height) {
    return {{x, y, width, height}, {x, y + 30, width, height - 30}};
}

inline WindowInfo window(WindowId id, std::string app, Frame frame, std::string title = "") {
    WindowInfo info;
    info.id = id;
    info.appIdentity = std::move(app);
    info.title = std::move(title);
    info.frame = frame;
    return info;
}

class AppTest : public ::testing::Test {
protected:
    // Animation is off unless a test turns it on, so a move is one write.
    static constexpr const char* quiet = "[general]\nanimate_tiles = false\n";

    std::string configPath() const { return home / ".config/halyward/config.toml"; }
    void writeConfig(std::string_view text) { writeFile(configPath(), text); }

    // Starts the core on the desktop set up so far, with `config` as the file.
    void start(std::string_view config = quiet) {
        writeConfig(config);
        AppCoreOptions options;
        options.home = home.path.string();
        options.socketPath = socketPath;
        options.findApplication = [](std::string_view name) -> std::optional<InstalledApplication> {
            if (name == "Terminal") return InstalledApplication{"Terminal", "org.example.terminal"};
            return std::nullopt;
        };
        options.report = [this](std::string_view line) { reports.emplace_back(line); };
        options.autostartFile = autostartFile;
        options.executable = "/opt/halyward/bin/halyward-app";
        options.showNewAppForm = [this] { ++newAppForms; };
        core = std::make_unique<AppCore>(system, std::move(options));
        core->start();
    }
    void reloadWith(std::string_view config) {
        writeConfig(config);
        core->configurationChanged();
    }

    void press(std::string_view chord) { core->chordPressed(HotkeyParser::parse(chord)); }
    void key(std::string_view name, bool shift = false, std::string text = {}) {
        KeyPress press;
        press.key = HotkeyParser::key(name);
        press.shift = shift;
        press.text = text.empty() && name.size() == 1 ? std::string(name) : text;
        core->keyPressed(press);
    }
    CommandOutput run(std::vector<std::string> arguments) { return core->runCommand(arguments); }

    Frame tile(TileSlot slot, std::size_t display = 0, double gap = 0) {
        return frameForTile(slot, system.displayList[display].visibleFrame, gap);
    }
    Frame frameOf(WindowId id) { return system.frameOf(id); }

    ScratchFolder home;
    std::string socketPath;
    std::string autostartFile;
    int newAppForms = 0;
    FakeWindowSystem system;
    std::vector<std::string> reports;
    std::unique_ptr<AppCore> core;
};

}  // namespace halyward::fakes
