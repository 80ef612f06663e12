// Runs the real `halyward` executable, alone and against the stand-in app's control server.
#if defined(HALYWARD_EXECUTABLE) && defined(HALYWARD_STAND_IN_APP)

#include "halyward/config/config_file.hpp"
#include "halyward/control/control_client.hpp"
#include "halyward/control/internal/local_socket.hpp"
#include "halyward/system/paths.hpp"
#include "halyward/system/platform_paths.hpp"

#include "support/scratch_folder.hpp"

#include <gtest/gtest.h>

#include <filesystem>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
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

/// Starts `program` with HOME set, stdin from `stdinFd` (else /dev/null) and stdout to
/// `stdoutFd` when they are given; otherwise stdout and stderr go to files named after
/// `capture`, or nowhere.
pid_t spawn(const std::string& program, const Args& arguments, const std::string& home,
            const std::string& capture = {}, int stdinFd = -1, int stdoutFd = -1) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (stdinFd >= 0) {
        posix_spawn_file_actions_adddup2(&actions, stdinFd, 0);
    } else {
        posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    }
    const std::string out = capture.empty() ? "/dev/null" : capture + ".out";
    const std::string err = capture.empty() ? "/dev/null" : capture + ".err";
    if (stdoutFd >= 0) {
        posix_spawn_file_actions_adddup2(&actions, stdoutFd, 1);
    } else {
        posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                         0644);
    }
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
        // The executable runs with HOME alone, so no runtime folder: the fallback.
        return platformPaths(hostPathConvention(), PathEnvironment{home.string(), {}, {}, {}},
                             localSocketPathLimit())
            .socketFile;
    }
};

/// The stand-in app, serving at the home's socket until destroyed.
struct StandInApp {
    pid_t pid = -1;
    int input = -1;

    StandInApp(const fs::path& home, const std::string& socket) {
        // Close-on-exec: the app must hold neither its own input's write end nor its
        // output's read end, or the ends would never close. (macOS has no pipe2.)
        int in[2], out[2];
        EXPECT_EQ(::pipe(in), 0);
        EXPECT_EQ(::pipe(out), 0);
        for (int end : {in[0], in[1], out[0], out[1]}) ::fcntl(end, F_SETFD, FD_CLOEXEC);
        pid = spawn(HALYWARD_STAND_IN_APP, {socket}, home.string(), (home / "stand-in").string(),
                    in[0], out[1]);
        ::close(in[0]);
        ::close(out[1]);
        input = in[1];
        // It says "ready" once it listens, or ends its output when it fails to start.
        char ready[6] = {};
        EXPECT_EQ(::read(out[0], ready, sizeof ready), 6);
        EXPECT_EQ(std::string(ready, 6), "ready\n");
        ::close(out[0]);
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
        {{"frobnicate"}, ExitCode::usage, "", "Unknown command frobnicate. Try halyward help.\n"},
        {{"--json", "--timeout", "0", "ping"},
         1,
         "{\"exitCode\":1,\"message\":\"--timeout needs a positive number of seconds.\",\"ok\":false,"
         "\"result\":{\"code\":\"usage\"}}\n",
         ""},
        {{"app", "remove", "Mail"}, ExitCode::cancelled, "", "Pass --yes to confirm.\n"},
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
    const UniqueFd listener = detail::makeLocalSocket();
    ASSERT_EQ(detail::bindLocalSocket(listener.get(), socket), 0);
    ASSERT_EQ(::listen(listener.get(), 4), 0);  // listens, never accepts, never answers
    const Result result = halyward({"--timeout", "0.3", "ping"});
    EXPECT_EQ(result.exitCode, ExitCode::unavailable);
    EXPECT_EQ(result.err, "Halyward did not answer within 0.3 seconds.\n");
}

TEST_F(ExeFixture, text_output_shows_terminal_commands_and_json_keeps_them_exact) {
    // An app name that would set the terminal's title and clear the screen.
    const std::string name = "Mail\x1b]0;owned\x07\x1b[2J\x7fX";
    writeFile(HalywardPaths::configFile(home.string()),
              "[apps.mail]\nurl = \"https://mail.example\"\nname = \"" + name + "\"\n");
    const Result text = halyward({"config", "show"});
    EXPECT_EQ(text.exitCode, ExitCode::ok);
    EXPECT_EQ(text.out.find_first_of("\x1b\x07\x7f"), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("name = \"Mail\\x1b]0;owned\\x07\\x1b[2J\\x7fX\"\n"), std::string::npos)
        << text.out;

    const Result json = halyward({"--json", "config", "show"});
    EXPECT_NE(json.out.find("\"name\":\"Mail\\u001b]0;owned\\u0007\\u001b[2J\x7fX\""),
              std::string::npos)
        << json.out;
}

TEST_F(ExeFixture, talks_to_a_real_control_server) {
    const std::string socket = socketPath();
    StandInApp app(home, socket);

    const Result ping = halyward({"--json", "ping"});
    EXPECT_EQ(ping.exitCode, ExitCode::ok);
    EXPECT_EQ(
        ping.out,
        "{\"exitCode\":0,\"message\":\"pong\",\"ok\":true,\"result\":{\"version\":\"1.0.1\"}}\n");
    // The app's refusal reaches the terminal as the command line's own.
    const Result tile = halyward({"tile", "com.example.x", "left"});
    EXPECT_EQ(tile.exitCode, ExitCode::unavailable);
    EXPECT_NE(tile.err.find("window manager"), std::string::npos) << tile.err;
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
