// Argument lists of any bytes (the input split at NUL bytes) must either parse or fail
// with a usage error, the same way every time, and a leading --json must change nothing
// but the json flag.
#include "halyward/base/error.hpp"
#include "halyward/commands/command_parser.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <variant>
#include <vector>

using namespace halyward;

namespace {

using Outcome = std::variant<Invocation, HalywardError>;

Outcome run(const std::vector<std::string>& arguments) {
    try {
        return CommandParser::parse(arguments);
    } catch (const HalywardError& error) {
        if (error.code != "usage" || error.exitCode != ExitCode::usage || error.message.empty()) {
            __builtin_trap();
        }
        return error;
    }
    // Any other exception escapes and libFuzzer reports it.
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<std::string> arguments;
    std::string current;
    for (std::size_t i = 0; i < size; ++i) {
        if (data[i] == 0) {
            arguments.push_back(std::move(current));
            current.clear();
        } else {
            current.push_back(static_cast<char>(data[i]));
        }
    }
    if (size > 0) arguments.push_back(std::move(current));

    Outcome first = run(arguments);
    if (!(run(arguments) == first)) __builtin_trap();

    std::vector<std::string> flagged{"--json"};
    flagged.insert(flagged.end(), arguments.begin(), arguments.end());
    Outcome second = run(flagged);
    if (auto* invocation = std::get_if<Invocation>(&first)) {
        Invocation expected = *invocation;
        expected.json = true;
        if (!(second == Outcome(expected))) __builtin_trap();
    } else if (!(second == first)) {
        __builtin_trap();
    }
    return 0;
}
