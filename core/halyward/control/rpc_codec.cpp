#include "halyward/control/rpc_codec.hpp"

#include "halyward/base/error.hpp"
#include "halyward/base/json.hpp"
#include "halyward/text/text.hpp"

#include <charconv>
#include <optional>
#include <utility>

namespace halyward {

RPCResponse::RPCResponse(std::string id, const CommandOutput& output)
    : id(std::move(id)),
      exitCode(output.exitCode),
      message(output.message),
      payload(output.payload.canonicalString()) {}

namespace RPCCodec {

namespace {

// Strings on the wire carry the standard encoders' escapes; quoteJSON differs on purpose,
// since its output is what users read.
void appendWireString(std::string& out, std::string_view s) {
    detail::appendQuotedJSON(out, s, detail::JSONQuoting::wire);
}

void appendKey(std::string& out, std::string_view key) {
    appendWireString(out, key);
    out.push_back(':');
}

std::vector<std::uint8_t> finishLine(std::string& text) {
    text.push_back('\n');
    return {text.begin(), text.end()};
}

[[noreturn]] void malformed(std::string_view record, std::string_view why) {
    throw HalywardError::failed("The control message is not a valid " + std::string(record) + ": " +
                                std::string(why) + ".");
}

JSONObject objectOf(std::string_view line, std::string_view record) {
    std::optional<JSONObject> object = JSONValue::parse(line).objectValue();
    if (!object) malformed(record, "it is not a JSON object");
    return std::move(*object);
}

const JSONValue& member(const JSONObject& object, std::string_view key, std::string_view record) {
    auto found = object.find(std::string(key));
    if (found == object.end())
        malformed(record, "the member \"" + std::string(key) + "\" is missing");
    return found->second;
}

std::string stringMember(const JSONObject& object, std::string_view key, std::string_view record) {
    std::optional<std::string> value = member(object, key, record).stringValue();
    if (!value) malformed(record, "the member \"" + std::string(key) + "\" is not a string");
    return std::move(*value);
}

}  // namespace

std::vector<std::uint8_t> encodeLine(const RPCRequest& request) {
    std::string text;
    text.reserve(32 + request.id.size());
    text.push_back('{');
    appendKey(text, "id");
    appendWireString(text, request.id);
    text.push_back(',');
    appendKey(text, "arguments");
    text.push_back('[');
    for (std::size_t i = 0; i < request.arguments.size(); ++i) {
        if (i > 0) text.push_back(',');
        appendWireString(text, request.arguments[i]);
    }
    text += "]}";
    return finishLine(text);
}

std::vector<std::uint8_t> encodeLine(const RPCResponse& response) {
    std::string text;
    text.reserve(64 + response.message.size() + response.payload.size());
    text.push_back('{');
    appendKey(text, "id");
    appendWireString(text, response.id);
    text.push_back(',');
    appendKey(text, "exitCode");
    char digits[24];
    auto written = std::to_chars(digits, digits + sizeof digits, response.exitCode);
    text.append(digits, written.ptr);
    text.push_back(',');
    appendKey(text, "message");
    appendWireString(text, response.message);
    text.push_back(',');
    appendKey(text, "payload");
    appendWireString(text, response.payload);
    text.push_back('}');
    return finishLine(text);
}

template <>
RPCRequest decode<RPCRequest>(std::string_view line) {
    constexpr std::string_view record = "request";
    JSONObject object = objectOf(line, record);
    RPCRequest request;
    request.id = stringMember(object, "id", record);
    std::optional<JSONArray> arguments = member(object, "arguments", record).arrayValue();
    if (!arguments) malformed(record, "the member \"arguments\" is not an array");
    request.arguments.reserve(arguments->size());
    for (JSONValue& argument : *arguments) {
        std::optional<std::string> text = argument.stringValue();
        if (!text) malformed(record, "an element of \"arguments\" is not a string");
        request.arguments.push_back(std::move(*text));
    }
    return request;
}

template <>
RPCResponse decode<RPCResponse>(std::string_view line) {
    constexpr std::string_view record = "response";
    JSONObject object = objectOf(line, record);
    RPCResponse response;
    response.id = stringMember(object, "id", record);
    // A whole number written with a fraction (8.0) still reads, as it does for the
    // platforms' standard decoders; 8.5 or a number beyond 64 bits does not.
    std::optional<std::int64_t> exitCode = member(object, "exitCode", record).intValue();
    if (!exitCode) malformed(record, "the member \"exitCode\" is not a whole number");
    response.exitCode = *exitCode;
    response.message = stringMember(object, "message", record);
    response.payload = stringMember(object, "payload", record);
    return response;
}

}  // namespace RPCCodec

}  // namespace halyward
