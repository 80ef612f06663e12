#include "halyward/commands/targets.hpp"

#include "support/scratch_folder.hpp"

#include <gtest/gtest.h>

using namespace halyward;

namespace {

std::string infoPlist(const std::string& entries) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" + entries +
           "</dict></plist>\n";
}

}  // namespace

TEST(targets, installed_bundles_are_found_by_folder_name_and_read_from_their_property_list) {
    ScratchFolder root;
    const std::string system = root / "Applications";
    const std::string user = root / "home-Applications";
    writeFile(system + "/Mail.app/Contents/Info.plist",
              infoPlist("<key>CFBundleIdentifier</key><string>com.example.mail</string>"
                        "<key>CFBundleName</key><string>Mail</string>"));
    writeFile(system + "/Broken.app/Contents/Info.plist", "not a property list");
    writeFile(system + "/Nameless.app/Contents/Info.plist",
              infoPlist("<key>CFBundleName</key><string>Nameless</string>"));
    writeFile(user + "/Notes.app/Contents/Info.plist",
              infoPlist("<key>CFBundleIdentifier</key><string>com.example.notes</string>"
                        "<key>CFBundleDisplayName</key><string>My Notes</string>"));
    const std::vector<std::string> folders{system, root / "missing", user};

    struct Case {
        std::string word;
        std::optional<InstalledApplication> found;
    };
    const Case cases[] = {
        {"Mail", InstalledApplication{"Mail", "com.example.mail"}},
        {"  mAIL ", InstalledApplication{"Mail", "com.example.mail"}},
        {"notes", InstalledApplication{"My Notes", "com.example.notes"}},
        {"Broken", std::nullopt},    // unreadable property list
        {"Nameless", std::nullopt},  // no bundle identifier
        {"Calendar", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& c : cases)
        EXPECT_EQ(findBundleApplication(c.word, folders), c.found) << c.word;
}

TEST(targets, desktop_files_are_found_by_name_with_earlier_folders_hiding_later_ones) {
    ScratchFolder root;
    const std::string local = root / "local";
    const std::string shared = root / "shared";
    writeFile(local + "/applications/org.example.Editor.desktop",
              "[Desktop Entry]\nName=Editor\nHidden=true\n");
    writeFile(shared + "/applications/org.example.Editor.desktop",
              "[Desktop Entry]\nName=Editor\n");
    writeFile(shared + "/applications/vendor/term.desktop",
              "# comment\n[Desktop Entry]\nName = Terminal \n[Desktop Action new]\nName=Other\n");
    const std::vector<std::string> folders{local, shared};

    EXPECT_EQ(findDesktopApplication("editor", folders),
              std::nullopt);  // hidden by the user's copy
    EXPECT_EQ(findDesktopApplication("terminal", folders),
              (InstalledApplication{"Terminal", "vendor-term"}));
    EXPECT_EQ(findDesktopApplication("Other", folders), std::nullopt);  // not the entry's own name
    EXPECT_EQ(
        desktopDataFolders("/home/ann", "", ""),
        (std::vector<std::string>{"/home/ann/.local/share", "/usr/local/share", "/usr/share"}));
}
