#include "halyward/app/tile_mode.hpp"

#include "halyward/hotkeys/mac_key_codes.hpp"
#include "halyward/hotkeys/tile_keys.hpp"

#include <cstdint>
#include <limits>

namespace halyward::detail {

namespace {

TileModeKey forAction(const TileAction& action) {
    if (action.kind() == TileAction::Kind::exit) return {TileModeKey::Kind::leave, {}, {}};
    return {TileModeKey::Kind::action, action, {}};
}

}  // namespace

TileModeKey tileModeKey(const KeyPress& press, const ChordBindings& bindings) {
    if (press.ctrl || press.opt || press.cmd) {
        HotkeyChord chord{{}, press.key};
        if (press.ctrl) chord.modifiers.insert(HotkeyModifier::ctrl);
        if (press.opt) chord.modifiers.insert(HotkeyModifier::opt);
        if (press.shift) chord.modifiers.insert(HotkeyModifier::shift);
        if (press.cmd) chord.modifiers.insert(HotkeyModifier::cmd);
        const ChordCommand* command = bindings.find(chord);
        if (!command) return {};
        switch (command->kind) {
            case ChordCommand::Kind::tileMode: return {TileModeKey::Kind::leave, {}, {}};
            case ChordCommand::Kind::tile: return forAction(*command->action);
            case ChordCommand::Kind::layoutCycle:
            case ChordCommand::Kind::app:
            case ChordCommand::Kind::agent:
            case ChordCommand::Kind::newApp: return {TileModeKey::Kind::command, {}, *command};
        }
        return {};
    }
    // The table is keyed by macOS key codes; a key without one can still match by the
    // text it types.
    const std::uint32_t code =
        MacKeyCodes::code(press.key).value_or(std::numeric_limits<std::uint32_t>::max());
    if (auto action = TileKeys::action(code, press.text, press.shift)) return forAction(*action);
    return {};
}

}  // namespace halyward::detail
