#pragma once
// The agent chord: `agent_command` run in a terminal through a launcher script, in the
// folder of the focused window's app when that is known, else in the home folder.

#include "halyward/config/config.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace halyward::detail {

// What a press of the agent chord does.
struct AgentStep {
    enum class Kind {
        // Write `script` and run it in `terminal`.
        run,
        // Show `notice`: there is nothing to run.
        notice,
    };
    Kind kind = Kind::notice;
    std::string notice;
    // The folder the command starts in.
    std::string directory;
    // The launcher script that enters `directory` and replaces itself with the command.
    std::string script;
    // The terminal to ask for; empty means the desktop's default one.
    std::string terminal;

    bool operator==(const AgentStep&) const = default;
};

// The notice for an empty `agent_command`.
inline constexpr std::string_view agentCommandMissing =
    "The agent chord has nothing to run. Set agent_command in [general] of "
    "~/.config/halyward/config.toml, for example agent_command = [\"my-agent\", \"--flag\"].";

// The step for `general` when the focused window's app works in `focusedDirectory`
// (none when there is no focused window or its folder cannot be read). `macOS` says
// whether the macOS default terminal ("com.apple.Terminal") is one this system has.
AgentStep agentStep(const GeneralConfig& general,
                    const std::optional<std::string>& focusedDirectory, std::string_view home,
                    bool macOS);

}  // namespace halyward::detail
