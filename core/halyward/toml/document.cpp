#include "halyward/toml/document.hpp"

#include <algorithm>
#include <cmath>

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

bool TOMLDocument::hasKey(const TOMLPath& table, std::string_view key) const {
    return std::any_of(nodes.begin(), nodes.end(),
                       [&](const TOMLNode& node) { return isKeyOf(node, table, key); });
}

}  // namespace halyward
