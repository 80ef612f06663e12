// `app add`, `app list` and `app remove` against the test site, with a stand-in host file.
#include "halyward/commands/command_router.hpp"
#include "halyward/config/config_file.hpp"
#include "halyward/config/config_json.hpp"
#include "halyward/system/paths.hpp"
#include "halyward/webapps/application_id.hpp"
#include "halyward/webapps/bundle_plan.hpp"
#include "halyward/webapps/desktop_entry.hpp"
#include "halyward/webapps/icns.hpp"

#include "support/scratch_folder.hpp"
#include "support/test_site.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

using namespace halyward;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

using Args = std::vector<std::string>;

std::vector<std::uint8_t> bytesOf(const std::string& text) { return {text.begin(), text.end()}; }

const std::string kPNG = std::string("\x89PNG\r\n\x1a\n", 8) + "rest of a picture";

struct AppFixture : ::testing::Test {
    ScratchFolder scratch;
    fs::path home = scratch.path;
    fs::path config = HalywardPaths::configFile(home.string());
    fs::path apps = HalywardPaths::appsDirectory(home.string());
    fs::path entries = desktopEntryFolder(home.string());
    fs::path host = home / "build" / "HalywardWebHost";
    std::vector<std::string> progress;
    std::vector<std::string> running;
    CommandContext context;

    void SetUp() override {
        writeFile(host, "#!/bin/sh\necho host one\n");
        writeFile(config, ConfigFile::defaultText());
        context.home = home.string();
        context.workingDirectory = home.string();
        context.webHost = host.string();
        context.fetchLimits.connectTimeout = 2s;
        context.fetchLimits.transferTimeout = 5s;
        context.progress = [this](std::string_view line) { progress.emplace_back(line); };
        context.isRunning = [this](const std::string& executable) {
            return std::find(running.begin(), running.end(), executable) != running.end();
        };
    }

    CommandOutput run(const Args& arguments) { return CommandRouter(context).run(arguments); }
    HalywardConfig decoded() { return ConfigFile::load(config).decode(); }
    fs::path bundle(const std::string& name) { return apps / (name + ".app"); }

    // Everything `app add` may write: the apps folder, the launcher entries and the
    // configuration text.
    std::string traces() {
        std::string out;
        for (const fs::path& folder : {apps, entries}) {
            std::error_code ignored;
            for (const auto& entry : fs::recursive_directory_iterator(folder, ignored)) {
                out += entry.path().string() + "\n";
            }
        }
        return out + readFile(config);
    }
};

}  // namespace

TEST_F(AppFixture, app_add_makes_the_bundle_its_launcher_entry_and_its_record) {
    const TestSite site;
    const CommandOutput output = run({"--json", "app", "add", site("/forms/"), "--name", "Forms",
                                      "--hotkey", "ctrl+opt+shift+m", "--tile", "left-half",
                                      "--css", "body { margin: 0 }", "--js", "console.log(1)"});
    ASSERT_EQ(output.exitCode, ExitCode::ok) << output.message;
    EXPECT_TRUE(progress.empty()) << "--json shows no progress";

    const HalywardConfig config = decoded();
    ASSERT_EQ(config.apps.size(), 1u);
    const WebAppRecord& record = config.apps[0];
    EXPECT_EQ(output.payload, appJSON(record));
    EXPECT_EQ(record.slug, "forms");
    EXPECT_EQ(record.spec.url, site("/forms/"));
    EXPECT_EQ(record.spec.bundleIdentifier, "app.halyward.web.forms");
    EXPECT_EQ(record.spec.hotkey, "ctrl+opt+shift+m");
    EXPECT_EQ(record.spec.tile, "left-half");
    EXPECT_EQ(record.spec.userCSS, "body { margin: 0 }");
    EXPECT_EQ(record.spec.userJS, "console.log(1)");

    const fs::path contents = bundle("Forms") / "Contents";
    EXPECT_EQ(readFile(contents / "MacOS" / "HalywardWebHost"), readFile(host));
    EXPECT_TRUE(isPNG(bytesOf(readFile(contents / "Resources" / "AppIcon.png"))));
    EXPECT_EQ(readFile(contents / "Resources" / "AppIcon.icns").substr(0, 4), "icns");
    EXPECT_NE(readFile(contents / "Info.plist").find("<string>" + site("/forms/") + "</string>"),
              std::string::npos);

    const fs::path entry = desktopEntryPath(home.string(), applicationID("app.halyward.web.forms"));
    const std::string text = readFile(entry);
    EXPECT_NE(text.find("StartupWMClass=app.halyward.web.forms\n"), std::string::npos) << text;
    EXPECT_NE(text.find("Icon=" + (contents / "Resources" / "AppIcon.png").string()),
              std::string::npos);
    if (std::system("command -v desktop-file-validate >/dev/null 2>&1") == 0) {
        EXPECT_EQ(std::system(("desktop-file-validate '" + entry.string() + "'").c_str()), 0);
    }

    // Without --name the app is named after the host; a terminal sees each step.
    const CommandOutput bare = run({"app", "add", site("/plain/")});
    ASSERT_EQ(bare.exitCode, ExitCode::ok) << bare.message;
    EXPECT_EQ(decoded().apps.back().spec.name, "127.0.0.1");
    EXPECT_EQ(progress, (std::vector<std::string>{"Fetching the page…", "Fetching an icon…",
                                                  "Writing the bundle…"}));
    // A name of punctuation alone still makes an app, under the slug "app".
    const CommandOutput punctuation = run({"app", "add", site("/plain/"), "--name", "!!!"});
    ASSERT_EQ(punctuation.exitCode, ExitCode::ok) << punctuation.message;
    EXPECT_EQ(decoded().apps.back().slug, "app");
}

TEST_F(AppFixture, app_add_refuses_bad_input_before_writing_anything) {
    const TestSite site;
    writeFile(config, std::string(ConfigFile::defaultText()) +
                          "\n[apps.mail]\nurl = \"https://mail.example\"\nname = \"Mail\"\n"
                          "hotkey = \"ctrl+opt+m\"\n");
    writeFile(home / "folder.png" / "x", "");
    writeFile(home / "icon.gif", "GIF89a");
    writeFile(home / "empty.png", "");
    writeFile(home / "big.png", kPNG + std::string(5 << 20, 'x'));
    const std::string page = site("/forms/");
    struct Case {
        Args arguments;
        int exitCode;
    };
    const Case cases[] = {
        {{"ftp://files.example/"}, ExitCode::usage},
        {{"https://"}, ExitCode::usage},
        {{"mailto:a@b.example"}, ExitCode::usage},
        {{"https://a.example/" + std::string(1 << 20, 'a')}, ExitCode::usage},
        {{"https://a.example/\x01x"}, ExitCode::usage},
        {{page, "--name", "a/b"}, ExitCode::usage},
        {{page, "--name", ".."}, ExitCode::usage},
        {{page, "--name", ".hidden"}, ExitCode::usage},
        {{page, "--name", "two\nlines"}, ExitCode::usage},
        {{page, "--name", std::string("nul\0byte", 8)}, ExitCode::usage},
        {{page, "--name", std::string(10'000, 'n')}, ExitCode::usage},
        {{page, "--name", ""}, ExitCode::usage},
        {{page, "--name", "X", "--hotkey", "ctrl+nothing"}, ExitCode::usage},
        {{page, "--name", "X", "--hotkey", "ctrl+opt+m"}, ExitCode::conflict},
        {{page, "--name", "X", "--hotkey", "ctrl+opt+space"}, ExitCode::conflict},
        {{page, "--name", "X", "--tile", "sideways"}, ExitCode::usage},
        {{page, "--name", "X", "--icon", "folder.png"}, ExitCode::usage},
        {{page, "--name", "X", "--icon", "missing.png"}, ExitCode::notFound},
        {{page, "--name", "X", "--icon", "icon.gif"}, ExitCode::usage},
        {{page, "--name", "X", "--icon", "empty.png"}, ExitCode::usage},
        {{page, "--name", "X", "--icon", "big.png"}, ExitCode::usage},
        {{page, "--name", "MAIL"}, ExitCode::conflict},
        {{page, "--name", "Mail!"}, ExitCode::conflict},  // the same slug
    };
    const std::string before = traces();
    for (const Case& c : cases) {
        Args arguments{"app", "add"};
        arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
        const CommandOutput output = run(arguments);
        EXPECT_EQ(output.exitCode, c.exitCode)
            << c.arguments[0].substr(0, 40) << " " << c.arguments.back().substr(0, 40) << ": "
            << output.message;
        EXPECT_FALSE(output.message.empty());
        EXPECT_EQ(traces(), before) << output.message;
    }
    EXPECT_TRUE(progress.empty()) << "nothing was fetched";

    // No host, an apps folder that cannot be made, a file that does not parse.
    context.webHost = (home / "nowhere").string();
    EXPECT_EQ(run({"app", "add", page, "--name", "X"}).exitCode, ExitCode::unavailable);
    context.webHost = host.string();
    writeFile(apps, "a file where the apps folder should be");
    EXPECT_EQ(run({"app", "add", page, "--name", "X"}).exitCode, ExitCode::failed);
    EXPECT_EQ(decoded().apps.size(), 1u);
    fs::remove(apps);
    writeFile(config, "[apps.x\n");
    EXPECT_EQ(run({"app", "add", page, "--name", "X"}).exitCode, ExitCode::config);
    EXPECT_EQ(readFile(config), "[apps.x\n");
    EXPECT_FALSE(fs::exists(apps / "X.app"));
}

TEST_F(AppFixture, a_site_without_an_icon_still_gets_its_app_and_the_message_says_why) {
    const TestSite site, bare(true);
    struct Case {
        std::string url;
        bool icon;
        std::string says;
    };
    const Case cases[] = {
        {site("/loop"), false,
         "without an icon: the site could not be reached: too many redirects"},
        {bare("/empty-icon/"), false, "without an icon: the site offers no PNG icon"},
        {bare("/only-gif/"), false, "without an icon: the site offers no PNG icon"},
        {site("/endless/"), true, "with the site's icon"},  // the page is cut at its cap
        {site("/plain/"), true, "with the site's icon"},    // /apple-touch-icon.png
    };
    int n = 0;
    for (const Case& c : cases) {
        const std::string name = "App " + std::to_string(++n);
        const CommandOutput output = run({"app", "add", c.url, "--name", name});
        ASSERT_EQ(output.exitCode, ExitCode::ok) << c.url << ": " << output.message;
        EXPECT_NE(output.message.find(c.says), std::string::npos) << output.message;
        EXPECT_EQ(fs::exists(bundle(name) / "Contents" / "Resources" / "AppIcon.png"), c.icon);
        EXPECT_TRUE(fs::exists(bundle(name) / "Contents" / "MacOS" / "HalywardWebHost"));
    }
    EXPECT_EQ(decoded().apps.size(), std::size(cases));

    // --icon takes a local PNG and fetches nothing, not even from a site that is down.
    writeFile(home / "pics" / "mine.png", kPNG);
    progress.clear();
    const CommandOutput mine =
        run({"app", "add", "http://127.0.0.1:9/", "--name", "Mine", "--icon", "pics/mine.png"});
    ASSERT_EQ(mine.exitCode, ExitCode::ok) << mine.message;
    EXPECT_EQ(readFile(bundle("Mine") / "Contents" / "Resources" / "AppIcon.png"), kPNG);
    EXPECT_EQ(decoded().apps.back().spec.iconPath, (home / "pics" / "mine.png").string());
    EXPECT_EQ(progress, std::vector<std::string>{"Writing the bundle…"});
}

TEST_F(AppFixture, a_record_that_cannot_be_written_takes_its_bundle_with_it) {
    const TestSite site;
    // While the site is fetched, another command takes the name, or the file is broken.
    const std::pair<std::string, int> meanwhile[] = {
        {std::string(ConfigFile::defaultText()) +
             "\n[apps.x]\nurl = \"https://x.example\"\nname = \"x\"\n",
         ExitCode::conflict},
        {"[broken\n", ExitCode::config},
    };
    for (const auto& [text, exitCode] : meanwhile) {
        writeFile(config, ConfigFile::defaultText());
        context.progress = [&, text = text](std::string_view line) {
            if (line == "Fetching the page…") writeFile(config, text);
        };
        const CommandOutput output = run({"app", "add", site("/forms/"), "--name", "X"});
        EXPECT_EQ(output.exitCode, exitCode) << output.message;
        EXPECT_FALSE(fs::exists(bundle("X"))) << "no bundle without its record";
        EXPECT_FALSE(fs::exists(desktopEntryPath(home.string(), "app.halyward.web.x")));
    }
}

TEST_F(AppFixture, app_list_shows_each_bundle_and_brings_hosts_up_to_date) {
    const TestSite site;
    for (const char* name : {"Kept", "Gone", "Open"}) {
        ASSERT_EQ(run({"app", "add", site("/plain/"), "--name", name}).exitCode, ExitCode::ok);
    }
    fs::remove_all(bundle("Gone"));
    writeFile(host, "#!/bin/sh\necho host two\n");
    running.push_back(webHostExecutable(bundle("Open")).string());

    const CommandOutput output = run({"--json", "app", "list"});
    ASSERT_EQ(output.exitCode, ExitCode::ok) << output.message;
    std::vector<std::string> states;
    const JSONArray list = output.payload.arrayValue().value_or(JSONArray{});
    for (const JSONValue& app : list) {
        states.push_back(*app.objectValue()->at("bundle").stringValue());
    }
    EXPECT_EQ(states, (std::vector<std::string>{"present", "missing", "host-out-of-date"}));
    EXPECT_EQ(readFile(webHostExecutable(bundle("Kept"))), readFile(host)) << "refreshed";
    EXPECT_NE(readFile(webHostExecutable(bundle("Open"))), readFile(host)) << "left while open";

    running.clear();
    const CommandOutput text = run({"app", "list"});
    EXPECT_NE(text.message.find("Gone (gone) " + site("/plain/") + "  bundle missing"),
              std::string::npos)
        << text.message;
    EXPECT_NE(text.message.find("Brought the web-app host of 1 app up to date."),
              std::string::npos);
    EXPECT_EQ(readFile(webHostExecutable(bundle("Open"))), readFile(host));
}

TEST_F(AppFixture, app_remove_takes_bundle_entry_and_record_and_keeps_website_data) {
    const TestSite site;
    ASSERT_EQ(run({"app", "add", site("/forms/"), "--name", "Forms"}).exitCode, ExitCode::ok);
    const std::string plist = readFile(bundle("Forms") / "Contents" / "Info.plist");
    const std::string key = "<key>HWDataStoreUUID</key>\n  <string>";
    const std::size_t at = plist.find(key);
    ASSERT_NE(at, std::string::npos);
    const std::string uuid = plist.substr(at + key.size(), 36);
    const fs::path data = websiteDataFolder(home.string(), *UUID::parse(uuid));
    writeFile(data / "cookies", "session");
    const fs::path entry = desktopEntryPath(home.string(), "app.halyward.web.forms");
    ASSERT_TRUE(fs::exists(entry));

    const CommandOutput output = run({"app", "remove", "forms", "--yes"});
    ASSERT_EQ(output.exitCode, ExitCode::ok) << output.message;
    EXPECT_NE(output.message.find(data.string()), std::string::npos) << output.message;
    EXPECT_FALSE(fs::exists(bundle("Forms")));
    EXPECT_FALSE(fs::exists(entry));
    EXPECT_TRUE(decoded().apps.empty());
    EXPECT_EQ(readFile(data / "cookies"), "session");
    EXPECT_TRUE(fs::is_empty(apps)) << "no hidden copy left behind";

    // A configuration that does not parse leaves the bundle where it was.
    ASSERT_EQ(run({"app", "add", site("/plain/"), "--name", "Plain"}).exitCode, ExitCode::ok);
    const std::string text = readFile(config);
    writeFile(config, text + "[broken\n");
    EXPECT_EQ(run({"app", "remove", "Plain", "--yes"}).exitCode, ExitCode::config);
    EXPECT_TRUE(fs::exists(webHostExecutable(bundle("Plain"))));
}

TEST_F(AppFixture, help_app_documents_the_web_app_commands) {
    for (const Args& arguments : {Args{"help", "app"}, Args{"--json", "help", "app"}}) {
        const CommandOutput output = run(arguments);
        EXPECT_EQ(output.exitCode, ExitCode::ok);
        EXPECT_TRUE(output.message.starts_with("halyward app — ")) << output.message;
        EXPECT_NE(output.message.find("remove it and add it again"), std::string::npos);
    }
    EXPECT_TRUE(run({"help"}).message.starts_with("halyward — "));
}
