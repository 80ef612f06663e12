#include "halyward/config/config.hpp"

#include "halyward/text/text.hpp"

#include <cmath>

namespace halyward {

std::string_view rawValue(WindowChrome chrome) {
    switch (chrome) {
        case WindowChrome::slim: return "slim";
        case WindowChrome::standard: return "standard";
    }
    return "slim";
}

WindowChrome parseWindowChrome(std::optional<std::string_view> text) {
    if (!text) return WindowChrome::slim;
    const std::string folded = text::lowercased(text::trim(*text));
    // The system title bar is also known by the platform's name, so both spellings work.
    if (folded == "standard" || folded == "macos") return WindowChrome::standard;
    return WindowChrome::slim;
}

std::string_view rawValue(TileGapPreset preset) {
    switch (preset) {
        case TileGapPreset::none: return "none";
        case TileGapPreset::small: return "small";
        case TileGapPreset::medium: return "medium";
        case TileGapPreset::large: return "large";
    }
    return "none";
}

std::optional<TileGapPreset> parseTileGapPreset(std::string_view text) {
    for (TileGapPreset preset : allTileGapPresets) {
        if (rawValue(preset) == text) return preset;
    }
    return std::nullopt;
}

std::string_view title(TileGapPreset preset) {
    switch (preset) {
        case TileGapPreset::none: return "None";
        case TileGapPreset::small: return "Small";
        case TileGapPreset::medium: return "Medium";
        case TileGapPreset::large: return "Large";
    }
    return "None";
}

double points(TileGapPreset preset) {
    switch (preset) {
        case TileGapPreset::none: return 0;
        case TileGapPreset::small: return 8;
        case TileGapPreset::medium: return 16;
        case TileGapPreset::large: return 24;
    }
    return 0;
}

TileGapPreset nearestTileGapPreset(double value) {
    // Walk in table order and switch only on a strictly smaller distance, so ties keep
    // the smaller preset. A NaN distance never compares smaller, so NaN stays at none.
    TileGapPreset best = allTileGapPresets.front();
    double bestDistance = std::fabs(value - points(best));
    for (TileGapPreset preset : allTileGapPresets) {
        const double distance = std::fabs(value - points(preset));
        if (distance < bestDistance) {
            best = preset;
            bestDistance = distance;
        }
    }
    return best;
}

TitlebarDoubleClick titlebarDoubleClickAction(std::optional<std::string_view> stored) {
    if (!stored) return TitlebarDoubleClick::zoom;
    const std::string folded = text::lowercased(text::trim(*stored));
    if (folded == "minimize") return TitlebarDoubleClick::minimize;
    if (folded == "none") return TitlebarDoubleClick::none;
    return TitlebarDoubleClick::zoom;
}

}  // namespace halyward
