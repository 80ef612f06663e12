#pragma once
/// The actions of tile mode and the text tokens that name them to the running app.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "halyward/tiling/direction.hpp"

namespace halyward {

/// One tile-mode action: focus or move towards a neighbour, apply a layout by number, fill
/// the screen, change display, or leave tile mode. Equality is by case and payload.
class TileAction {
public:
    /// The cases, in declaration order.
    enum class Kind { focus, move, layout, fill, nextDisplay, previousDisplay, exit };

    static TileAction focus(Direction direction);
    static TileAction move(Direction direction);
    /// `number` is a layout number (1 to 6 name a layout; see layoutKindForNumber). Other
    /// numbers are carried as they are so that a token always reads back unchanged.
    static TileAction layout(std::int64_t number);
    static TileAction fill();
    static TileAction nextDisplay();
    static TileAction previousDisplay();
    static TileAction exit();

    Kind kind() const;
    /// The direction of `focus` and `move`; none for every other case.
    std::optional<Direction> direction() const;
    /// The number of `layout`; none for every other case.
    std::optional<std::int64_t> layoutNumber() const;

    /// The token sent to and recognised by the running app: "tile:focus-left",
    /// "tile:move-down", "tile:layout-3", "tile:fill", "tile:next-display",
    /// "tile:previous-display", "tile:exit".
    std::string token() const;

    bool operator==(const TileAction& other) const = default;

private:
    struct Focus {
        Direction direction;
        bool operator==(const Focus&) const = default;
    };
    struct Move {
        Direction direction;
        bool operator==(const Move&) const = default;
    };
    struct Layout {
        std::int64_t number;
        bool operator==(const Layout&) const = default;
    };
    struct Fill {
        bool operator==(const Fill&) const = default;
    };
    struct NextDisplay {
        bool operator==(const NextDisplay&) const = default;
    };
    struct PreviousDisplay {
        bool operator==(const PreviousDisplay&) const = default;
    };
    struct Exit {
        bool operator==(const Exit&) const = default;
    };
    using Storage = std::variant<Focus, Move, Layout, Fill, NextDisplay, PreviousDisplay, Exit>;

    explicit TileAction(Storage storage) : storage_(storage) {}

    Storage storage_;
};

/// The action whose `token()` is exactly `token`, or none. This is the inverse of
/// `token()`: the text is not trimmed or case-folded, and a layout number must be written
/// as `token()` writes it (no leading zeros or plus sign).
std::optional<TileAction> parseTileAction(std::string_view token);

}  // namespace halyward
