#include "halyward/control/rpc_codec.hpp"
#include "halyward/base/error.hpp"

#include <gtest/gtest.h>
#include <boost/json/parse.hpp>

#include <algorithm>
#include <string>

using namespace halyward;

namespace {

std::string text(const std::vector<std::uint8_t>& bytes) { return {bytes.begin(), bytes.end()}; }

}  // namespace

TEST(rpc_codec, encodes_one_compact_line_in_member_order) {
    EXPECT_EQ(text(RPCCodec::encodeLine(RPCRequest("1", {"--json", "app", "list"}))),
              "{\"id\":\"1\",\"arguments\":[\"--json\",\"app\",\"list\"]}\n");
    EXPECT_EQ(text(RPCCodec::encodeLine(RPCRequest("", {}))), "{\"id\":\"\",\"arguments\":[]}\n");

    CommandOutput failure = CommandOutput::fromError(HalywardError::notFound("No app “Mail”."));
    EXPECT_EQ(
        text(RPCCodec::encodeLine(RPCResponse("7", failure))),
        R"({"id":"7","exitCode":5,"message":"No app “Mail”.","payload":"{\"code\":\"not_found\"}"})"
        "\n");
    EXPECT_EQ(RPCResponse("7", CommandOutput{0, "Done.", JSONValue()}).payload, "null");
}

TEST(rpc_codec, escapes_so_no_raw_line_break_reaches_the_wire) {
    const std::string awkward = std::string("a/b\n\r\t\b\f\x01\"\\\xC3\xA9\0z", 15);
    std::string line = text(RPCCodec::encodeLine(RPCRequest(awkward, {awkward})));
    EXPECT_EQ(line.substr(0, line.find(",\"arguments\"")),
              "{\"id\":\"a\\/b\\n\\r\\t\\b\\f\\u0001\\\"\\\\\xC3\xA9\\u0000z\"");
    EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), 1);
    EXPECT_EQ(line.back(), '\n');
    EXPECT_NO_THROW(boost::json::parse(line));  // a standard reader accepts it

    // Bytes that are not UTF-8 travel as U+FFFD rather than breaking the line.
    std::string invalid = text(RPCCodec::encodeLine(RPCRequest("\xFF", {"\xC3"})));
    EXPECT_EQ(invalid, "{\"id\":\"\xEF\xBF\xBD\",\"arguments\":[\"\xEF\xBF\xBD\"]}\n");
}

TEST(rpc_codec, decodes_what_it_encodes_and_members_in_any_order) {
    const RPCRequest requests[] = {
        RPCRequest("id/1", {"app", "add", "https://x.example/a?b=c", "--name", "Ünïcode ✓", ""}),
        RPCRequest(std::string("\0", 1), {std::string("tab\there\nline", 13)}),
    };
    for (const auto& request : requests)
        EXPECT_EQ(RPCCodec::decode<RPCRequest>(RPCCodec::encodeLine(request)), request);
    const RPCResponse responses[] = {
        RPCResponse(
            "9", CommandOutput{8, "It \"failed\"\\.", JSONValue(JSONObject{{"code", "failed"}})}),
        RPCResponse("x", INT64_MIN, "", "[1,\"a/b\"]"),
    };
    for (const auto& response : responses)
        EXPECT_EQ(RPCCodec::decode<RPCResponse>(RPCCodec::encodeLine(response)), response);
    EXPECT_EQ(
        RPCCodec::decode<RPCRequest>(" {\"arguments\":[\"ping\"],\"id\":\"2\",\"extra\":true}\r\n"),
        RPCRequest("2", {"ping"}));
    EXPECT_EQ(RPCCodec::decode<RPCResponse>(
                  "{\"payload\":\"null\",\"message\":\"ok\",\"exitCode\":3.0,\"id\":\"a\"}\n"),
              RPCResponse("a", 3, "ok", "null"));
}

TEST(rpc_codec, refuses_lines_of_the_wrong_shape) {
    const char* requests[] = {
        "\n",
        "[]",
        "{\"id\":\"1\"}",
        "{\"arguments\":[]}",
        "{\"id\":null,\"arguments\":[]}",
        "{\"id\":\"1\",\"arguments\":\"ping\"}",
        "{\"id\":\"1\",\"arguments\":[\"ping\",2]}",
        "{\"id\":\"1\",\"arguments\":[]} {}",
        "{\"id\":\"\xFF\",\"arguments\":[]}",
        "{\"id\":\"\\ud800\",\"arguments\":[]}",
        "{\"id\":\"1\",\"arguments\":[]",
    };
    for (const char* line : requests)
        EXPECT_THROW(RPCCodec::decode<RPCRequest>(std::string_view(line)), HalywardError) << line;
    const char* responses[] = {
        "{\"id\":\"1\",\"exitCode\":0,\"message\":\"m\"}",
        "{\"id\":\"1\",\"exitCode\":0.5,\"message\":\"m\",\"payload\":\"null\"}",
        "{\"id\":\"1\",\"exitCode\":\"0\",\"message\":\"m\",\"payload\":\"null\"}",
        "{\"id\":\"1\",\"exitCode\":1e30,\"message\":\"m\",\"payload\":\"null\"}",
        "{\"id\":\"1\",\"exitCode\":0,\"message\":\"m\",\"payload\":null}",
    };
    for (const char* line : responses)
        EXPECT_THROW(RPCCodec::decode<RPCResponse>(std::string_view(line)), HalywardError) << line;
}
