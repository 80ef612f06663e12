#pragma once
/// The grammar of the `halyward` command line. A pure function of its input: the same
/// parser reads the arguments typed at the shell and those that arrive over the control
/// protocol, and it never touches the disk, the configuration or the running app.

#include "halyward/commands/command.hpp"
#include "halyward/commands/invocation.hpp"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halyward::CommandParser {

/// Option values by option name (without the dashes); a later occurrence replaces an
/// earlier one.
using Options = std::map<std::string, std::string, std::less<>>;

/// The only option names the parser knows, in this order. Every other `--word` argument
/// is refused, apart from the bare flags `--json`, `--yes`, `--help`, `--version`, the
/// end marker `--` and the refused `--frameless` and `--titlebar`.
inline constexpr std::array<std::string_view, 10> optionNames{
    "name", "hotkey", "tile", "icon", "css", "js", "display", "title", "config", "timeout"};

/// Parses the argument list (without the program name). Throws HalywardError::usage with
/// a fixed message at the first argument that is wrong.
Invocation parse(const std::vector<std::string>& arguments);

/// Maps the positional words and the option map to a command. Throws HalywardError::usage.
Command command(const std::vector<std::string>& words, const Options& options);

/// The `--display` option: absent gives no display; otherwise a decimal whole number of at
/// least 1 (optional sign, digits only), else HalywardError::usage("Display numbers start
/// at 1.").
std::optional<std::int64_t> display(const Options& options);

}  // namespace halyward::CommandParser
