#include "halyward/app/agent_chord.hpp"

#include "halyward/text/shell_quote.hpp"

namespace halyward::detail {

namespace {

// The default of `terminal_bundle_id`, written into every new configuration file.
constexpr std::string_view macTerminal = "com.apple.Terminal";

}  // namespace

AgentStep agentStep(const GeneralConfig& general,
                    const std::optional<std::string>& focusedDirectory, std::string_view home,
                    bool macOS) {
    AgentStep step;
    if (general.agentCommand.empty()) {
        step.notice = std::string(agentCommandMissing);
        return step;
    }
    step.kind = AgentStep::Kind::run;
    step.directory =
        focusedDirectory && !focusedDirectory->empty() ? *focusedDirectory : std::string(home);
    step.script = ShellQuote::launchScript(step.directory, general.agentCommand);
    // Elsewhere the macOS default names nothing, and the desktop's own terminal is the
    // closest to what the user meant.
    if (macOS || general.terminalBundleIdentifier != macTerminal)
        step.terminal = general.terminalBundleIdentifier;
    return step;
}

}  // namespace halyward::detail
