#pragma once
// Cross-checks TOML against a reader we did not write: Python's tomllib, run through
// tests/data/toml_to_json.py. Both sides are brought to the same tagged JSON text, with
// every leaf as {"type": "string"|"integer"|"float"|"bool", "value": "<text>"}, objects
// for tables and arrays for arrays, keys sorted, so that equal values give equal text.
//
// Needs HALYWARD_PYTHON3 and HALYWARD_TEST_DATA, which every test executable defines.

#include <sys/wait.h>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <boost/json.hpp>

#include "halyward/base/json.hpp"
#include "halyward/base/number_text.hpp"
#include "halyward/toml/document.hpp"
#include "support/scratch_folder.hpp"

namespace halyward {

/// Which reading of a document `taggedJSON` gives.
enum class TaggedView {
    /// The values as they stand in the document: what tomllib reads from the text the
    /// document was parsed from.
    asParsed,
    /// What tomllib reads from `renderTOML(document)`: keys belong to the table of the
    /// header above them (dotted prefixes are not written back) and whole doubles read
    /// as integers.
    asRendered,
};

namespace detail::peer {

// Keys sorted and strings escaped one way, so that equal values give equal text.
inline std::string canonical(const boost::json::value& value) {
    return JSONValue::parse(boost::json::serialize(value)).canonicalString();
}

inline boost::json::value leaf(std::string_view type, std::string_view text) {
    boost::json::object object;
    object["type"] = boost::json::string(type);
    object["value"] = boost::json::string(text);
    return object;
}

// One text per double, whoever wrote it first: Python writes floats with 17 significant
// digits, we write the shortest. The writer writes -0.0 as the whole number 0; its sign is
// kept here, so that a reader that loses it is caught.
inline std::string floatText(double number) {
    if (number == 0 && std::signbit(number)) return "-0";
    std::string text;
    appendDouble(text, number, DoubleNotation::shortest);
    return text;
}

// Python's float leaves in our text.
inline void rewriteFloats(boost::json::value& value) {
    if (auto* array = value.if_array()) {
        for (auto& element : *array) rewriteFloats(element);
    } else if (auto* object = value.if_object()) {
        const auto* type = object->if_contains("type");
        auto* text = object->if_contains("value");
        if (type && text && type->is_string() && text->is_string() &&
            type->as_string() == "float") {
            const auto& digits = text->as_string();
            const auto number = readDouble(std::string_view(digits.data(), digits.size()),
                                           DoubleNotation::shortest);
            if (number) *text = boost::json::string(floatText(*number));
            return;
        }
        for (auto& member : *object) rewriteFloats(member.value());
    }
}

inline boost::json::value tagged(const TOMLValue& value, TaggedView view) {
    switch (value.kind()) {
        case TOMLValue::Kind::string: return leaf("string", *value.stringValue());
        case TOMLValue::Kind::boolean: return leaf("bool", *value.boolValue() ? "true" : "false");
        case TOMLValue::Kind::integer: return leaf("integer", std::to_string(*value.intValue()));
        case TOMLValue::Kind::number: {
            const double number = *value.doubleValue();
            if (view == TaggedView::asRendered && std::isfinite(number) && value.intValue()) {
                return leaf("integer", std::to_string(*value.intValue()));
            }
            return leaf("float", floatText(number));
        }
        case TOMLValue::Kind::array: {
            boost::json::array array;
            for (const auto& element : *value.arrayValue()) array.push_back(tagged(element, view));
            return array;
        }
        case TOMLValue::Kind::table: {
            boost::json::object object;
            for (const auto& [key, entry] : *value.tableValue()) object[key] = tagged(entry, view);
            return object;
        }
    }
    return nullptr;
}

inline boost::json::object& tableAt(boost::json::object& root, const TOMLPath& path) {
    boost::json::object* table = &root;
    for (const auto& part : path) {
        boost::json::value& slot = (*table)[part];
        if (!slot.is_object()) slot = boost::json::object();
        table = &slot.as_object();
    }
    return *table;
}

// Runs the script with `input` on stdin; the exit status and stdout.
inline std::pair<int, std::string> runScript(std::string_view input) {
    ScratchFolder folder;
    writeFile(folder.path / "input", input);
    const std::string command = "'" HALYWARD_PYTHON3 "' '" HALYWARD_TEST_DATA
                                "/toml_to_json.py' < '" +
                                (folder / "input") + "' 2>/dev/null";
    FILE* pipe = ::popen(command.c_str(), "r");
    if (pipe == nullptr) std::abort();
    std::string output;
    std::array<char, 65536> buffer{};
    std::size_t count = 0;
    while ((count = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0)
        output.append(buffer.data(), count);
    const int status = ::pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

}  // namespace detail::peer

/// tomllib's readings of `texts` as tagged JSON, with one start of Python; nullopt for
/// each text tomllib rejects.
inline std::vector<std::optional<std::string>> tomllibTaggedJSONBatch(
    const std::vector<std::string>& texts) {
    std::string input;
    for (const auto& text : texts) input += std::to_string(text.size()) + '\n' + text;
    auto [status, output] = detail::peer::runScript(input);
    std::vector<std::optional<std::string>> results(texts.size());
    if (status != 0) return results;
    boost::json::value read = boost::json::parse(output);
    detail::peer::rewriteFloats(read);
    const boost::json::array& parsed = read.as_array();
    for (std::size_t i = 0; i < parsed.size() && i < results.size(); ++i) {
        if (!parsed[i].is_null()) results[i] = detail::peer::canonical(parsed[i]);
    }
    return results;
}

/// Our document's values in the form `tomllibTaggedJSON` gives: headers and dotted keys
/// make nested tables, inline tables are objects, a repeated key keeps its later value.
inline std::string taggedJSON(const TOMLDocument& document,
                              TaggedView view = TaggedView::asParsed) {
    boost::json::object root;
    TOMLPath currentTable;
    for (const auto& node : document.nodes) {
        if (const auto* header = node.asHeader()) {
            detail::peer::tableAt(root, header->path);
            currentTable = header->path;
        } else if (const auto* key = node.asKey()) {
            const TOMLPath& table = view == TaggedView::asRendered ? currentTable : key->table;
            detail::peer::tableAt(root, table)[key->key] = detail::peer::tagged(key->value, view);
        }
    }
    return detail::peer::canonical(root);
}

}  // namespace halyward
