#include "halyward/commands/internal/command_run.hpp"

#include "halyward/commands/skills.hpp"
#include "halyward/text/text.hpp"

// The agent-skill commands: `skill paths`, `skill install` and `skill uninstall`.

namespace halyward::commands {

namespace {

std::string skillFolder(const CommandRun& run, const std::string& typed) {
    return AgentSkills::folderPath(typed, run.context.home, run.context.workingDirectory);
}

}  // namespace

CommandOutput skillPaths(const CommandRun& run) {
    const HalywardConfig config = run.load().decode();
    auto present = [&run](const std::string& path) { return run.exists(path); };
    std::string message;
    for (const std::string& folder : config.agents.customFolders) {
        const std::string file = AgentSkills::skillFile(folder);
        if (!message.empty()) message += '\n';
        message += file + (present(file) ? "" : "  (missing)");
    }
    if (message.empty()) {
        message =
            "The Halyward skill is not installed anywhere yet. Install it into an "
            "agent's skills folder with halyward skill install <folder>.";
    }
    return success(std::move(message), AgentSkills::pathsJSON(config.agents, present));
}

CommandOutput skillInstall(const CommandRun& run, const std::string& typed) {
    const std::string folder = skillFolder(run, typed);
    bool changed = false;
    run.edit([&](ConfigFile& file) {
        AgentConfig agents = file.decode().agents;
        changed = AgentSkills::install(folder, agents);
        file.setAgents(agents);
    });
    const std::string skillFile = AgentSkills::skillFile(folder);
    return success(
        changed ? "Installed the Halyward skill as " + text::quoted(skillFile) + "."
                : "The Halyward skill is already installed as " + text::quoted(skillFile) + ".",
        JSONObject{{"changed", changed}, {"file", skillFile}, {"folder", folder}});
}

CommandOutput skillUninstall(const CommandRun& run, const std::string& typed) {
    const std::string folder = skillFolder(run, typed);
    run.edit([&](ConfigFile& file) {
        AgentConfig agents = file.decode().agents;
        AgentSkills::uninstall(folder, agents);
        file.setAgents(agents);
    });
    return success("Removed the Halyward skill from " + text::quoted(folder) + ".",
                   JSONObject{{"folder", folder}});
}

}  // namespace halyward::commands
