#include "halyward/hotkeys/mac_key_codes.hpp"

#include <array>
#include <charconv>
#include <string>
#include <system_error>
#include <unordered_map>
#include <utility>

namespace halyward::MacKeyCodes {

namespace {

using Entry = std::pair<std::string_view, std::uint32_t>;

// The US layout positions of the keys; the codes are physical, so they are the same
// whatever layout the user has selected.
constexpr std::array<Entry, 36> characterCodes{{
    {"a", 0},  {"s", 1},  {"d", 2},  {"f", 3},  {"h", 4},  {"g", 5},  {"z", 6},  {"x", 7},
    {"c", 8},  {"v", 9},  {"b", 11}, {"q", 12}, {"w", 13}, {"e", 14}, {"r", 15}, {"y", 16},
    {"t", 17}, {"o", 31}, {"u", 32}, {"i", 34}, {"p", 35}, {"l", 37}, {"j", 38}, {"k", 40},
    {"n", 45}, {"m", 46}, {"1", 18}, {"2", 19}, {"3", 20}, {"4", 21}, {"6", 22}, {"5", 23},
    {"9", 25}, {"7", 26}, {"8", 28}, {"0", 29},
}};

constexpr std::array<Entry, 26> namedCodes{{
    {"space", 49},       {"return", 36},         {"escape", 53},    {"tab", 48},
    {"left", 123},       {"right", 124},         {"down", 125},     {"up", 126},
    {"delete", 51},      {"forwarddelete", 117}, {"home", 115},     {"end", 119},
    {"pageup", 116},     {"pagedown", 121},      {"caps", 57},      {"minus", 27},
    {"equal", 24},       {"comma", 43},          {"period", 47},    {"slash", 44},
    {"semicolon", 41},   {"quote", 39},          {"backslash", 42}, {"grave", 50},
    {"leftbracket", 33}, {"rightbracket", 30},
}};

// f1 to f20, in order.
constexpr std::array<std::uint32_t, 20> functionCodes{
    122, 120, 99, 118, 96, 97, 98, 100, 101, 109, 103, 111, 105, 107, 113, 106, 64, 79, 80, 90};

using Index = std::unordered_map<std::string_view, std::uint32_t>;

// Each index is a static local, so the first use is thread-safe and later ones are reads.
const Index& characterIndex() {
    static const Index index(characterCodes.begin(), characterCodes.end());
    return index;
}

const Index& namedIndex() {
    static const Index index(namedCodes.begin(), namedCodes.end());
    return index;
}

std::optional<std::uint32_t> lookup(const Index& map, std::string_view text) {
    auto found = map.find(text);
    if (found == map.end()) return std::nullopt;
    return found->second;
}

// "f" followed by a decimal number from 1 to 20. An optional "+" sign and leading zeros
// are read as any decimal integer reader would; a "-" sign is never in range anyway.
std::optional<std::uint32_t> functionKeyCode(std::string_view name) {
    if (name.size() < 2 || name.front() != 'f') return std::nullopt;
    std::string_view digits = name.substr(1);
    if (digits.front() == '+') digits.remove_prefix(1);
    if (digits.empty()) return std::nullopt;
    unsigned number = 0;
    const char* last = digits.data() + digits.size();
    auto [end, error] = std::from_chars(digits.data(), last, number);
    if (error != std::errc{} || end != last) return std::nullopt;
    if (number < 1 || number > functionCodes.size()) return std::nullopt;
    return functionCodes[number - 1];
}

}  // namespace

std::optional<std::uint32_t> code(const HotkeyKey& key) {
    if (auto character = key.characterValue()) {
        // Character keys are lowercased on construction.
        return lookup(characterIndex(), *character);
    }
    const std::string& name = key.canonical();
    if (auto found = lookup(namedIndex(), name)) return found;
    return functionKeyCode(name);
}

std::uint32_t carbonModifiers(const std::set<HotkeyModifier>& modifiers) {
    std::uint32_t mask = 0;
    for (HotkeyModifier modifier : modifiers) {
        switch (modifier) {
            case HotkeyModifier::ctrl: mask |= 0x1000; break;
            case HotkeyModifier::opt: mask |= 0x800; break;
            case HotkeyModifier::shift: mask |= 0x200; break;
            case HotkeyModifier::cmd: mask |= 0x100; break;
            case HotkeyModifier::leader: break;
        }
    }
    return mask;
}

const std::vector<std::string_view>& keyNames() {
    static const std::vector<std::string_view> names = [] {
        std::vector<std::string_view> list;
        list.reserve(namedCodes.size());
        for (const Entry& entry : namedCodes) list.push_back(entry.first);
        return list;
    }();
    return names;
}

}  // namespace halyward::MacKeyCodes
