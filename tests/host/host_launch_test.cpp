#include "host_fixture.hpp"

#include "halyward/host/bundle_location.hpp"
#include "halyward/webapps/bundle_info.hpp"

using namespace halyward;
using namespace halyward::fakes;

namespace {

using LaunchTest = HostTest;

std::string plist(const std::string& entries) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" + entries +
           "</dict></plist>\n";
}

}  // namespace

TEST_F(LaunchTest, reads_the_identity_from_the_bundle) {
    struct Case {
        std::map<std::string, std::string, std::less<>> strings;
        std::optional<std::string> dataStore;
        std::string name, slug;
    };
    const Case cases[] = {
        {{{"HWDataStoreUUID", "0f1e2d3c-4b5a-6978-8796-a5b4c3d2e1f0"}, {"HWSlug", "mail"}},
         "0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0", "Halyward", "mail"},
        {{{"HWDataStoreUUID", "0F1E2D3C4B5A69788796A5B4C3D2E1F0"}}, std::nullopt, "Halyward", ""},
        {{{"HWDataStoreUUID", "{0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0}"}}, std::nullopt, "Halyward", ""},
        {{{"HWDataStoreUUID", "0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1FG"}}, std::nullopt, "Halyward", ""},
        {{{"HWDataStoreUUID", "0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0 "}}, std::nullopt, "Halyward", ""},
        {{{"CFBundleName", "Calendar"}}, std::nullopt, "Calendar", ""},
    };
    for (const auto& c : cases) {
        const WebHostDelegate host(platform, BundleInfo{c.strings});
        EXPECT_EQ(host.dataStoreID, c.dataStore);
        EXPECT_EQ(host.bundleName, c.name);
        EXPECT_EQ(host.slug, c.slug);
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
    EXPECT_EQ(view(controller).loads, (std::vector<std::pair<std::string, double>>{
                                          {"https://mail.example.com/inbox", 60.0}}));
    EXPECT_EQ(window(controller).title, "Mail");
    EXPECT_EQ(window(controller).fronts, 1);
    EXPECT_EQ(window(controller).delegate, &controller);
    EXPECT_EQ(view(controller).delegate, &controller);
    EXPECT_EQ(configuration().handlers.count("halywardNotify"), 1u);
    EXPECT_EQ(platform.watches.size(), 1u);
    EXPECT_EQ(platform.watches[0]->path, (home / ".config/halyward/config.toml").string());

    // Without a data-store identifier the platform's default store stays.
    FakePlatform other;
    other.home = home.string();
    WebHostDelegate shared(other, bundle("https://mail.example.com/"));
    shared.applicationDidFinishLaunching();
    EXPECT_FALSE(static_cast<FakeConfiguration&>(*shared.configuration).dataStore);
}

TEST_F(LaunchTest, an_address_without_a_host_shows_the_alert_and_quits) {
    const std::string addresses[] = {"",          "mailto:someone@example.com", "about:blank",
                                     "example",   "https://",                   "http:///inbox",
                                     "::not a url"};
    for (const auto& address : addresses) {
        FakePlatform fresh;
        fresh.home = home.string();
        WebHostDelegate host(fresh, bundle(address));
        host.applicationDidFinishLaunching();
        ASSERT_EQ(fresh.alerts.size(), 1u) << address;
        EXPECT_EQ(fresh.alerts[0].first, "This web app has no address");
        EXPECT_EQ(fresh.alerts[0].second, "Halyward could not read the site stored in the app.");
        EXPECT_EQ(fresh.terminations, 1) << address;
        EXPECT_TRUE(fresh.windows.empty()) << address;
        EXPECT_TRUE(host.controllers.empty());
    }
    // A blank or a non-ASCII letter in the stored address is encoded, as a browser would.
    WebWindowController& opened = launch("https://example.com/a b/\xC3\xA9");
    EXPECT_EQ(view(opened).loads.at(0).first, "https://example.com/a%20b/%C3%A9");
}

TEST_F(LaunchTest, bad_info_plists_end_in_the_alert) {
    const std::string url = "<key>HWURL</key><string>https://mail.example.com/</string>";
    struct Case { std::optional<std::string> bytes; bool opens; };
    const Case cases[] = {
        {std::nullopt, false},                                       // no Info.plist
        {std::string("\0\xFFgarbage<plist", 15), false},                // not a property list
        {plist("<key>HWURL</key><integer>3</integer>"), false},       // wrong type
        {plist("<key>HWURL</key><array><string>https://a.b/</string></array>"), false},
        {plist(url + "<key>Padding</key><string>" + std::string(10 << 20, 'x') + "</string>"), false},
        {plist(url + "<key>HWSlug</key><integer>7</integer>"), true},  // a bad slug is no error
    };
    int index = 0;
    for (const auto& c : cases) {
        const auto bundlePath = home / ("App" + std::to_string(index++) + ".app");
        std::filesystem::create_directories(bundlePath / "Contents");
        if (c.bytes) std::ofstream(bundlePath / "Contents/Info.plist", std::ios::binary) << *c.bytes;
        FakePlatform fresh;
        fresh.home = home.string();
        WebHostDelegate host(fresh, readBundleInfo(bundlePath));
        host.applicationDidFinishLaunching();
        EXPECT_EQ(fresh.alerts.size(), c.opens ? 0u : 1u) << index;
        EXPECT_EQ(host.controllers.size(), c.opens ? 1u : 0u) << index;
        if (c.opens) {
            EXPECT_EQ(host.slug, "");
        }
    }
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
    struct Case { std::string executable; std::optional<std::string> bundle; };
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
