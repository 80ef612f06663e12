#include "host_fixture.hpp"

#include <set>

using namespace halyward;
using namespace halyward::fakes;

namespace {

class InputTest : public HostTest {
protected:
    void SetUp() override {
        HostTest::SetUp();
        controller = &launch("https://mail.example.com/inbox");
        page = &view(*controller);
        shown = &window(*controller);
    }
    WebWindowController* controller = nullptr;
    FakeWebView* page = nullptr;
    FakeWindow* shown = nullptr;
};

}  // namespace

TEST_F(InputTest, shortcuts_act_only_in_the_key_window_whatever_caps_lock_says) {
    page->url = "https://mail.example.com/inbox/3";
    struct Case {
        std::uint32_t modifiers;
        std::string key;
        bool consumed;
        int reloads, backs, forwards;
    };
    const Case cases[] = {
        {keyCommand, "r", true, 1, 0, 0},
        {keyCommand | keyCapsLock, "r", true, 2, 0, 0},
        {keyCommand, "[", true, 2, 1, 0},
        {keyCommand, "]", true, 2, 1, 1},
        {keyCommand | keyOption, "r", false, 2, 1, 1},
        {keyControl, "r", false, 2, 1, 1},
        {keyShift | keyCommand, "r", false, 2, 1, 1},
        {keyCommand, "R", false, 2, 1, 1},
        {keyCommand, "x", false, 2, 1, 1},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(shown->press(c.modifiers, c.key), c.consumed) << c.key << " " << c.modifiers;
        EXPECT_EQ(std::tuple(page->reloads, page->backs, page->forwards),
                  std::tuple(c.reloads, c.backs, c.forwards))
            << c.key << " " << c.modifiers;
    }

    shown->key = false;
    EXPECT_FALSE(shown->press(keyCommand, "l"));
    EXPECT_FALSE(shown->addressField);
    shown->key = true;
    EXPECT_TRUE(shown->press(keyCommand, "l"));
    EXPECT_EQ(shown->addressField, "https://mail.example.com/inbox/3");
    EXPECT_TRUE(controller->addressShown);
}

TEST_F(InputTest, copy_and_offer_use_the_current_address) {
    EXPECT_TRUE(shown->press(keyShift | keyCommand, "c"));  // no address yet
    EXPECT_TRUE(shown->press(keyShift | keyCommand | keyCapsLock, "o"));
    page->url = "https://mail.example.com/inbox/3";
    EXPECT_TRUE(shown->press(keyShift | keyCommand, "c"));
    EXPECT_TRUE(shown->press(keyShift | keyCommand, "o"));
    page->url = "data:text/plain,hi";
    EXPECT_TRUE(shown->press(keyShift | keyCommand, "o"));  // never handed to the system
    EXPECT_EQ(platform.clipboard, (std::vector<std::optional<std::string>>{
                                      std::nullopt, "https://mail.example.com/inbox/3"}));
    EXPECT_EQ(platform.opened, std::vector<std::string>{"https://mail.example.com/inbox/3"});
}

TEST_F(InputTest, the_address_field_loads_here_or_hands_over) {
    struct Case {
        std::string typed;
        std::optional<std::string> loaded, opened;
        bool stays;
    };
    const Case cases[] = {
        {"   ", {}, {}, true},
        {"mail.example.com/archive", "https://mail.example.com/archive", {}, false},
        {" http://mail.example.com/a b ", "http://mail.example.com/a%20b", {}, false},
        {"www.mail.example.com", "https://www.mail.example.com", {}, false},
        {"news.example.org", {}, "https://news.example.org", false},
        {"https://[::1", {}, {}, true},  // does not parse
    };
    for (const auto& c : cases) {
        page->loads.clear();
        platform.opened.clear();
        shown->press(keyCommand, "l");
        shown->delegate->commitAddress(*shown, c.typed);
        EXPECT_EQ(page->loads.empty() ? std::nullopt : std::optional(page->loads[0].first),
                  c.loaded)
            << c.typed;
        if (!page->loads.empty()) {
            EXPECT_EQ(page->loads[0].second, 60.0);
        }
        EXPECT_EQ(platform.opened.empty() ? std::nullopt : std::optional(platform.opened[0]),
                  c.opened)
            << c.typed;
        EXPECT_EQ(shown->addressField.has_value(), c.stays) << c.typed;
        EXPECT_EQ(controller->addressShown, c.stays) << c.typed;
    }
    EXPECT_EQ(page->focuses, 4);
}

TEST_F(InputTest, the_menu_table_and_its_one_window_action) {
    const auto menus = mainMenu("Mail");
    ASSERT_EQ(menus.size(), 5u);
    EXPECT_EQ(menus[0].items[0], (MenuItem{"About Mail", "orderFrontStandardAboutPanel:", "", 0}));
    EXPECT_EQ(menus[0].items[3],
              (MenuItem{"Hide Others", "hideOtherApplications:", "h", keyOption | keyCommand}));
    EXPECT_EQ(menus[3].items, std::vector<MenuItem>{
                                  (MenuItem{"Reload This Page", "reloadPage:", "r", keyCommand})});
    EXPECT_EQ(menus[4].items[1], (MenuItem{"Zoom", "performZoom:", "", 0}));
    EXPECT_TRUE(menus[4].isWindowsMenu && !menus[3].isWindowsMenu);

    EXPECT_TRUE(shown->delegate->performAction(*shown, "reloadPage:"));
    EXPECT_FALSE(shown->delegate->performAction(*shown, "copy:"));
    EXPECT_EQ(page->reloads, 1);
    const std::shared_ptr<WebActions> actions =
        controller->window->supplementalTarget("reloadPage:");
    ASSERT_TRUE(actions);
    EXPECT_FALSE(controller->window->supplementalTarget("paste:"));
    window(*controller).close();
    EXPECT_FALSE(actions->perform("paste:"));
    EXPECT_TRUE(actions->perform("reloadPage:"));  // the owner is gone: nothing happens
}

TEST_F(InputTest, a_title_bar_double_click_follows_the_desktop_setting) {
    // How the setting's text is read is the configuration model's; here, that each answer
    // reaches the window.
    struct Case {
        std::optional<std::string> preference;
        int zooms, miniaturizes;
    };
    const Case cases[] = {{std::nullopt, 1, 0}, {"minimize", 1, 1}, {"none", 1, 1}};
    for (const auto& c : cases) {
        platform.doubleClickPreference = c.preference;
        shown->delegate->titlebarDoubleClicked(*shown);
        EXPECT_EQ(std::pair(shown->zooms, shown->miniaturizes), std::pair(c.zooms, c.miniaturizes))
            << c.preference.value_or("unset");
    }
}

TEST_F(InputTest, downloads_land_in_downloads_under_a_free_name) {
    const auto folder = home / "Downloads";
    int ids[5];
    const auto decide = [&](int i, const std::string& name) {
        return std::filesystem::path(controller->decideDownloadDestination(&ids[i], name));
    };
    EXPECT_EQ(decide(0, "report.pdf"), folder / "report.pdf");
    EXPECT_TRUE(std::filesystem::is_directory(folder));
    // Still running, so report.pdf is not on disk yet; the second copy must not share it.
    EXPECT_EQ(decide(1, "report.pdf"), folder / "report-2.pdf");
    std::ofstream(folder / "report.pdf") << "1";
    controller->downloadDidFinish(&ids[0]);
    controller->downloadDidFail(&ids[1]);
    EXPECT_TRUE(controller->downloads.empty());
    EXPECT_EQ(decide(2, "report.pdf"), folder / "report-2.pdf");

    std::filesystem::create_symlink(home / "elsewhere", folder / "link.txt");  // dangling
    EXPECT_EQ(decide(3, "link.txt"), folder / "link-2.txt");
    // A name that tries to leave the folder is made safe before anything else.
    EXPECT_EQ(decide(4, "../../x"), folder / "..-..-x");
}

TEST_F(InputTest, page_notifications_become_desktop_notifications) {
    using Entries = std::map<std::string, std::optional<std::string>>;
    struct Case {
        ScriptMessage message;
        std::optional<std::pair<std::string, std::string>> posted;
    };
    const Case cases[] = {
        {{"halywardNotify", true, Entries{{"title", "New mail"}, {"body", "From Ann"}}},
         {{"New mail", "From Ann"}}},
        {{"halywardNotify", true, Entries{{"title", std::nullopt}, {"body", std::nullopt}}},
         {{"Halyward", ""}}},
        {{"halywardNotify", true, Entries{}}, {{"Halyward", ""}}},
        {{"halywardNotify", true, Entries{{"title", ""}}}, {{"", ""}}},
        {{"halywardNotify", false, Entries{}}, std::nullopt},
        {{"other", true, Entries{{"title", "x"}}}, std::nullopt},
    };
    // Every notification gets an identifier of its own, so none replaces another on the desktop.
    std::set<std::string> identifiers;
    for (const Case& c : cases) {
        const std::string name = "case " + std::to_string(&c - cases);
        platform.notifications.clear();
        configuration().post(c.message);
        controller->didReceiveScriptMessage(c.message);  // a handler registered elsewhere
        ASSERT_EQ(platform.notifications.size(), c.posted ? 2u : 0u) << name;
        for (const auto& [id, title, body] : platform.notifications) {
            EXPECT_EQ(std::pair(title, body), *c.posted) << name;
            EXPECT_EQ(canonicalUUID(id), id) << name;
            identifiers.insert(id);
        }
    }
    EXPECT_EQ(identifiers.size(), 8u);
}
