#pragma once
/// The result of one command: exit status, a sentence for the user, a structured payload.

#include "halyward/base/error.hpp"
#include "halyward/base/json.hpp"

#include <cstdint>
#include <string>

namespace halyward {

struct CommandOutput {
    std::int32_t exitCode = ExitCode::ok;
    std::string message;
    JSONValue payload;

    bool ok() const { return exitCode == ExitCode::ok; }

    /// What the command line writes to standard output: the message, or with `json` the
    /// object {"exitCode":…,"message":…,"ok":…,"result":…}.
    std::string rendered(bool json) const;

    /// The output a thrown error becomes: its status, its message, {"code": its code}.
    static CommandOutput fromError(const HalywardError& error);

    bool operator==(const CommandOutput&) const = default;
};

}  // namespace halyward
