#include "documents.hpp"

#include "halyward/base/error.hpp"
#include "halyward/commands/command_parser.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>

namespace halyward::docgen {

namespace {

struct ExitStatus {
    std::int32_t value;
    std::string_view code;
    std::string_view meaning;
};

// The exit statuses with the error codes that carry them in --json output; the numbers
// come from ExitCode so the page cannot drift from the program.
constexpr std::array<ExitStatus, 9> exitStatuses{{
    {ExitCode::ok, "", "Success."},
    {ExitCode::usage, "usage", "The words of the command are wrong."},
    {ExitCode::config, "config",
     "The configuration file is missing, unreadable or invalid (\"Config line N: …\")."},
    {ExitCode::unavailable, "unavailable",
     "Something the command needs is not there or not running, such as the menu-bar app."},
    {ExitCode::permission, "", "Reserved for a missing permission."},
    {ExitCode::notFound, "not_found", "A thing named in the command does not exist."},
    {ExitCode::conflict, "conflict", "The new thing clashes with an existing one."},
    {ExitCode::cancelled, "cancelled",
     "The user declined, or did not confirm, a removal (pass --yes)."},
    {ExitCode::failed, "failed", "Anything else went wrong."},
}};

// Text as roff shows it literally: backslashes and minus signs escaped, a leading dot or
// quote made harmless, and the few non-ASCII characters the help text uses named.
std::string roff(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '\\') {
            out += "\\e";
        } else if (c == '-') {
            out += "\\-";
        } else if (text.substr(i, 3) == "—") {
            out += "\\(em";
            i += 2;
        } else if (text.substr(i, 3) == "…") {
            out += "\\&...";
            i += 2;
        } else if (text.substr(i, 3) == "›") {
            out += "\\[u203A]";
            i += 2;
        } else if (c == '\'') {
            out += "\\(aq";
        } else {
            out += c;
        }
    }
    if (!out.empty() && out.front() == '.') out.insert(0, "\\&");
    return out;
}

// A usage line with bold words and options and italic placeholders; it renders to
// exactly the help text's characters.
std::string usageRoff(const CommandForm& form) {
    std::string out = "\\fBhalyward";
    std::istringstream tokens(form.usage);
    for (std::string token; tokens >> token;) {
        std::string open, close;
        if (token.front() == '[') {
            open = "[";
            token.erase(0, 1);
        }
        if (token.back() == ']') {
            close = "]";
            token.pop_back();
        }
        const bool placeholder = token.front() == '<';
        out += " " + open + (placeholder ? "\\fI" : "\\fB") + roff(token) + "\\fR" + close;
    }
    return out + "\\fR";
}

std::string commandKey(const CommandForm& form) {
    std::string key;
    for (const std::string& word : form.words) key += (key.empty() ? "" : " ") + word;
    return key;
}

// The blocks after "@@descriptions": "== key" then roff lines up to the next block.
std::map<std::string, std::string> descriptions(std::string_view blocks) {
    std::map<std::string, std::string> out;
    std::istringstream stream{std::string(blocks)};
    std::string key;
    for (std::string line; std::getline(stream, line);) {
        if (line.rfind("== ", 0) == 0) {
            key = line.substr(3);
            if (out.count(key)) throw std::runtime_error("the page describes " + key + " twice");
            out[key];
        } else if (!key.empty()) {
            out[key] += line + "\n";
        }
    }
    return out;
}

void replace(std::string& page, std::string_view marker, std::string_view text) {
    const std::size_t at = page.find(marker);
    if (at == std::string::npos) {
        throw std::runtime_error("the page template has no " + std::string(marker));
    }
    page.replace(at, marker.size(), text);
}

}  // namespace

std::string manPage(const Grammar& grammar, std::string_view templateText, std::string_view date) {
    const std::string_view separator = "@@descriptions\n";
    const std::size_t split = templateText.find(separator);
    if (split == std::string_view::npos) throw std::runtime_error("the page has no @@descriptions");
    std::string page(templateText.substr(0, split));
    std::map<std::string, std::string> described =
        descriptions(templateText.substr(split + separator.size()));
    std::set<std::string> used;
    auto describe = [&](const std::string& key) {
        auto found = described.find(key);
        if (found == described.end()) throw std::runtime_error("the page does not describe " + key);
        used.insert(key);
        return found->second;
    };

    std::string synopsis = ".nf\n";
    std::string commands;
    for (const CommandForm& form : grammar.commands) {
        synopsis += usageRoff(form) + "\n";
        commands += ".TP\n" + usageRoff(form) + "\n" + describe(commandKey(form));
        std::string more;
        for (const Option& option : form.options) {
            const bool shown = std::any_of(form.shownOptions.begin(), form.shownOptions.end(),
                                           [&](const Option& s) { return s.name == option.name; });
            if (shown) continue;
            more += std::string(more.empty() ? "" : ", ") + "\\fB\\-\\-" + roff(option.name) +
                    "\\fR \\fI" + roff(option.placeholder) + "\\fR";
        }
        if (!more.empty()) commands += "It also takes " + more + ".\n";
    }
    synopsis += ".fi";

    std::string options;
    for (const GlobalOption& global : grammar.globals) {
        options += ".TP\n\\fB\\-\\-" + roff(global.option.name) + "\\fR";
        if (!global.option.placeholder.empty())
            options += " \\fI" + roff(global.option.placeholder) + "\\fR";
        options += "\n" + roff(global.description) + ".\n";
    }
    options += ".TP\n\\fB\\-\\-help\\fR, \\fB\\-h\\fR\n" + describe("--help");
    options += ".TP\n\\fB\\-\\-version\\fR\n" + describe("--version");
    options += ".TP\n\\fB\\-\\-\\fR\n" + describe("--");
    for (std::string_view name : CommandParser::optionNames) {
        const bool global =
            std::any_of(grammar.globals.begin(), grammar.globals.end(),
                        [&](const GlobalOption& g) { return g.option.name == name; });
        if (global) continue;
        std::string placeholder = "<" + std::string(name) + ">";
        std::string users;
        for (const CommandForm& form : grammar.commands) {
            for (const Option& option : form.options) {
                if (option.name != name) continue;
                placeholder = option.placeholder;
                users += std::string(users.empty() ? "" : ", ") + "\\fB" + roff(commandKey(form)) +
                         "\\fR";
            }
        }
        options += ".TP\n\\fB\\-\\-" + roff(name) + "\\fR \\fI" + roff(placeholder) + "\\fR\n" +
                   describe("--" + std::string(name));
        if (!users.empty()) options += "Used by " + users + ".\n";
    }
    for (const auto& [key, text] : described) {
        if (!used.count(key)) {
            throw std::runtime_error("the page describes " + key +
                                     ", which the command line lacks");
        }
    }

    std::string exit;
    for (const ExitStatus& status : exitStatuses) {
        exit += ".TP\n.B " + std::to_string(status.value) + "\n" + roff(status.meaning);
        if (!status.code.empty())
            exit += " Its code in \\fB\\-\\-json\\fR output is \\fB" + roff(status.code) + "\\fR.";
        exit += "\n";
    }

    std::string notes = ".nf\n";
    std::istringstream lines(grammar.notes);
    for (std::string line; std::getline(lines, line);) notes += roff(line) + "\n";
    // A trailing blank line would print as an empty line before the next heading.
    while (notes.size() >= 2 && notes[notes.size() - 2] == '\n') notes.pop_back();
    notes += ".fi";

    replace(page, "@DATE@", date);
    replace(page, "@VERSION@", HalywardVersion::current);
    replace(page, "@TAGLINE@", roff(grammar.tagline));
    replace(page, "@SYNOPSIS@", synopsis);
    replace(page, "@COMMANDS@", commands.substr(0, commands.size() - 1));
    replace(page, "@OPTIONS@", options.substr(0, options.size() - 1));
    replace(page, "@NOTES@", notes);
    std::string appNotes = ".nf\n";
    std::istringstream appLines(grammar.appNotes);
    for (std::string line; std::getline(appLines, line);) appNotes += roff(line) + "\n";
    appNotes += ".fi";
    replace(page, "@APP_NOTES@", appNotes);
    replace(page, "@EXIT_STATUS@", exit.substr(0, exit.size() - 1));
    return page;
}

}  // namespace halyward::docgen
