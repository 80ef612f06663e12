// `app add`, `app list` and `app remove` against the test site, with a stand-in host file.
#include "halyward/commands/command_router.hpp"
#include "halyward/config/config_file.hpp"
#include "halyward/config/config_json.hpp"
#include "halyward/system/paths.hpp"
#include "halyward/webapps/application_id.hpp"
#include "halyward/webapps/bundle_info.hpp"
#include "halyward/webapps/bundle_plan.hpp"
#include "halyward/webapps/desktop_entry.hpp"
#include "halyward/webapps/icns.hpp"

#include "halyward/system/unique_fd.hpp"

#include "support/fifo.hpp"
#include "support/scratch_folder.hpp"
#include "support/test_site.hpp"
#include "support/toml_peer.hpp"

#include <gtest/gtest.h>
#include <sys/file.h>

#include <filesystem>

using namespace halyward;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

using Args = std::vector<std::string>;

std::vector<std::uint8_t> bytesOf(const std::string& text) { return {text.begin(), text.end()}; }

// A 1×1 PNG: signature, IHDR, IDAT and IEND.
const std::string kPNG(
    "\x89\x50\x4e\x47\x0d\x0a\x1a\x0a\x00\x00\x00\x0d\x49\x48\x44\x52\x00\x00\x00\x01\x00\x00"
    "\x00\x01\x08\x06\x00\x00\x00\x1f\x15\xc4\x89\x00\x00\x00\x0d\x49\x44\x41\x54\x78\x9c\x63"
    "\x10\x50\x30\xf8\x0f\x00\x02\x04\x01\x60\x8d\xbc\xbb\x71\x00\x00\x00\x00\x49\x45\x4e\x44"
    "\xae\x42\x60\x82",
    70);

std::vector<std::string> listing(const fs::path& folder) {
    std::vector<std::string> names;
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(folder, ignored)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

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

    // Whatever the commands leave in a file our own reader takes, a reader we did not
    // write must take too.
    void TearDown() override {
        const std::string text = readFile(config);
        try {
            ConfigFile parsed(text);
        } catch (const HalywardError&) {
            return;  // broken on purpose by the test
        }
        EXPECT_TRUE(tomllibTaggedJSONBatch({text}).at(0)) << text;
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
    ASSERT_EQ(decoded().apps.size(), 1u);
    const WebAppRecord expected{
        "forms",
        {site("/forms/"), "Forms", "app.halyward.web.forms", "ctrl+opt+shift+m", "left-half",
         "body { margin: 0 }", "console.log(1)"}};
    EXPECT_EQ(decoded().apps[0], expected);
    EXPECT_EQ(output.payload, appJSON(expected));

    // The bundle carries the shipped host and the site's icon, and the launcher entry shows
    // that icon; what else goes into both is the bundle writer's business.
    const fs::path contents = bundle("Forms") / "Contents";
    EXPECT_EQ(readFile(contents / "MacOS" / "HalywardWebHost"), readFile(host));
    EXPECT_TRUE(isPNG(bytesOf(readFile(contents / "Resources" / "AppIcon.png"))));
    EXPECT_EQ(readFile(contents / "Resources" / "AppIcon.icns").substr(0, 4), "icns");
    EXPECT_NE(readFile(contents / "Info.plist").find("<string>" + site("/forms/") + "</string>"),
              std::string::npos);
    const std::string entry =
        readFile(desktopEntryPath(home.string(), applicationID("app.halyward.web.forms")));
    EXPECT_NE(entry.find("Icon=" + (contents / "Resources" / "AppIcon.png").string()),
              std::string::npos)
        << entry;

    // Without --name the app is named after the host; a terminal sees each step.
    const CommandOutput bare = run({"app", "add", site("/plain/")});
    ASSERT_EQ(bare.exitCode, ExitCode::ok) << bare.message;
    EXPECT_NE(bare.message.find("with the site's icon"), std::string::npos) << bare.message;
    EXPECT_EQ(decoded().apps.back().spec.name, "127.0.0.1");
    EXPECT_EQ(progress, (std::vector<std::string>{"Fetching the page…", "Fetching an icon…",
                                                  "Writing the bundle…"}));
}

// One row per way `app add` itself refuses; what makes an address, a name or a chord
// acceptable is tested with those checks.
TEST_F(AppFixture, app_add_refuses_bad_input_before_writing_anything) {
    const TestSite site;
    writeFile(config, std::string(ConfigFile::defaultText()) +
                          "\n[apps.mail]\nurl = \"https://mail.example\"\nname = \"Mail\"\n"
                          "hotkey = \"ctrl+opt+m\"\n"
                          "\n[apps.\"café\"]\nurl = \"https://cafe.example\"\nname = \"Café\"\n");
    writeFile(home / "folder.png" / "x", "");
    writeFile(home / "stub.png", "\x89PNG");
    writeFile(home / "icon.gif", "GIF89a");
    writeFile(home / "empty.png", "");
    writeFile(home / "big.png", kPNG + std::string(5 << 20, 'x'));
    const std::string page = site("/forms/");
    // What Halyward did not make is never its to replace: a folder or a file already where
    // the bundle would go.
    writeFile(bundle("Notes") / "Contents" / "notes.txt", "mine");
    writeFile(bundle("Todo"), "a plain file");
    struct Case {
        Args arguments;
        int exitCode;
        std::string says = {};
    };
    const Case cases[] = {
        {{"ftp://files.example/"}, ExitCode::usage},
        {{page, "--name", "a/b"}, ExitCode::usage},
        {{page, "--name", "X", "--hotkey", "ctrl+nothing"}, ExitCode::usage},
        {{page, "--name", "X", "--hotkey", "ctrl+opt+m"}, ExitCode::conflict},
        {{page, "--name", "X", "--tile", "sideways"}, ExitCode::usage},
        {{page, "--name", "X", "--icon", "folder.png"}, ExitCode::usage},
        {{page, "--name", "X", "--icon", "missing.png"}, ExitCode::notFound},
        {{page, "--name", "X", "--icon", "icon.gif"}, ExitCode::usage},
        {{page, "--name", "X", "--icon", "empty.png"}, ExitCode::usage},
        {{page, "--name", "X", "--icon", "big.png"}, ExitCode::usage},
        {{page, "--name", "MAIL"}, ExitCode::conflict},
        {{page, "--name", "Mail!"}, ExitCode::conflict},         // the same slug
        {{page, "--name", "Cafe\xCC\x81"}, ExitCode::conflict},  // the same name, decomposed
        {{page, "--name", "G\xE2\x80\x8Bmail"}, ExitCode::usage, "U+200B"},
        {{page, "--name", "X", "--icon", "stub.png"}, ExitCode::usage, "not a PNG"},
        {{page, "--name", "Notes"}, ExitCode::conflict, "“" + bundle("Notes").string() + "”"},
        {{page, "--name", "Todo"}, ExitCode::conflict, "“" + bundle("Todo").string() + "”"},
        {{page, "--name", "X", "--css", "a\x01b"}, ExitCode::usage, "--css"},
        {{page, "--name", "X", "--css", "a\x7f"}, ExitCode::usage, "U+007F"},
        {{page, "--name", "X", "--js", "\xC2\x85"}, ExitCode::usage, "U+0085"},
        {{page, "--name", "X", "--js", "ok\xC3("}, ExitCode::usage, "not valid UTF-8"},
    };
    const std::string before = traces();
    for (const Case& c : cases) {
        Args arguments{"app", "add"};
        arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
        const CommandOutput output = run(arguments);
        EXPECT_EQ(output.exitCode, c.exitCode) << c.arguments.back() << ": " << output.message;
        EXPECT_NE(output.message.find(c.says), std::string::npos) << output.message;
        EXPECT_EQ(traces(), before) << output.message;
    }
    EXPECT_TRUE(progress.empty()) << "nothing was fetched";

    // No host (none named, or none beside the program), an apps folder that cannot be
    // made, a file that does not parse.
    for (const std::string& none : {(home / "nowhere").string(), std::string()}) {
        context.webHost = none;
        EXPECT_EQ(run({"app", "add", page, "--name", "X"}).exitCode, ExitCode::unavailable);
    }
    context.webHost = host.string();
    fs::remove_all(apps);
    writeFile(apps, "a file where the apps folder should be");
    EXPECT_EQ(run({"app", "add", page, "--name", "X"}).exitCode, ExitCode::failed);
    EXPECT_EQ(decoded().apps.size(), 2u);
    fs::remove(apps);
    writeFile(config, "[apps.x\n");
    EXPECT_EQ(run({"app", "add", page, "--name", "X"}).exitCode, ExitCode::config);
    EXPECT_EQ(readFile(config), "[apps.x\n");
    EXPECT_FALSE(fs::exists(apps / "X.app"));
}

TEST_F(AppFixture, an_app_without_a_site_icon_says_why_and_a_local_icon_fetches_nothing) {
    const TestSite bare(true);
    const CommandOutput output = run({"app", "add", bare("/empty-icon/"), "--name", "Bare"});
    ASSERT_EQ(output.exitCode, ExitCode::ok) << output.message;
    EXPECT_NE(output.message.find("without an icon: the site offers no PNG icon"),
              std::string::npos)
        << output.message;
    EXPECT_FALSE(fs::exists(bundle("Bare") / "Contents" / "Resources" / "AppIcon.png"));
    EXPECT_TRUE(fs::exists(bundle("Bare") / "Contents" / "MacOS" / "HalywardWebHost"));

    // Not even from a site that is down.
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

// Two adds of one name at once: the one that records the name first keeps its app whole,
// and the other changes nothing, also when what took the path is not an app at all.
TEST_F(AppFixture, an_add_that_loses_the_name_leaves_the_winner_untouched) {
    const TestSite site;
    CommandContext other = context;
    other.progress = nullptr;
    std::optional<CommandOutput> winner;
    context.progress = [&](std::string_view line) {
        if (line == "Fetching the page…" && !winner) {
            winner = CommandRouter(other).run({"app", "add", site("/plain/"), "--name", "Same"});
        }
    };
    const CommandOutput loser = run({"app", "add", site("/forms/"), "--name", "Same"});
    ASSERT_TRUE(winner);
    ASSERT_EQ(winner->exitCode, ExitCode::ok) << winner->message;
    EXPECT_EQ(loser.exitCode, ExitCode::conflict) << loser.message;
    EXPECT_EQ(readBundleInfo(bundle("Same")).value_or(BundleInfo{}).string("HWURL"),
              site("/plain/"));
    EXPECT_TRUE(fs::exists(desktopEntryPath(home.string(), "app.halyward.web.same")));
    EXPECT_EQ(listing(apps), std::vector<std::string>{"Same.app"}) << "nothing hidden is left";
    EXPECT_EQ(run({"app", "list"}).message, "Same (same) " + site("/plain/"));

    context.progress = [&](std::string_view line) {
        if (line == "Fetching the page…")
            writeFile(bundle("Late") / "Contents" / "mine.txt", "mine");
    };
    const CommandOutput late = run({"app", "add", site("/forms/"), "--name", "Late"});
    EXPECT_EQ(late.exitCode, ExitCode::conflict) << late.message;
    EXPECT_NE(late.message.find("“" + bundle("Late").string() + "”"), std::string::npos)
        << late.message;
    EXPECT_EQ(listing(bundle("Late")), std::vector<std::string>{"Contents"});
    EXPECT_EQ(readFile(bundle("Late") / "Contents" / "mine.txt"), "mine");
    EXPECT_EQ(decoded().apps.size(), 1u);
}

TEST_F(AppFixture, app_list_shows_each_bundle_and_brings_hosts_up_to_date) {
    const TestSite site;
    for (const char* name : {"Kept", "Gone", "Open"}) {
        ASSERT_EQ(run({"app", "add", site("/plain/"), "--name", name}).exitCode, ExitCode::ok);
    }
    fs::remove_all(bundle("Gone"));
    writeFile(host, "#!/bin/sh\necho host two\n");
    running.push_back(webHostExecutable(bundle("Open")).string());

    const CommandOutput output = run({"app", "list"});
    ASSERT_EQ(output.exitCode, ExitCode::ok) << output.message;
    EXPECT_EQ(output.message, "Kept (kept) " + site("/plain/") + "\nGone (gone) " +
                                  site("/plain/") + "  bundle missing\nOpen (open) " +
                                  site("/plain/") + "  host out of date (the app is open)\n" +
                                  "Brought the web-app host of 1 app up to date.");
    // Scripts get the apps as they are configured, in the fixed shape of an app.
    const JSONArray list =
        run({"--json", "app", "list"}).payload.arrayValue().value_or(JSONArray{});
    ASSERT_EQ(list.size(), 3u);
    EXPECT_EQ(list[1], appJSON(ConfigFile::load(config).decode().apps[1]));
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

// A host that is a named pipe or a link to an endless device is not read: it is out of
// date, and replaced.
TEST_F(AppFixture, app_list_reads_only_regular_hosts_and_replaces_the_others) {
    writeFile(home / "icon.png", kPNG);
    for (const char* name : {"Pipe", "Zero"}) {
        ASSERT_EQ(run({"app", "add", "http://127.0.0.1:9/", "--name", name, "--icon", "icon.png"})
                      .exitCode,
                  ExitCode::ok);
    }
    for (const char* name : {"Pipe", "Zero"}) fs::remove(webHostExecutable(bundle(name)));
    const fs::path pipe = webHostExecutable(bundle("Pipe"));
    makeFifo(pipe);
    fs::create_symlink("/dev/zero", webHostExecutable(bundle("Zero")));
    CommandOutput output;
    EXPECT_TRUE(finishesWithoutAWriter(pipe, [&] { output = run({"app", "list"}); }));
    EXPECT_EQ(output.exitCode, ExitCode::ok) << output.message;
    EXPECT_NE(output.message.find("Brought the web-app host of 2 apps up to date."),
              std::string::npos)
        << output.message;
    for (const char* name : {"Pipe", "Zero"}) {
        EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(webHostExecutable(bundle(name)))));
        EXPECT_EQ(readFile(webHostExecutable(bundle(name))), readFile(host)) << name;
    }
}

// A staging folder left by a killed add is ours to delete, once nobody holds it and it is
// old enough not to be one that a run is just setting up; until then doctor names it.
TEST_F(AppFixture, stale_staging_folders_are_reported_then_removed_and_live_ones_stay) {
    const auto staging = [&] {
        return apps / (".halyward-" + UUID::random().uuidString() + ".tmp");
    };
    const fs::path stale = staging(), live = staging(), fresh = staging();
    const fs::path notOurs = apps / ".halyward-notes.tmp";
    for (const fs::path& folder : {stale, live, fresh, notOurs}) {
        writeFile(folder / "Contents" / "MacOS" / "HalywardWebHost", "host");
    }
    for (const fs::path& folder : {stale, live, notOurs}) {
        fs::last_write_time(folder, fs::file_time_type::clock::now() - 2h);
    }
    const UniqueFd held(::open(live.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(::flock(held.get(), LOCK_EX | LOCK_NB), 0);

    const CommandOutput before = run({"doctor"});
    EXPECT_NE(before.message.find("“" + stale.string() + "”"), std::string::npos) << before.message;
    for (const fs::path& kept : {live, fresh, notOurs}) {
        EXPECT_EQ(before.message.find(kept.string()), std::string::npos) << before.message;
    }
    ASSERT_EQ(run({"app", "list"}).exitCode, ExitCode::ok);
    EXPECT_FALSE(fs::exists(stale));
    for (const fs::path& kept : {live, fresh, notOurs}) EXPECT_TRUE(fs::exists(kept)) << kept;
    EXPECT_EQ(run({"doctor"}).message.find(stale.string()), std::string::npos);
}

// The app is made either way; the message tells why the launcher will not list it.
TEST_F(AppFixture, an_app_whose_launcher_entry_cannot_be_written_says_so) {
    writeFile(home / "icon.png", kPNG);
    const std::pair<std::function<void()>, std::string> blocked[] = {
        {[&] { writeFile(entries, "a file where the folder should be"); }, "Files"},
        {[&] {
             fs::remove(entries);
             writeFile(desktopEntryPath(home.string(), "app.halyward.web.theirs"),
                       "[Desktop Entry]\nType=Application\nName=Theirs\nExec=true\n");
         },
         "Theirs"},
    };
    for (const auto& [block, name] : blocked) {
        block();
        const CommandOutput output =
            run({"app", "add", "http://127.0.0.1:9/", "--name", name, "--icon", "icon.png"});
        EXPECT_EQ(output.exitCode, ExitCode::ok) << output.message;
        EXPECT_TRUE(fs::exists(webHostExecutable(bundle(name))));
        EXPECT_NE(output.message.find(" It will not appear in the launcher: "), std::string::npos)
            << output.message;
        EXPECT_NE(output.message.find("“" + entries.string()), std::string::npos) << output.message;
    }
}

// A host in another script stays readable in the app's name, and usable in its address.
TEST_F(AppFixture, an_international_host_names_the_app_in_its_own_script) {
    writeFile(home / "icon.png", kPNG);
    const CommandOutput output =
        run({"app", "add", "http://café.localhost:9/", "--icon", "icon.png"});
    ASSERT_EQ(output.exitCode, ExitCode::ok) << output.message;
    ASSERT_EQ(decoded().apps.size(), 1u);
    EXPECT_EQ(decoded().apps[0].spec.name, "café.localhost");
    EXPECT_EQ(decoded().apps[0].slug, "café-localhost");
    EXPECT_EQ(decoded().apps[0].spec.url, "http://xn--caf-dma.localhost:9/");
    EXPECT_NE(readFile(config).find("\n[apps.café-localhost]\n"), std::string::npos)
        << "a bare key";
    // tomllib knows only ASCII bare keys, so the check that it reads the file waits until
    // the app is gone again.
    EXPECT_EQ(run({"app", "remove", "café.localhost", "--yes"}).exitCode, ExitCode::ok);
}

TEST_F(AppFixture, app_remove_takes_bundle_entry_and_record_and_keeps_website_data) {
    const TestSite site;
    ASSERT_EQ(run({"app", "add", site("/forms/"), "--name", "Forms"}).exitCode, ExitCode::ok);
    const auto store =
        UUID::parse(readBundleInfo(bundle("Forms")).value().string("HWDataStoreUUID").value_or(""));
    ASSERT_TRUE(store);
    const fs::path data = websiteDataFolder(home.string(), *store);
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
    EXPECT_EQ(run({"app", "remove", "forms", "--yes"}).exitCode, ExitCode::notFound);

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
