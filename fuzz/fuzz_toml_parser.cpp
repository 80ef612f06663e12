// Any bytes either parse or fail with a line-numbered configuration error. What parses
// renders to text that parses again to the same statements and values (whole doubles read
// back as integers, keys from dotted assignments land in the table of their header), and
// rendering that is a fixed point.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "halyward/base/error.hpp"
#include "halyward/toml/document.hpp"

using namespace halyward;

namespace {

TOMLValue asWritten(const TOMLValue& value) {
    switch (value.kind()) {
        case TOMLValue::Kind::number:
            if (auto whole = value.intValue()) return TOMLValue::integer(*whole);
            return value;
        case TOMLValue::Kind::array: {
            TOMLArray elements;
            for (const auto& element : *value.arrayValue()) elements.push_back(asWritten(element));
            return TOMLValue::array(std::move(elements));
        }
        case TOMLValue::Kind::table: {
            TOMLTable entries;
            for (const auto& [key, entry] : *value.tableValue())
                entries.emplace_back(key, asWritten(entry));
            return TOMLValue::table(std::move(entries));
        }
        default: return value;
    }
}

// The document as the text it renders to says it: each key in the table of the header
// above it, values as written.
std::vector<TOMLNode> asWritten(const TOMLDocument& document) {
    std::vector<TOMLNode> nodes;
    TOMLPath table;
    for (const auto& node : document.nodes) {
        if (const auto* header = node.asHeader()) {
            table = header->path;
            nodes.push_back(node);
        } else if (const auto* key = node.asKey()) {
            nodes.push_back(TOMLNode::key(table, key->key, asWritten(key->value), key->trailing));
        } else {
            nodes.push_back(node);
        }
    }
    return nodes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    TOMLDocument document;
    try {
        document = TOMLParser::parse(text);
    } catch (const HalywardError& error) {
        if (error.code != "config" || error.exitCode != ExitCode::config) __builtin_trap();
        if (error.message.rfind("Config line ", 0) != 0) __builtin_trap();
        std::size_t breaks = 0;
        for (const char c : text) breaks += c == '\n' || c == '\r';
        if (std::stoull(error.message.substr(12)) > breaks + 1) __builtin_trap();
        return 0;
    }
    const std::string rendered = renderTOML(document);
    TOMLDocument reread;
    try {
        reread = TOMLParser::parse(rendered);
    } catch (const HalywardError&) {
        __builtin_trap();
    }
    if (renderTOML(reread) != rendered) __builtin_trap();
    if (asWritten(reread) != asWritten(document)) __builtin_trap();
    return 0;
}
