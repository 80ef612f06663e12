#include "halyward/system/paths.hpp"

#include <gtest/gtest.h>

#include <string>

using namespace halyward;

TEST(paths, socket_falls_back_only_when_the_preferred_path_exceeds_the_limit_in_bytes) {
    EXPECT_EQ(HalywardPaths::configFile("/Users/ann"), "/Users/ann/.config/halyward/config.toml");
    // "Zoë" and "东京" take more bytes than characters: the limit counts bytes.
    for (const std::string home :
         {"/home/ann", "/home/Zo\xC3\xAB", "/home/\xE4\xB8\x9C\xE4\xBA\xAC"}) {
        const std::string preferred = HalywardPaths::socketFile(home);
        const std::string fallback = HalywardPaths::fallbackSocketFile(home);
        EXPECT_EQ(preferred, home + "/Library/Application Support/Halyward/halyward.sock");
        EXPECT_EQ(fallback, home + "/.config/halyward/halyward.sock");
        const auto bytes = static_cast<std::int64_t>(preferred.size());
        EXPECT_EQ(HalywardPaths::resolvedSocketFile(home, bytes), preferred) << home;
        EXPECT_EQ(HalywardPaths::resolvedSocketFile(home, bytes - 1), fallback) << home;
        EXPECT_EQ(HalywardPaths::resolvedSocketFile(home, -1), fallback) << home;
    }
}
