// halyward-app on Linux: the running app that owns the chords, tiles the windows of an X11
// desktop through its window manager and serves the control socket the `halyward` command
// talks to. It takes no arguments and runs until it is told to stop (SIGTERM, SIGINT) or
// the X server goes away.

#include "citizen.hpp"
#include "event_loop.hpp"
#include "halyward/app/app_core.hpp"
#include "halyward/app/window_identity.hpp"
#include "halyward/base/error.hpp"
#include "halyward/commands/targets.hpp"
#include "halyward/control/control_client.hpp"
#include "halyward/system/platform_paths.hpp"
#include "x11_window_system.hpp"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <sys/signalfd.h>
#include <unistd.h>

using namespace halyward;

namespace {

constexpr int noDisplayStatus = 3;

std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

void say(std::string_view line) {
    std::fprintf(stderr, "halyward-app: %.*s\n", static_cast<int>(line.size()), line.data());
}

}  // namespace

int main() {
    const PathEnvironment pathEnvironment = currentPathEnvironment();
    const PlatformPaths paths =
        platformPaths(hostPathConvention(), pathEnvironment, localSocketPathLimit());
    const std::string& home = pathEnvironment.home;
    const bool wayland = !environment("WAYLAND_DISPLAY").empty();
    if (environment("DISPLAY").empty()) {
        say(wayland ? "Halyward tiles X11 windows, and this Wayland session offers no X display "
                      "(XWayland) to reach them."
                    : "Halyward tiles X11 windows, and there is no X display to reach (DISPLAY is "
                      "not set).");
        return noDisplayStatus;
    }

    // Stop signals are read from a descriptor by the main loop, so that stopping runs
    // there and removes the socket. They are blocked before any thread starts, so every
    // thread inherits the mask and none of them takes the signal instead.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGTERM);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGHUP);
    ::pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);

    x11::EventLoop loop;
    std::string error;
    std::unique_ptr<x11::X11WindowSystem> system =
        x11::X11WindowSystem::connect(loop, nullptr, error);
    if (!system) {
        say("Halyward tiles X11 windows, and the X display " + environment("DISPLAY") +
            " cannot be reached.");
        return noDisplayStatus;
    }
    if (wayland) {
        say("This is a Wayland session: Halyward tiles its X11 windows, and native Wayland "
            "windows are out of its reach.");
    }

    const std::vector<std::string> dataFolders =
        desktopDataFolders(home, environment("XDG_DATA_HOME"), environment("XDG_DATA_DIRS"));
    system->setDesktopApplications([dataFolders] { return readDesktopApplications(dataFolders); });

    AppCoreOptions options;
    options.home = home;
    // The same path the command line asks, so `halyward ping` reaches this process.
    options.socketPath = paths.socketFile;
    options.autostartFile = paths.autostartFile;
    options.commandFile = paths.commandFile;
    std::error_code noLink;
    options.executable = std::filesystem::read_symlink("/proc/self/exe", noLink).string();
    options.findApplication = [dataFolders](std::string_view name) {
        return findDesktopApplication(name, dataFolders);
    };
    options.report = say;
    x11::DesktopCitizen citizen(loop, paths, options.executable);
    options.configurationApplied = citizen.configurationApplied();
    options.showNewAppForm = citizen.newAppForm();

    AppCore core(*system, options);
    system->setEvents(&core);

    const int signals = ::signalfd(-1, &stopSignals, SFD_CLOEXEC | SFD_NONBLOCK);
    if (signals >= 0) {
        loop.watch(signals, [&loop, signals] {
            signalfd_siginfo info;
            while (::read(signals, &info, sizeof info) > 0) {}
            loop.quit();
        });
    }

    try {
        core.start();
    } catch (const HalywardError& failure) {
        if (failure.code == "unavailable") {
            std::printf("Halyward is already running.\n");
            return 0;
        }
        say(failure.message);
        return failure.exitCode;
    }

    // Only the one instance that runs shows a tray item.
    citizen.attach(core);
    loop.run();
    core.stop();
    if (signals >= 0) ::close(signals);
    return 0;
}
