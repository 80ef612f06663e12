// Running a script in a terminal window, and reading where a process works: the two
// things the agent chord needs from Linux.

#include "spawn.hpp"
#include "x11_window_system.hpp"

#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace halyward::x11 {

namespace {

// The program a terminal's desktop entry runs, when that entry is installed.
std::string terminalProgram(const std::string& id) {
    if (id.empty()) return {};
    GDesktopAppInfo* info = g_desktop_app_info_new((id + ".desktop").c_str());
    if (info == nullptr) return {};
    const char* executable = g_app_info_get_executable(G_APP_INFO(info));
    std::string program = executable != nullptr ? executable : "";
    g_object_unref(info);
    return program;
}

// A program name searched on PATH, as the shell would; empty when not found.
std::string onPath(const std::string& program) {
    if (program.empty()) return {};
    gchar* found = g_find_program_in_path(program.c_str());
    if (found == nullptr) return {};
    std::string path = found;
    g_free(found);
    return path;
}

}  // namespace

bool X11WindowSystem::runInTerminal(const TerminalRequest& request, std::string& error) {
    // The chosen terminal's entry when it is installed, else the desktop's default: the
    // x-terminal-emulator alternative on Debian and its relatives.
    std::string program = onPath(terminalProgram(request.terminal));
    if (program.empty()) program = onPath("x-terminal-emulator");
    if (program.empty()) {
        error =
            "No terminal is installed: install one, or set terminal_bundle_id in [general] "
            "to the desktop id of the terminal to use.";
        return false;
    }
    // "-e <program>" is the one way of naming what to run that terminals share.
    return spawnDetached({program, "-e", request.scriptPath}, error);
}

std::optional<std::string> X11WindowSystem::workingDirectory(std::int64_t processId) {
    if (processId <= 0) return std::nullopt;
    std::error_code error;
    const std::filesystem::path folder =
        std::filesystem::read_symlink("/proc/" + std::to_string(processId) + "/cwd", error);
    if (error || !folder.is_absolute()) return std::nullopt;
    return folder.string();
}

}  // namespace halyward::x11
