// The window commands end to end through the command router, and the configuration file
// followed while the app runs.

#include "app_fixture.hpp"

#include "halyward/config/config_file.hpp"
#include "halyward/control/control_client.hpp"

#include <filesystem>
#include <thread>

using namespace halyward;
using namespace halyward::fakes;

namespace {

class AppCommandsTest : public AppTest {
protected:
    static constexpr const char* gapped =
        "# my settings\n[general]\nanimate_tiles = false\ntile_gap = 10\n";

    void SetUp() override {
        system.displayList = {display(0, 0, 1000, 830), display(1000, 0, 1600, 1230)};
        system.windowList = {window(1, "org.example.terminal", {100, 100, 300, 300}),
                             window(2, "org.example.editor", {500, 100, 300, 300}),
                             window(3, "org.example.browser", {1200, 100, 300, 300})};
        system.focused = 1;
    }
    Frame gappedTile(TileSlot slot, std::size_t display = 0) { return tile(slot, display, 10); }
};

}  // namespace

TEST_F(AppCommandsTest, tile_gives_the_apps_window_its_tile_or_says_why_not) {
    start(gapped);
    struct Case {
        std::vector<std::string> arguments;
        std::int32_t exitCode;
        std::string message;
        std::optional<Frame> frame;
    };
    const Case cases[] = {
        {{"tile", "org.example.terminal", "left-half"},
         ExitCode::ok,
         "Tiled org.example.terminal to left-half on display 1.",
         gappedTile(TileSlot::leftHalf)},
        {{"tile", "Terminal", "right"},
         ExitCode::ok,
         "Tiled Terminal to right-half on display 1.",
         gappedTile(TileSlot::rightHalf)},
        {{"tile", "org.example.terminal", "fill", "--display", "2"},
         ExitCode::ok,
         "Tiled org.example.terminal to fill on display 2.",
         gappedTile(TileSlot::fill, 1)},
        {{"tile", "org.example.terminal", "fill", "--display", "3"},
         ExitCode::notFound,
         "There is no display 3: 2 displays are connected.",
         std::nullopt},
        {{"tile", "org.example.closed", "fill"},
         ExitCode::notFound,
         "No window of “org.example.closed” is open.",
         std::nullopt},
        {{"tile", "org.example.terminal", "middle"}, ExitCode::usage, "", std::nullopt},
        {{"tile", "Nowhere", "fill"}, ExitCode::notFound, "", std::nullopt},
    };
    for (const Case& c : cases) {
        system.find(1)->frame = {100, 100, 300, 300};
        system.writes.clear();
        const CommandOutput output = run(c.arguments);
        EXPECT_EQ(output.exitCode, c.exitCode) << c.arguments[1] << ": " << output.message;
        if (!c.message.empty()) {
            EXPECT_EQ(output.message, c.message);
        }
        if (c.frame) {
            EXPECT_EQ(frameOf(1), *c.frame) << output.message;
        } else {
            EXPECT_TRUE(system.writes.empty()) << output.message;
        }
    }
    EXPECT_EQ(run({"ping"}).message, "pong");
}

TEST_F(AppCommandsTest, layout_save_writes_the_tiles_and_layout_apply_restores_them) {
    start(gapped);
    system.windowList = {window(1, "org.example.terminal", gappedTile(TileSlot::leftHalf)),
                         window(4, "org.example.terminal", gappedTile(TileSlot::topRight)),
                         window(2, "org.example.editor", gappedTile(TileSlot::bottomRight)),
                         window(5, "org.example.untiled", {300, 300, 123, 456}),
                         window(3, "org.example.browser", gappedTile(TileSlot::fill, 1))};

    const CommandOutput saved = run({"layout", "save", "work"});
    ASSERT_EQ(saved.exitCode, ExitCode::ok) << saved.message;
    EXPECT_EQ(saved.message, "Saved the layout “work” with 2 windows.");
    const std::string text = readFile(configPath());
    EXPECT_TRUE(text.starts_with("# my settings\n")) << text;
    const HalywardConfig written = ConfigFile(text).decode();
    ASSERT_EQ(written.layouts.size(), 1u);
    EXPECT_EQ(written.layouts[0].assignments,
              (std::vector<LayoutAssignment>{{"org.example.terminal", "left-half"},
                                             {"org.example.editor", "bottom-right"}}));

    for (WindowInfo& w : system.windowList) w.frame = {200, 200, 200, 200};
    const CommandOutput applied = run({"layout", "apply", "work"});
    EXPECT_EQ(applied.message, "Applied the layout “work” to 2 windows.");
    EXPECT_EQ(frameOf(1), gappedTile(TileSlot::leftHalf));
    EXPECT_EQ(frameOf(2), gappedTile(TileSlot::bottomRight));
    EXPECT_EQ(frameOf(4), (Frame{200, 200, 200, 200})) << "one window per app";

    system.remove(2);
    EXPECT_EQ(run({"layout", "apply", "work"}).message,
              "Applied the layout “work” to 1 window. Not open or not a tile: org.example.editor.");
    system.windowList.clear();
    EXPECT_EQ(run({"layout", "apply", "work"}).exitCode, ExitCode::notFound);
    EXPECT_EQ(run({"layout", "apply", "play"}).exitCode, ExitCode::notFound);

    // Nothing in a tile: nothing is written.
    system.windowList = {window(5, "org.example.untiled", {300, 300, 123, 456})};
    const std::string before = readFile(configPath());
    EXPECT_EQ(run({"layout", "save", "empty"}).exitCode, ExitCode::notFound);
    EXPECT_EQ(readFile(configPath()), before);
}

TEST_F(AppCommandsTest, layout_save_leaves_a_file_that_does_not_parse_alone) {
    system.windowList = {window(1, "org.example.terminal", tile(TileSlot::leftHalf))};
    start();
    writeConfig("[general\n");
    const CommandOutput output = run({"layout", "save", "work"});
    EXPECT_EQ(output.exitCode, ExitCode::config);
    EXPECT_EQ(readFile(configPath()), "[general\n");
}

TEST_F(AppCommandsTest, apply_reloads_regrabs_and_places_the_windows_rules_name) {
    start();
    writeConfig(R"([general]
animate_tiles = false
tile_mode_hotkey = "ctrl+opt+t"
[rules.term]
bundle = "org.example.terminal"
tile = "bottom-half"
)");
    const int grabsBefore = system.grabCalls;
    const CommandOutput output = run({"apply"});
    EXPECT_EQ(output.exitCode, ExitCode::ok);
    EXPECT_EQ(output.message,
              "Applied the configuration: 29 chords work and rules placed 1 window.");
    EXPECT_EQ(system.grabCalls, grabsBefore + 1);
    EXPECT_EQ(frameOf(1), tile(TileSlot::bottomHalf));
    press("ctrl+opt+t");
    EXPECT_TRUE(core->tileModeActive());

    writeConfig("version = \n");
    EXPECT_EQ(run({"apply"}).exitCode, ExitCode::config);
    key("escape");
    EXPECT_FALSE(core->tileModeActive());
    press("ctrl+opt+t");  // the last good configuration still holds
    EXPECT_TRUE(core->tileModeActive());
}

TEST_F(AppCommandsTest, a_saved_change_takes_effect_and_a_broken_file_is_reported_once) {
    start();
    auto grabbed = [&](std::string_view chord) {
        for (const HotkeyChord& c : system.grabbed) {
            if (c.canonical() == chord) return true;
        }
        return false;
    };
    EXPECT_TRUE(grabbed("ctrl+opt+f"));
    reloadWith("[general]\nanimate_tiles = false\n[tile_hotkeys]\nfill = \"ctrl+opt+g\"\n");
    EXPECT_TRUE(grabbed("ctrl+opt+g"));
    EXPECT_FALSE(grabbed("ctrl+opt+f"));
    press("ctrl+opt+f");  // released: a stray event does nothing
    EXPECT_EQ(frameOf(1), (Frame{100, 100, 300, 300}));
    press("ctrl+opt+g");
    EXPECT_EQ(frameOf(1), tile(TileSlot::fill));

    const int grabs = system.grabCalls;
    reloadWith("[general\n");
    reloadWith("[general]]\n");
    EXPECT_EQ(reports.size(), 1u);
    EXPECT_NE(reports[0].find("Config line 1"), std::string::npos) << reports[0];
    EXPECT_EQ(system.grabCalls, grabs) << "the chords in force stay";
    reloadWith("[general]\nanimate_tiles = false\n[tile_hotkeys]\nfill = \"ctrl+opt+g\"\n");
    EXPECT_EQ(system.grabCalls, grabs) << "an unchanged configuration is not grabbed again";
    reloadWith("[general\n");
    EXPECT_EQ(reports.size(), 2u);
}

TEST_F(AppCommandsTest, a_chord_held_elsewhere_is_reported_once_and_the_others_work) {
    system.heldElsewhere = {"ctrl+opt+f"};
    start();
    ASSERT_EQ(core->grabFailures().size(), 1u);
    EXPECT_EQ(core->grabFailures()[0].chord.canonical(), "ctrl+opt+f");
    EXPECT_EQ(reports, std::vector<std::string>{
                           "Halyward cannot use the chord ctrl+opt+f: held by another program. "
                           "Every other chord works."});
    reloadWith("[general]\nanimate_tiles = false\ncycle_windows = false\n");
    EXPECT_EQ(reports.size(), 1u);
    press("ctrl+opt+1");
    EXPECT_EQ(frameOf(1), tile(TileSlot::leftHalf));
}

TEST_F(AppCommandsTest, the_control_socket_answers_on_the_main_thread_and_is_one_per_user) {
    socketPath = home / "app.sock";
    start();
    ASSERT_TRUE(std::filesystem::exists(socketPath));
    CommandOutput answer;
    std::thread client([&] {
        answer = ControlClient::send(socketPath, {"tile", "org.example.editor", "left-half"}, 5);
    });
    // Until the main loop runs the posted work, nothing has moved.
    while (answer.message.empty()) {
        system.runPosted();
        std::this_thread::yield();
    }
    client.join();
    EXPECT_EQ(answer.exitCode, ExitCode::ok) << answer.message;
    EXPECT_EQ(frameOf(2), tile(TileSlot::leftHalf));

    FakeWindowSystem other;
    AppCoreOptions options;
    options.home = home.path.string();
    options.configPath = configPath();
    options.socketPath = socketPath;
    AppCore second(other, options);
    EXPECT_THROW(second.start(), HalywardError);
    EXPECT_TRUE(other.grabbed.empty()) << "a second app takes no chord";

    core->stop();
    core->stop();
    EXPECT_FALSE(std::filesystem::exists(socketPath));
    EXPECT_TRUE(system.grabbed.empty());
}

TEST_F(AppCommandsTest, large_desktops_and_configurations_still_work) {
    std::string config = "[general]\nanimate_tiles = false\n";
    for (int i = 0; i < 5000; ++i) {
        const std::string n = std::to_string(i);
        config += "[apps.app" + n + "]\nurl = \"https://" + n +
                  ".example.com\"\nhotkey = \"ctrl+opt+shift+f" + std::to_string(i % 9 + 1) +
                  "\"\ntile = \"left-half\"\n";
    }
    system.windowList.clear();
    for (WindowId id = 1; id <= 500; ++id) {
        system.windowList.push_back(window(id, "org.example.w" + std::to_string(id % 7),
                                           {static_cast<double>(id), 40, 200, 200}));
    }
    system.focused = 1;
    start(config);
    EXPECT_EQ(system.grabbed.size(), 29u + 9u);
    press("ctrl+opt+6");
    EXPECT_EQ(system.writes.size(), 500u);
    const WindowInfo fresh = window(9999, "app.halyward.web.app4999", {5, 40, 10, 10});
    system.windowList.push_back(fresh);
    core->windowAppeared(fresh);
    EXPECT_EQ(frameOf(9999), tile(TileSlot::leftHalf));
}

TEST_F(AppCommandsTest, without_a_configuration_file_only_layout_save_writes_one) {
    start();
    std::filesystem::remove(configPath());
    core->configurationChanged();
    EXPECT_EQ(run({"tile", "org.example.terminal", "left-half"}).exitCode, ExitCode::ok);
    EXPECT_EQ(run({"layout", "apply", "work"}).exitCode, ExitCode::notFound);
    EXPECT_EQ(run({"apply"}).exitCode, ExitCode::ok);
    EXPECT_FALSE(std::filesystem::exists(configPath()));
    system.advance(1);  // the defaults animate
    EXPECT_EQ(run({"layout", "save", "work"}).exitCode, ExitCode::ok);
    EXPECT_EQ(ConfigFile::load(configPath()).decode().layouts,
              (std::vector<Layout>{{"work", {{"org.example.terminal", "left-half"}}}}));
}
