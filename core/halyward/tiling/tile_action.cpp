#include "halyward/tiling/tile_action.hpp"

#include <charconv>
#include <system_error>

namespace halyward {

namespace {

constexpr std::string_view focusPrefix = "tile:focus-";
constexpr std::string_view movePrefix = "tile:move-";
constexpr std::string_view layoutPrefix = "tile:layout-";
constexpr std::string_view fillToken = "tile:fill";
constexpr std::string_view nextDisplayToken = "tile:next-display";
constexpr std::string_view previousDisplayToken = "tile:previous-display";
constexpr std::string_view exitToken = "tile:exit";

// Reads a whole decimal integer written the way std::to_chars writes it, so that parsing
// a token and writing it again always gives the same bytes.
std::optional<std::int64_t> canonicalInteger(std::string_view text) {
    std::int64_t value = 0;
    const char* first = text.data();
    const char* last = text.data() + text.size();
    auto [end, error] = std::from_chars(first, last, value);
    if (error != std::errc{} || end != last) return std::nullopt;
    char buffer[24];
    auto written = std::to_chars(buffer, buffer + sizeof buffer, value);
    if (std::string_view(buffer, static_cast<std::size_t>(written.ptr - buffer)) != text) {
        return std::nullopt;
    }
    return value;
}

}  // namespace

TileAction TileAction::focus(Direction direction) { return TileAction(Focus{direction}); }
TileAction TileAction::move(Direction direction) { return TileAction(Move{direction}); }
TileAction TileAction::layout(std::int64_t number) { return TileAction(Layout{number}); }
TileAction TileAction::fill() { return TileAction(Fill{}); }
TileAction TileAction::nextDisplay() { return TileAction(NextDisplay{}); }
TileAction TileAction::previousDisplay() { return TileAction(PreviousDisplay{}); }
TileAction TileAction::exit() { return TileAction(Exit{}); }

TileAction::Kind TileAction::kind() const { return static_cast<Kind>(storage_.index()); }

std::optional<Direction> TileAction::direction() const {
    if (const auto* focus = std::get_if<Focus>(&storage_)) return focus->direction;
    if (const auto* move = std::get_if<Move>(&storage_)) return move->direction;
    return std::nullopt;
}

std::optional<std::int64_t> TileAction::layoutNumber() const {
    if (const auto* layout = std::get_if<Layout>(&storage_)) return layout->number;
    return std::nullopt;
}

std::string TileAction::token() const {
    switch (kind()) {
        case Kind::focus: return std::string(focusPrefix) + std::string(rawValue(*direction()));
        case Kind::move: return std::string(movePrefix) + std::string(rawValue(*direction()));
        case Kind::layout: return std::string(layoutPrefix) + std::to_string(*layoutNumber());
        case Kind::fill: return std::string(fillToken);
        case Kind::nextDisplay: return std::string(nextDisplayToken);
        case Kind::previousDisplay: return std::string(previousDisplayToken);
        case Kind::exit: return std::string(exitToken);
    }
    return std::string(exitToken);
}

std::optional<TileAction> parseTileAction(std::string_view token) {
    if (token.starts_with(focusPrefix)) {
        if (auto d = parseDirection(token.substr(focusPrefix.size()))) return TileAction::focus(*d);
        return std::nullopt;
    }
    if (token.starts_with(movePrefix)) {
        if (auto d = parseDirection(token.substr(movePrefix.size()))) return TileAction::move(*d);
        return std::nullopt;
    }
    if (token.starts_with(layoutPrefix)) {
        if (auto n = canonicalInteger(token.substr(layoutPrefix.size()))) {
            return TileAction::layout(*n);
        }
        return std::nullopt;
    }
    if (token == fillToken) return TileAction::fill();
    if (token == nextDisplayToken) return TileAction::nextDisplay();
    if (token == previousDisplayToken) return TileAction::previousDisplay();
    if (token == exitToken) return TileAction::exit();
    return std::nullopt;
}

}  // namespace halyward
