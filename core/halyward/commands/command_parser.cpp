#include "halyward/commands/command_parser.hpp"

#include "halyward/base/error.hpp"
#include "halyward/base/number_text.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <utility>

namespace halyward::CommandParser {

namespace {

using Words = std::vector<std::string>;

[[noreturn]] void fail(std::string message) { throw HalywardError::usage(std::move(message)); }

bool isKnownOption(std::string_view name) {
    return std::find(optionNames.begin(), optionNames.end(), name) != optionNames.end();
}

std::optional<std::string> option(const Options& options, std::string_view name) {
    auto found = options.find(name);
    if (found == options.end()) return std::nullopt;
    return found->second;
}

// A finite number of seconds greater than zero. The number reader takes neither a leading
// "+" nor hexadecimal, and refuses blanks; infinity and NaN are refused as well, since a
// wait can neither last forever nor be "not a number" long.
std::optional<double> positiveSeconds(std::string_view text) {
    if (!text.empty() && text.front() == '+') text.remove_prefix(1);
    if (text.empty() || text.front() == '-' || text.front() == '+') return std::nullopt;
    const auto value = readDouble(text, DoubleNotation::shortest);
    if (!value || !std::isfinite(*value) || !(*value > 0)) return std::nullopt;
    return value;
}

// A decimal integer: an optional sign, then ASCII digits only, within 64 bits.
std::optional<std::int64_t> wholeNumber(std::string_view text) {
    bool negative = false;
    if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
        negative = text.front() == '-';
        text.remove_prefix(1);
    }
    if (text.empty()) return std::nullopt;
    if (!std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; })) {
        return std::nullopt;
    }
    // Parse the magnitude unsigned so that the most negative 64-bit value still reads.
    std::uint64_t magnitude = 0;
    auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), magnitude);
    if (ec != std::errc() || end != text.data() + text.size()) return std::nullopt;
    constexpr std::uint64_t maxPositive = static_cast<std::uint64_t>(INT64_MAX);
    if (!negative) {
        if (magnitude > maxPositive) return std::nullopt;
        return static_cast<std::int64_t>(magnitude);
    }
    if (magnitude > maxPositive + 1) return std::nullopt;
    if (magnitude == maxPositive + 1) return INT64_MIN;
    return -static_cast<std::int64_t>(magnitude);
}

const std::string* word(const Words& words, std::size_t index) {
    return index < words.size() ? &words[index] : nullptr;
}

Command app(const Words& words, const Options& options) {
    const std::string* sub = word(words, 1);
    if (!sub) fail("Usage: halyward app add <url> --name <name>");
    if (*sub == "add") {
        const std::string* url = word(words, 2);
        if (!url) fail("Usage: halyward app add <url> --name <name>");
        return Command::appAdd(*url, option(options, "name"), option(options, "hotkey"),
                               option(options, "tile"), option(options, "icon"),
                               option(options, "css"), option(options, "js"));
    }
    if (*sub == "list") return Command::appList();
    if (*sub == "remove") {
        const std::string* name = word(words, 2);
        if (!name) fail("Usage: halyward app remove <name>");
        return Command::appRemove(*name);
    }
    fail("Unknown app command " + *sub + ".");
}

Command hotkey(const Words& words) {
    const std::string* sub = word(words, 1);
    if (!sub) fail("Usage: halyward hotkey set <chord> <app>");
    if (*sub == "set") {
        if (words.size() < 4) fail("Usage: halyward hotkey set <chord> <app>");
        return Command::hotkeySet(words[2], words[3]);
    }
    if (*sub == "unset") {
        const std::string* chord = word(words, 2);
        if (!chord) fail("Usage: halyward hotkey unset <chord>");
        return Command::hotkeyUnset(*chord);
    }
    if (*sub == "list") return Command::hotkeyList();
    fail("Unknown hotkey command " + *sub + ".");
}

Command rule(const Words& words, const Options& options) {
    const std::string* sub = word(words, 1);
    if (!sub) fail("Usage: halyward rule add <app> --tile <tile>");
    if (*sub == "add") {
        const std::string* target = word(words, 2);
        if (!target) fail("Usage: halyward rule add <app> --tile <tile>");
        std::optional<std::string> tile = option(options, "tile");
        if (!tile) fail("rule add needs --tile.");
        return Command::ruleAdd(*target, std::move(*tile), display(options),
                                option(options, "title"));
    }
    if (*sub == "remove") {
        const std::string* target = word(words, 2);
        if (!target) fail("Usage: halyward rule remove <app>");
        return Command::ruleRemove(*target);
    }
    fail("Unknown rule command " + *sub + ".");
}

Command layout(const Words& words) {
    const std::string* sub = word(words, 1);
    if (!sub) fail("Usage: halyward layout list");
    if (*sub == "save") {
        const std::string* name = word(words, 2);
        if (!name) fail("Usage: halyward layout save <name>");
        return Command::layoutSave(*name);
    }
    if (*sub == "apply") {
        const std::string* name = word(words, 2);
        if (!name) fail("Usage: halyward layout apply <name>");
        return Command::layoutApply(*name);
    }
    if (*sub == "list") return Command::layoutList();
    fail("Unknown layout command " + *sub + ".");
}

Command config(const Words& words) {
    const std::string* sub = word(words, 1);
    if (!sub) fail("Usage: halyward config show");
    if (*sub == "show") return Command::configShow();
    if (*sub == "apply") return Command::apply();
    fail("Unknown config command " + *sub + ".");
}

Command skill(const Words& words) {
    const std::string* sub = word(words, 1);
    if (!sub) fail("Usage: halyward skill paths");
    if (*sub == "paths") return Command::skillPaths();
    if (*sub == "install") {
        const std::string* folder = word(words, 2);
        if (!folder) fail("Usage: halyward skill install <folder>");
        return Command::skillInstall(*folder);
    }
    if (*sub == "uninstall") {
        const std::string* folder = word(words, 2);
        if (!folder) fail("Usage: halyward skill uninstall <folder>");
        return Command::skillUninstall(*folder);
    }
    fail("Unknown skill command " + *sub + ".");
}

}  // namespace

std::optional<std::int64_t> display(const Options& options) {
    auto found = options.find(std::string_view("display"));
    if (found == options.end()) return std::nullopt;
    std::optional<std::int64_t> number = wholeNumber(found->second);
    if (!number || *number < 1) fail("Display numbers start at 1.");
    return number;
}

Command command(const std::vector<std::string>& words, const Options& options) {
    if (words.empty() || words.front() == "help") return Command::help();
    const std::string& first = words.front();
    if (first == "version") return Command::version();
    if (first == "apply") {
        if (words.size() > 1) fail("apply takes no arguments.");
        return Command::apply();
    }
    if (first == "doctor") return Command::doctor();
    if (first == "ping") return Command::ping();
    if (first == "app") return app(words, options);
    if (first == "hotkey") return hotkey(words);
    if (first == "tile") {
        if (words.size() < 3) fail("Usage: halyward tile <app> <tile>");
        return Command::tile(words[1], words[2], display(options));
    }
    if (first == "rule") return rule(words, options);
    if (first == "layout") return layout(words);
    if (first == "config") return config(words);
    if (first == "skill") return skill(words);
    fail("Unknown command " + first + ". Try halyward help.");
}

Invocation parse(const std::vector<std::string>& arguments) {
    Invocation invocation;
    std::vector<std::string> words;
    Options options;

    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument == "--") {
            words.insert(words.end(), arguments.begin() + static_cast<std::ptrdiff_t>(i) + 1,
                         arguments.end());
            break;
        }
        if (argument == "--json") {
            invocation.json = true;
            continue;
        }
        if (argument == "--yes") {
            invocation.yes = true;
            continue;
        }
        // Help and version answer at once, so a mistake later in the list cannot hide them.
        if (argument == "--help" || argument == "-h") {
            invocation.command = Command::help();
            return invocation;
        }
        if (argument == "--version") {
            invocation.command = Command::version();
            return invocation;
        }
        if (argument == "--frameless" || argument == "--titlebar") {
            fail(
                "Window style is set in Settings › Tiling. --frameless and --titlebar are not used.");
        }
        if (argument.size() >= 2 && argument[0] == '-' && argument[1] == '-') {
            std::string_view rest = std::string_view(argument).substr(2);
            std::string name;
            std::string value;
            if (std::size_t equals = rest.find('='); equals != std::string_view::npos) {
                name = rest.substr(0, equals);
                if (!isKnownOption(name)) fail("Unknown option --" + name + ".");
                value = rest.substr(equals + 1);
            } else {
                name = rest;
                if (!isKnownOption(name)) fail("Unknown option --" + name + ".");
                if (i + 1 >= arguments.size()) fail("--" + name + " needs a value.");
                value = arguments[++i];
            }
            if (name == "config") {
                invocation.configPath = std::move(value);
            } else if (name == "timeout") {
                std::optional<double> seconds = positiveSeconds(value);
                if (!seconds) fail("--timeout needs a positive number of seconds.");
                invocation.timeout = *seconds;
            } else {
                options.insert_or_assign(std::move(name), std::move(value));
            }
            continue;
        }
        words.push_back(argument);
    }

    invocation.command = command(words, options);
    return invocation;
}

}  // namespace halyward::CommandParser
