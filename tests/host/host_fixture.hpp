#pragma once
// A temporary home folder, a fake platform and a launched web app, shared by the host's
// suites.

#include "fake_platform.hpp"
#include "halyward/host/web_host_delegate.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

namespace halyward::fakes {

class HostTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "halyward-host-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        home = pattern;
        platform.home = home.string();
    }
    void TearDown() override {
        delegate.reset();
        std::filesystem::remove_all(home);
    }

    void writeConfig(const std::string& text) {
        const auto folder = home / ".config/halyward";
        std::filesystem::create_directories(folder);
        std::ofstream(folder / "config.toml", std::ios::binary) << text;
    }

    static BundleInfo bundle(const std::string& url, const std::string& slug = "mail") {
        BundleInfo info;
        info.strings = {{"HWURL", url},
                        {"HWSlug", slug},
                        {"CFBundleName", "Mail"},
                        {"CFBundleIdentifier", "com.halyward.webapp.mail"}};
        return info;
    }

    // Launches a web app showing `url`; the delegate stays with the test.
    WebWindowController& launch(const std::string& url = "https://mail.example.com/inbox",
                                const std::string& slug = "mail") {
        delegate = std::make_shared<WebHostDelegate>(platform, bundle(url, slug));
        delegate->applicationDidFinishLaunching();
        EXPECT_EQ(delegate->controllers.size(), 1u);
        return *delegate->controllers.front();
    }

    FakeConfiguration& configuration() {
        return static_cast<FakeConfiguration&>(*delegate->configuration);
    }
    static FakeWebView& view(WebWindowController& c) {
        return static_cast<FakeWebView&>(*c.webView);
    }
    static FakeWindow& window(WebWindowController& c) {
        return static_cast<FakeWindow&>(c.window->platform());
    }

    std::filesystem::path home;
    FakePlatform platform;
    std::shared_ptr<WebHostDelegate> delegate;
};

}  // namespace halyward::fakes
