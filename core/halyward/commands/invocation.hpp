#pragma once
/// One parsed command line: the four global settings and the command.

#include "halyward/commands/command.hpp"

#include <optional>
#include <string>

namespace halyward {

struct Invocation {
    /// `--json`: print the result as one JSON object.
    bool json = false;
    /// `--yes`: confirm a command that removes something.
    bool yes = false;
    /// `--config <path>`: the configuration file to use instead of the default.
    std::optional<std::string> configPath;
    /// `--timeout <sec>`: how long to wait for the menu-bar app, in seconds.
    double timeout = 5.0;
    Command command;

    bool operator==(const Invocation&) const = default;
};

}  // namespace halyward
