// The `halyward` command: parses its arguments, runs them through the command router
// (which asks the running app over the control socket when it must), prints the output
// and exits with its status. It links no GUI library and reads nothing before the
// arguments are parsed, so that `halyward version` starts as fast as a bare program.

#include "halyward/commands/command_parser.hpp"
#include "halyward/commands/command_router.hpp"
#include "halyward/commands/targets.hpp"
#include "halyward/control/control_client.hpp"
#include "halyward/system/platform_paths.hpp"
#include "halyward/text/text.hpp"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include <unistd.h>

using namespace halyward;

namespace {

#ifndef __APPLE__
std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}
#endif

bool askOnTerminal(std::string_view question) {
    const std::string shown = text::terminalSafe(question);
    std::fprintf(stderr, "%s [y/N] ", shown.c_str());
    std::fflush(stderr);
    char* line = nullptr;
    std::size_t capacity = 0;
    const ssize_t length = ::getline(&line, &capacity, stdin);
    const std::string answer =
        length > 0 ? std::string(line, static_cast<std::size_t>(length)) : "";
    std::free(line);
    const std::string word = text::lowercased(text::trim(answer));
    return word == "y" || word == "yes";
}

void print(std::FILE* stream, const std::string& text) {
    if (text.empty()) return;
    std::fwrite(text.data(), 1, text.size(), stream);
    if (text.back() != '\n') std::fputc('\n', stream);
}

// Text output carries names and answers from the configuration file and from the running
// app, which may hold terminal commands (an app named with an escape sequence could
// rewrite the user's screen or window title); they are shown, not obeyed. Whether stdout
// is a terminal does not matter: piped text is often shown on one later. JSON output is
// already escaped by its writer and stays exact.
void printText(std::FILE* stream, const std::string& message) {
    print(stream, text::terminalSafe(message));
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);

    CommandContext context;
    // Where this program's files are, from the same environment the app reads.
    const PathEnvironment paths = currentPathEnvironment();
    context.home = paths.home;
    context.paths = platformPaths(hostPathConvention(), paths, localSocketPathLimit());
    std::error_code error;
    context.workingDirectory = std::filesystem::current_path(error).string();
    // Only a person at a terminal can answer; scripts and pipes must pass --yes.
    context.interactive = ::isatty(STDIN_FILENO) == 1 && ::isatty(STDERR_FILENO) == 1;
    context.confirm = askOnTerminal;
    // Progress of slow commands (`app add` fetching a site) is for a person watching a
    // terminal; scripts and logs get the result alone. The router never calls it for --json.
    if (::isatty(STDERR_FILENO) == 1) {
        context.progress = [](std::string_view line) {
            std::fprintf(stderr, "%.*s\n", static_cast<int>(line.size()), line.data());
        };
    }
    const std::string home = context.home;
    context.sendToApp = [socket = context.paths.socketFile](
                            const std::vector<std::string>& forwarded, double timeout) {
        return ControlClient::send(socket, forwarded, timeout);
    };
#ifdef __APPLE__
    context.findApplication = [home](std::string_view name) {
        return findBundleApplication(name, bundleApplicationFolders(home));
    };
#else
    context.findApplication = [home](std::string_view name) {
        return findDesktopApplication(name, desktopDataFolders(home, environment("XDG_DATA_HOME"),
                                                               environment("XDG_DATA_DIRS")));
    };
#endif
    const CommandRouter router(std::move(context));

    bool json = false;
    CommandOutput output;
    try {
        const Invocation invocation = CommandParser::parse(arguments);
        json = invocation.json;
        output = router.run(invocation, arguments);
    } catch (const HalywardError& failure) {
        json = CommandRouter::wantsJSON(arguments);
        output = CommandOutput::fromError(failure);
    }

    if (json) {
        print(stdout, output.rendered(true));
    } else {
        printText(output.ok() ? stdout : stderr, output.message);
    }
    std::fflush(stdout);
    return output.exitCode;
}
