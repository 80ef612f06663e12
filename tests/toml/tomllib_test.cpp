// Our reader and writer against Python's tomllib: for text inside both grammars the two
// read the same values, and whatever we write, edited or not, reads back to our values.

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "halyward/base/number_text.hpp"
#include "support/toml_peer.hpp"
#include "toml/toml_fixtures.hpp"

using namespace halyward;

namespace {

// Random documents inside both grammars: unique tables and keys, standard escapes only,
// numbers without leading zeros, single-line inline tables without trailing commas.
class DocumentGenerator {
public:
    std::string document() {
        const std::string lf = pick(4) == 0 ? "\r\n" : "\n";
        std::string text;
        for (int i = 0, n = pick(4); i < n; ++i) text += statement(lf);
        for (int t = 0, tables = pick(5); t < tables; ++t) {
            text += (pick(2) ? lf : "# table" + lf) + "[t" + std::to_string(t);
            if (pick(3) == 0) text += pick(2) ? ".s" : " . \"s p\"";
            text += (pick(2) ? "] # note" : "]") + lf;
            for (int i = 0, n = pick(5); i < n; ++i) text += statement(lf);
        }
        return text;
    }

private:
    int pick(int n) { return static_cast<int>(random_() % static_cast<unsigned>(n)); }

    std::string statement(const std::string& lf) {
        const std::string id = std::to_string(next_++);
        std::string key = pick(4) == 0 ? "\"k " + id + ".\u00E9\"" : "k" + id;
        if (pick(5) == 0) key = "d" + id + " . " + key;
        return key + (pick(2) ? " = " : "=") + value(0, lf) + (pick(3) == 0 ? "  # c" : "") + lf;
    }

    std::string value(int depth, const std::string& lf) {
        static const std::vector<std::string> pieces = {
            "a",          " ",       "\\\"", "\\\\", "\\n", "\\t", "\\r", "\u00E9", "\u65E5\u672C",
            "\U0001F600", "e\u0301", "#",    "=",    "'"};
        switch (pick(depth < 2 ? 8 : 6)) {
            case 0:
            case 1: {
                std::string text = "\"";
                for (int i = 0, n = pick(8); i < n; ++i) text += pieces[random_() % pieces.size()];
                return text + "\"";
            }
            case 2: return "\"\"\"" + lf + "line one" + lf + "\\\"quoted\\\" \\\\ \u00E9\"\"\"";
            case 3:
                return pick(2) ? "9223372036854775807"
                               : std::to_string(-static_cast<std::int64_t>(random_()));
            case 4: {
                const double number =
                    std::ldexp(static_cast<double>(random_()), pick(80) - 60) * (pick(2) ? 1 : -1);
                std::string text;
                appendDouble(text, number, DoubleNotation::plain);
                return text.find('.') == std::string::npos ? text + ".0" : text;
            }
            case 5: return pick(2) ? "true" : "false";
            case 6: {
                std::string text = "[";
                for (int i = 0, n = pick(4); i < n; ++i)
                    text += (i ? ", " : "") + value(depth + 1, lf);
                return text + (text.size() > 1 && pick(3) == 0 ? ",]" : "]");
            }
            default: {
                std::string text = "{";
                for (int i = 0, n = pick(4); i < n; ++i)
                    text += (i ? ", e" : " e") + std::to_string(i) + " = " + value(depth + 1, lf);
                return text + " }";
            }
        }
    }

    std::mt19937 random_{2024};
    int next_ = 0;
};

// Edits of every kind: update in place, add to existing and new tables, remove.
void applyEdits(TOMLDocument& document) {
    const auto tables = document.headers({});
    document.set({}, "added_root", TOMLValue::number(16.0));
    for (const auto& table : tables) {
        document.set(table, "added",
                     TOMLValue::array({TOMLValue::string("x\ny\""), TOMLValue::number(0.1)}));
    }
    if (!tables.empty()) document.removeTable(tables.front());
    document.set({"brand", "new"}, "ctrl+opt+m",
                 TOMLValue::table({{"bundle", TOMLValue::string("com.apple.Mail")}}));
    document.set({"brand", "new"}, "ctrl+opt+m", TOMLValue::boolean(false));
    document.remove({}, "added_root");
    document.set({}, "version", TOMLValue::integer(2));
}

// tomllib reads each text as written, as we render it, and as we render it after edits.
void expectAgreement(const std::vector<std::string>& sources) {
    std::vector<std::string> texts;
    std::vector<std::string> expected;
    for (const auto& source : sources) {
        TOMLDocument document;
        ASSERT_NO_THROW(document = TOMLParser::parse(source)) << source;
        texts.insert(texts.end(), {source, renderTOML(document)});
        expected.insert(expected.end(),
                        {taggedJSON(document), taggedJSON(document, TaggedView::asRendered)});
        applyEdits(document);
        texts.push_back(renderTOML(document));
        expected.push_back(taggedJSON(document, TaggedView::asRendered));
    }
    const auto read = tomllibTaggedJSONBatch(texts);
    for (std::size_t i = 0; i < texts.size(); ++i) EXPECT_EQ(read[i], expected[i]) << texts[i];
}

}  // namespace

TEST(toml_tomllib, corpus_agrees_before_and_after_rendering_and_edits) {
    std::vector<std::string> sources;
    for (const auto& entry : std::filesystem::directory_iterator(HALYWARD_TEST_DATA "/toml")) {
        if (entry.path().extension() == ".toml")
            sources.push_back(readTestFile(entry.path().filename()));
    }
    ASSERT_GE(sources.size(), 3u);
    expectAgreement(sources);
}

TEST(toml_tomllib, generated_documents_agree_before_and_after_rendering_and_edits) {
    DocumentGenerator generator;
    std::vector<std::string> sources;
    for (int i = 0; i < 300; ++i) sources.push_back(generator.document());
    expectAgreement(sources);
}
