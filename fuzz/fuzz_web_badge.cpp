// Any title must give an answer quickly, and a count at the very start always wins.
#include "halyward/web/badge.hpp"

#include <cstdint>
#include <cstdlib>
#include <string>

using namespace halyward;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string title(reinterpret_cast<const char*>(data), size);
    if (const auto count = badgeCount(title); count && *count < 0) abort();
    const std::int64_t prefix = static_cast<std::int64_t>(size) * 37;
    if (badgeCount("(" + std::to_string(prefix) + ")" + title) != prefix) abort();
    return 0;
}
