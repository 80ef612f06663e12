// Control lines of any bytes decode to a record or fail with a HalywardError, never
// anything else; every decoded record re-encodes as exactly one line that decodes back
// to the same record; and any argument list encodes as one line that a reader accepts.
#include "halyward/base/error.hpp"
#include "halyward/control/rpc_codec.hpp"
#include "halyward/text/text.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

using namespace halyward;

namespace {

void requireOneLine(const std::vector<std::uint8_t>& line) {
    if (line.empty() || line.back() != '\n') __builtin_trap();
    if (std::count(line.begin(), line.end(), '\n') != 1) __builtin_trap();
}

template <class Record>
std::optional<Record> tryDecode(std::string_view text) {
    try {
        return RPCCodec::decode<Record>(text);
    } catch (const HalywardError& error) {
        if (error.exitCode != ExitCode::failed) __builtin_trap();
        return std::nullopt;
    }
}

template <class Record>
void roundTrip(std::string_view text) {
    std::optional<Record> record = tryDecode<Record>(text);
    if (!record) return;
    std::vector<std::uint8_t> line = RPCCodec::encodeLine(*record);
    requireOneLine(line);
    std::optional<Record> again = tryDecode<Record>(
        std::string_view(reinterpret_cast<const char*>(line.data()), line.size()));
    if (!again || !(*again == *record)) __builtin_trap();
}

bool isUTF8(std::string_view s) {
    for (std::size_t pos = 0; pos < s.size();) {
        text::Scalar scalar = text::decodeAt(s, pos);
        if (scalar.value == 0xFFFD && s.substr(pos, scalar.length) != "\xEF\xBF\xBD") return false;
        pos += scalar.length;
    }
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view text(reinterpret_cast<const char*>(data), size);
    roundTrip<RPCRequest>(text);
    roundTrip<RPCResponse>(text);

    // The same bytes as an argument list (split at NUL) and as a response message.
    std::vector<std::string> arguments;
    std::size_t start = 0;
    for (std::size_t i = 0; i <= size; ++i) {
        if (i == size || data[i] == 0) {
            arguments.emplace_back(text.substr(start, i - start));
            start = i + 1;
        }
    }
    RPCRequest request("fuzz", arguments);
    std::vector<std::uint8_t> line = RPCCodec::encodeLine(request);
    requireOneLine(line);
    std::optional<RPCRequest> decoded = tryDecode<RPCRequest>(
        std::string_view(reinterpret_cast<const char*>(line.data()), line.size()));
    if (!decoded || decoded->arguments.size() != arguments.size()) __builtin_trap();
    if (isUTF8(text) && !(*decoded == request)) __builtin_trap();

    RPCResponse response("fuzz", -1, std::string(text), std::string(text));
    line = RPCCodec::encodeLine(response);
    requireOneLine(line);
    if (!tryDecode<RPCResponse>(
            std::string_view(reinterpret_cast<const char*>(line.data()), line.size()))) {
        __builtin_trap();
    }
    return 0;
}
