#include "halyward/toml/document.hpp"

#include "halyward/text/text.hpp"

#include <algorithm>
#include <iterator>
#include <unordered_map>
#include <unordered_set>

// The in-place edits of a document. Each one touches only the nodes it concerns, so the
// comments, blank lines and key order around them survive every edit.

namespace halyward {

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
            raw != nullptr && !raw->text.ends_with("\n")) {
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

void TOMLDocument::setKeys(const TOMLPath& table,
                           std::vector<std::pair<std::string, TOMLValue>> entries) {
    if (entries.empty()) return;
    std::unordered_map<std::string_view, std::size_t> wanted;
    for (std::size_t i = 0; i < entries.size(); ++i) wanted[entries[i].first] = i;

    // The first key node of each wanted key takes that key's last value, as successive
    // sets of the same key would leave it.
    std::unordered_set<std::string_view> placed;
    for (TOMLNode& node : nodes) {
        TOMLKey* key = node.asKey();
        if (!key || key->table != table) continue;
        auto found = wanted.find(key->key);
        if (found == wanted.end() || !placed.insert(found->first).second) continue;
        key->value = entries[found->second].second;
    }

    std::vector<TOMLNode> inserted;
    std::unordered_set<std::string_view> insertedKeys;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const std::string_view key = entries[i].first;
        if (placed.count(key) || !insertedKeys.insert(key).second) continue;
        const std::size_t last = wanted[key];
        inserted.push_back(TOMLNode::key(table, entries[i].first, entries[last].second, ""));
    }
    if (inserted.empty()) return;
    ensureTable(table);
    const std::size_t at = insertionIndex(table);
    nodes.insert(nodes.begin() + static_cast<std::ptrdiff_t>(at),
                 std::make_move_iterator(inserted.begin()),
                 std::make_move_iterator(inserted.end()));
}

void TOMLDocument::removeKeysExcept(const TOMLPath& table,
                                    const std::function<bool(const std::string& key)>& keep) {
    std::erase_if(nodes, [&](const TOMLNode& node) {
        const TOMLKey* key = node.asKey();
        return key && key->table == table && !keep(key->key);
    });
}

void TOMLDocument::removeChildTables(const TOMLPath& parent) {
    auto isChild = [&](const TOMLPath& path) {
        return path.size() == parent.size() + 1 &&
               std::equal(parent.begin(), parent.end(), path.begin());
    };
    std::vector<TOMLNode> kept;
    kept.reserve(nodes.size());
    bool removing = false;
    for (TOMLNode& node : nodes) {
        if (const TOMLHeader* header = node.asHeader()) removing = isChild(header->path);
        if (!removing) kept.push_back(std::move(node));
    }
    nodes = std::move(kept);
}

void TOMLDocument::ensureTable(const TOMLPath& path) {
    if (path.empty()) return;
    if (std::any_of(nodes.begin(), nodes.end(),
                    [&](const TOMLNode& node) { return isHeader(node, path); }))
        return;
    if (!nodes.empty()) {
        const auto* raw = nodes.back().asRaw();
        if (raw == nullptr || !raw->text.ends_with("\n")) nodes.push_back(TOMLNode::raw("\n"));
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
