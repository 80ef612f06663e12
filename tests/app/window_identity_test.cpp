#include "halyward/app/window_identity.hpp"

#include "halyward/webapps/desktop_entry.hpp"
#include "support/scratch_folder.hpp"

#include <gtest/gtest.h>

#include <algorithm>

using namespace halyward;

TEST(window_identity, a_window_is_claimed_by_its_startup_class_then_by_a_desktop_id) {
    const std::vector<DesktopApplication> installed{
        {"debian-xterm", "XTerm", ""},
        {"debian-uxterm", "UXTerm", ""},
        {"org.example.Editor", "", ""},
        {"shouty", "SHOUT", ""},
        {"shout-exact", "Shout", ""},
        {"notes-launcher", "com.example.notes", "com.example.notes.bundle"},
        {"firefox", "", ""},
    };
    struct Case {
        WindowClass windowClass;
        WindowIdentity identity;
    };
    const Case cases[] = {
        {{"xterm", "XTerm"}, {"debian-xterm", {"XTerm", "xterm"}}},
        {{"xterm", "xterm"}, {"debian-xterm", {"xterm"}}},
        // An exact class match beats an earlier entry that matches only ignoring case.
        {{"shout", "Shout"}, {"shout-exact", {"Shout", "shout"}}},
        // Without StartupWMClass, the desktop id stands for the class or the instance.
        {{"org.example.editor", "Editor"},
         {"org.example.Editor", {"Editor", "org.example.editor"}}},
        {{"Navigator", "firefox"}, {"firefox", {"firefox", "Navigator"}}},
        // Our web-app entries answer with the bundle identifier.
        {{"com.example.notes", "com.example.notes"},
         {"com.example.notes.bundle", {"com.example.notes"}}},
        // Unclaimed: the class itself, which a web app sets to its bundle identifier.
        {{"com.example.mail", "com.example.mail"}, {"com.example.mail", {"com.example.mail"}}},
        {{"", ""}, {"", {}}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(windowIdentity(c.windowClass, installed), c.identity)
            << c.windowClass.instance << "/" << c.windowClass.className;
    }
}

TEST(window_identity, desktop_entries_are_read_from_every_folder_earlier_ones_hiding_later) {
    ScratchFolder root;
    const std::string user = root / "user";
    const std::string system = root / "system";
    writeFile(user + "/applications/term.desktop",
              "[Desktop Entry]\nType=Application\nName=Term\nStartupWMClass = Term \n");
    writeFile(user + "/applications/gone.desktop", "[Desktop Entry]\nName=Gone\nHidden=true\n");
    writeFile(user + "/applications/not-an-entry.desktop", "[Something Else]\nStartupWMClass=X\n");
    writeFile(system + "/applications/term.desktop", "[Desktop Entry]\nStartupWMClass=Other\n");
    writeFile(system + "/applications/kde/editor.desktop",
              "[Desktop Entry]\nName=Editor\n[Desktop Action new]\nStartupWMClass=Wrong\n");
    writeFile(system + "/applications/readme.txt", "[Desktop Entry]\n");

    // A web-app bundle and the launcher entry `app add` writes for it.
    const std::filesystem::path bundle = root.path / "Apps" / "Notes.app";
    writeFile(bundle / "Contents" / "Info.plist",
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
              "<key>CFBundleIdentifier</key><string>com.example.notes</string></dict></plist>\n");
    const DesktopEntry entry{"Notes", bundle, "com.example.notes", std::nullopt};
    writeFile(user + "/applications/com.example.notes.desktop", entry.text());

    std::vector<DesktopApplication> found =
        readDesktopApplications({user, root / "missing", system});
    std::sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a.id < b.id; });
    const std::vector<DesktopApplication> expected{
        {"com.example.notes", "com.example.notes", "com.example.notes"},
        {"kde-editor", "", ""},
        {"term", "Term", ""},
    };
    EXPECT_EQ(found, expected);
}
