#include "halyward/system/platform_paths.hpp"

#include <gtest/gtest.h>

#include <string>

using namespace halyward;

namespace {

constexpr std::int64_t kLimit = 107;

}  // namespace

TEST(platform_paths, each_convention_places_the_socket_and_the_state_where_its_users_look) {
    struct Case {
        const char* name;
        PathConvention convention;
        PathEnvironment environment;
        std::int64_t limit;
        const char* socket;
        const char* state;
    };
    const std::string longRuntime = "/run/" + std::string(90, 'r');
    const Case cases[] = {
        // macOS ignores the XDG variables and keeps its one folder.
        {"mac",
         PathConvention::macOS,
         {"/Users/ann", "/run/user/501", "/s", ""},
         kLimit,
         "/Users/ann/Library/Application Support/Halyward/halyward.sock",
         "/Users/ann/Library/Application Support/Halyward"},
        {"mac, long home",
         PathConvention::macOS,
         {"/Users/" + std::string(80, 'a'), "", "", ""},
         kLimit,
         nullptr,
         nullptr},
        {"xdg",
         PathConvention::xdg,
         {"/home/ann", "/run/user/1000", "/home/ann/state", "/c"},
         kLimit,
         "/run/user/1000/halyward/halyward.sock",
         "/home/ann/state/halyward"},
        {"xdg, trailing slashes",
         PathConvention::xdg,
         {"/home/ann", "/run/user/1000//", "/st/", ""},
         kLimit,
         "/run/user/1000/halyward/halyward.sock",
         "/st/halyward"},
        {"xdg, nothing set",
         PathConvention::xdg,
         {"/home/ann", "", "", ""},
         kLimit,
         "/home/ann/.config/halyward/halyward.sock",
         "/home/ann/.local/state/halyward"},
        {"xdg, relative values are ignored",
         PathConvention::xdg,
         {"/home/ann", "run/user/1000", "state", ""},
         kLimit,
         "/home/ann/.config/halyward/halyward.sock",
         "/home/ann/.local/state/halyward"},
        {"xdg, runtime folder too long for a socket",
         PathConvention::xdg,
         {"/home/ann", longRuntime, "", ""},
         kLimit,
         "/home/ann/.config/halyward/halyward.sock",
         "/home/ann/.local/state/halyward"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const PlatformPaths paths = platformPaths(c.convention, c.environment, c.limit);
        const std::string& home = c.environment.home;
        EXPECT_EQ(paths.configFile, home + "/.config/halyward/config.toml");
        if (c.socket == nullptr) {
            EXPECT_EQ(paths.socketFile, home + "/.config/halyward/halyward.sock");
            continue;
        }
        EXPECT_EQ(paths.socketFile, c.socket);
        EXPECT_EQ(paths.stateDirectory, c.state);
        EXPECT_EQ(paths.updateStampFile, std::string(c.state) + "/update-check.json");
        EXPECT_EQ(paths.commandFile, std::string(c.state) + "/agent.command");
        if (c.convention == PathConvention::macOS) {
            EXPECT_EQ(paths.autostartFile, "");
        } else {
            // Only the autostart folder follows XDG_CONFIG_HOME.
            EXPECT_EQ(
                paths.autostartFile,
                (c.environment.configHome.empty() ? home + "/.config" : c.environment.configHome) +
                    "/autostart/app.halyward.Halyward.desktop");
            for (const std::string* path : {&paths.socketFile, &paths.stateDirectory})
                EXPECT_EQ(path->find("/Library/"), std::string::npos) << *path;
        }
    }
}

TEST(platform_paths, a_runtime_socket_exactly_at_the_limit_stays_there) {
    const PathEnvironment environment{"/home/ann", "/run/user/1000", "", ""};
    const std::string preferred = "/run/user/1000/halyward/halyward.sock";
    const auto bytes = static_cast<std::int64_t>(preferred.size());
    EXPECT_EQ(platformPaths(PathConvention::xdg, environment, bytes).socketFile, preferred);
    EXPECT_EQ(platformPaths(PathConvention::xdg, environment, bytes - 1).socketFile,
              "/home/ann/.config/halyward/halyward.sock");
}
