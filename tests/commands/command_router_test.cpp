#include "halyward/commands/command_router.hpp"
#include "halyward/config/config_file.hpp"
#include "halyward/system/paths.hpp"

#include "support/fifo.hpp"
#include "support/scratch_folder.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>

#include <unistd.h>

using namespace halyward;
namespace fs = std::filesystem;

namespace {

using Args = std::vector<std::string>;

/// A temporary home with a configuration file and a router whose side effects are fakes.
struct RouterFixture : ::testing::Test {
    ScratchFolder scratch;
    fs::path home = scratch.path;
    fs::path config = HalywardPaths::configFile(home.string());
    std::vector<std::string> questions;
    bool answer = false;
    std::vector<Args> sent;
    CommandContext context;

    void SetUp() override {
        context.home = home.string();
        context.workingDirectory = home.string();
        context.confirm = [this](std::string_view question) {
            questions.emplace_back(question);
            return answer;
        };
        context.findApplication = [](std::string_view name) -> std::optional<InstalledApplication> {
            if (name == "Files") return InstalledApplication{"Files", "org.example.Files"};
            return std::nullopt;
        };
    }

    void writeConfig(const std::string& extra) {
        writeFile(config, std::string(ConfigFile::defaultText()) + extra);
    }
    CommandOutput run(const Args& arguments) { return CommandRouter(context).run(arguments); }
    HalywardConfig decoded() { return ConfigFile::load(config).decode(); }
};

const char* kMailApp = "\n[apps.mail]\nurl = \"https://mail.example\"\nname = \"Mail\"\n";

}  // namespace

TEST_F(RouterFixture, removals_need_yes_or_a_yes_from_the_user) {
    writeConfig(std::string(kMailApp) +
                "\n[hotkeys]\n\"ctrl+shift+s\" = \"com.example.s\"\n"
                "\n[rules.s]\nbundle = \"com.example.s\"\ntile = \"fill\"\n");
    const std::string before = readFile(config);
    for (const Args& removal :
         {Args{"app", "remove", "Mail"}, Args{"hotkey", "unset", "ctrl+shift+s"},
          Args{"rule", "remove", "com.example.s"}, Args{"skill", "uninstall", "x"}}) {
        for (bool interactive : {false, true}) {
            context.interactive = interactive;
            const CommandOutput output = run(removal);
            EXPECT_EQ(output, (CommandOutput{7, "Pass --yes to confirm.",
                                             JSONObject{{"code", "cancelled"}}}))
                << removal[0] << " " << removal[1];
        }
    }
    EXPECT_EQ(questions.size(), 4u);  // asked only when interactive, and answered no
    EXPECT_EQ(questions.front(), "This removes something. Continue?");
    EXPECT_EQ(readFile(config), before);

    answer = true;
    EXPECT_EQ(run({"hotkey", "unset", "ctrl+shift+s"}).exitCode, ExitCode::ok);
    context.interactive = false;
    questions.clear();
    EXPECT_EQ(run({"app", "remove", "mail", "--yes"}).exitCode,
              ExitCode::ok);  // by slug, no question
    EXPECT_TRUE(questions.empty());
    EXPECT_TRUE(decoded().apps.empty());
    EXPECT_TRUE(decoded().hotkeys.empty());
}

TEST_F(RouterFixture, hotkey_set_validates_resolves_and_refuses_taken_chords) {
    writeConfig(std::string(kMailApp) + "\n[hotkeys]\n\"shift+cmd+s\" = \"com.example.s\"\n");
    struct Case {
        std::string chord;
        std::string target;
        int exitCode;
        std::string inMessage;
    };
    const Case cases[] = {
        {"cmd+opt+m", "Mail", ExitCode::ok, "opt+cmd+m now brings up “Mail”"},
        {"opt+cmd+m", "app.halyward.web.mail", ExitCode::ok, "nothing changed"},
        {"cmd+shift+s", "Mail", ExitCode::conflict, "already used by “com.example.s”"},
        {"ctrl+opt+space", "Mail", ExitCode::conflict, "tile-mode hotkey"},
        {"opt+cmd+m", "com.example.other", ExitCode::conflict, "the web app “Mail”"},
        {"ctrl+left", "com.example.left", ExitCode::ok, "Warning: macOS uses this chord."},
        {"ctrl+shift+f", "Files", ExitCode::ok, "“Files”"},
        {"bogus+q", "Mail", ExitCode::usage, "bogus"},
        {"ctrl+shift+q", "Nowhere", ExitCode::notFound, "“Nowhere”"},
        {"ctrl+shift+q", "a b.c", ExitCode::notFound, "“a b.c”"},
    };
    for (const Case& c : cases) {
        const CommandOutput output = run({"hotkey", "set", c.chord, c.target});
        EXPECT_EQ(output.exitCode, c.exitCode)
            << c.chord << " " << c.target << ": " << output.message;
        EXPECT_NE(output.message.find(c.inMessage), std::string::npos) << output.message;
    }
    const HalywardConfig result = decoded();
    EXPECT_EQ(result.apps.at(0).spec.hotkey, "opt+cmd+m");
    const std::vector<NativeHotkey> expected{{"shift+cmd+s", "com.example.s"},
                                             {"ctrl+left", "com.example.left"},
                                             {"ctrl+shift+f", "org.example.Files"}};
    EXPECT_EQ(result.hotkeys, expected);
}

TEST_F(RouterFixture, hotkey_unset_finds_chords_however_they_are_spelled) {
    writeConfig(std::string(kMailApp) +
                "hotkey = \"cmd+opt+m\"\n\n[hotkeys]\n\"cmd+opt+m\" = \"com.example.m\"\n");
    const CommandOutput removed = run({"--yes", "hotkey", "unset", "opt+cmd+M"});
    EXPECT_EQ(removed.exitCode, ExitCode::ok) << removed.message;
    EXPECT_EQ(decoded().apps.at(0).spec.hotkey, std::nullopt);
    EXPECT_TRUE(decoded().hotkeys.empty());
    EXPECT_EQ(run({"--yes", "hotkey", "unset", "opt+cmd+m"}).exitCode, ExitCode::notFound);
    const CommandOutput builtin = run({"--yes", "hotkey", "unset", "ctrl+opt+space"});
    EXPECT_EQ(builtin.exitCode, ExitCode::notFound);
    EXPECT_NE(builtin.message.find("tile-mode"), std::string::npos);
}

TEST_F(RouterFixture, rules_are_checked_updated_in_place_and_removed_by_app) {
    writeConfig(kMailApp);
    EXPECT_EQ(run({"rule", "add", "Mail", "--tile", "sideways"}).exitCode, ExitCode::usage);
    EXPECT_EQ(run({"rule", "add", "Mail", "--tile", "left", "--title", "(unclosed"}).exitCode,
              ExitCode::usage);
    EXPECT_EQ(run({"rule", "add", "Mail", "--tile", "left"}).exitCode, ExitCode::ok);
    EXPECT_EQ(run({"rule", "add", "Mail", "--tile", "Right-Half", "--display", "2"}).exitCode,
              ExitCode::ok);
    EXPECT_EQ(run({"rule", "add", "Mail", "--tile", "fill", "--title", "^Inbox"}).exitCode,
              ExitCode::ok);
    const std::vector<TileRule> rules = decoded().rules;
    ASSERT_EQ(rules.size(), 2u);
    EXPECT_EQ(rules[0], (TileRule{"app-halyward-web-mail", "app.halyward.web.mail", "Mail",
                                  std::nullopt, "right-half", 2}));
    EXPECT_EQ(rules[1].id, "app-halyward-web-mail-2");
    EXPECT_EQ(run({"--yes", "rule", "remove", "mail"}).payload,
              JSONValue(JSONObject{
                  {"removed", JSONArray{"app-halyward-web-mail", "app-halyward-web-mail-2"}}}));
    EXPECT_EQ(run({"--yes", "rule", "remove", "Mail"}).exitCode, ExitCode::notFound);
}

TEST_F(RouterFixture, a_file_that_does_not_parse_is_reported_and_never_written) {
    writeFile(config, "[general\nbroken = \n");
    const std::string before = readFile(config);
    for (const Args& command :
         {Args{"hotkey", "set", "ctrl+shift+q", "com.example.q"}, Args{"app", "list"},
          Args{"--yes", "rule", "remove", "x"}, Args{"skill", "install", "s"}}) {
        const CommandOutput output = run(command);
        EXPECT_EQ(output.exitCode, ExitCode::config) << command[0];
        EXPECT_EQ(output.message.rfind("Config line 1", 0), 0u) << output.message;
    }
    EXPECT_EQ(readFile(config), before);
    EXPECT_FALSE(fs::exists(home / "s"));
    const CommandOutput doctor = run({"doctor"});
    EXPECT_EQ(doctor.exitCode, ExitCode::config);
    EXPECT_EQ(doctor.payload.arrayValue()->size(), 1u);
}

TEST_F(RouterFixture, a_config_path_that_cannot_hold_the_file_fails_clearly_and_changes_nothing) {
    writeFile(home / "plain", "x");
    fs::create_directories(home / "folder");
    writeFile(home / "unreadable.toml", "version = 1\n");
    fs::permissions(home / "unreadable.toml", fs::perms::none);
    fs::create_directories(home / "locked");
    fs::permissions(home / "locked", fs::perms::owner_read | fs::perms::owner_exec);
    const Args read{"app", "list"}, edit{"hotkey", "set", "ctrl+shift+q", "com.x.q"};
    struct Case {
        fs::path path;
        Args command;
        bool onlyByPermissions;  // the superuser reads and writes these all the same
    };
    const Case cases[] = {
        {home / "folder", read, false},
        {home / "folder", edit, false},
        {home / "plain/config.toml", read, false},
        {home / "plain/config.toml", edit, false},
        {home / "unreadable.toml", {"config", "show"}, true},
        {home / "locked/config.toml", edit, true},
    };
    for (const Case& c : cases) {
        if (c.onlyByPermissions && ::geteuid() == 0) continue;
        Args arguments{"--config", c.path.string()};
        arguments.insert(arguments.end(), c.command.begin(), c.command.end());
        const CommandOutput output = run(arguments);
        EXPECT_EQ(output.exitCode, ExitCode::config) << c.path << " " << c.command[0];
        EXPECT_NE(output.message.find("“" + home.string()), std::string::npos) << output.message;
    }
    EXPECT_EQ(readFile(home / "plain"), "x");
    EXPECT_TRUE(fs::is_empty(home / "folder"));
    EXPECT_TRUE(fs::is_empty(home / "locked"));
    EXPECT_FALSE(fs::exists(config)) << "the default file is not the one asked for";
}

TEST_F(RouterFixture, doctor_reports_each_problem_on_its_own_line_with_the_worst_status) {
    context.pathExists = [](const std::string& path) {
        return path.find("Mail.app") == std::string::npos;
    };
    const CommandOutput healthy = run({"doctor"});
    EXPECT_EQ(healthy.exitCode, ExitCode::ok);
    EXPECT_EQ(healthy.payload, JSONValue(JSONArray{}));
    // The verdict first, then the files in use.
    EXPECT_EQ(healthy.message.rfind("No problems found.\n\nConfiguration: " +
                                        (home / ".config/halyward/config.toml").string() +
                                        "\nControl socket: ",
                                    0),
              0u)
        << healthy.message;
    writeConfig(std::string(kMailApp) +
                "hotkey = \"ctrl+opt+l\"\ntile = \"middle\"\n"
                "\n[hotkeys]\n\"hyper+x\" = \"com.example.x\"\n"
                "\n[rules.r]\ntile = \"nowhere\"\ntitle = \"[\"\n");
    const CommandOutput output = run({"doctor"});
    EXPECT_EQ(output.exitCode, ExitCode::conflict);
    const std::string lines[] = {"[apps.mail] tile: “middle” is not a tile name.",
                                 "[hotkeys] “hyper+x”: ",
                                 "Hotkey ctrl+opt+l: ctrl+opt+l is already used.",
                                 "[rules.r] tile: “nowhere” is not a tile name.",
                                 "[rules.r] title: “[” is not a valid regular expression",
                                 "The web app “Mail” has no app bundle"};
    std::size_t from = 0;
    for (const std::string& line : lines) {
        const std::size_t at = output.message.find(line, from);
        ASSERT_NE(at, std::string::npos) << line << "\n" << output.message;
        EXPECT_TRUE(at == 0 || output.message[at - 1] == '\n') << line;
        from = at;
    }
    EXPECT_EQ(output.payload.arrayValue()->size(), 6u);
}

TEST_F(RouterFixture, doctor_names_each_line_an_edit_would_change_and_what_to_write) {
    struct Case {
        std::string text;
        std::vector<std::string> findings;
    };
    const Case cases[] = {
        {"[notes]\ngreeting = \"caf\\u00e9 \\U0001F600\"\n",
         {"Config line 2: the escape \\u00e9 is read as “u00e9”, and Halyward's next edit "
          "writes it back that way; write “é” itself instead.",
          "Config line 2: the escape \\U0001F600 is read as “U0001F600”, and Halyward's next "
          "edit writes it back that way; write “😀” itself instead."}},
        {"[notes]\n\n\"be\\bll\" = \"\\q\"\n",
         {"Config line 3: the escape \\b is read as “b”, and Halyward's next edit writes it "
          "back that way; write what you mean without the backslash.",
          "Config line 3: the escape \\q is read as “q”, and Halyward's next edit writes it "
          "back that way; write what you mean without the backslash."}},
        {"general.tile_gap = 8\n[notes]\nx . \"y z\" = 1\n",
         {"Config line 1: the dotted key general.tile_gap loses its prefix when Halyward next "
          "edits the file and then belongs to the table above it; write tile_gap = … under a "
          "[general] header instead.",
          "Config line 3: the dotted key x . \"y z\" loses its prefix when Halyward next edits "
          "the file and then belongs to the table above it; write \"y z\" = … under a "
          "[notes.x] header instead."}},
        {"[general]\nagent_command = [\n  \"code\", # the editor\n  { a = 1, # one\n  },\n]\n",
         {"Config line 3: the comment “# the editor” inside the value of agent_command is "
          "dropped when Halyward next edits the file; move it above line 2, where "
          "agent_command begins.",
          "Config line 4: the comment “# one” inside the value of agent_command is dropped "
          "when Halyward next edits the file; move it above line 2, where agent_command "
          "begins."}},
        {"[notes]\ntext = \"\"\"\none \\\ntwo\"\"\"\n",
         {"Config line 3: a backslash at the end of a line in a string keeps the line break "
          "instead of joining the lines, and Halyward's next edit writes it back that way; "
          "join the lines yourself and remove the backslash."}},
    };
    for (const Case& c : cases) {
        writeFile(config, c.text);
        const CommandOutput output = run({"doctor"});
        std::string expected;
        for (const std::string& finding : c.findings)
            expected += (expected.empty() ? "" : "\n") + finding;
        EXPECT_EQ(output.exitCode, ExitCode::config) << c.text;
        // The findings, then a blank line before the paths in use.
        EXPECT_EQ(output.message.substr(0, output.message.find("\n\n")), expected) << c.text;
        EXPECT_EQ(readFile(config), c.text);  // only told about, never changed
    }
}

TEST_F(RouterFixture, app_commands_go_to_the_app_or_are_answered_as_the_app_would) {
    writeConfig(kMailApp);
    struct Case {
        Args arguments;
        int exitCode;
    };
    const Case local[] = {{{"ping"}, ExitCode::ok},
                          {{"tile", "Mail", "left"}, ExitCode::unavailable},
                          {{"tile", "Nowhere", "left"}, ExitCode::notFound},
                          {{"tile", "Mail", "sideways"}, ExitCode::usage},
                          {{"layout", "apply", "missing"}, ExitCode::notFound}};
    for (const Case& c : local) EXPECT_EQ(run(c.arguments).exitCode, c.exitCode) << c.arguments[0];

    context.windowCommand = [](const Invocation& invocation) -> CommandOutput {
        if (invocation.command.kind() == Command::Kind::apply)
            throw std::runtime_error("disk on fire");
        if (invocation.command.kind() == Command::Kind::layoutSave) throw 42;
        return {0, "tiled", {}};
    };
    EXPECT_EQ(run({"tile", "Mail", "left"}), (CommandOutput{0, "tiled", {}}));
    EXPECT_EQ(run({"apply"}), (CommandOutput{8, "disk on fire", JSONObject{{"code", "failed"}}}));
    EXPECT_EQ(run({"layout", "save", "w"}).payload, JSONValue(JSONObject{{"code", "failed"}}));

    context.sendToApp = [this](const Args& arguments, double timeout) {
        sent.push_back(arguments);
        EXPECT_EQ(timeout, 0.5);
        return CommandOutput{4, "from the app", JSONValue(true)};
    };
    const Args forwarded{"--json", "--timeout", "0.5", "tile", "Anything", "fill"};
    EXPECT_EQ(run(forwarded), (CommandOutput{4, "from the app", JSONValue(true)}));
    EXPECT_EQ(run({"--timeout", "0.5", "tile", "x", "sideways"}).exitCode, ExitCode::usage);
    EXPECT_EQ(sent, std::vector<Args>{forwarded});
}

TEST_F(RouterFixture, skills_install_into_a_folder_and_come_out_again) {
    const fs::path file = home / "agent/skills/halyward/SKILL.md";
    EXPECT_EQ(run({"skill", "install", "agent/skills/"}).exitCode, ExitCode::ok);
    EXPECT_TRUE(fs::exists(file));
    EXPECT_EQ(run({"skill", "install", "~/agent/skills"}).payload.objectValue()->at("changed"),
              JSONValue(false));
    AgentConfig agents = decoded().agents;
    EXPECT_EQ(agents, (AgentConfig{{"halyward"}, {(home / "agent/skills").string()}}));
    EXPECT_EQ(run({"--yes", "skill", "uninstall", "~/agent/skills"}).exitCode, ExitCode::ok);
    EXPECT_FALSE(fs::exists(file.parent_path()));
    EXPECT_EQ(decoded().agents, AgentConfig{});

    writeFile(file, "---\nname: someone-else\n---\n");
    EXPECT_EQ(run({"skill", "install", "~/agent/skills"}).exitCode, ExitCode::conflict);
    EXPECT_EQ(run({"--yes", "skill", "uninstall", "~/agent/skills"}).exitCode, ExitCode::conflict);
    EXPECT_TRUE(fs::exists(file));
}

TEST_F(RouterFixture, a_named_pipe_in_place_of_a_skill_file_is_refused_not_waited_on) {
    const fs::path pipe = home / "agent/skills/halyward/SKILL.md";
    makeFifo(pipe);
    run({"skill", "paths"});  // writes the configuration from the template
    const std::string before = readFile(config);
    for (const Args& command : {Args{"skill", "install", "~/agent/skills"},
                                Args{"--yes", "skill", "uninstall", "~/agent/skills"}}) {
        CommandOutput output;
        ASSERT_TRUE(finishesWithoutAWriter(pipe, [&] { output = run(command); }))
            << command[command.size() - 2] << " waited for a writer";
        EXPECT_EQ(output.exitCode, ExitCode::failed);
        EXPECT_EQ(output.message, "Halyward can't read “" + pipe.string() +
                                      "”: it is a named pipe, not a regular file.");
    }
    EXPECT_TRUE(fs::is_fifo(pipe));
    EXPECT_EQ(readFile(config), before);
}
