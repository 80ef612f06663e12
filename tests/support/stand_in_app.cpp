// A stand-in for the running menu-bar app, for tests: serves the control protocol at the
// socket path given as the only argument and answers every request through the command
// router, as the app does. It has no window manager, so commands that move windows are
// answered "unavailable" by the router. It prints "ready" once it listens and stops when
// its standard input closes.

#include "halyward/commands/command_router.hpp"
#include "halyward/control/control_server.hpp"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include <unistd.h>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: halyward_stand_in_app <socket path>\n", stderr);
        return 1;
    }
    halyward::CommandContext context;
    if (const char* home = std::getenv("HOME")) context.home = home;
    char folder[4096];
    if (::getcwd(folder, sizeof folder)) context.workingDirectory = folder;
    const halyward::CommandRouter router(std::move(context));

    try {
        halyward::ControlServer server(
            argv[1],
            [&router](const std::vector<std::string>& arguments) { return router.run(arguments); });
        server.start();
        std::puts("ready");
        std::fflush(stdout);
        char buffer[256];
        while (::read(STDIN_FILENO, buffer, sizeof buffer) > 0) {}
        server.stop();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "halyward_stand_in_app: %s\n", error.what());
        return 1;
    }
    return 0;
}
