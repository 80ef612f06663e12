#include "halyward/toml/document.hpp"

#include <algorithm>
#include <cmath>

#include "halyward/text/text.hpp"

namespace halyward {

std::optional<std::int64_t> TOMLValue::intValue() const {
    if (const auto* value = std::get_if<std::int64_t>(&storage_)) return *value;
    if (const auto* value = std::get_if<double>(&storage_)) {
        if (*value == std::round(*value) && *value >= -9223372036854775808.0 &&
            *value < 9223372036854775808.0) {
            return static_cast<std::int64_t>(*value);
        }
    }
    return std::nullopt;
}

namespace {

bool isHeader(const TOMLNode& node, const TOMLPath& path) {
    const auto* header = node.asHeader();
    return header != nullptr && header->path == path;
}

bool isKeyOf(const TOMLNode& node, const TOMLPath& table, std::string_view key) {
    const auto* assignment = node.asKey();
    return assignment != nullptr && assignment->key == key && assignment->table == table;
}

}  // namespace

std::vector<std::pair<std::string, TOMLValue>> TOMLDocument::pairs(const TOMLPath& path) const {
    std::vector<std::pair<std::string, TOMLValue>> found;
    for (const auto& node : nodes) {
        const auto* assignment = node.asKey();
        if (assignment != nullptr && assignment->table == path)
            found.emplace_back(assignment->key, assignment->value);
    }
    return found;
}

std::vector<TOMLPath> TOMLDocument::headers(const TOMLPath& parent) const {
    std::vector<TOMLPath> found;
    for (const auto& node : nodes) {
        const auto* header = node.asHeader();
        if (header != nullptr && header->path.size() == parent.size() + 1 &&
            std::equal(parent.begin(), parent.end(), header->path.begin())) {
            found.push_back(header->path);
        }
    }
    return found;
}

void TOMLDocument::set(const TOMLPath& table, std::string_view key, TOMLValue value) {
    TOMLKey* last = nullptr;
    for (auto& node : nodes) {
        if (!isKeyOf(node, table, key)) continue;
        if (last != nullptr) last->value = value;
        last = node.asKey();
    }
    if (last != nullptr) {
        last->value = std::move(value);
        return;
    }
    ensureTable(table);
    const std::size_t index = insertionIndex(table);
    // A comment on the last line of a file may lack its line break; the new key must not
    // be glued onto it.
    if (index > 0) {
        if (const auto* raw = nodes[index - 1].asRaw();
            raw != nullptr && !text::endsWith(raw->text, "\n")) {
            nodes[index - 1] = TOMLNode::raw(raw->text + "\n");
        }
    }
    nodes.insert(nodes.begin() + static_cast<std::ptrdiff_t>(index),
                 TOMLNode::key(table, std::string(key), std::move(value), ""));
}

void TOMLDocument::remove(const TOMLPath& table, std::string_view key) {
    std::erase_if(nodes, [&](const TOMLNode& node) { return isKeyOf(node, table, key); });
}

void TOMLDocument::removeTable(const TOMLPath& path) {
    const bool hasHeader = std::any_of(nodes.begin(), nodes.end(),
                                       [&](const TOMLNode& node) { return isHeader(node, path); });
    if (!hasHeader) {
        std::erase_if(nodes, [&](const TOMLNode& node) {
            const auto* assignment = node.asKey();
            return assignment != nullptr && assignment->table == path;
        });
        return;
    }
    bool dropping = false;
    std::erase_if(nodes, [&](const TOMLNode& node) {
        if (node.kind() == TOMLNode::Kind::header) dropping = isHeader(node, path);
        return dropping;
    });
}

void TOMLDocument::ensureTable(const TOMLPath& path) {
    if (path.empty()) return;
    if (std::any_of(nodes.begin(), nodes.end(),
                    [&](const TOMLNode& node) { return isHeader(node, path); }))
        return;
    if (!nodes.empty()) {
        const auto* raw = nodes.back().asRaw();
        if (raw == nullptr || !text::endsWith(raw->text, "\n"))
            nodes.push_back(TOMLNode::raw("\n"));
    }
    nodes.push_back(TOMLNode::header(path, ""));
}

std::size_t TOMLDocument::insertionIndex(const TOMLPath& path) const {
    const auto isAnyHeader = [](const TOMLNode& node) {
        return node.kind() == TOMLNode::Kind::header;
    };
    if (path.empty()) {
        const auto first = std::find_if(nodes.begin(), nodes.end(), isAnyHeader);
        return skipBlank(static_cast<std::size_t>(first - nodes.begin()), 0);
    }
    const auto header = std::find_if(nodes.begin(), nodes.end(),
                                     [&](const TOMLNode& node) { return isHeader(node, path); });
    if (header == nodes.end()) return nodes.size();
    const auto next = std::find_if(header + 1, nodes.end(), isAnyHeader);
    return skipBlank(static_cast<std::size_t>(next - nodes.begin()),
                     static_cast<std::size_t>(header - nodes.begin()) + 1);
}

std::size_t TOMLDocument::skipBlank(std::size_t before, std::size_t floor) const {
    std::size_t index = std::min(before, nodes.size());
    while (index > floor) {
        const auto* raw = nodes[index - 1].asRaw();
        if (raw == nullptr || !text::trim(raw->text).empty()) break;
        --index;
    }
    return index;
}

}  // namespace halyward
