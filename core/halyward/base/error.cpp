#include "halyward/base/error.hpp"

#include <system_error>
#include <utility>

namespace halyward {

HalywardError::HalywardError(std::string code, std::string message, std::int32_t exitCode)
    : code(std::move(code)), message(std::move(message)), exitCode(exitCode) {}

HalywardError HalywardError::usage(std::string message) {
    return {"usage", std::move(message), ExitCode::usage};
}
HalywardError HalywardError::config(std::string message) {
    return {"config", std::move(message), ExitCode::config};
}
HalywardError HalywardError::unavailable(std::string message) {
    return {"unavailable", std::move(message), ExitCode::unavailable};
}
HalywardError HalywardError::notFound(std::string message) {
    return {"not_found", std::move(message), ExitCode::notFound};
}
HalywardError HalywardError::conflict(std::string message) {
    return {"conflict", std::move(message), ExitCode::conflict};
}
HalywardError HalywardError::cancelled(std::string message) {
    return {"cancelled", std::move(message), ExitCode::cancelled};
}
HalywardError HalywardError::failed(std::string message) {
    return {"failed", std::move(message), ExitCode::failed};
}

std::string systemReason(int error) { return std::generic_category().message(error); }

}  // namespace halyward
