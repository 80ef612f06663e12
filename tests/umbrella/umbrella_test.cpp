#include <halyward/core.hpp>

#include <gtest/gtest.h>

// Compiling this file is most of the test: the umbrella header must stand on its own and
// its modules must link together into one program.
TEST(umbrella, exposes_every_module) {
    using namespace halyward;
    EXPECT_EQ(HalywardError::notFound("x").exitCode, ExitCode::notFound);
    EXPECT_EQ(HotkeyParser::parse("cmd+opt+M").canonical(), "opt+cmd+m");
    EXPECT_EQ(ConfigFile::makeDefault().decode().general.tileHotkeys.size(), 27u);
    EXPECT_EQ(decideLink("https://a.example", "mailto:x@a.example", false, true,
                         LinkActivation::userLink),
              LinkDecision::openExternally);
    EXPECT_EQ(CommandParser::parse({"--json", "version"}).json, true);
}
