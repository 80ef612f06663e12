#include "host_fixture.hpp"

#include "halyward/host/bundle_location.hpp"
#include "halyward/webapps/bundle_info.hpp"

using namespace halyward;
using namespace halyward::fakes;

using LaunchTest = HostTest;

TEST_F(LaunchTest, reads_the_identity_from_the_bundle) {
    struct Case {
        std::map<std::string, std::string, std::less<>> strings;
        std::optional<std::string> dataStore;
        std::string name, slug;
    };
    const Case cases[] = {
        {{{"HWDataStoreUUID", "0f1e2d3c-4b5a-6978-8796-a5b4c3d2e1f0"}, {"HWSlug", "mail"}},
         "0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0",
         "Halyward",
         "mail"},
        {{{"HWDataStoreUUID", "0F1E2D3C4B5A69788796A5B4C3D2E1F0"}}, std::nullopt, "Halyward", ""},
        {{{"HWDataStoreUUID", "{0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0}"}},
         std::nullopt,
         "Halyward",
         ""},
        {{{"HWDataStoreUUID", "0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1FG"}},
         std::nullopt,
         "Halyward",
         ""},
        {{{"HWDataStoreUUID", "0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0 "}},
         std::nullopt,
         "Halyward",
         ""},
        {{{"CFBundleName", "Calendar"}}, std::nullopt, "Calendar", ""},
    };
    for (const auto& c : cases) {
        const WebHostDelegate host(platform, BundleInfo{c.strings});
        const std::string& name = c.strings.begin()->second;
        EXPECT_EQ(host.dataStoreID, c.dataStore) << name;
        EXPECT_EQ(std::pair(host.bundleName, host.slug), std::pair(c.name, c.slug)) << name;
    }
    const WebHostDelegate none(platform, std::nullopt);
    EXPECT_EQ(none.homeURL, "");
    EXPECT_EQ(none.bundleName, "Halyward");
    EXPECT_EQ(none.bundleIdentifier, "");
}

TEST_F(LaunchTest, opens_the_home_page_in_a_window_of_its_own_store) {
    BundleInfo info = bundle("https://mail.example.com/inbox");
    info.strings["HWDataStoreUUID"] = "0f1e2d3c-4b5a-6978-8796-a5b4c3d2e1f0";
    delegate = std::make_shared<WebHostDelegate>(platform, info);
    delegate->applicationDidFinishLaunching();

    ASSERT_EQ(platform.menus.size(), 1u);
    EXPECT_EQ(platform.menus[0], mainMenu("Mail"));
    EXPECT_TRUE(platform.alerts.empty());
    EXPECT_TRUE(configuration().canOpenWindows);
    EXPECT_EQ(configuration().dataStore, "0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0");
    ASSERT_EQ(delegate->controllers.size(), 1u);
    auto& controller = *delegate->controllers[0];
    EXPECT_EQ(
        view(controller).loads,
        (std::vector<std::pair<std::string, double>>{{"https://mail.example.com/inbox", 60.0}}));
    EXPECT_EQ(window(controller).title, "Mail");
    EXPECT_EQ(window(controller).fronts, 1);
    EXPECT_EQ(window(controller).delegate, &controller);
    EXPECT_EQ(view(controller).delegate, &controller);
    EXPECT_EQ(configuration().handlers.count("halywardNotify"), 1u);
    EXPECT_EQ(platform.watches.size(), 1u);
    EXPECT_EQ(platform.watches[0]->path, (home / ".config/halyward/config.toml").string());

    launch();  // without a data-store identifier the platform's default store stays
    EXPECT_FALSE(configuration().dataStore);
}

TEST_F(LaunchTest, the_page_is_asked_for_before_the_window_is_built) {
    // The web engine starts while the window is made, under either chrome; the view is
    // fully wired by then, so nothing the page does early goes unanswered.
    for (const std::string style : {"standard", "slim"}) {
        writeConfig("[general]\nwindow_style = \"" + style + "\"\n");
        WebWindowController& controller = launch();
        const FakeWebView& page = view(controller);
        ASSERT_EQ(page.loadMoments.size(), 1u) << style;
        const FakeWebView::LoadMoment& moment = page.loadMoments[0];
        EXPECT_EQ(moment.windows, 0u) << style;
        EXPECT_EQ(moment.delegate, &controller) << style;
        EXPECT_EQ(moment.userAgent, std::optional<std::string>("Halyward/1.0.1")) << style;
        EXPECT_EQ(moment.userScripts, 1u) << style;
        EXPECT_EQ(moment.routes, std::set<std::string>{"halywardNotify"}) << style;
        EXPECT_EQ(window(controller).fronts, 1) << style;
        EXPECT_EQ(window(controller).content, &page) << style;
    }
}

TEST_F(LaunchTest, an_address_without_a_host_shows_the_alert_and_quits) {
    // An Info.plist over the size limit is refused whole, good address and all.
    const auto huge = home / "Huge.app";
    std::filesystem::create_directories(huge / "Contents");
    std::ofstream(huge / "Contents/Info.plist", std::ios::binary)
        << "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>HWURL</key><string>"
           "https://mail.example.com/</string><key>Padding</key><string>"
        << std::string(2 << 20, 'x') << "</string></dict></plist>\n";
    std::vector<std::pair<std::string, std::optional<BundleInfo>>> inputs{
        {"no Info.plist", std::nullopt}, {"huge Info.plist", readBundleInfo(huge)}};
    for (const std::string address : {"", "mailto:someone@example.com", "about:blank", "example",
                                      "https://", "http:///inbox", "::not a url"}) {
        inputs.emplace_back(address, bundle(address));
    }
    for (const auto& [name, info] : inputs) {
        FakePlatform fresh;
        fresh.home = home.string();
        WebHostDelegate host(fresh, info);
        host.applicationDidFinishLaunching();
        EXPECT_EQ(fresh.alerts, (std::vector<std::pair<std::string, std::string>>{
                                    {"This web app has no address",
                                     "Halyward could not read the site stored in the app."}}))
            << name;
        EXPECT_EQ(fresh.terminations, 1) << name;
        EXPECT_TRUE(fresh.windows.empty() && host.controllers.empty()) << name;
    }
    // A blank or a non-ASCII letter in the stored address is encoded, as a browser would.
    WebWindowController& opened = launch("https://example.com/a b/\xC3\xA9");
    EXPECT_EQ(view(opened).loads.at(0).first, "https://example.com/a%20b/%C3%A9");
}

TEST_F(LaunchTest, closing_a_window_removes_exactly_its_controller) {
    WebWindowController& first = launch();
    delegate->open("https://mail.example.com/inbox", *delegate->configuration, "Mail");
    ASSERT_EQ(delegate->controllers.size(), 2u);
    const std::weak_ptr<WebWindowController> second = delegate->controllers[1];
    const std::weak_ptr<WebWindowController> closed = delegate->controllers[0];
    delegate->applicationDidReopen();  // brings the first window forward
    EXPECT_EQ(window(first).fronts, 2);

    window(first).close();
    ASSERT_EQ(delegate->controllers.size(), 1u);
    EXPECT_EQ(delegate->controllers[0], second.lock());
    EXPECT_TRUE(closed.expired());
    EXPECT_EQ(platform.terminations, 0);

    // The last window closing quits the app, here through the page's own window.close().
    view(*second.lock()).closeByScript();
    EXPECT_TRUE(delegate->controllers.empty());
    EXPECT_EQ(platform.terminations, 1);
    platform.runTasks();
    EXPECT_TRUE(platform.windows.empty());
    EXPECT_TRUE(platform.webViews.empty());
    EXPECT_TRUE(platform.watches.empty());
    EXPECT_TRUE(configuration().handlers.empty());
}

TEST_F(LaunchTest, callbacks_do_nothing_once_the_controller_is_gone) {
    WebWindowController& controller = launch();
    const auto post = configuration().handlers.at("halywardNotify");
    window(controller).close();
    platform.fireConfigChange();
    post(ScriptMessage{"halywardNotify", true, {{"title", "late"}}});
    platform.runTasks();  // the slim treatment queued at launch
    EXPECT_TRUE(platform.notifications.empty());
    EXPECT_TRUE(platform.windows.empty());

    // A delegate destroyed with its window open (the process ending) leaves nothing that
    // could call into it.
    launch();
    delegate.reset();
    platform.runTasks();
    EXPECT_TRUE(platform.windows.empty());
    EXPECT_TRUE(platform.webViews.empty());
}

TEST(bundle_location, finds_the_bundle_around_the_executable) {
    struct Case {
        std::string executable;
        std::optional<std::string> bundle;
    };
    const Case cases[] = {
        {"/Apps/Mail.app/Contents/MacOS/HalywardWebHost", "/Apps/Mail.app"},
        {"/Apps/Mail.app/Contents/MacOS/../MacOS/HalywardWebHost", "/Apps/Mail.app"},
        {"/usr/bin/HalywardWebHost", std::nullopt},
        {"HalywardWebHost", std::nullopt},
    };
    for (const auto& c : cases) {
        const auto found = bundleOfExecutable(c.executable);
        EXPECT_EQ(found ? std::optional<std::string>(found->string()) : std::nullopt, c.bundle)
            << c.executable;
    }
}
