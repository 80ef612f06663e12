#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "halyward/base/error.hpp"
#include "halyward/toml/document.hpp"

using namespace halyward;
using namespace std::string_literals;

namespace {

std::string parseError(const std::string& text) {
    try {
        TOMLParser::parse(text);
    } catch (const HalywardError& error) {
        EXPECT_EQ(error, HalywardError::config(error.message));
        return error.message;
    }
    return "(accepted)";
}

TOMLValue integer(std::int64_t value) { return TOMLValue::integer(value); }
TOMLValue string(std::string value) { return TOMLValue::string(std::move(value)); }

}  // namespace

TEST(toml_parser, failures_name_the_line_and_the_problem) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"a = 1\n\n[[apps]]\n", "Config line 3: Halyward's config does not use array tables."},
        {"[general\nx = 1", "Config line 1: A table header is missing ]."},
        {"[ general]", "Config line 1: Expected a key."},
        {"name value", "Config line 1: Expected = after name."},
        {"[t]\n\"a b\" . c value", "Config line 2: Expected = after a b.c."},
        {"x = 1e5", "Config line 1: Expected = after e5."},
        {"x =", "Config line 1: Expected a value."},
        {"x =\n1", "Config line 1: Unsupported value."},
        {"x = tru", "Config line 1: Expected true or false."},
        {"x = \"abc\ny = 1\"", "Config line 1: A string is missing its closing quote."},
        {"x = \"abc\\", "Config line 1: A string ends in a backslash."},
        {"a = 1\nx = \"\"\"abc\n\n",
         "Config line 4: A multiline string is missing its closing quotes."},
        {"x = [\n1,\n# two\n2\n3]", "Config line 5: An array is missing ] ."},
        {"x = {a 1}", "Config line 1: Expected = in an inline table."},
        {"x = {\n a = 1 b = 2 }", "Config line 2: An inline table is missing } ."},
        {"x = -", "Config line 1: \u201C-\u201D is not a number."},
        {"x = 9223372036854775808",
         "Config line 1: \u201C9223372036854775808\u201D is not a number."},
        {"x = \u0661\u0662", "Config line 1: \u201C\u0661\u0662\u201D is not a number."},
        // Infinity could never be written back.
        {"x = 1" + std::string(400, '0') + ".5",
         "Config line 1: \u201C1" + std::string(400, '0') + ".5\u201D is not a number."},
        // Escaped line breaks and line breaks in multi-line strings are lines too.
        {"x = \"a\\\nb\"\ny = \"\"\"\n\n\"\"\"\nz", "Config line 6: Expected = after z."},
        // CR LF and lone CR are line breaks.
        {"a = 1\r\nb = 2\r\n[[x]]", "Config line 3: Halyward's config does not use array tables."},
        {"a = 1\r\rc", "Config line 3: Expected = after c."},
        {"x = " + std::string(100000, '['),
         "Config line 1: Arrays and inline tables are nested more than 256 levels deep."},
    };
    for (const auto& [text, message] : cases)
        EXPECT_EQ(parseError(text), message) << text.substr(0, 60);
}

TEST(toml_parser, statements_become_nodes_and_other_lines_stay_raw) {
    const std::vector<std::pair<std::string, std::vector<TOMLNode>>> cases = {
        {"", {}},
        {"\n# only a comment\n  \t\n", {TOMLNode::raw("\n# only a comment\n  \t\n")}},
        {"[general] # note\n  x=1   #  c  \n\n",
         {TOMLNode::header({"general"}, "# note"),
          TOMLNode::key({"general"}, "x", integer(1), "#  c"), TOMLNode::raw("\n")}},
        {"[t]\na . b = 1",
         {TOMLNode::header({"t"}, ""), TOMLNode::key({"t", "a"}, "b", integer(1), "")}},
        {"\"my key\" = 1\n[apps.\"my site\" ]",
         {TOMLNode::key({}, "my key", integer(1), ""), TOMLNode::header({"apps", "my site"}, "")}},
        {"a = 1 b = true\n  ",
         {TOMLNode::key({}, "a", integer(1), ""),
          TOMLNode::key({}, "b", TOMLValue::boolean(true), ""), TOMLNode::raw("  ")}},
        // A decomposed é stays one character of the bare key.
        {"cafe\u0301-1_\u65E5 = 1", {TOMLNode::key({}, "cafe\u0301-1_\u65E5", integer(1), "")}},
        {"a = 1\r\n# c\r\rb = 2\r",
         {TOMLNode::key({}, "a", integer(1), ""), TOMLNode::raw("# c\n\n"),
          TOMLNode::key({}, "b", integer(2), "")}},
    };
    for (const auto& [text, nodes] : cases) EXPECT_EQ(TOMLParser::parse(text).nodes, nodes) << text;
}

TEST(toml_parser, values_follow_the_subset) {
    const std::vector<std::pair<std::string, TOMLValue>> cases = {
        {R"("a\qb\u0041\"\\\n\t\r")", string("aqbu0041\"\\\n\t\r")},
        {"\"\"\"\nline\"\"\"", string("line")},
        {"\"\"\"a\"\"b\n\\\"\"\"c\"\"\"", string("a\"\"b\n\"\"\"c")},
        {"15", integer(15)},
        {"-9223372036854775808", integer(INT64_MIN)},
        {"1.5", TOMLValue::number(1.5)},
        {"0." + std::string(400, '0') + "1", TOMLValue::number(0.0)},
        {"true", TOMLValue::boolean(true)},
        {"[1, \"a\", [],]", TOMLValue::array({integer(1), string("a"), TOMLValue::array({})})},
        {"{}", TOMLValue::table({})},
        {"{ b = 1, \"a\" = { c = false }, b = 2, }",
         TOMLValue::table({{"b", integer(1)},
                           {"a", TOMLValue::table({{"c", TOMLValue::boolean(false)}})},
                           {"b", integer(2)}})},
        {"{\n  # spans lines\n  a = 1\n}", TOMLValue::table({{"a", integer(1)}})},
    };
    for (const auto& [text, value] : cases) {
        const auto nodes = TOMLParser::parse("x = " + text).nodes;
        ASSERT_EQ(nodes.size(), 1u) << text;
        EXPECT_EQ(nodes[0].asKey()->value, value) << text;
    }
}

TEST(toml_value, int_accessor_takes_whole_doubles_only) {
    const std::vector<std::pair<TOMLValue, std::optional<std::int64_t>>> cases = {
        {integer(-3), -3},
        {TOMLValue::number(2.0), 2},
        {TOMLValue::number(-0.0), 0},
        {TOMLValue::number(2.5), std::nullopt},
        {TOMLValue::number(9223372036854775808.0), std::nullopt},
        {TOMLValue::number(std::nan("")), std::nullopt},
        {string("2"), std::nullopt}};
    for (const auto& [value, expected] : cases)
        EXPECT_EQ(value.intValue(), expected) << renderTOMLValue(value);
}

TEST(toml_parser, hostile_input_gives_a_document_or_a_config_error) {
    std::mt19937 random(7);
    std::string garbage(1 << 16, '\0');
    for (auto& byte : garbage) byte = static_cast<char>(random());
    std::string marks = "k";
    for (int i = 0; i < 1000000; ++i) marks += "\u0301";
    for (const auto& input :
         {garbage, "\xff\xfe = 1\n"s, "a\0b = 1"s, "x = \"" + std::string(10'000'000, 'a') + "\"",
          std::string(10'000'000, '['), std::string(1'000'000, '\r'),
          marks + " = \"" + marks + "\""}) {
        try {
            const std::string rendered = renderTOML(TOMLParser::parse(input));
            EXPECT_EQ(renderTOML(TOMLParser::parse(rendered)), rendered);
        } catch (const HalywardError& error) {
            EXPECT_EQ(error.message.rfind("Config line ", 0), 0u) << error.message;
        }
    }
}

TEST(toml_parser, lossy_places_are_only_what_the_document_drops) {
    using Kind = TOMLLossyPlace::Kind;
    struct Case {
        std::string text;
        std::vector<std::pair<Kind, std::int64_t>> places;  // kind and line
        std::vector<std::string> meanings;                  // of the escapes, in order
    };
    const Case cases[] = {
        // What the reader keeps: the five escapes it knows, "#" inside strings, comments
        // after a value, a quoted key holding a dot.
        {"a = \"\\n\\t\\r\\\\\\\" # no\"\nb = [\"#\", \"x\"] # kept\n\"c.d\" = 1\n", {}, {}},
        {"a = 1\r\nb = \"\\u00E9\"\r\n", {{Kind::escape, 2}}, {"é"}},
        // Escapes naming what the file cannot hold, or nothing whole.
        {"a = \"\\u0007\\uD800\\u12\\U00110000\\x41\\e\"",
         {{Kind::escape, 1},
          {Kind::escape, 1},
          {Kind::escape, 1},
          {Kind::escape, 1},
          {Kind::escape, 1},
          {Kind::escape, 1}},
         {"", "", "", "", "A", ""}},
        {"[t]\na.b.c = [\n# one\n1, # two\n]\n",
         {{Kind::dottedKey, 2}, {Kind::comment, 3}, {Kind::comment, 4}},
         {}},
        {"a = \"\"\"x \\  \t\ny\"\"\"\n", {{Kind::lineContinuation, 1}}, {}},
    };
    for (const Case& c : cases) {
        const std::vector<TOMLLossyPlace> places = TOMLParser::lossyPlaces(c.text);
        std::vector<std::pair<Kind, std::int64_t>> found;
        std::vector<std::string> meanings;
        for (const TOMLLossyPlace& place : places) {
            found.emplace_back(place.kind, place.line);
            if (place.kind == Kind::escape) meanings.push_back(place.meaning);
        }
        EXPECT_EQ(found, c.places) << c.text;
        EXPECT_EQ(meanings, c.meanings) << c.text;
    }
    const TOMLLossyPlace dotted = TOMLParser::lossyPlaces("[t]\na.b.c = 1\n").front();
    EXPECT_EQ(dotted.table, (TOMLPath{"t", "a", "b"}));
    EXPECT_EQ(dotted.key, "c");
    EXPECT_EQ(dotted.written, "a.b.c");
    EXPECT_THROW(TOMLParser::lossyPlaces("a = \"\\u00e9\n"), HalywardError);
}
