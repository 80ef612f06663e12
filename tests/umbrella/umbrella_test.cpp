#include <halyward/core.hpp>

#include <gtest/gtest.h>

// Compiling this file is the test: the umbrella header must stand on its own.
TEST(umbrella, exposes_the_library) {
    EXPECT_EQ(halyward::HalywardError::notFound("x").exitCode, halyward::ExitCode::notFound);
}
