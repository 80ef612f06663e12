#include "documents.hpp"
#include "grammar.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

using namespace halyward::docgen;

namespace {

const CommandForm& form(const Grammar& grammar, const std::vector<std::string>& words) {
    for (const CommandForm& candidate : grammar.commands) {
        if (candidate.words == words) return candidate;
    }
    throw std::runtime_error("no such form");
}

std::vector<std::string> optionNames(const CommandForm& form) {
    std::vector<std::string> names;
    for (const Option& option : form.options) names.push_back(option.name);
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace

// The options each command uses are what the parser keeps for it, shown in the help text
// or not; a wrong row here means the completions would offer the wrong options.
TEST(docgen_grammar, options_are_those_the_parser_keeps) {
    const Grammar grammar = readGrammar();
    struct Case {
        std::vector<std::string> words;
        std::vector<std::string> options;
    };
    const std::vector<Case> cases = {
        {{"app", "add"}, {"css", "hotkey", "icon", "js", "name", "tile"}},
        {{"app", "remove"}, {}},
        {{"tile"}, {"display"}},
        {{"rule", "add"}, {"display", "tile", "title"}},
        {{"hotkey", "set"}, {}},
        {{"layout", "list"}, {}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(optionNames(form(grammar, c.words)), c.options) << c.words.front();
    }
}

TEST(docgen_grammar, reads_every_usage_line_and_what_its_words_mean) {
    const Grammar grammar = readGrammar();
    EXPECT_EQ(std::count_if(grammar.commands.begin(), grammar.commands.end(),
                            [](const CommandForm& f) { return f.inHelp; }),
              15);
    EXPECT_EQ(form(grammar, {"app", "remove"}).positionalKinds, std::vector{ValueKind::webApp});
    EXPECT_TRUE(form(grammar, {"app", "remove"}).needsYes);
    EXPECT_EQ(form(grammar, {"hotkey", "unset"}).positionalKinds,
              std::vector{ValueKind::appHotkey});
    EXPECT_EQ(form(grammar, {"tile"}).positionalKinds,
              (std::vector{ValueKind::none, ValueKind::tile}));
    EXPECT_EQ(form(grammar, {"skill", "install"}).positionalKinds, std::vector{ValueKind::folder});
    EXPECT_FALSE(form(grammar, {"skill", "paths"}).inHelp);
    EXPECT_EQ(grammar.tiles.size(), 14u);
    ASSERT_EQ(grammar.globals.size(), 4u);
    EXPECT_EQ(grammar.globals[2].option.name, "config");
    EXPECT_EQ(grammar.globals[2].option.kind, ValueKind::file);
    EXPECT_EQ(topWords(grammar).front(), "app");
}

// The page template and the command line must describe the same things: the build stops
// rather than install a page that leaves a command out or invents one.
TEST(docgen_man_page, refuses_a_template_that_disagrees_with_the_command_line) {
    const Grammar grammar = readGrammar();
    std::string blocks;
    for (const CommandForm& f : grammar.commands) {
        std::string key;
        for (const std::string& word : f.words) key += (key.empty() ? "" : " ") + word;
        blocks += "== " + key + "\nDoes " + key + ".\n";
    }
    for (std::string option : {"--help", "--version", "--", "--name", "--hotkey", "--tile",
                               "--icon", "--css", "--js", "--display", "--title"}) {
        blocks += "== " + option + "\nAn option.\n";
    }
    const std::string head =
        ".TH X 1 @DATE@ @VERSION@\n.SH NAME\n@TAGLINE@\n@SYNOPSIS@\n@COMMANDS@\n@OPTIONS@\n"
        "@NOTES@\n@APP_NOTES@\n@EXIT_STATUS@\n@@descriptions\n";
    const std::string page = manPage(grammar, head + blocks, "2024-01-01");
    EXPECT_NE(page.find("\\fBapp\\fR \\fBadd\\fR \\fI<url>\\fR"), std::string::npos);
    // The options the short help leaves out take their placeholders from `help app`.
    EXPECT_NE(page.find("It also takes \\fB\\-\\-css\\fR \\fI<style sheet>\\fR"),
              std::string::npos);
    EXPECT_NE(page.find(".B 7\n"), std::string::npos);

    std::string withoutDoctor = blocks;
    withoutDoctor.erase(withoutDoctor.find("== doctor\n"),
                        std::string("== doctor\nDoes doctor.\n").size());
    EXPECT_THROW(manPage(grammar, head + withoutDoctor, "d"), std::runtime_error);
    EXPECT_THROW(manPage(grammar, head + blocks + "== app rename\nNo.\n", "d"), std::runtime_error);
    EXPECT_THROW(manPage(grammar, head + blocks + "== --frameless\nNo.\n", "d"),
                 std::runtime_error);
    EXPECT_THROW(manPage(grammar, blocks, "d"), std::runtime_error);
}
