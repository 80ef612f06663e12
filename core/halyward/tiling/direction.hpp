#pragma once
/// The four directions of focus, move and slot adjacency.

#include <array>
#include <optional>
#include <string_view>

namespace halyward {

enum class Direction { left, right, up, down };

inline constexpr std::array<Direction, 4> allDirections{Direction::left, Direction::right,
                                                        Direction::up, Direction::down};

constexpr std::string_view rawValue(Direction direction) {
    switch (direction) {
        case Direction::left: return "left";
        case Direction::right: return "right";
        case Direction::up: return "up";
        case Direction::down: return "down";
    }
    return "left";
}

constexpr std::optional<Direction> parseDirection(std::string_view text) {
    for (Direction d : allDirections) {
        if (rawValue(d) == text) return d;
    }
    return std::nullopt;
}

}  // namespace halyward
