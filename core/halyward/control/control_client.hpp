#pragma once
/// The command line's side of the control socket: one request line out, one response
/// line back, within a time limit.

#include "halyward/base/command_output.hpp"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace halyward {

/// The longest socket path, in UTF-8 bytes, that a local socket address holds on this
/// system (the address field less its terminating NUL). Pass it as `pathLimit` to
/// `HalywardPaths::resolvedSocketFile`.
std::size_t controlSocketPathLimit();

namespace ControlClient {

/// Asks the running app to run `arguments` and returns its output. Waits at most
/// `timeoutSeconds` in all (connecting, writing and reading); an infinite value waits
/// for as long as it takes, zero, negative or NaN only takes an answer that is already
/// there. Throws HalywardError::unavailable("Halyward is not running.") when nothing
/// listens at `socketPath`, HalywardError::unavailable when no answer comes in time, and
/// HalywardError::failed when the answer cannot be read or belongs to another request.
CommandOutput send(const std::string& socketPath, const std::vector<std::string>& arguments,
                   double timeoutSeconds);

}  // namespace ControlClient

}  // namespace halyward
