#pragma once
// Cross-checks TOML against a reader we did not write: Python's tomllib, run through
// tests/data/toml_to_json.py. Both sides are brought to the same tagged JSON text, with
// every leaf as {"type": "string"|"integer"|"float"|"bool", "value": "<text>"}, objects
// for tables and arrays for arrays, keys sorted, so that equal values give equal text.
//
// Needs HALYWARD_PYTHON3 and HALYWARD_TEST_DATA, which every test executable defines.

#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <vector>

#include <boost/json.hpp>

#include "halyward/base/json.hpp"
#include "halyward/toml/document.hpp"

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

inline void writeCanonical(std::string& out, const boost::json::value& value) {
    if (const auto* object = value.if_object()) {
        std::vector<const boost::json::key_value_pair*> members;
        for (const auto& member : *object) members.push_back(&member);
        const auto name = [](const boost::json::key_value_pair* member) {
            return std::string_view(member->key().data(), member->key().size());
        };
        std::sort(members.begin(), members.end(), [&](const auto* a, const auto* b) { return name(a) < name(b); });
        out += '{';
        for (std::size_t i = 0; i < members.size(); ++i) {
            if (i > 0) out += ',';
            out += quoteJSON(name(members[i]));
            out += ':';
            writeCanonical(out, members[i]->value());
        }
        out += '}';
    } else if (const auto* array = value.if_array()) {
        out += '[';
        for (std::size_t i = 0; i < array->size(); ++i) {
            if (i > 0) out += ',';
            writeCanonical(out, (*array)[i]);
        }
        out += ']';
    } else if (const auto* text = value.if_string()) {
        out += quoteJSON(std::string_view(text->data(), text->size()));
    } else {
        out += boost::json::serialize(value);
    }
}

inline std::string canonical(const boost::json::value& value) {
    std::string out;
    writeCanonical(out, value);
    return out;
}

inline boost::json::value leaf(std::string_view type, std::string_view text) {
    boost::json::object object;
    object["type"] = boost::json::string(type);
    object["value"] = boost::json::string(text);
    return object;
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
            // The same text as Python's format(x, ".17g").
            std::array<char, 64> buffer{};
            const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number,
                                              std::chars_format::general, 17);
            return leaf("float", std::string_view(buffer.data(), static_cast<std::size_t>(result.ptr - buffer.data())));
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

struct TempFile {
    std::string path = "/tmp/halyward-toml-peer-XXXXXX";
    TempFile(std::string_view contents) {
        const int descriptor = mkstemp(path.data());
        if (descriptor < 0) std::abort();
        std::size_t written = 0;
        while (written < contents.size()) {
            const auto count = ::write(descriptor, contents.data() + written, contents.size() - written);
            if (count <= 0) std::abort();
            written += static_cast<std::size_t>(count);
        }
        ::close(descriptor);
    }
    ~TempFile() { ::unlink(path.c_str()); }
};

// Runs the script with `input` on stdin; the exit status and stdout.
inline std::pair<int, std::string> runScript(std::string_view input, std::string_view arguments) {
    TempFile file(input);
    std::string command = "'" HALYWARD_PYTHON3 "' '" HALYWARD_TEST_DATA "/toml_to_json.py' ";
    command += arguments;
    command += " < '" + file.path + "' 2>/dev/null";
    FILE* pipe = ::popen(command.c_str(), "r");
    if (pipe == nullptr) std::abort();
    std::string output;
    std::array<char, 65536> buffer{};
    std::size_t count = 0;
    while ((count = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0) output.append(buffer.data(), count);
    const int status = ::pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

}  // namespace detail::peer

/// tomllib's reading of `tomlText` as tagged JSON, or nullopt when tomllib rejects it.
inline std::optional<std::string> tomllibTaggedJSON(std::string_view tomlText) {
    auto [status, output] = detail::peer::runScript(tomlText, "");
    if (status != 0) return std::nullopt;
    return detail::peer::canonical(boost::json::parse(output));
}

/// `tomllibTaggedJSON` for many documents with one start of Python.
inline std::vector<std::optional<std::string>> tomllibTaggedJSONBatch(const std::vector<std::string>& texts) {
    std::string input;
    for (const auto& text : texts) {
        input += std::to_string(text.size());
        input += '\n';
        input += text;
    }
    auto [status, output] = detail::peer::runScript(input, "--batch");
    std::vector<std::optional<std::string>> results;
    if (status != 0) return std::vector<std::optional<std::string>>(texts.size());
    const boost::json::value parsed = boost::json::parse(output);
    for (const auto& entry : parsed.as_array()) {
        if (entry.is_null()) {
            results.emplace_back();
        } else {
            results.emplace_back(detail::peer::canonical(entry));
        }
    }
    return results;
}

/// Our document's values in the form `tomllibTaggedJSON` gives: headers and dotted keys
/// make nested tables, inline tables are objects, a repeated key keeps its later value.
inline std::string taggedJSON(const TOMLDocument& document, TaggedView view = TaggedView::asParsed) {
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
