#pragma once
/// The one reader and the one writer of numbers as text, shared by the JSON and TOML code
/// and the command line, so that files and answers carry the same digits for the same value
/// and every number is read the same way.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace halyward {

/// How a double that is not a whole 64-bit value is written, and which texts are read.
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

/// Reads the whole of `text` as a double: an optional "-", decimal digits with an optional
/// fraction (".5" and "5." included) and, in `DoubleNotation::shortest` only, an optional
/// exponent; or inf, infinity or nan in any case. A "+" is not taken. The value is rounded
/// to the nearest double, so one beyond the range of doubles reads as an infinity or as a
/// zero of its sign. std::nullopt unless all of `text` is such a number.
std::optional<double> readDouble(std::string_view text, DoubleNotation notation);

}  // namespace halyward
