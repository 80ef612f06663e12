#include "halyward/app/new_app_form.hpp"

#include "halyward/text/text.hpp"
#include "halyward/tiling/tile_slot.hpp"

namespace halyward {

std::vector<std::string> newAppArguments(const NewAppForm& form) {
    std::vector<std::string> arguments = {"app", "add", std::string(text::trim(form.address))};
    const std::pair<const char*, const std::string*> options[] = {
        {"--name", &form.name}, {"--hotkey", &form.hotkey}, {"--tile", &form.tile}};
    for (const auto& [flag, value] : options) {
        const std::string_view trimmed = text::trim(*value);
        if (trimmed.empty()) continue;
        arguments.emplace_back(flag);
        arguments.emplace_back(trimmed);
    }
    return arguments;
}

std::string clipboardAddress(std::string_view clipboard) {
    const std::string_view address = text::trim(clipboard);
    const std::string lower = text::lowercased(address.substr(0, 8));
    if (!lower.starts_with("http://") && !lower.starts_with("https://")) return {};
    for (const char c : address) {
        // One address, not a paragraph that starts with one.
        if (c == ' ' || c == '\t' || c == '\n' || c == '\r') return {};
    }
    const std::size_t scheme = address.find("://") + 3;
    return address.size() > scheme ? std::string(address) : std::string();
}

std::vector<std::string> newAppTileChoices() {
    std::vector<std::string> choices = {""};
    for (const TileSlot slot : allTileSlots) choices.emplace_back(rawValue(slot));
    return choices;
}

}  // namespace halyward
