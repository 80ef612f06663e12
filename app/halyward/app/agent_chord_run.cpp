// The agent chord carried out: the step decided in agent_chord.cpp, its script written,
// and the terminal asked for through the window system.

#include "halyward/app/agent_chord.hpp"
#include "halyward/app/app_core_impl.hpp"
#include "halyward/app/desktop.hpp"
#include "halyward/system/atomic_file.hpp"
#include "halyward/system/platform_paths.hpp"

namespace halyward {

void AppCore::Impl::pressAgent() {
    const detail::Desktop desktop = detail::Desktop::read(system);
    std::optional<std::string> directory;
    if (const WindowInfo* focused = desktop.focusedWindow(); focused && focused->processId > 0)
        directory = system.workingDirectory(focused->processId);
    const detail::AgentStep step =
        detail::agentStep(config.config().general, directory, options.home,
                          hostPathConvention() == PathConvention::macOS);
    std::string problem;
    if (step.kind == detail::AgentStep::Kind::notice) {
        problem = step.notice;
    } else {
        std::string path = options.commandFile;
        if (path.empty()) {
            path = platformPaths(hostPathConvention(), PathEnvironment{options.home, {}, {}, {}},
                                 localSocketPathLimit())
                       .commandFile;
        }
        try {
            // Executable by its owner only: it runs whatever the configuration says.
            AtomicFile::write(step.script, path, 0700);
            system.runInTerminal({step.terminal, path}, problem);
        } catch (const std::exception& failure) {
            problem = std::string("Cannot write the agent's launcher script: ") + failure.what();
        }
    }
    if (problem.empty()) return;
    say(problem);
    if (!desktop.displays.empty()) {
        const WindowInfo* focused = desktop.focusedWindow();
        tiles.showNotice(problem, focused ? std::optional<Frame>(focused->frame) : std::nullopt,
                         desktop.displays[desktop.focusedDisplay()].visibleFrame);
    }
}

}  // namespace halyward
