#include "halyward/text/shell_quote.hpp"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>

using namespace halyward;
using Args = std::vector<std::string>;

namespace {

// Runs a shell command line and returns its exit status and standard output.
std::pair<int, std::string> runShell(const std::string& line) {
    std::string output;
    FILE* pipe = popen((line + " 2>/dev/null").c_str(), "r");
    if (!pipe) return {-1, output};
    char buffer[4096];
    for (std::size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;) output.append(buffer, n);
    const int status = pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

}  // namespace

TEST(shell_quote, quotes_every_argument_in_single_quotes) {
    EXPECT_EQ(ShellQuote::single("it's"), "'it'\"'\"'s'");
    EXPECT_EQ(ShellQuote::single(""), "''");
    EXPECT_EQ(ShellQuote::command({"agent", "--model", "a b"}), "'agent' '--model' 'a b'");
    EXPECT_EQ(ShellQuote::launchScript("/tmp/x y", {"ls"}),
              "#!/bin/sh\ncd -- '/tmp/x y' || exit 1\nexec 'ls'");
}

TEST(shell_quote, split_follows_shell_quoting_leniently) {
    struct Case {
        std::string line;
        Args want;
    };
    const Case cases[] = {
        {"  a   b ", {"a", "b"}},
        {"", {}},
        {" \t\n\r\n ", {}},
        {"say 'hello world'", {"say", "hello world"}},
        {"a\\ b", {"a b"}},
        {"x '' y \"\"", {"x", "y"}},
        {"'a\\b'", {"a\\b"}},
        {"\"a\\\"b\"", {"a\"b"}},
        {"\"it's\" 'say \"hi\"'", {"it's", "say \"hi\""}},
        {"ab'cd ef", {"abcd ef"}},
        {"end\\", {"end"}},
        {"a\xE2\x80\x83"
         "b\xC2\xA0"
         "c",
         {"a", "b", "c"}},
        {"bad\xFF 'ok'", {"bad\xFF", "ok"}},
        // Quotes and backslashes stay syntax even beside combining marks.
        {"\\\xCC\x81x '\xCC\x81' \"e\xCC\x81\"", {"\xCC\x81x", "\xCC\x81", "e\xCC\x81"}},
    };
    for (const auto& c : cases) EXPECT_EQ(ShellQuote::split(c.line), c.want) << c.line;
}

// The shell itself is the judge: /bin/sh must hand back exactly the arguments command()
// wrote, and split() must read the same arguments from the line.
TEST(shell_quote_cross_check, sh_and_split_read_back_every_argument_list) {
    static const char* pieces[] = {"'",  "\"",       "\\",       " ",        "\t",
                                   "\n", "$HOME",    "`id`",     "*",        "~",
                                   "-n", "a",        "\xC3\xA9", "\xCC\x81", "\xF0\x9F\x98\x80",
                                   "''", "\xD8\x80", "!;&#",     "%s"};
    std::mt19937 rng(7001);
    for (int i = 0; i < 300; ++i) {
        Args args(1 + rng() % 5);
        for (auto& arg : args)
            for (unsigned n = 1 + rng() % 6; n > 0; --n) arg += pieces[rng() % std::size(pieces)];
        const std::string line = ShellQuote::command(args);
        ASSERT_EQ(ShellQuote::split(line), args) << line;
        std::string expected;
        for (const auto& arg : args) expected += arg + '\0';
        const auto [status, output] =
            runShell(ShellQuote::command({"/bin/sh", "-c", "printf '%s\\0' " + line}));
        ASSERT_EQ(status, 0) << line;
        ASSERT_EQ(output, expected) << line;
    }
}

TEST(shell_quote_cross_check, launch_script_enters_a_folder_named_like_an_option) {
    const auto base =
        std::filesystem::temp_directory_path() / ("shell-quote-" + std::to_string(getpid()));
    const auto folder = base / "-n it's $HOME";
    std::filesystem::create_directories(folder);
    const auto run = [&](const std::filesystem::path& directory, const Args& args) {
        std::ofstream(base / "launch.sh") << ShellQuote::launchScript(directory.string(), args);
        return runShell(ShellQuote::command({"/bin/sh", (base / "launch.sh").string()}));
    };
    EXPECT_EQ(run(folder, {"/bin/sh", "-c", "pwd; printf '%s|' \"$@\"", "sh", "a b", "'"}),
              std::make_pair(0, folder.string() + "\na b|'|"));
    EXPECT_EQ(run(base / "absent", {"/bin/echo", "ran"}), std::make_pair(1, std::string()));
    std::filesystem::remove_all(base);
}
