#include "halyward/app/tile_panel.hpp"

#include "halyward/hotkeys/keycaps.hpp"
#include "halyward/hotkeys/tile_keys.hpp"

#include <string_view>
#include <vector>

namespace halyward::detail {

namespace {

std::string sectionTitle(TileKeyGroup group) {
    switch (group) {
        case TileKeyGroup::focus: return "Focus";
        case TileKeyGroup::move: return "Move";
        case TileKeyGroup::layout: return "Layout";
        case TileKeyGroup::more: return "More";
    }
    return {};
}

std::string_view shiftPrefix() {
    return nativeHotkeyStyle == HotkeyStyle::keycaps ? "\u21E7" : "Shift+";
}

}  // namespace

TilePanelContent tilePanelContent(const GeneralConfig& general, const Frame& displayFrame) {
    const std::vector<TileKeyBinding>& bindings = TileKeys::bindings();
    const std::vector<ResolvedTileChord> chords = TileKeys::resolved(general.tileHotkeys);
    TilePanelContent content{"Tile mode", {}, displayFrame};
    for (const TileKeyGroup group : allTileKeyGroups) {
        TilePanelSection section{sectionTitle(group), {}};
        // `resolved` keeps the order of `bindings`, so the two walk together.
        for (std::size_t i = 0; i < bindings.size() && i < chords.size(); ++i) {
            if (bindings[i].group != group) continue;
            // The shifted rows are the same keycaps with Shift, spelled as the chords are.
            std::string key = bindings[i].panelLabel;
            if (bindings[i].shifted) key = std::string(shiftPrefix()) + key;
            section.rows.push_back({key, chords[i].title, readableHotkey(chords[i].chord)});
        }
        content.sections.push_back(std::move(section));
    }
    return content;
}

}  // namespace halyward::detail
