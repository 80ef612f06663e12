#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "halyward/toml/document.hpp"

using namespace halyward;

namespace {

std::string normalised(const std::string& text) { return renderTOML(TOMLParser::parse(text)); }

}  // namespace

TEST(toml_render, statements_are_written_in_normal_form) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"x=1", "x = 1\n"},
        {"x = 1.50", "x = 1.5\n"},
        {"x = 2.0", "x = 2\n"},
        {"x = -0.0", "x = 0\n"},
        {"x = 0.0000001", "x = 0.0000001\n"},
        {"x = 10000000000000000000.0", "x = 10000000000000000000.0\n"},
        {"x = [ 1,2 ]", "x = [1, 2]\n"},
        {"t = {a=1}", "t = { a = 1 }\n"},
        {"t = { \"a.b\" = [], c = {} }", "t = { \"a.b\" = [], c = {  } }\n"},
        {"  [a . \"b\" ]   #  c  \n", "[a.b] #  c\n"},
        {"tile_gap = 8   #  roomy  ", "tile_gap = 8 #  roomy\n"},
        {"\"ctrl+opt+m\" = 1\n\"plain\" = 2\n\"\" = 3\n\"caf\u00E9-1_x\" = 4",
         "\"ctrl+opt+m\" = 1\nplain = 2\n\"\" = 3\ncaf\u00E9-1_x = 4\n"},
        {"[t]\na.b = 1", "[t]\nb = 1\n"},
        {"x = \"a\\tb\\\"c\\r\\\\\"", "x = \"a\\tb\\\"c\\r\\\\\"\n"},
        {"x = \"a\\nb\"", "x = \"\"\"\na\nb\"\"\"\n"},
        {"a = 1 # c\r\n\r\n# keep   \r\n", "a = 1 # c\n\n# keep   \n"},
    };
    for (const auto& [text, rendered] : cases) EXPECT_EQ(normalised(text), rendered) << text;
}

// Whatever a string or key holds, writing it and reading it back gives it back.
TEST(toml_render, strings_and_keys_read_back_unchanged) {
    const std::vector<std::string> texts = {
        "",
        "plain",
        "a\nb",
        "\n",
        "ends with quote\n\"",
        "two\n\"\"",
        "five\"\"\"\"\"x\n",
        "back\\slash\n\\",
        "cr\r\nlf",
        "\"\u0301 mark after quote",
        "\u0301leading mark\nx",
        "ends in prepend \u0600",
        "prepend \u0600\\",
        "tab\t\u0301 cr\r\u0301",
        "lf\n\u0301 cr\r\u0301",
        "caf\u00E9 \U0001F600 \u65E5\u672C",
        std::string("nul\0byte", 8),
        "\xff\xfe invalid",
        "key.with.dots",
        "-_",
        "\u0D4E",
        "a\u0D4E",
    };
    for (const auto& text : texts) {
        TOMLDocument document;
        document.set({"t", text}, text, TOMLValue::string(text));
        const std::string rendered = renderTOML(document);
        const auto nodes = TOMLParser::parse(rendered).nodes;
        ASSERT_EQ(nodes.size(), 2u) << rendered;
        EXPECT_EQ(nodes[0].asHeader()->path, (TOMLPath{"t", text})) << rendered;
        EXPECT_EQ(nodes[1].asKey()->key, text) << rendered;
        EXPECT_EQ(*nodes[1].asKey()->value.stringValue(), text) << rendered;
    }
}
