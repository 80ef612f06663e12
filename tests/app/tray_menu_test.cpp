#include "halyward/app/tray_menu.hpp"
#include "app_fixture.hpp"
#include "halyward/config/config_file.hpp"

#include <filesystem>

using namespace halyward;
using namespace halyward::fakes;

namespace {

// The menu as lines: "label [action]" with "  " per level, "-" for a separator, "[x]"
// for a checked toggle and "(off)" for a greyed item.
std::string outline(const std::vector<TrayMenuItem>& items, const std::string& indent = "") {
    std::string out;
    for (const TrayMenuItem& item : items) {
        if (item.kind == TrayMenuItem::Kind::separator) {
            out += indent + "-\n";
            continue;
        }
        out += indent + item.label;
        if (item.kind == TrayMenuItem::Kind::toggle) out += item.checked ? " [x]" : " [ ]";
        if (!item.action.empty()) out += " <" + item.action + ">";
        if (!item.enabled) out += " (off)";
        out += "\n" + outline(item.children, indent + "  ");
    }
    return out;
}

}  // namespace

TEST(tray_menu, follows_the_layouts_the_web_apps_and_start_at_login) {
    const HalywardConfig empty = ConfigFile::makeDefault().decode();
    EXPECT_EQ(outline(trayMenu(empty)),
              "Tile mode <tile-mode>\n"
              "Layouts\n"
              "  No saved layouts: halyward layout save <name> (off)\n"
              "-\n"
              "Web apps\n"
              "  No web apps yet (off)\n"
              "New web app… <new-app>\n"
              "-\n"
              "Edit configuration <edit-configuration>\n"
              "Start at login [ ] <start-at-login>\n"
              "-\n"
              "Quit Halyward <quit>\n");
    const HalywardConfig full =
        ConfigFile(std::string("[general]\nlaunch_at_login = true\n"
                               "[apps.mail]\nurl = \"https://mail.example\"\nname = \"Mail\"\n"
                               "[apps.notes]\nurl = \"https://notes.example\"\n"
                               "[layouts.work]\nmail = \"left-half\"\n[layouts.\"a:b\"]\n"))
            .decode();
    const std::string text = outline(trayMenu(full));
    for (const char* line : {"Layouts\n  work <layout:work>\n  a:b <layout:a:b>\n",
                             "Web apps\n  Mail <app:mail>\n  notes <app:notes>\n",
                             "Start at login [x] <start-at-login>\n"})
        EXPECT_NE(text.find(line), std::string::npos) << line << "\n" << text;
}

TEST(tray_menu, every_action_in_a_menu_reads_back_and_nothing_else_does) {
    std::function<void(const std::vector<TrayMenuItem>&)> check =
        [&](const std::vector<TrayMenuItem>& items) {
            for (const TrayMenuItem& item : items) {
                if (!item.action.empty()) {
                    EXPECT_TRUE(parseTrayAction(item.action)) << item.action;
                }
                check(item.children);
            }
        };
    check(trayMenu(ConfigFile::makeDefault().decode()));
    EXPECT_EQ(parseTrayAction("layout:a:b"), (TrayAction{TrayAction::Kind::applyLayout, "a:b"}));
    for (const char* unknown : {"", "layout:", "app:", "Quit", "quit "})
        EXPECT_FALSE(parseTrayAction(unknown)) << unknown;
}

class TrayAppTest : public AppTest {
protected:
    void SetUp() override {
        autostartFile = (home.path / "autostart/app.halyward.Halyward.desktop").string();
        system.displayList = {display(0, 0, 1000, 800)};
    }
};

TEST_F(TrayAppTest, start_at_login_flips_only_its_own_line_and_the_entry_follows) {
    start("# mine\n[general]\nanimate_tiles = false # keep\n");
    for (bool on : {true, false}) {
        EXPECT_FALSE(core->trayChosen("start-at-login"));
        const std::string text = readFile(configPath());
        EXPECT_EQ(text, std::string("# mine\n[general]\nanimate_tiles = false # keep\n") +
                            "launch_at_login = " + (on ? "true" : "false") + "\n");
        EXPECT_EQ(std::filesystem::exists(autostartFile), on);
        EXPECT_EQ(core->trayMenu()[7].checked, on);
    }
}

TEST_F(TrayAppTest, the_core_opens_apps_and_layouts_and_hands_back_the_rest) {
    start("[general]\nanimate_tiles = false\n[apps.mail]\nurl = \"https://mail.example\"\n");
    EXPECT_FALSE(core->trayChosen("app:mail"));
    ASSERT_EQ(system.launches.size(), 1u);
    EXPECT_EQ(system.launches[0].appIdentity, "app.halyward.web.mail");
    EXPECT_FALSE(core->trayChosen("tile-mode"));
    EXPECT_TRUE(core->tileModeActive());
    for (const char* rest : {"new-app", "edit-configuration", "quit"})
        EXPECT_TRUE(core->trayChosen(rest)) << rest;
    EXPECT_FALSE(core->trayChosen("layout:missing"));
    EXPECT_FALSE(reports.empty());
}

TEST_F(TrayAppTest, the_first_run_text_comes_once_and_the_file_remembers_it) {
    start("[general]\nanimate_tiles = false\nnew_app_hotkey = \"\"\n");
    const std::optional<std::string> text = core->firstRun(false);
    ASSERT_TRUE(text.has_value());
    for (const char* part :
         {"Ctrl+Alt+Space  tile mode", "Ctrl+Alt+L  the next layout",
          "a new web app from any site: none (set new_app_hotkey)", "No tray was found"})
        EXPECT_NE(text->find(part), std::string::npos) << part << "\n" << *text;
    EXPECT_NE(readFile(configPath()).find("onboarding_complete = true\n"), std::string::npos);
    EXPECT_FALSE(core->firstRun(true));
}
