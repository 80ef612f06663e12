#include "halyward/base/number_text.hpp"

#include <fast_float/fast_float.h>

#include <charconv>
#include <cmath>
#include <system_error>

namespace halyward {

namespace {

constexpr double twoTo63 = 9223372036854775808.0;

bool isWholeInt64(double value) { return std::trunc(value) == value && std::fabs(value) < twoTo63; }

}  // namespace

void appendInteger(std::string& into, std::int64_t value) {
    char buffer[24];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    into.append(buffer, result.ptr);
}

// Doubles are written by std::to_chars: the shortest round trip by the standard's own
// definition, the same text on every platform, and no printing algorithm of ours to get
// wrong. Apple's libc++ has its floating-point overloads from macOS 13.3 (Xcode 14.3) on;
// the build targets macOS 14.0, as the bundles' LSMinimumSystemVersion does, so they are
// there. A formatting library would add a dependency without keeping this output: fmt and
// double-conversion choose between plain and exponent form by fixed thresholds, where
// std::to_chars takes whichever is shorter.
void appendDouble(std::string& into, double value, DoubleNotation notation) {
    if (std::isnan(value)) {
        into += "nan";
    } else if (std::isinf(value)) {
        into += value < 0 ? "-inf" : "inf";
    } else if (isWholeInt64(value)) {
        appendInteger(into, static_cast<std::int64_t>(value));
    } else if (notation == DoubleNotation::shortest) {
        char buffer[32];
        const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
        into.append(buffer, result.ptr);
    } else {
        // At most 309 digits before the point or about 340 after it.
        char buffer[512];
        const auto result =
            std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
        const std::string_view written(buffer, static_cast<std::size_t>(result.ptr - buffer));
        into += written;
        if (written.find('.') == std::string_view::npos) into += ".0";
    }
}

// fast_float rather than std::from_chars: the floating-point overloads of std::from_chars
// are missing from Apple's libc++ (and LLVM's before version 20). fast_float rounds
// correctly as the standard requires. Its releases differ in how they report a value out
// of range (older ones say nothing, newer ones result_out_of_range), but all of them store
// the rounded infinity or zero, which is what this reader promises.
std::optional<double> readDouble(std::string_view text, DoubleNotation notation) {
    const char* const first = text.data();
    const char* const last = first + text.size();
    const auto format = notation == DoubleNotation::shortest ? fast_float::chars_format::general
                                                             : fast_float::chars_format::fixed;
    double value = 0;
    const auto result = fast_float::from_chars(first, last, value, format);
    if (result.ptr != last || first == last) return std::nullopt;
    if (result.ec != std::errc() && result.ec != std::errc::result_out_of_range)
        return std::nullopt;
    return value;
}

}  // namespace halyward
