#include "host_fixture.hpp"

#include "halyward/host/page_script.hpp"
#include "halyward/host/rendering.hpp"

#include <sstream>

using namespace halyward;
using namespace halyward::fakes;

namespace {

using WindowTest = HostTest;

std::string readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

}  // namespace

TEST_F(WindowTest, the_matching_record_sets_style_script_and_user_agent) {
    std::string large;  // the last of 5,000 apps is found all the same
    for (int i = 0; i < 5000; ++i) {
        const std::string n = std::to_string(i);
        large +=
            "[apps.app" + n + "]\nurl = \"https://a" + n + "/\"\nuser_css = \"#" + n + "{}\"\n";
    }
    struct Case {
        std::string config, slug, css, script;
        bool customAgent;
    };
    const Case cases[] = {
        {large, "app4999", "#4999{}", "", true},
        {"", "mail", "", "", true},
        {"[apps.mail]\nurl = \"https://m/\"\nuser_css = \"a{}\"\nuser_js = \"x()\"\n", "mail",
         "a{}", "x()", true},
        {"[apps.mail]\nurl = \"https://m/\"\nstandard_user_agent = true\n", "mail", "", "", false},
        // Found by bundle identifier when the slug differs.
        {"[apps.other]\nurl = \"https://m/\"\nbundle_id = \"com.halyward.webapp.mail\"\n"
         "user_css = \"b{}\"\nstandard_user_agent = true\n",
         "renamed", "b{}", "", false},
        // A slug matching no record: defaults.
        {"[apps.news]\nurl = \"https://n/\"\nuser_css = \"c{}\"\nstandard_user_agent = true\n",
         "mail", "", "", true},
        // An empty slug matches no record, not even one written with an empty name.
        {"[apps.\"\"]\nurl = \"https://n/\"\nuser_css = \"d{}\"\n", "", "", "", true},
        // Not TOML at all: defaults.
        {"[apps.mail\nuser_css = \"e{}\"", "mail", "", "", true},
    };
    for (const auto& c : cases) {
        writeConfig(c.config);
        const std::string name = c.config.substr(0, 60);
        WebWindowController& controller = launch("https://mail.example.com/", c.slug);
        EXPECT_EQ(configuration().userScripts,
                  std::vector<std::string>{pageScript(c.css, c.script)})
            << name;
        EXPECT_EQ(view(controller).userAgent,
                  c.customAgent ? std::optional<std::string>("Halyward/1.0.1") : std::nullopt)
            << name;
    }
}

TEST(window_geometry, sizes_follow_the_chrome) {
    struct Case {
        WindowChrome chrome;
        bool popup;
        double width, height;
    };
    const Case cases[] = {
        {WindowChrome::standard, false, 1100, 760},
        {WindowChrome::slim, false, 1100, 788},
        {WindowChrome::standard, true, 900, 680},
        {WindowChrome::slim, true, 900, 708},
    };
    for (const auto& c : cases) {
        const WindowOptions spec = windowOptions(c.chrome, c.popup, "T");
        const std::string name = std::to_string(c.width) + " x " + std::to_string(c.height);
        EXPECT_EQ(spec.contentRect, (Frame{0, 0, c.width, c.height})) << name;
        EXPECT_EQ(spec.fullSizeContentView, c.chrome == WindowChrome::slim) << name;
    }
}

TEST(readable_hotkey, spells_a_chord_like_the_menus_of_each_platform) {
    struct Case {
        std::string chord, keycaps, words;
    };
    const Case cases[] = {
        {"ctrl+opt+m", "\u2303\u2325M", "Ctrl+Alt+M"},
        {"cmd+shift+k", "\u21E7\u2318K", "Shift+Super+K"},
        {"\u2325\u2318left", "\u2325\u2318\u2190", "Alt+Super+Left"},
        {"ctrl+shift+opt+cmd+space", "\u2303\u2325\u21E7\u2318Space", "Shift+Ctrl+Alt+Super+Space"},
        {"leader+e", "LeaderE", "Leader+E"},
        {"ctrl+return", "\u2303Return", "Ctrl+Return"},
        {"", "", ""},
        {" ctrl + nope ", "ctrlnope", "ctrl+nope"},  // not a chord: its pieces
    };
    for (const Case& c : cases) {
        EXPECT_EQ(readableHotkey(c.chord, HotkeyStyle::keycaps), c.keycaps) << c.chord;
        EXPECT_EQ(readableHotkey(c.chord, HotkeyStyle::words), c.words) << c.chord;
    }
}

TEST_F(WindowTest, the_watch_follows_chrome_and_hotkey_without_reloading) {
    writeConfig("[apps.mail]\nurl = \"https://m/\"\nhotkey = \"ctrl+opt+m\"\n");
    WebWindowController& controller = launch();
    FakeWindow& shown = window(controller);
    ASSERT_TRUE(shown.slimBar);
    EXPECT_EQ(*shown.slimBar, (SlimBarContent{"Mail", "M", readableHotkey("ctrl+opt+m"), ""}));
    EXPECT_TRUE(shown.spec.fullSizeContentView);
    EXPECT_EQ(shown.spec.contentRect.height, 788);
    const int installs = shown.chromeInstalls;

    // Slim and still slim: only the bar's hotkey changes.
    writeConfig("[apps.mail]\nurl = \"https://m/\"\nhotkey = \"cmd+shift+k\"\n");
    platform.fireConfigChange();
    EXPECT_EQ(shown.slimBar->hotkey, readableHotkey("cmd+shift+k"));
    EXPECT_EQ(shown.chromeInstalls, installs);

    // Slim to standard: the chrome is swapped around the same web view.
    writeConfig("[general]\nwindow_style = \"standard\"\n");
    platform.fireConfigChange();
    EXPECT_FALSE(shown.slimBar);
    EXPECT_EQ(shown.content, controller.webView.get());
    EXPECT_TRUE(controller.plainContainer);
    EXPECT_EQ(shown.chromeInstalls, installs + 1);

    // Standard and still standard: nothing.
    platform.fireConfigChange();
    EXPECT_EQ(shown.chromeInstalls, installs + 1);

    // Back to slim, through a file that no longer parses: the defaults ask for slim.
    view(controller).setTitle("Inbox");
    writeConfig("[general\n");
    platform.fireConfigChange();
    ASSERT_TRUE(shown.slimBar);
    EXPECT_EQ(*shown.slimBar, (SlimBarContent{"Mail", "M", "", "Inbox"}));
    EXPECT_EQ(view(controller).loads.size(), 1u);
    EXPECT_EQ(view(controller).reloads, 0);
}

TEST_F(WindowTest, becoming_key_catches_up_without_a_watch) {
    platform.canWatch = false;  // no file at launch, so nothing to watch
    WebWindowController& controller = launch();
    FakeWindow& shown = window(controller);
    platform.runTasks();
    EXPECT_EQ(shown.slimTreatments, 2);  // once installing, once after showing
    writeConfig("[general]\nwindow_style = \"standard\"\n");
    controller.windowDidBecomeKey(shown);
    EXPECT_FALSE(shown.slimBar);
    writeConfig("");
    controller.windowDidBecomeKey(shown);
    EXPECT_TRUE(shown.slimBar);
    controller.windowDidBecomeKey(shown);
    EXPECT_EQ(shown.slimTreatments, 5);
}

TEST_F(WindowTest, titles_set_the_badge_and_the_window_title) {
    struct Case {
        std::string title;
        std::int64_t badge;
        std::string windowTitle, barTitle;
    };
    const Case cases[] = {
        {"(12) Inbox", 12, "(12) Inbox", "(12) Inbox"},
        {"Inbox (4) of mail", 0, "Inbox (4) of mail", "Inbox (4) of mail"},  // no count: cleared
        {"Mail", 0, "Mail", ""},
        {"", 0, "Mail", ""},  // an empty title changes neither
    };
    WebWindowController& controller = launch();
    for (const auto& c : cases) {
        view(controller).setTitle(c.title);
        EXPECT_EQ(platform.badges.back(), c.badge) << c.title;
        EXPECT_EQ(window(controller).title, c.windowTitle) << c.title;
        EXPECT_EQ(window(controller).slimBar->pageTitle, c.barTitle) << c.title;
    }
}

TEST_F(WindowTest, the_host_never_writes_the_configuration) {
    launch();
    platform.fireConfigChange();
    EXPECT_FALSE(std::filesystem::exists(home / ".config"));

    const std::string text = "# mine\r\n[apps.mail]\r\nurl = \"https://m/\"   # keep\r\n";
    writeConfig(text);
    launch();
    platform.fireConfigChange();
    window(*delegate->controllers.at(0)).close();
    EXPECT_EQ(readFile(home / ".config/halyward/config.toml"), text);
}

TEST(rendering, software_renderers_turn_compositing_off) {
    struct Case {
        std::string renderer;
        bool software;
    };
    const Case cases[] = {
        {"llvmpipe (LLVM 15.0.6, 256 bits)", true},
        {"Mesa Software Rasterizer", true},
        {"SwiftShader Device (Subzero)", true},
        {"", true},
        {"Mesa Intel(R) UHD Graphics 620 (KBL GT2)", false},
        {"NVIDIA GeForce RTX 3060/PCIe/SSE2", false},
        {"AMD Radeon RX 6600 (radeonsi)", false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(isSoftwareRenderer(c.renderer), c.software) << c.renderer;
    }
    // Compositing follows the renderer: on with real hardware, off for a software rasteriser.
    EXPECT_TRUE(useAcceleratedCompositing(true) && !useAcceleratedCompositing(false));
}
