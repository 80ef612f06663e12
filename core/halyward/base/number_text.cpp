#include "halyward/base/number_text.hpp"

#include <charconv>
#include <cmath>
#include <string_view>

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

}  // namespace halyward
