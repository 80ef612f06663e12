#include "halyward/base/number_text.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <random>
#include <string>

using namespace halyward;

namespace {

constexpr auto shortest = DoubleNotation::shortest;
constexpr auto plain = DoubleNotation::plain;
constexpr double inf = std::numeric_limits<double>::infinity();

std::string written(double value, DoubleNotation notation) {
    std::string text;
    appendDouble(text, value, notation);
    return text;
}

// Equal as doubles go, with -0.0 apart from 0.0 and NaN equal to NaN.
bool same(std::optional<double> a, std::optional<double> b) {
    if (!a || !b) return a.has_value() == b.has_value();
    if (std::isnan(*a) || std::isnan(*b)) return std::isnan(*a) && std::isnan(*b);
    return *a == *b && std::signbit(*a) == std::signbit(*b);
}

}  // namespace

TEST(number_text, writes_the_shortest_text_in_either_notation) {
    struct Case {
        double value;
        std::string shortest, plain;
    };
    const Case cases[] = {
        {0.1, "0.1", "0.1"},
        {1e-7, "1e-07", "0.0000001"},
        {-2.5e-8, "-2.5e-08", "-0.000000025"},
        {1.25e20, "1.25e+20", "125000000000000000000.0"},
        // Beyond the integer range the plain form is the double's exact value, not the
        // shortest digits padded with zeros.
        {1e23, "1e+23", "99999999999999991611392.0"},
        {5e-324, "5e-324", "0." + std::string(323, '0') + "5"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(written(c.value, shortest), c.shortest);
        EXPECT_EQ(written(c.value, plain), c.plain);
    }
}

TEST(number_text, reads_whole_texts_of_its_notation_only) {
    struct Case {
        std::string text;
        DoubleNotation notation;
        std::optional<double> value;
    };
    const Case cases[] = {
        {"1.5", plain, 1.5},
        {"-0.0", plain, -0.0},
        {".5", plain, 0.5},
        {"1e300", shortest, 1e300},
        {"1e300", plain, std::nullopt},
        {"1.5E-3", shortest, 1.5e-3},
        // Correct rounding: halfway between two doubles, and just past it.
        {"9007199254740993", shortest, 9007199254740992.0},
        {"9007199254740993.000000000000000000001", plain, 9007199254740994.0},
        {"2.4703282292062328e-324", shortest, 5e-324},
        // Out of range: the nearest double, an infinity or a zero of the sign.
        {"1e400", shortest, inf},
        {"-1" + std::string(400, '0') + ".5", plain, -inf},
        {"-1e-400", shortest, -0.0},
        // What the writer writes for the values that are not numbers reads back.
        {"nan", shortest, std::numeric_limits<double>::quiet_NaN()},
        {"-inf", plain, -inf},
        {"", shortest, std::nullopt},
        {"+1", shortest, std::nullopt},
        {" 1", shortest, std::nullopt},
        {"1.5x", shortest, std::nullopt},
        {"0x10", shortest, std::nullopt},
        {"-", plain, std::nullopt},
    };
    for (const auto& c : cases) {
        EXPECT_TRUE(same(readDouble(c.text, c.notation), c.value)) << c.text.substr(0, 40);
    }
}

TEST(number_text, every_double_reads_back_from_what_is_written) {
    std::mt19937_64 random(20261125);
    for (int i = 0; i < 20000; ++i) {
        const std::uint64_t bits = random();
        double value = 0;
        std::memcpy(&value, &bits, sizeof value);
        for (const auto notation : {shortest, plain}) {
            const std::string text = written(value, notation);
            ASSERT_TRUE(same(readDouble(text, notation), value == 0 ? 0.0 : value)) << text;
        }
    }
}
