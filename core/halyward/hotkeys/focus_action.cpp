#include "halyward/hotkeys/focus_action.hpp"

#include <algorithm>

namespace halyward {

FocusAction FocusAction::cycle(std::int64_t index) { return FocusAction(Cycle{index}); }
FocusAction FocusAction::launch() { return FocusAction(Launch{}); }
FocusAction FocusAction::focus() { return FocusAction(Focus{}); }
FocusAction FocusAction::hide() { return FocusAction(Hide{}); }

std::optional<std::int64_t> FocusAction::cycleIndex() const {
    if (const auto* cycle = std::get_if<Cycle>(&storage_)) return cycle->index;
    return std::nullopt;
}

FocusAction focusAction(bool isRunning, bool isFrontmost, std::int64_t windowCount,
                        std::optional<std::int64_t> focusedIndex, bool cycle, bool hideOnRepeat) {
    if (!isRunning) return FocusAction::launch();
    if (!isFrontmost) return FocusAction::focus();
    if (cycle && windowCount >= 2) {
        // An unknown focus, or the first window, steps to the second; an index past the end
        // counts as the last window, which wraps round to the first. Clamping before adding
        // keeps the sum from overflowing.
        std::int64_t next = 1;
        if (focusedIndex && *focusedIndex >= 1) next = std::min(windowCount - 1, *focusedIndex) + 1;
        return FocusAction::cycle(next % windowCount);
    }
    return hideOnRepeat ? FocusAction::hide() : FocusAction::focus();
}

}  // namespace halyward
