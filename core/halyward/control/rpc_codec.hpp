#pragma once
/// The wire format of the control protocol between the command line and the running
/// menu-bar app: one JSON object per line. The command line sends its argument list as an
/// `RPCRequest`; the app answers with the command's output as an `RPCResponse`.

#include "halyward/base/command_output.hpp"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace halyward {

/// One request: the sender's id and the command-line arguments after the program name,
/// global flags included.
struct RPCRequest {
    std::string id;
    std::vector<std::string> arguments;

    RPCRequest() = default;
    RPCRequest(std::string id, std::vector<std::string> arguments)
        : id(std::move(id)), arguments(std::move(arguments)) {}

    bool operator==(const RPCRequest&) const = default;
};

/// One answer: the request's id and the command's output, its payload carried as compact
/// JSON text ("null" when the command has none).
struct RPCResponse {
    std::string id;
    std::int64_t exitCode = 0;
    std::string message;
    std::string payload = "null";

    RPCResponse() = default;
    RPCResponse(std::string id, std::int64_t exitCode, std::string message, std::string payload)
        : id(std::move(id)),
          exitCode(exitCode),
          message(std::move(message)),
          payload(std::move(payload)) {}
    /// The answer for `output`: its exit status, its message and its payload written by
    /// `JSONValue::write`.
    RPCResponse(std::string id, const CommandOutput& output);

    bool operator==(const RPCResponse&) const = default;
};

namespace RPCCodec {

/// The JSON object of the record, members in the order id, arguments (or id, exitCode,
/// message, payload), with no blanks, then one line feed. Strings escape "/" as "\/"; any
/// byte that is not UTF-8 is sent as U+FFFD, so the line is always valid JSON and holds no
/// line feed but its last byte.
std::vector<std::uint8_t> encodeLine(const RPCRequest& request);
std::vector<std::uint8_t> encodeLine(const RPCResponse& response);

/// Reads one line into a record. Members may come in any order, unknown members are
/// ignored and white space (a trailing CR LF included) may surround the object; every
/// member of the record is required. Throws HalywardError::failed when the text is not
/// JSON or not of the record's shape.
template <class Record>
Record decode(std::string_view line);

template <>
RPCRequest decode<RPCRequest>(std::string_view line);
template <>
RPCResponse decode<RPCResponse>(std::string_view line);

/// The same for a line held as bytes.
template <class Record>
Record decode(const std::vector<std::uint8_t>& line) {
    return decode<Record>(
        std::string_view(reinterpret_cast<const char*>(line.data()), line.size()));
}

}  // namespace RPCCodec

}  // namespace halyward
