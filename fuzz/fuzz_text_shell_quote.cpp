// split() must accept any bytes, and quoting any list of non-empty arguments must split
// back into the same list.
#include "halyward/text/shell_quote.hpp"

#include <cstdint>
#include <cstdlib>
#include <string_view>

using namespace halyward;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);

    const std::vector<std::string> typed = ShellQuote::split(input);
    for (const auto& argument : typed) {
        if (argument.empty()) abort();
    }
    if (ShellQuote::split(ShellQuote::command(typed)) != typed) abort();

    // The input cut at NUL bytes gives a list of raw arguments with every byte possible.
    std::vector<std::string> raw;
    for (std::size_t start = 0; start <= size;) {
        std::size_t end = input.find('\0', start);
        if (end == std::string_view::npos) end = size;
        if (end > start) raw.emplace_back(input.substr(start, end - start));
        start = end + 1;
    }
    if (ShellQuote::split(ShellQuote::command(raw)) != raw) abort();
    return 0;
}
