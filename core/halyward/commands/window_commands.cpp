#include "halyward/commands/internal/command_run.hpp"

#include "halyward/base/error.hpp"
#include "halyward/commands/targets.hpp"
#include "halyward/text/text.hpp"

#include <algorithm>

// The window commands: `ping`, `tile`, `layout save`, `layout apply` and `apply`. The
// command line checks what it can and forwards them to the running app; inside the app
// the same code hands them to the window manager.

namespace halyward::commands {

CommandOutput windowCommand(const CommandRun& run) {
    const Command& command = run.invocation.command;
    if (const Command::Tile* tile = command.asTile()) requireTile(tile->slot);
    if (const Command::LayoutSave* save = command.asLayoutSave()) {
        if (text::trim(save->name).empty()) throw HalywardError::usage("A layout needs a name.");
    }
    if (run.context.sendToApp) return run.context.sendToApp(run.arguments, run.invocation.timeout);

    // From here on this router runs inside the app, which reads the configuration and never
    // creates it: its one write to the file is `layout save`.
    std::string_view what;
    switch (command.kind()) {
        case Command::Kind::ping: {
            JSONObject payload{{"version", HalywardVersion::current}};
            if (run.context.grabFailures) payload["grabFailures"] = run.context.grabFailures();
            return success("pong", std::move(payload));
        }
        case Command::Kind::tile: {
            const HalywardConfig config = run.read().decode();
            resolveTarget(command.asTile()->target, config, run.context.findApplication);
            what = "Tiling windows";
            break;
        }
        case Command::Kind::layoutApply: {
            const HalywardConfig config = run.read().decode();
            const std::string& name = command.asLayoutApply()->name;
            const bool known = std::any_of(config.layouts.begin(), config.layouts.end(),
                                           [&](const Layout& l) { return l.name == name; });
            if (!known) {
                throw HalywardError::notFound("No saved layout is called " + text::quoted(name) +
                                              ".");
            }
            what = "Applying a layout";
            break;
        }
        case Command::Kind::layoutSave: what = "Saving a layout"; break;
        default: what = "Applying the configuration"; break;
    }
    if (run.context.windowCommand) return run.context.windowCommand(run.invocation);
    throw HalywardError::unavailable(std::string(what) +
                                     " needs the window manager, which this build of "
                                     "Halyward does not have.");
}

}  // namespace halyward::commands
