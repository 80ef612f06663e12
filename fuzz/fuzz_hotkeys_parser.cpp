// Feeds arbitrary bytes to the chord parser. Accepted text must give a chord whose canonical
// text reads back as the same chord (and is its own canonical text); rejected text must fail
// only with a usage error. The display and key-code helpers must accept whatever the parser
// produced.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "halyward/base/error.hpp"
#include "halyward/hotkeys/hotkey_parser.hpp"
#include "halyward/hotkeys/keycaps.hpp"
#include "halyward/hotkeys/mac_key_codes.hpp"
#include "halyward/hotkeys/system_hotkeys.hpp"

using namespace halyward;

namespace {

bool isUsageFailure(const HalywardError& error) {
    return error.code == "usage" && error.exitCode == ExitCode::usage && !error.message.empty();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view text(reinterpret_cast<const char*>(data), size);
    try {
        HotkeyChord chord = HotkeyParser::parse(text);
        std::string canonical = chord.canonical();
        HotkeyChord again = HotkeyParser::parse(canonical);
        if (!(again == chord) || again.canonical() != canonical) abort();
        if (std::hash<HotkeyChord>{}(again) != std::hash<HotkeyChord>{}(chord)) abort();
        // A leader chord never carries another modifier, any other chord has one at least.
        bool leader = chord.modifiers.count(HotkeyModifier::leader) != 0;
        if (leader ? chord.modifiers.size() != 1 : chord.modifiers.empty()) abort();
        (void)MacKeyCodes::code(chord.key);
        (void)SystemHotkeys::reservation(chord);
        if (hotkeyKeycaps(canonical).size() != chord.modifiers.size() + 1) abort();
    } catch (const HalywardError& error) {
        if (!isUsageFailure(error)) abort();
    }
    try {
        (void)HotkeyParser::parseLeader(text);
    } catch (const HalywardError& error) {
        if (!isUsageFailure(error)) abort();
    }
    (void)hotkeyKeycaps(text);
    return 0;
}
