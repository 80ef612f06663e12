#pragma once
/// The one writer of numbers as text, shared by the JSON and TOML writers so that both
/// files and answers carry the same digits for the same value.

#include <cstdint>
#include <string>

namespace halyward {

/// How a double that is not a whole 64-bit value is written.
enum class DoubleNotation {
    /// The shortest text that reads back as the same double, with an exponent when that
    /// is shorter (1e+300): what JSON readers take.
    shortest,
    /// The shortest plain decimal text that reads back as the same double, never with an
    /// exponent, and with ".0" after a whole value beyond the integer range: what a
    /// reader without exponents (and TOML, where "1" would be an integer) takes.
    plain,
};

/// Appends `value` in decimal.
void appendInteger(std::string& into, std::int64_t value);

/// Appends `value`: whole values of magnitude below 2^63 as integers ("3", not "3.0"),
/// NaN and infinities as nan, inf and -inf, and everything else in `notation`.
void appendDouble(std::string& into, double value, DoubleNotation notation);

}  // namespace halyward
