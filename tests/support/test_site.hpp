#pragma once
// The test site of tests/data/webapps/site_server.py, for the suites that fetch from it.

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

extern char** environ;

// The test site of tests/data/webapps/site_server.py on a free port of 127.0.0.1. It
// stops when its standard input closes, that is when this object goes away.
class TestSite {
public:
    explicit TestSite(bool bare = false) {
        int toServer[2], fromServer[2];
        if (::pipe(toServer) != 0 || ::pipe(fromServer) != 0) std::abort();
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, toServer[0], STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, fromServer[1], STDOUT_FILENO);
        posix_spawn_file_actions_addclose(&actions, toServer[1]);
        posix_spawn_file_actions_addclose(&actions, fromServer[0]);
        const std::string script = std::string(HALYWARD_TEST_DATA) + "/webapps/site_server.py";
        std::vector<char*> argv = {const_cast<char*>(HALYWARD_PYTHON3),
                                   const_cast<char*>(script.c_str())};
        if (bare) argv.push_back(const_cast<char*>("--bare"));
        argv.push_back(nullptr);
        if (posix_spawn(&pid_, HALYWARD_PYTHON3, &actions, nullptr, argv.data(), environ) != 0)
            std::abort();
        posix_spawn_file_actions_destroy(&actions);
        ::close(toServer[0]);
        ::close(fromServer[1]);
        input_ = toServer[1];
        std::string port;
        char c;
        while (::read(fromServer[0], &c, 1) == 1 && c != '\n') port += c;
        ::close(fromServer[0]);
        root_ = "http://127.0.0.1:" + port;
    }
    ~TestSite() {
        ::close(input_);
        int status = 0;
        ::waitpid(pid_, &status, 0);
    }
    std::string operator()(std::string_view path) const { return root_ + std::string(path); }

private:
    pid_t pid_ = 0;
    int input_ = -1;
    std::string root_;
};
