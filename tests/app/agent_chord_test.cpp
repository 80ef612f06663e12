#include "halyward/app/agent_chord.hpp"
#include "app_fixture.hpp"

#include <array>
#include <cstdio>
#include <filesystem>

using namespace halyward;
using namespace halyward::fakes;
namespace fs = std::filesystem;

namespace {

// Runs a launcher script with /bin/sh and answers what it printed.
std::string runScript(const std::string& path) {
    std::string out;
    FILE* pipe = ::popen(("/bin/sh '" + path + "'").c_str(), "r");
    if (pipe == nullptr) return out;
    std::array<char, 512> buffer;
    while (std::size_t n = std::fread(buffer.data(), 1, buffer.size(), pipe))
        out.append(buffer.data(), n);
    ::pclose(pipe);
    return out;
}

}  // namespace

TEST(agent_chord, the_terminal_is_the_chosen_one_except_the_macos_default_elsewhere) {
    struct Case {
        const char* chosen;
        bool macOS;
        const char* terminal;
    };
    for (const Case& c :
         {Case{"com.apple.Terminal", false, ""},
          Case{"com.apple.Terminal", true, "com.apple.Terminal"},
          Case{"org.gnome.Terminal", false, "org.gnome.Terminal"}, Case{"", false, ""}}) {
        GeneralConfig general;
        general.agentCommand = {"agent"};
        general.terminalBundleIdentifier = c.chosen;
        EXPECT_EQ(detail::agentStep(general, std::nullopt, "/home/ann", c.macOS).terminal,
                  c.terminal)
            << c.chosen << " " << c.macOS;
    }
}

class AgentChordTest : public AppTest {
protected:
    void SetUp() override {
        system.displayList = {display(0, 0, 1000, 800)};
        WindowInfo editor = window(1, "org.example.editor", {0, 30, 500, 400});
        editor.processId = 4242;
        system.windowList = {editor};
        system.focused = 1;
    }
    std::string scriptPath() const {
        return (home.path / ".local/state/halyward/agent.command").string();
    }
};

TEST_F(AgentChordTest, runs_the_exact_argument_list_in_the_focused_apps_folder_else_home) {
    const fs::path project = home.path / "my project's $(dir)";
    fs::create_directories(project);
    system.directories[4242] = project.string();
    // The command prints its folder and arguments, one per line, as Python received them.
    start(
        R"toml([general]
animate_tiles = false
terminal_bundle_id = "org.example.term"
agent_command = [")toml" HALYWARD_PYTHON3
        R"toml(", "-c", "import os, sys; print('\\n'.join([os.getcwd()] + sys.argv[1:]))", "it's", "a  b", "$(touch pwned)", "`id`", "\"q\"", "back\\slash"]
)toml");
    press("ctrl+opt+a");
    ASSERT_EQ(system.terminals.size(), 1u);
    EXPECT_EQ(system.terminals[0], (TerminalRequest{"org.example.term", scriptPath()}));
    EXPECT_EQ(fs::status(scriptPath()).permissions() & fs::perms::all, fs::perms::owner_all);
    EXPECT_EQ(runScript(scriptPath()),
              project.string() + "\nit's\na  b\n$(touch pwned)\n`id`\n\"q\"\nback\\slash\n");
    EXPECT_FALSE(fs::exists(project / "pwned"));

    // A window whose folder cannot be read, and no window at all: the home folder.
    system.directories.clear();
    press("ctrl+opt+a");
    system.focused.reset();
    press("ctrl+opt+a");
    EXPECT_EQ(system.terminals.size(), 3u);
    EXPECT_EQ(runScript(scriptPath()).substr(0, home.path.string().size() + 1),
              home.path.string() + "\n");
}

TEST_F(AgentChordTest, without_a_command_a_notice_says_how_to_set_one) {
    start(R"([general]
animate_tiles = false
agent_command = []
)");
    press("ctrl+opt+a");
    EXPECT_TRUE(system.terminals.empty());
    ASSERT_TRUE(system.noticeText.has_value());
    EXPECT_NE(system.noticeText->find("agent_command"), std::string::npos);
    // A disabled chord is not taken at all.
    const auto agentGrabbed = [this] {
        for (const HotkeyChord& chord : system.grabbed)
            if (chord.canonical() == "ctrl+opt+a") return true;
        return false;
    };
    EXPECT_TRUE(agentGrabbed());
    reloadWith("[general]\nagent_hotkey_enabled = false\n");
    EXPECT_FALSE(agentGrabbed());
}
