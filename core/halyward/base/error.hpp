#pragma once
/// The one error type of the library and the fixed process exit statuses.

#include <cstdint>
#include <exception>
#include <string>

namespace halyward {

/// Fixed exit statuses of the command line and the control protocol.
namespace ExitCode {
inline constexpr std::int32_t ok = 0;
inline constexpr std::int32_t usage = 1;
inline constexpr std::int32_t config = 2;
inline constexpr std::int32_t unavailable = 3;
inline constexpr std::int32_t permission = 4;
inline constexpr std::int32_t notFound = 5;
inline constexpr std::int32_t conflict = 6;
inline constexpr std::int32_t cancelled = 7;
inline constexpr std::int32_t failed = 8;
}  // namespace ExitCode

/// A failure with a machine word (`code`), a sentence for the user (`message`) and the
/// exit status that goes with it. Thrown by every module; `what()` is the message alone.
class HalywardError : public std::exception {
public:
    HalywardError(std::string code, std::string message, std::int32_t exitCode);

    static HalywardError usage(std::string message);
    static HalywardError config(std::string message);
    static HalywardError unavailable(std::string message);
    static HalywardError notFound(std::string message);
    static HalywardError conflict(std::string message);
    static HalywardError cancelled(std::string message);
    static HalywardError failed(std::string message);

    /// The text form: the message alone, with no code or prefix.
    const std::string& description() const noexcept { return message; }
    const char* what() const noexcept override { return message.c_str(); }

    bool operator==(const HalywardError& other) const {
        return code == other.code && message == other.message && exitCode == other.exitCode;
    }

    std::string code;
    std::string message;
    std::int32_t exitCode;
};

/// The system's sentence for an errno value (what strerror(3) says), to follow a colon in
/// an error message: "Halyward can't read “…”: Permission denied."
std::string systemReason(int error);

/// The program's version constants.
namespace HalywardVersion {
inline constexpr const char* current = "1.0.1";
inline constexpr std::int64_t configSchema = 1;
}  // namespace HalywardVersion

}  // namespace halyward
