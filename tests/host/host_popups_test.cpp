#include "host_fixture.hpp"

using namespace halyward;
using namespace halyward::fakes;

namespace {

class PopupTest : public HostTest {
protected:
    void SetUp() override {
        HostTest::SetUp();
        controller = &launch("https://www.example.com/app");
        main = &view(*controller);
    }
    // What a page's window.open gets: a fresh configuration carrying the opener relation.
    FakeWebView* open(const std::string& target) {
        return static_cast<FakeWebView*>(main->openWindow(target, popupConfiguration));
    }
    void expectNoPopups() {
        EXPECT_TRUE(controller->extraWindows.empty());
        EXPECT_TRUE(controller->popupWindows.empty());
        EXPECT_TRUE(controller->deferredPopups.empty());
        platform.runTasks();
        EXPECT_EQ(platform.windows.size(), 1u);
        EXPECT_EQ(platform.webViews.size(), 1u);
    }

    FakeConfiguration popupConfiguration;
    WebWindowController* controller = nullptr;
    FakeWebView* main = nullptr;
};

}  // namespace

TEST_F(PopupTest, navigations_stay_or_go_to_the_system) {
    struct Case {
        std::string target;
        bool mainFrame, link;
        NavigationVerdict verdict;
        std::optional<std::string> opened;
    };
    using V = NavigationVerdict;
    const Case cases[] = {
        {"https://example.com/inbox", true, true, V::allow, {}},
        {"https://other.org/", true, true, V::cancel, "https://other.org/"},
        {"https://other.org/", true, false, V::allow, {}},  // script or redirect
        {"https://other.org/", false, true, V::allow, {}},  // sub-frame
        {"mailto:a@example.com", true, false, V::cancel, "mailto:a@example.com"},
        {"zoommtg://join", true, true, V::cancel, {}},  // nothing on the system opens it
        {"", true, true, V::allow, {}},
    };
    for (const auto& c : cases) {
        platform.opened.clear();
        EXPECT_EQ(main->navigate(c.target, c.mainFrame, c.link), c.verdict) << c.target;
        EXPECT_EQ(platform.opened,
                  c.opened ? std::vector<std::string>{*c.opened} : std::vector<std::string>{})
            << c.target;
    }
    NavigationAction download;
    download.shouldPerformDownload = true;
    EXPECT_EQ(controller->decideNavigationAction(*main, download), V::download);
    NavigationAction noFrame{"https://other.org/", true, false, true, true, false};
    EXPECT_EQ(controller->decideNavigationAction(*main, noFrame), V::allow);
    EXPECT_EQ(controller->decideNavigationResponse(*main, NavigationResponse{true, true, true}),
              V::download);
    EXPECT_EQ(controller->decideNavigationResponse(*main, NavigationResponse{false, false, true}),
              V::download);
    EXPECT_EQ(controller->decideNavigationResponse(*main, NavigationResponse{}), V::allow);
}

TEST_F(PopupTest, new_windows_become_pop_ups_or_go_to_the_system) {
    EXPECT_EQ(open("mailto:a@example.com"), nullptr);
    EXPECT_EQ(platform.opened, std::vector<std::string>{"mailto:a@example.com"});

    FakeWebView* popup = open("https://accounts.other.org/login");
    ASSERT_NE(popup, nullptr);
    EXPECT_EQ(popup->configuration, &popupConfiguration);
    EXPECT_EQ(popup->delegate, controller);
    EXPECT_TRUE(popup->swipeGestures);
    FakeWindow* shown = platform.windowShowing(popup);
    ASSERT_NE(shown, nullptr);
    EXPECT_EQ(shown->spec, windowOptions(WindowChrome::slim, true, "Mail"));
    EXPECT_EQ(shown->slimBar, (SlimBarContent{"Mail", "M", "", ""}));
    EXPECT_EQ(shown->delegate, controller);
    EXPECT_EQ(shown->fronts, 1);
    EXPECT_EQ(controller->extraWindows.size(), 1u);
    EXPECT_EQ(controller->popupWindows.count(popup), 1u);
    EXPECT_TRUE(controller->deferredPopups.empty());

    writeConfig("[general]\nwindow_style = \"standard\"\n");
    FakeWebView* plain = open("not a url");  // no scheme: a pop-up all the same
    ASSERT_NE(plain, nullptr);
    EXPECT_EQ(platform.windowShowing(plain)->spec,
              windowOptions(WindowChrome::standard, true, "Mail"));
    EXPECT_FALSE(platform.windowShowing(plain)->slimBar);
}

TEST_F(PopupTest, a_deferred_pop_up_waits_then_stays_or_hops_to_the_system) {
    FakeWebView* popup = open("  about:blank  ");
    ASSERT_NE(popup, nullptr);
    EXPECT_EQ(controller->deferredPopups.count(popup), 1u);
    EXPECT_EQ(popup->navigate("about:blank"), NavigationVerdict::allow);
    EXPECT_EQ(popup->navigate("https://other.org/", false), NavigationVerdict::allow);  // sub-frame
    EXPECT_EQ(controller->deferredPopups.count(popup), 1u);
    EXPECT_EQ(popup->navigate("https://calendar.example.com/"), NavigationVerdict::allow);
    EXPECT_TRUE(controller->deferredPopups.empty());
    EXPECT_EQ(controller->popupWindows.count(popup), 1u);
    // Kept pop-ups follow the ordinary link policy from then on.
    EXPECT_EQ(popup->navigate("https://other.org/"), NavigationVerdict::cancel);

    FakeWebView* hop = open("");
    ASSERT_NE(hop, nullptr);
    EXPECT_EQ(hop->navigate("mailto:x@example.com", true, false), NavigationVerdict::cancel);
    EXPECT_EQ(platform.opened.back(), "mailto:x@example.com");
    EXPECT_EQ(controller->popupWindows.count(hop), 0u);
    EXPECT_EQ(controller->extraWindows.size(), 1u);
}

TEST_F(PopupTest, every_way_of_closing_leaves_no_pop_up_behind) {
    // The page closes its pop-up.
    open("https://a.example.com/")->closeByScript();
    expectNoPopups();
    // The user closes it.
    platform.windowShowing(open("https://b.example.com/"))->close();
    expectNoPopups();
    // A deferred pop-up hops to a mail address.
    open("about:blank")->navigate("mailto:x@example.com");
    expectNoPopups();
    // A deferred pop-up closed before its first navigation.
    open("about:blank")->closeByScript();
    expectNoPopups();

    // The main window closes with pop-ups open: all of them close with it.
    open("https://c.example.com/");
    open("about:blank");
    window(*controller).close();
    platform.runTasks();
    EXPECT_TRUE(platform.windows.empty());
    EXPECT_TRUE(platform.webViews.empty());
    EXPECT_TRUE(delegate->controllers.empty());
}

TEST_F(PopupTest, a_page_opening_windows_in_a_loop_gets_a_bounded_number) {
    std::size_t opened = 0;
    for (int i = 0; i < 100; ++i)
        opened += open("https://x.example.com/" + std::to_string(i)) ? 1 : 0;
    EXPECT_EQ(opened, kMaxPopupWindows);
    EXPECT_EQ(controller->extraWindows.size(), kMaxPopupWindows);
    // Closing one makes room for one more.
    platform.windowShowing(controller->extraWindows.front()->ownedWebView.get())->close();
    EXPECT_NE(open("https://x.example.com/again"), nullptr);
}

TEST_F(PopupTest, pop_ups_do_not_touch_the_badge_or_the_main_shortcuts) {
    FakeWebView* popup = open("https://a.example.com/");
    popup->setTitle("(5) Other");
    EXPECT_TRUE(platform.badges.empty());
    FakeWindow* shown = platform.windowShowing(popup);
    EXPECT_FALSE(shown->press(keyCommand, "r"));
    EXPECT_EQ(popup->reloads, 0);
    platform.doubleClickPreference = "Minimize";
    shown->delegate->titlebarDoubleClicked(*shown);
    EXPECT_EQ(shown->miniaturizes, 1);
}
