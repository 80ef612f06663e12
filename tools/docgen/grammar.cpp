#include "grammar.hpp"

#include "halyward/commands/command_parser.hpp"
#include "halyward/commands/help_text.hpp"
#include "halyward/tiling/tile_slot.hpp"

#include <algorithm>
#include <sstream>
#include <stdexcept>

namespace halyward::docgen {

namespace {

std::vector<std::string> lines(std::string_view text) {
    std::vector<std::string> out;
    std::istringstream stream{std::string(text)};
    for (std::string line; std::getline(stream, line);) out.push_back(line);
    return out;
}

// Words split at blanks, except that a placeholder of several words ("<style sheet>")
// stays one word.
std::vector<std::string> split(std::string_view line) {
    std::vector<std::string> out;
    std::istringstream stream{std::string(line)};
    bool open = false;
    for (std::string word; stream >> word;) {
        if (open) {
            out.back() += " " + word;
        } else {
            out.push_back(word);
        }
        if (word.find('<') != std::string::npos) open = true;
        if (word.find('>') != std::string::npos) open = false;
    }
    return out;
}

bool startsWith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

std::string joined(const std::vector<std::string>& words) {
    std::string out;
    for (const std::string& word : words) out += (out.empty() ? "" : " ") + word;
    return out;
}

// What a Tab offers for an option's value. The parser knows the names only; what a
// value means is the router's business, so it is written down here.
ValueKind optionKind(std::string_view name) {
    if (name == "tile") return ValueKind::tile;
    if (name == "icon" || name == "css" || name == "js" || name == "config") {
        return ValueKind::file;
    }
    return ValueKind::none;
}

ValueKind positionalKind(const std::vector<std::string>& words, std::string_view placeholder) {
    const std::string path = joined(words);
    if (placeholder == "<tile>") return ValueKind::tile;
    if (placeholder == "<folder>") return ValueKind::folder;
    if (placeholder == "<path>") return ValueKind::file;
    if (path == "app remove" && placeholder == "<name>") return ValueKind::webApp;
    if (path == "hotkey unset" && placeholder == "<chord>") return ValueKind::appHotkey;
    if (path == "layout apply" && placeholder == "<name>") return ValueKind::layout;
    return ValueKind::none;
}

// One usage line, without the leading "halyward": command words, then placeholders and
// options in any order, optional options in brackets.
CommandForm readUsage(std::string_view usage, bool inHelp) {
    CommandForm form;
    form.usage = std::string(usage);
    form.inHelp = inHelp;
    const std::vector<std::string> tokens = split(usage);
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        std::string token = tokens[i];
        const bool optional = startsWith(token, "[");
        if (optional) token.erase(0, 1);
        if (token == "--yes") {
            form.needsYes = true;
        } else if (startsWith(token, "--")) {
            Option option{token.substr(2), "", optionKind(token.substr(2))};
            if (i + 1 < tokens.size() && startsWith(tokens[i + 1], "<")) {
                option.placeholder = tokens[++i];
                if (!option.placeholder.empty() && option.placeholder.back() == ']') {
                    option.placeholder.pop_back();
                }
            }
            form.shownOptions.push_back(std::move(option));
        } else if (startsWith(token, "<")) {
            form.positionalKinds.push_back(positionalKind(form.words, token));
            form.positionals.push_back(std::move(token));
        } else if (form.positionals.empty() && form.shownOptions.empty()) {
            form.words.push_back(std::move(token));
        } else {
            throw std::runtime_error("usage line with a word after its arguments: " + form.usage);
        }
    }
    return form;
}

// A value the parser accepts for an option, whatever the option means.
std::string probeValue(std::string_view option) { return option == "display" ? "2" : "probe"; }

std::vector<std::string> baseArguments(const CommandForm& form) {
    std::vector<std::string> arguments = form.words;
    for (std::size_t i = 0; i < form.positionals.size(); ++i) arguments.push_back("x");
    return arguments;
}

// Asks the parser which options the command keeps: an option changes the parsed command
// exactly when the command uses it. Shown options must be among them.
void probeOptions(CommandForm& form) {
    std::vector<std::string> base = baseArguments(form);
    // Required options (such as rule add's --tile) are part of the base, or the parse fails.
    for (const Option& option : form.shownOptions) {
        base.push_back("--" + option.name);
        base.push_back(probeValue(option.name));
    }
    const Command plain = CommandParser::parse(base).command;
    if (plain.kind() == Command::Kind::help && form.words.front() != "help") {
        throw std::runtime_error("the parser reads “" + form.usage + "” as help");
    }
    for (std::string_view name : CommandParser::optionNames) {
        if (name == "config" || name == "timeout") continue;
        std::vector<std::string> arguments = baseArguments(form);
        for (const Option& option : form.shownOptions) {
            if (option.name == name) continue;
            arguments.push_back("--" + option.name);
            arguments.push_back(probeValue(option.name));
        }
        // A different value from the base's shows the option is kept even when shown.
        arguments.push_back("--" + std::string(name));
        arguments.push_back(name == "display" ? "3" : "other");
        bool used = false;
        try {
            used = !(CommandParser::parse(arguments).command == plain);
        } catch (const std::exception&) {
            // Leaving out a required option fails; the option is then certainly used.
            used = true;
        }
        const auto shown = std::find_if(form.shownOptions.begin(), form.shownOptions.end(),
                                        [&](const Option& option) { return option.name == name; });
        if (shown != form.shownOptions.end() && !used) {
            throw std::runtime_error("“" + form.usage + "” shows --" + std::string(name) +
                                     ", which the parser ignores for it");
        }
        if (!used) continue;
        if (shown != form.shownOptions.end()) {
            form.options.push_back(*shown);
        } else {
            form.options.push_back(
                Option{std::string(name), "<" + std::string(name) + ">", optionKind(name)});
        }
    }
}

// `halyward help app`: its usage lines (a long one goes on over indented lines) name the
// placeholders of the options the short help leaves out, and the text after them is kept
// for the page.
void readTopic(Grammar& grammar) {
    const std::vector<std::string> help = lines(HelpText::appText());
    std::vector<std::string> usages;
    bool inUsage = false;
    std::size_t i = 1;
    for (; i < help.size(); ++i) {
        const std::string& line = help[i];
        if (line == "Usage:") {
            inUsage = true;
        } else if (inUsage && line.empty()) {
            ++i;
            break;
        } else if (inUsage && startsWith(line, "  halyward ")) {
            usages.push_back(line.substr(11));
        } else if (inUsage && !usages.empty()) {
            usages.back() += " " + line;
        }
    }
    for (; i < help.size(); ++i) grammar.appNotes += help[i] + "\n";
    if (usages.empty() || grammar.appNotes.empty()) {
        throw std::runtime_error("halyward help app has no usage lines or no notes");
    }
    for (const std::string& usage : usages) {
        const CommandForm topic = readUsage(usage, true);
        for (CommandForm& form : grammar.commands) {
            if (form.words != topic.words) continue;
            for (Option& option : form.options) {
                for (const Option& shown : topic.shownOptions) {
                    if (shown.name == option.name && !shown.placeholder.empty()) {
                        option.placeholder = shown.placeholder;
                    }
                }
            }
        }
    }
}

}  // namespace

Grammar readGrammar() {
    Grammar grammar;
    const std::vector<std::string> help = lines(HelpText::text());
    if (help.empty() || !startsWith(help.front(), "halyward — ")) {
        throw std::runtime_error("the help text does not begin with “halyward — ”");
    }
    grammar.tagline = help.front().substr(std::string_view("halyward — ").size());

    enum class Section { title, usage, globals, notes } section = Section::title;
    for (std::size_t i = 1; i < help.size(); ++i) {
        const std::string& line = help[i];
        if (line == "Usage:") {
            section = Section::usage;
        } else if (line == "Global flags:") {
            section = Section::globals;
        } else if (line.empty() && section == Section::globals) {
            section = Section::notes;
        } else if (section == Section::usage && startsWith(line, "  halyward ")) {
            grammar.commands.push_back(readUsage(line.substr(11), true));
        } else if (section == Section::globals) {
            std::vector<std::string> words = split(line);
            if (words.empty() || !startsWith(words[0], "--")) continue;
            GlobalOption global;
            global.option.name = words[0].substr(2);
            global.option.kind = optionKind(global.option.name);
            std::size_t used = 1;
            if (words.size() > 1 && startsWith(words[1], "<"))
                global.option.placeholder = words[used++];
            for (std::size_t w = used; w < words.size(); ++w) {
                global.description += (w > used ? " " : "") + words[w];
            }
            grammar.globals.push_back(std::move(global));
        } else if (section == Section::notes) {
            grammar.notes += line + "\n";
        }
    }
    if (grammar.commands.empty() || grammar.globals.empty()) {
        throw std::runtime_error("the help text has no usage lines or no global flags");
    }

    // Commands the parser knows that the help text leaves out on purpose, to keep it
    // short; `ping` stays undocumented, since only the control protocol uses it.
    for (std::string_view usage : {"help", "help app", "version", "config apply", "skill paths",
                                   "skill install <folder>", "skill uninstall <folder> --yes"}) {
        grammar.commands.push_back(readUsage(usage, false));
    }
    for (CommandForm& form : grammar.commands) probeOptions(form);

    readTopic(grammar);
    for (TileSlot slot : allTileSlots) grammar.tiles.emplace_back(rawValue(slot));
    return grammar;
}

std::vector<std::string> topWords(const Grammar& grammar) {
    std::vector<std::string> words;
    for (const CommandForm& form : grammar.commands) {
        if (std::find(words.begin(), words.end(), form.words.front()) == words.end()) {
            words.push_back(form.words.front());
        }
    }
    return words;
}

}  // namespace halyward::docgen
