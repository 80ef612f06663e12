#include "spawn.hpp"

#include <cerrno>
#include <system_error>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace halyward::x11 {

// A child starts the grandchild and ends at once, so the program is never left as a zombie
// of ours and outlives a restart of the app. Everything is prepared before fork, since the app has other threads and a child of a
// threaded process may only make async-signal-safe calls until exec.
bool spawnDetached(const std::vector<std::string>& argv, std::string& error) {
    std::vector<char*> pointers;
    for (const std::string& argument : argv)
        pointers.push_back(const_cast<char*>(argument.c_str()));
    pointers.push_back(nullptr);
    const pid_t child = ::fork();
    if (child < 0) {
        error = "Cannot start " + argv[0] + ": " + std::generic_category().message(errno) + ".";
        return false;
    }
    if (child == 0) {
        ::setsid();
        const pid_t grandchild = ::fork();
        if (grandchild == 0) {
            ::execve(pointers[0], pointers.data(), environ);
            ::_exit(127);
        }
        ::_exit(grandchild < 0 ? 1 : 0);
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {}
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        error = "Cannot start " + argv[0] + ".";
        return false;
    }
    return true;
}

}  // namespace halyward::x11
