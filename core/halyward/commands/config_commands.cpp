#include "halyward/commands/internal/command_run.hpp"

#include "halyward/base/error.hpp"
#include "halyward/commands/doctor.hpp"
#include "halyward/commands/doctor_status.hpp"
#include "halyward/config/config_json.hpp"
#include "halyward/text/text.hpp"
#include "halyward/webapps/staging.hpp"

#include <optional>
#include <string>
#include <vector>

// The commands that read the configuration as a whole: `layout list`, `config show` and
// `doctor`.

namespace halyward::commands {

CommandOutput layoutList(const CommandRun& run) {
    const HalywardConfig config = run.load().decode();
    JSONArray list;
    std::string message;
    for (const Layout& layout : config.layouts) {
        list.push_back(layoutJSON(layout.name, layout.assignments));
        if (!message.empty()) message += '\n';
        message += layout.name + ":";
        for (const LayoutAssignment& assignment : layout.assignments) {
            message += " " + assignment.target + " → " + assignment.tile + ";";
        }
        if (message.back() == ';') message.pop_back();
    }
    if (message.empty())
        message = "No saved layouts yet. Save one with halyward layout save <name>.";
    return success(std::move(message), JSONValue(std::move(list)));
}

CommandOutput configShow(const CommandRun& run) {
    const ConfigFile file = run.load();
    std::string message = file.text();
    while (!message.empty() && message.back() == '\n') message.pop_back();
    return success(std::move(message), configJSON(file.decode()));
}

namespace {

std::vector<DoctorFinding> configurationFindings(const CommandRun& run) {
    std::optional<ConfigFile> file;
    std::vector<DoctorFinding> findings;
    try {
        file = run.load();
        // The text itself, not the document read from it, shows what an edit would change.
        if (std::optional<std::string> text = ConfigFile::readText(run.configPath())) {
            findings = doctorTextFindings(*text);
        }
    } catch (const HalywardError& error) {
        return {doctorFinding(error)};
    }
    std::vector<DoctorFinding> more =
        doctorFindings(file->decode(), run.appsDirectory(),
                       [&run](const std::string& path) { return run.exists(path); });
    findings.insert(findings.end(), more.begin(), more.end());
    for (const std::filesystem::path& folder : staleStagingFolders(run.appsDirectory())) {
        findings.push_back(
            {"failed",
             "An interrupted app add or app remove left the hidden folder " +
                 text::quoted(folder.string()) +
                 " in the apps folder; the next app add, app list or app remove deletes it.",
             ExitCode::failed});
    }
    return findings;
}

}  // namespace

CommandOutput doctor(const CommandRun& run) {
    CommandOutput output = doctorOutput(configurationFindings(run));
    // The paths come after the findings, so the first line still says whether all is well.
    output.message += "\n\n" + doctorPathLines(run.paths());
    // The command line asks the app; inside the app the router knows itself.
    std::optional<JSONValue> ping;
    if (run.context.sendToApp) {
        try {
            const CommandOutput answer = run.context.sendToApp({"ping"}, 1.0);
            if (answer.ok()) ping = answer.payload;
        } catch (const HalywardError&) {}
    } else if (run.context.grabFailures) {
        ping = JSONObject{{"grabFailures", run.context.grabFailures()}};
    }
    output.message += "\n" + doctorAppLine(ping);
    return output;
}

}  // namespace halyward::commands
