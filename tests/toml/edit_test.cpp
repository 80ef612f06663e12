#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "halyward/toml/document.hpp"

using namespace halyward;

namespace {

struct EditCase {
    std::string name;
    std::string before;
    std::function<void(TOMLDocument&)> edit;
    std::string after;
};

const std::string apps =
    "[apps.mail]\nurl = \"https://mail.example\" # inbox\n\n# News comes next.\n"
    "[apps.news]\nurl = \"https://news.example\"\n\n[apps.mail.extra]\nx = 1\n";

TOMLValue bundle(const char* id) { return TOMLValue::table({{"bundle", TOMLValue::string(id)}}); }

}  // namespace

TEST(toml_edit, edits_touch_only_what_they_concern) {
    const std::vector<EditCase> cases = {
        {"set keeps the line and its comment", "tile_gap = 8   #  roomy  \nz = 1\n",
         [](auto& d) { d.set({}, "tile_gap", TOMLValue::number(16)); },
         "tile_gap = 16 #  roomy\nz = 1\n"},
        {"set updates every copy of a repeated key", "[g]\nk = 1\nk = 2\n",
         [](auto& d) { d.set({"g"}, "k", TOMLValue::integer(3)); }, "[g]\nk = 3\nk = 3\n"},
        {"new key goes above the blank lines before the next table", "[a]\nx = 1\n\n\n[b]\ny = 2\n",
         [](auto& d) { d.set({"a"}, "z", TOMLValue::boolean(true)); },
         "[a]\nx = 1\nz = true\n\n\n[b]\ny = 2\n"},
        {"new key goes below the comment block that leads to the next table",
         "[a]\nx = 1\n# about b\n\n[b]\n",
         [](auto& d) { d.set({"a"}, "z", TOMLValue::integer(0)); },
         "[a]\nx = 1\n# about b\n\nz = 0\n[b]\n"},
        {"new root key goes after the root statements", "# top\nv = 1\n\n[a]\n",
         [](auto& d) { d.set({}, "w", TOMLValue::integer(2)); }, "# top\nv = 1\nw = 2\n\n[a]\n"},
        {"new key never joins a last comment line", "[a]\n# last",
         [](auto& d) { d.set({"a"}, "x", TOMLValue::integer(1)); }, "[a]\n# last\nx = 1\n"},
        {"a new table goes to the end after a blank line, once", "[a]\nx = 1\n",
         [](auto& d) {
             d.set({"b", "c"}, "ctrl+opt+m", bundle("com.apple.Mail"));
             d.set({"b", "c"}, "ctrl+opt+m", bundle("com.example.Other"));
         },
         "[a]\nx = 1\n\n[b.c]\n\"ctrl+opt+m\" = { bundle = \"com.example.Other\" }\n"},
        {"new table after a final comment without line break", "# end",
         [](auto& d) { d.set({"t"}, "k", TOMLValue::integer(1)); }, "# end\n[t]\nk = 1\n"},
        {"new table in an empty document", "",
         [](auto& d) { d.set({"t"}, "k", TOMLValue::integer(1)); }, "[t]\nk = 1\n"},
        {"remove drops the key and its comment only", "[a]\n# keep\nx = 1 # gone\ny = 2\n",
         [](auto& d) {
             d.remove({"a"}, "x");
             d.remove({"a"}, "missing");
         },
         "[a]\n# keep\ny = 2\n"},
        {"removeTable drops the comment that leads to the next table", apps,
         [](auto& d) {
             d.removeTable({"apps", "mail"});
         },
         "[apps.news]\nurl = \"https://news.example\"\n\n[apps.mail.extra]\nx = 1\n"},
        {"removeTable of a table written with dotted keys", "a.b = 1\nc = 2\n[t]\na.d = 3\n",
         [](auto& d) {
             d.removeTable({"a"});
             d.removeTable({"t", "a"});
             d.removeTable({"missing"});
         },
         "c = 2\n[t]\n"},
        {"removeTable drops every copy of a repeated header", "[a]\nx = 1\n[b]\n[a]\ny = 2\n",
         [](auto& d) { d.removeTable({"a"}); }, "[b]\n"},
    };
    for (const auto& c : cases) {
        TOMLDocument document = TOMLParser::parse(c.before);
        c.edit(document);
        EXPECT_EQ(renderTOML(document), c.after) << c.name;
    }
}

TEST(toml_query, pairs_and_headers_match_paths_exactly) {
    const TOMLDocument document =
        TOMLParser::parse("v = 1\n[apps.a]\nsub.k = 2\n[apps.a.deep]\n[apps.b]\n[apps.a]\n[x]\n");
    using Pairs = std::vector<std::pair<std::string, TOMLValue>>;
    EXPECT_EQ(document.pairs({"apps", "a", "sub"}), (Pairs{{"k", TOMLValue::integer(2)}}));
    EXPECT_EQ(document.pairs({"apps", "a"}), Pairs{});
    EXPECT_EQ(document.headers({"apps"}),
              (std::vector<TOMLPath>{{"apps", "a"}, {"apps", "b"}, {"apps", "a"}}));
    EXPECT_EQ(document.headers({}), (std::vector<TOMLPath>{{"x"}}));
}
