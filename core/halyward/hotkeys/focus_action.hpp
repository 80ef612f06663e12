#pragma once
/// What pressing an application's hotkey does.

#include <cstdint>
#include <optional>
#include <variant>

namespace halyward {

/// The outcome of an app hotkey press. Equality is by case and payload.
class FocusAction {
public:
    enum class Kind { cycle, launch, focus, hide };

    /// Focus the app's window with this index (in the app's window order).
    static FocusAction cycle(std::int64_t index);
    static FocusAction launch();
    static FocusAction focus();
    static FocusAction hide();

    Kind kind() const { return static_cast<Kind>(storage_.index()); }
    /// The window index of `cycle`; none for the other cases.
    std::optional<std::int64_t> cycleIndex() const;

    bool operator==(const FocusAction& other) const = default;

private:
    struct Cycle {
        std::int64_t index;
        bool operator==(const Cycle&) const = default;
    };
    struct Launch {
        bool operator==(const Launch&) const = default;
    };
    struct Focus {
        bool operator==(const Focus&) const = default;
    };
    struct Hide {
        bool operator==(const Hide&) const = default;
    };
    using Storage = std::variant<Cycle, Launch, Focus, Hide>;

    explicit FocusAction(Storage storage) : storage_(storage) {}

    Storage storage_;
};

/// Launches an app that is not running, brings a running one forward, and for the
/// front-most app either steps to its next window (`cycle`, with two or more windows) or
/// hides it (`hideOnRepeat`) or keeps it focused.
FocusAction focusAction(bool isRunning, bool isFrontmost, std::int64_t windowCount,
                        std::optional<std::int64_t> focusedIndex, bool cycle, bool hideOnRepeat);

}  // namespace halyward
