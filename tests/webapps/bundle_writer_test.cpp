#include "halyward/webapps/bundle_writer.hpp"
#include "halyward/base/error.hpp"
#include "halyward/text/shell_quote.hpp"
#include "halyward/webapps/application_id.hpp"
#include "halyward/webapps/desktop_entry.hpp"
#include "halyward/webapps/icns.hpp"

#include "support/scratch_folder.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

using namespace halyward;
namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

namespace {

// Runs a command line and answers its exit status and combined output.
std::pair<int, std::string> shell(const std::vector<std::string>& argv) {
    std::string output;
    FILE* pipe = popen((ShellQuote::command(argv) + " 2>&1").c_str(), "r");
    if (!pipe) return {-1, ""};
    char buffer[4096];
    for (std::size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;) output.append(buffer, n);
    const int status = pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

Bytes bytesOf(const fs::path& path) {
    const std::string text = readFile(path);
    return Bytes(text.begin(), text.end());
}

std::vector<std::string> listing(const fs::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

struct WriterTest : ::testing::Test {
    ScratchFolder scratch;
    std::string home = scratch / "home";
    // Blanks, quotes, "$", "%", "`" and a backslash: everything Exec quoting must survive.
    fs::path apps = fs::path(home) / "Apps $HOME 'q' \"dq\" 100% `x` back\\slash";
    fs::path host = scratch / "host.sh";
    Bytes png;

    void SetUp() override {
        writeFile(host, "#!/bin/sh\necho host-v1\n");
        const std::string tool = std::string(HALYWARD_TEST_DATA) + "/webapps/png_tool.py";
        shell({HALYWARD_PYTHON3, tool, "make", "256", "256", scratch / "icon.png"});
        png = bytesOf(scratch / "icon.png");
        ASSERT_TRUE(isPNG(png));
    }
    WebAppBundlePlan plan(const std::string& name,
                          const std::string& url = "https://mail.example.com/") const {
        return WebAppBundlePlan(name, slugify(name), url, bundleIdentifier(slugify(name)),
                                UUID::random(), apps);
    }
    fs::path entryFor(const WebAppBundlePlan& p) const {
        return desktopEntryPath(home, applicationID(p.bundleIdentifier));
    }
};

}  // namespace

TEST_F(WriterTest, install_writes_a_complete_bundle_that_real_readers_accept) {
    const WebAppBundlePlan mail = plan("Mail & \"Co\" 100%");
    WebBundleWriter::install(mail, host, ICNSWriter::wrappingPNG(png), home, png);

    const fs::path contents = mail.bundlePath / "Contents";
    EXPECT_EQ(readFile(contents / "Info.plist"), mail.infoPlist());
    EXPECT_EQ(readFile(contents / "Resources" / "stub.json"), mail.stubJSON());
    EXPECT_EQ(readFile(webHostExecutable(mail.bundlePath)), readFile(host));
    EXPECT_EQ(fs::status(webHostExecutable(mail.bundlePath)).permissions() & fs::perms::mask,
              static_cast<fs::perms>(0755));
    EXPECT_EQ(bytesOf(contents / "Resources" / "AppIcon.png"), png);
    EXPECT_EQ(shell({webHostExecutable(mail.bundlePath)}).second, "host-v1\n");
    EXPECT_EQ(WebBundleWriter::bundleIdentifier(mail.bundlePath), mail.bundleIdentifier);
    EXPECT_EQ(listing(apps), std::vector<std::string>{"Mail & \"Co\" 100%.app"})
        << "no staging folder is left";

    EXPECT_EQ(bytesOf(contents / "Resources" / "AppIcon.icns"), ICNSWriter::wrappingPNG(png));

    const fs::path entry = entryFor(mail);
    const auto [status, complaints] = shell({"desktop-file-validate", entry.string()});
    EXPECT_EQ(status, 0) << complaints;
    EXPECT_EQ(complaints, "");
    const std::string text = readFile(entry);
    EXPECT_NE(text.find("\nName=Mail & \"Co\" 100%\n"), std::string::npos) << text;
    EXPECT_NE(
        text.find("\nIcon=" +
                  desktopEntryEscaped((contents / "Resources" / "AppIcon.png").string()) + "\n"),
        std::string::npos)
        << text;
    EXPECT_NE(text.find("\nStartupWMClass=app.halyward.web.mail-co-100\n"), std::string::npos)
        << text;
    EXPECT_EQ(desktopEntryBundle(text), mail.bundlePath.string());
    // The Exec line holds the executable quoted twice over: Exec quoting, then string escapes.
    EXPECT_NE(
        text.find(
            "\nExec=\"" + std::string(home) +
            "/Apps \\\\$HOME 'q' \\\\\"dq\\\\\" 100%% \\\\`x\\\\` back\\\\\\\\slash/Mail & \\\\\"Co\\\\\" 100%%.app"
            "/Contents/MacOS/HalywardWebHost\"\n"),
        std::string::npos)
        << text;
}

TEST_F(WriterTest, installing_again_replaces_the_host_and_both_files) {
    WebAppBundlePlan mail = plan("Mail");
    WebBundleWriter::install(mail, host, ICNSWriter::wrappingPNG(png), home, png);
    writeFile(host, "#!/bin/sh\necho host-v2\n");
    mail.url = "https://other.example.com/";
    WebBundleWriter::install(mail, host, std::nullopt, home);

    EXPECT_EQ(shell({webHostExecutable(mail.bundlePath)}).second, "host-v2\n");
    EXPECT_EQ(WebBundleWriter::digest(webHostExecutable(mail.bundlePath)),
              hostDigest(readFile(host)));
    EXPECT_EQ(readFile(mail.bundlePath / "Contents" / "Info.plist"), mail.infoPlist());
    EXPECT_FALSE(fs::exists(mail.bundlePath / "Contents" / "Resources" / "AppIcon.icns"))
        << "the whole bundle is new";
    EXPECT_EQ(listing(apps), std::vector<std::string>{"Mail.app"});
    EXPECT_NE(readFile(entryFor(mail)).find("\nIcon=web-browser\n"), std::string::npos);
}

TEST_F(WriterTest, refresh_rewrites_only_what_it_names_and_skips_missing_bundles) {
    WebAppBundlePlan mail = plan("Mail");
    WebBundleWriter::install(mail, host, ICNSWriter::wrappingPNG(png), home, png);
    mail.name = "Mail Renamed";
    WebBundleWriter::refreshDetails(mail.bundlePath, mail, home);
    EXPECT_EQ(readFile(mail.bundlePath / "Contents" / "Info.plist"), mail.infoPlist());
    EXPECT_NE(readFile(entryFor(mail)).find("\nName=Mail Renamed\n"), std::string::npos);
    EXPECT_TRUE(fs::exists(mail.bundlePath / "Contents" / "Resources" / "AppIcon.icns"));

    writeFile(host, "#!/bin/sh\necho host-v3\n");
    WebBundleWriter::refreshHost(mail.bundlePath, host, mail.bundleIdentifier, home);
    EXPECT_EQ(shell({webHostExecutable(mail.bundlePath)}).second, "host-v3\n");
    EXPECT_EQ(listing(mail.bundlePath / "Contents" / "MacOS"),
              std::vector<std::string>{"HalywardWebHost"});

    const fs::path gone = apps / "Gone.app";
    WebBundleWriter::refreshDetails(gone, plan("Gone"), home);
    WebBundleWriter::refreshHost(gone, host, "app.halyward.web.gone", home);
    EXPECT_FALSE(fs::exists(gone));
    EXPECT_EQ(WebBundleWriter::digest(gone), std::nullopt);
    EXPECT_EQ(WebBundleWriter::bundleIdentifier(gone), std::nullopt);
}

TEST_F(WriterTest, remove_deletes_the_bundle_and_only_our_entries) {
    const WebAppBundlePlan mail = plan("Mail"), chat = plan("Chat");
    WebBundleWriter::install(mail, host, std::nullopt, home);
    WebBundleWriter::install(chat, host, std::nullopt, home);
    const fs::path foreign = desktopEntryFolder(home) / "foreign.desktop";
    writeFile(foreign,
              "[Desktop Entry]\nType=Application\nName=Mail\nExec=true\n"
              "[Other Group]\nX-Halyward-Bundle=" +
                  mail.bundlePath.string() + "\n");

    WebBundleWriter::remove(mail.bundlePath, home);
    EXPECT_FALSE(fs::exists(mail.bundlePath));
    EXPECT_FALSE(fs::exists(entryFor(mail)));
    EXPECT_TRUE(fs::exists(entryFor(chat)));
    EXPECT_TRUE(fs::exists(foreign)) << "an X-Halyward-Bundle outside [Desktop Entry] is not ours";
    EXPECT_NO_THROW(WebBundleWriter::remove(mail.bundlePath, home))
        << "a missing bundle is not an error";
}

TEST_F(WriterTest, never_overwrites_a_desktop_entry_it_did_not_write) {
    const WebAppBundlePlan mail = plan("Mail");
    writeFile(entryFor(mail),
              "[Desktop Entry]\nType=Application\nName=Someone else's\nExec=true\n");
    WebBundleWriter::install(mail, host, std::nullopt, home);
    EXPECT_NE(readFile(entryFor(mail)).find("Someone else's"), std::string::npos);
    EXPECT_TRUE(fs::exists(webHostExecutable(mail.bundlePath)));
}

TEST_F(WriterTest, failures_leave_nothing_half_written) {
    const WebAppBundlePlan mail = plan("Mail");
    fs::create_directories(apps);
    const auto failure = [&](const std::function<void()>& body) -> std::string {
        try {
            body();
        } catch (const HalywardError& error) {
            return error.code + ": " + error.message;
        }
        return "(no error)";
    };
    EXPECT_NE(failure([&] {
                  WebBundleWriter::install(mail, scratch / "no-such-host", std::nullopt, home);
              }).find("failed: "),
              std::string::npos);
    EXPECT_EQ(failure([&] { WebBundleWriter::install(mail, host, Bytes{}, home); }),
              "usage: The app's icon is empty (0 bytes).");
    EXPECT_EQ(failure([&] {
                  WebBundleWriter::install(mail, host, std::nullopt, home, Bytes{'G', 'I', 'F'});
              }),
              "usage: The app's icon needs to be a PNG image.");
    WebAppBundlePlan moved = mail;
    moved.bundlePath = apps / ".." / "Elsewhere.app";
    EXPECT_EQ(failure([&] {
                  WebBundleWriter::install(moved, host, std::nullopt, home);
              }).rfind("usage: ", 0),
              0u);
    EXPECT_TRUE(listing(apps).empty());
    EXPECT_FALSE(installDesktopEntry("", mail.bundlePath)) << "no home, no entry";

    // Permission bits do not stop root, so as root the apps folder sits in sysfs, where
    // nobody may create folders.
    const bool root = ::geteuid() == 0;
    const fs::path readOnly = root ? fs::path("/sys/halyward-test-apps") : apps;
    if (!root) fs::permissions(apps, fs::perms::owner_read | fs::perms::owner_exec);
    const WebAppBundlePlan locked(mail.name, mail.slug, mail.url, mail.bundleIdentifier,
                                  mail.dataStoreIdentifier, readOnly);
    const std::string message =
        failure([&] { WebBundleWriter::install(locked, host, std::nullopt, home); });
    EXPECT_EQ(message.rfind("failed: Halyward can't write “" + readOnly.string(), 0), 0u)
        << message;
    EXPECT_FALSE(fs::exists(locked.bundlePath));
    fs::permissions(apps, fs::perms::owner_all);
    EXPECT_TRUE(listing(apps).empty());
}

TEST(desktop_entry, escapes_values_and_quotes_exec_arguments) {
    const std::pair<const char*, const char*> exec[] = {
        {"/a/b", "\"/a/b\""},
        {"/a b/c", "\"/a b/c\""},
        {"/$x/`y`/\"z\"/\\w/50%", "\"/\\$x/\\`y\\`/\\\"z\\\"/\\\\w/50%%\""},
    };
    for (const auto& [argument, quoted] : exec) EXPECT_EQ(desktopExecArgument(argument), quoted);
    EXPECT_EQ(desktopEntryEscaped(" a\\b\nc\td\r"), "\\sa\\\\b\\nc\\td\\r");
    EXPECT_EQ(desktopEntryBundle("[Desktop Entry]\r\nX-Halyward-Bundle = \\sa\\\\b\\nc\r\n"),
              " a\\b\nc");
    EXPECT_EQ(desktopEntryBundle("[Desktop Entry]\nName=x\n"), std::nullopt);
    EXPECT_EQ(desktopEntryFolder("/home/ann"), "/home/ann/.local/share/applications");
}
