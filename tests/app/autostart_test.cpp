#include "halyward/app/autostart.hpp"
#include "app_fixture.hpp"

#include <filesystem>

using namespace halyward;
using namespace halyward::fakes;
namespace fs = std::filesystem;

namespace {

const std::string kOurs = autostartEntryText("/usr/bin/halyward-app");
const std::string kForeign = "[Desktop Entry]\nType=Application\nExec=halyward-app --other\n";
// Our mark outside the [Desktop Entry] group does not make a file ours.
const std::string kMarkElsewhere =
    "[Desktop Entry]\nExec=x\n[Desktop Action a]\nX-Halyward-Autostart=true\n";

}  // namespace

TEST(autostart, only_our_own_entry_is_ever_written_over_or_removed) {
    struct Case {
        bool launchAtLogin;
        std::optional<std::string> current;
        AutostartChange expected;
    };
    const std::string moved = autostartEntryText("/opt/new place/halyward-app");
    const Case cases[] = {
        {true, std::nullopt, AutostartChange::write},
        {true, kOurs, AutostartChange::none},
        {true, moved, AutostartChange::write},  // the executable moved
        {true, kForeign, AutostartChange::none},
        {true, kMarkElsewhere, AutostartChange::none},
        {true, std::string(), AutostartChange::none},
        {false, std::nullopt, AutostartChange::none},
        {false, kOurs, AutostartChange::remove},
        {false, moved, AutostartChange::remove},
        {false, kForeign, AutostartChange::none},
        {false, kMarkElsewhere, AutostartChange::none},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.launchAtLogin << " " << c.current.value_or("(none)"));
        EXPECT_EQ(autostartChange(c.launchAtLogin, c.current, kOurs), c.expected);
    }
}

TEST(autostart, the_entry_starts_the_executable_even_with_characters_the_exec_key_reserves) {
    const std::string text = autostartEntryText("/opt/my apps/$HOME/100%/halyward-app");
    EXPECT_NE(text.find("\nExec=\"/opt/my apps/\\\\$HOME/100%%/halyward-app\"\n"),
              std::string::npos)
        << text;
    EXPECT_TRUE(isOurAutostartEntry(text));
    EXPECT_EQ(text.rfind("[Desktop Entry]\nType=Application\n", 0), 0u);
}

class AutostartApp : public AppTest {
protected:
    void SetUp() override {
        autostartFile = (home.path / "xdg-config/autostart/app.halyward.Halyward.desktop").string();
        system.displayList = {display(0, 0, 1000, 800)};
    }
};

TEST_F(AutostartApp, the_setting_writes_and_removes_the_entry_at_start_and_on_each_change) {
    start("[general]\nlaunch_at_login = true\n");
    EXPECT_EQ(readFile(autostartFile), autostartEntryText("/opt/halyward/bin/halyward-app"));
    EXPECT_EQ(fs::status(autostartFile).permissions() & fs::perms::all,
              fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read |
                  fs::perms::others_read);
    reloadWith("[general]\nlaunch_at_login = false\n");
    EXPECT_FALSE(fs::exists(autostartFile));
    reloadWith("[general]\nlaunch_at_login = true\n");
    EXPECT_TRUE(fs::exists(autostartFile));
    EXPECT_TRUE(reports.empty()) << reports.front();
}

TEST_F(AutostartApp, a_file_of_the_same_name_that_is_not_ours_is_left_as_it_is) {
    writeFile(autostartFile, kForeign);
    start("[general]\nlaunch_at_login = false\n");
    reloadWith("[general]\nlaunch_at_login = true\n");
    EXPECT_EQ(readFile(autostartFile), kForeign);
}
