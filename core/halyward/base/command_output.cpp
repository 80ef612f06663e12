#include "halyward/base/command_output.hpp"

namespace halyward {

std::string CommandOutput::rendered(bool json) const {
    if (!json) return message;
    JSONObject object{
        {"exitCode", JSONValue(static_cast<std::int64_t>(exitCode))},
        {"message", JSONValue(message)},
        {"ok", JSONValue(ok())},
        {"result", payload},
    };
    return JSONValue(std::move(object)).canonicalString();
}

CommandOutput CommandOutput::fromError(const HalywardError& error) {
    return {error.exitCode, error.message, JSONValue(JSONObject{{"code", JSONValue(error.code)}})};
}

}  // namespace halyward
