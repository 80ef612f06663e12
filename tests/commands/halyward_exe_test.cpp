// Runs the real `halyward` executable, alone and against the stand-in app's control server.
#if defined(HALYWARD_EXECUTABLE) && defined(HALYWARD_STAND_IN_APP)

#include "halyward/config/config_file.hpp"
#include "halyward/control/control_client.hpp"
#include "halyward/system/paths.hpp"

#include "support/scratch_folder.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace halyward;
namespace fs = std::filesystem;

namespace {

using Args = std::vector<std::string>;

struct Result {
    int exitCode = -1;
    std::string out;
    std::string err;
};

/// Starts `program` with HOME set and stdin from /dev/null; stdout and stderr go to files
/// named after `capture` when it is given.
pid_t spawn(const std::string& program, const Args& arguments, const std::string& home,
            const std::string& capture = {}, int stdinFd = -1) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (stdinFd >= 0) {
        posix_spawn_file_actions_adddup2(&actions, stdinFd, 0);
    } else {
        posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    }
    const std::string out = capture.empty() ? "/dev/null" : capture + ".out";
    const std::string err = capture.empty() ? "/dev/null" : capture + ".err";
    posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    std::vector<std::string> storage{program};
    storage.insert(storage.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& s : storage) argv.push_back(s.data());
    argv.push_back(nullptr);
    std::string homeVariable = "HOME=" + home;
    char* envp[] = {homeVariable.data(), const_cast<char*>("PATH=/usr/bin:/bin"), nullptr};
    pid_t pid = -1;
    EXPECT_EQ(posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), envp), 0);
    posix_spawn_file_actions_destroy(&actions);
    return pid;
}

int waitFor(pid_t pid) {
    int status = 0;
    ::waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

struct ExeFixture : ::testing::Test {
    ScratchFolder scratch;
    fs::path home = scratch.path;

    Result halyward(const Args& arguments) {
        const std::string capture = (home / "capture").string();
        Result result;
        result.exitCode = waitFor(spawn(HALYWARD_EXECUTABLE, arguments, home.string(), capture));
        result.out = readFile(capture + ".out");
        result.err = readFile(capture + ".err");
        return result;
    }
    std::string socketPath() const {
        return HalywardPaths::resolvedSocketFile(
            home.string(), static_cast<std::int64_t>(controlSocketPathLimit()));
    }
};

/// The stand-in app, serving at the home's socket until destroyed.
struct StandInApp {
    pid_t pid = -1;
    int input = -1;

    StandInApp(const fs::path& home, const std::string& socket) {
        int pipeFds[2];
        EXPECT_EQ(::pipe2(pipeFds, O_CLOEXEC), 0);  // the app must not hold its own write end
        const std::string capture = (home / "stand-in").string();
        pid = spawn(HALYWARD_STAND_IN_APP, {socket}, home.string(), capture, pipeFds[0]);
        ::close(pipeFds[0]);
        input = pipeFds[1];
        for (int i = 0; i < 500 && readFile(capture + ".out") != "ready\n"; ++i) ::usleep(10000);
    }
    ~StandInApp() {
        ::close(input);  // end of input stops it
        waitFor(pid);
    }
};

}  // namespace

TEST_F(ExeFixture, prints_messages_and_json_and_exits_with_the_status) {
    struct Case {
        Args arguments;
        int exitCode;
        std::string out;
        std::string err;
    };
    const Case cases[] = {
        {{"version"}, ExitCode::ok, "halyward 1.0.1\n", ""},
        {{"--json", "version"},
         0,
         "{\"exitCode\":0,\"message\":\"halyward 1.0.1\",\"ok\":true,\"result\":{\"version\":\"1.0.1\"}}\n",
         ""},
        {{"frobnicate"}, ExitCode::usage, "", "Unknown command frobnicate. Try halyward help.\n"},
        {{"--json", "--timeout", "0", "ping"},
         1,
         "{\"exitCode\":1,\"message\":\"--timeout needs a positive number of seconds.\",\"ok\":false,"
         "\"result\":{\"code\":\"usage\"}}\n",
         ""},
        {{"app", "remove", "Mail"}, ExitCode::cancelled, "", "Pass --yes to confirm.\n"},
        {{"ping"}, ExitCode::unavailable, "", "Halyward is not running.\n"},
        {{"--json", "app", "list"},
         0,
         "{\"exitCode\":0,\"message\":\"No web apps yet.\",\"ok\":true,\"result\":[]}\n",
         ""},
    };
    for (const Case& c : cases) {
        const Result result = halyward(c.arguments);
        EXPECT_EQ(result.exitCode, c.exitCode) << c.arguments.back();
        EXPECT_EQ(result.out, c.out);
        EXPECT_EQ(result.err, c.err);
    }
    // A configuration command creates the file from the template.
    EXPECT_EQ(readFile(HalywardPaths::configFile(home.string())), ConfigFile::defaultText());
}

TEST_F(ExeFixture, says_so_when_the_app_does_not_answer_in_time) {
    const std::string socket = socketPath();
    fs::create_directories(fs::path(socket).parent_path());
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "%s", socket.c_str());
    ASSERT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(fd, 4), 0);  // listens, never accepts, never answers
    const Result result = halyward({"--timeout", "0.3", "ping"});
    ::close(fd);
    EXPECT_EQ(result.exitCode, ExitCode::unavailable);
    EXPECT_EQ(result.err, "Halyward did not answer within 0.3 seconds.\n");
}

TEST_F(ExeFixture, bad_config_paths_fail_clearly_and_change_nothing) {
    writeFile(home / "plain", "x");
    fs::create_directories(home / "folder");
    for (const std::string& path :
         {(home / "folder").string(), (home / "plain/config.toml").string()}) {
        for (const Args& command :
             {Args{"app", "list"}, Args{"hotkey", "set", "ctrl+shift+q", "com.x.q"}}) {
            Args arguments{"--config", path};
            arguments.insert(arguments.end(), command.begin(), command.end());
            const Result result = halyward(arguments);
            EXPECT_EQ(result.exitCode, ExitCode::config)
                << path << " " << command[0] << ": " << result.err;
            EXPECT_NE(result.err.find("“" + home.string()), std::string::npos) << result.err;
        }
    }
    EXPECT_EQ(readFile(home / "plain"), "x");
    EXPECT_TRUE(fs::is_empty(home / "folder"));
    if (::geteuid() == 0) GTEST_SKIP() << "permissions do not bind root";

    const fs::path unreadable = home / "unreadable.toml";
    writeFile(unreadable, "version = 1\n");
    fs::permissions(unreadable, fs::perms::none);
    EXPECT_EQ(halyward({"--config", unreadable.string(), "config", "show"}).exitCode,
              ExitCode::config);
    fs::create_directories(home / "locked");
    fs::permissions(home / "locked", fs::perms::owner_read | fs::perms::owner_exec);
    const Result locked = halyward({"--config", (home / "locked/config.toml").string(), "hotkey",
                                    "set", "ctrl+shift+q", "com.x.q"});
    EXPECT_EQ(locked.exitCode, ExitCode::config) << locked.err;
    EXPECT_TRUE(fs::is_empty(home / "locked"));
}

TEST_F(ExeFixture, talks_to_a_real_control_server) {
    const std::string socket = socketPath();
    StandInApp app(home, socket);

    const Result ping = halyward({"--json", "ping"});
    EXPECT_EQ(ping.exitCode, ExitCode::ok);
    EXPECT_EQ(
        ping.out,
        "{\"exitCode\":0,\"message\":\"pong\",\"ok\":true,\"result\":{\"version\":\"1.0.1\"}}\n");
    const Result tile = halyward({"tile", "com.example.x", "left"});
    EXPECT_EQ(tile.exitCode, ExitCode::unavailable);
    EXPECT_NE(tile.err.find("window manager"), std::string::npos) << tile.err;

    const CommandOutput set =
        ControlClient::send(socket, {"hotkey", "set", "ctrl+shift+q", "com.x.q"}, 5);
    EXPECT_EQ(set.exitCode, ExitCode::ok) << set.message;
    EXPECT_EQ(ConfigFile::load(HalywardPaths::configFile(home.string())).decode().hotkeys,
              (std::vector<NativeHotkey>{{"ctrl+shift+q", "com.x.q"}}));

    std::vector<pid_t> clients;
    for (int i = 0; i < 200; ++i)
        clients.push_back(spawn(HALYWARD_EXECUTABLE, {"ping"}, home.string()));
    int failures = 0;
    for (pid_t pid : clients) failures += waitFor(pid) != 0;
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(halyward({"ping"}).out, "pong\n");  // still serving
}

TEST_F(ExeFixture, concurrent_edits_under_the_lock_lose_nothing) {
    const char* modifiers[] = {"shift+cmd",     "opt+cmd",        "ctrl+cmd",
                               "opt+shift+cmd", "ctrl+shift+cmd", "ctrl+shift"};
    const std::string keys = "abcdefghijklmnopqrstuvwxyz0123456789";
    std::vector<pid_t> workers;
    for (int worker = 0; worker < 8; ++worker) {
        const pid_t pid = ::fork();
        if (pid == 0) {
            int failures = 0;
            for (int i = 0; i < 25; ++i) {
                const int n = worker * 25 + i;
                const std::string chord = std::string(modifiers[n / 36]) + "+" + keys[n % 36];
                failures +=
                    waitFor(spawn(HALYWARD_EXECUTABLE,
                                  {"hotkey", "set", chord, "com.example.app" + std::to_string(n)},
                                  home.string())) != 0;
            }
            ::_exit(failures);
        }
        workers.push_back(pid);
    }
    int failures = 0;
    for (pid_t pid : workers) failures += waitFor(pid);
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(ConfigFile::load(HalywardPaths::configFile(home.string())).decode().hotkeys.size(),
              200u);
}

#endif
