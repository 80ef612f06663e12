#include "halyward/base/number_text.hpp"
#include "halyward/text/text.hpp"
#include "halyward/toml/characters.hpp"
#include "halyward/toml/document.hpp"

#include <string>
#include <string_view>

namespace halyward {

namespace {

void appendString(std::string& into, std::string_view text) {
    into += '"';
    std::size_t plain = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char* replacement = nullptr;
        switch (text[i]) {
            case '\\': replacement = R"(\\)"; break;
            case '"': replacement = R"(\")"; break;
            case '\n': replacement = R"(\n)"; break;
            case '\t': replacement = R"(\t)"; break;
            case '\r': replacement = R"(\r)"; break;
            default: continue;
        }
        into.append(text.substr(plain, i - plain));
        into += replacement;
        plain = i + 1;
    }
    into.append(text.substr(plain));
    into += '"';
}

// Line breaks stay as they are; backslashes are doubled and quote runs escaped. Two cases
// go beyond escaping runs of three: quotes at the very end would merge with the closing
// delimiter, and a CR would be read back as a line break, so both are escaped too.
void appendMultilineString(std::string& into, std::string_view text) {
    into += "\"\"\"\n";
    std::size_t i = 0;
    while (i < text.size()) {
        const char current = text[i];
        if (current == '"') {
            std::size_t run = text.find_first_not_of('"', i);
            if (run == std::string_view::npos) run = text.size();
            const std::size_t length = run - i;
            const bool atEnd = run == text.size();
            const std::size_t escaped = atEnd ? length : length - length % 3;
            for (std::size_t k = 0; k < escaped; ++k) into += R"(\")";
            into.append(length - escaped, '"');
            i = run;
            continue;
        }
        if (current == '\\') {
            into += R"(\\)";
        } else if (current == '\r') {
            into += R"(\r)";
        } else {
            into += current;
        }
        ++i;
    }
    into += "\"\"\"";
}

void appendKey(std::string& into, std::string_view key) {
    if (detail::isBareKey(key)) {
        into += key;
    } else {
        appendString(into, key);
    }
}

void appendValue(std::string& into, const TOMLValue& value) {
    switch (value.kind()) {
        case TOMLValue::Kind::string: {
            const std::string& text = *value.stringValue();
            if (text.find('\n') == std::string::npos) {
                appendString(into, text);
            } else {
                appendMultilineString(into, text);
            }
            break;
        }
        case TOMLValue::Kind::boolean: into += *value.boolValue() ? "true" : "false"; break;
        case TOMLValue::Kind::integer: appendInteger(into, *value.intValue()); break;
        case TOMLValue::Kind::number:
            appendDouble(into, *value.doubleValue(), DoubleNotation::plain);
            break;
        case TOMLValue::Kind::array: {
            into += '[';
            bool first = true;
            for (const auto& element : *value.arrayValue()) {
                if (!first) into += ", ";
                first = false;
                appendValue(into, element);
            }
            into += ']';
            break;
        }
        case TOMLValue::Kind::table: {
            into += "{ ";
            bool first = true;
            for (const auto& [key, entry] : *value.tableValue()) {
                if (!first) into += ", ";
                first = false;
                appendKey(into, key);
                into += " = ";
                appendValue(into, entry);
            }
            into += " }";
            break;
        }
    }
}

// Parsed comments are already trimmed and start with "#". Nodes built by hand could hold
// anything; a line break there would turn the rest of the comment into statements, so it
// is folded into the comment line.
void appendTrailing(std::string& into, std::string_view trailing) {
    trailing = text::trimBlanks(trailing);
    if (trailing.empty()) return;
    into += ' ';
    if (trailing.front() != '#') into += "# ";
    for (const char c : trailing) into += (c == '\n' || c == '\r') ? ' ' : c;
}

}  // namespace

std::string renderTOML(const TOMLDocument& document) {
    std::string out;
    for (const auto& node : document.nodes) {
        if (const auto* raw = node.asRaw()) {
            out += raw->text;
        } else if (const auto* header = node.asHeader()) {
            out += '[';
            for (std::size_t i = 0; i < header->path.size(); ++i) {
                if (i > 0) out += '.';
                appendKey(out, header->path[i]);
            }
            out += ']';
            appendTrailing(out, header->trailing);
            out += '\n';
        } else if (const auto* key = node.asKey()) {
            appendKey(out, key->key);
            out += " = ";
            appendValue(out, key->value);
            appendTrailing(out, key->trailing);
            out += '\n';
        }
    }
    return out;
}

std::string renderTOMLKey(std::string_view key) {
    std::string out;
    appendKey(out, key);
    return out;
}

std::string renderTOMLValue(const TOMLValue& value) {
    std::string out;
    appendValue(out, value);
    return out;
}

std::string renderTOMLString(std::string_view text) {
    std::string out;
    appendString(out, text);
    return out;
}

}  // namespace halyward
