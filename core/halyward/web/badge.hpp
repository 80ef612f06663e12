#pragma once
/// The unread count that a page shows in its title, for the application's badge.

#include <cstdint>
#include <optional>
#include <string_view>

namespace halyward {

/// The count in parentheses at the very start of the title ("(12) Inbox") or, failing
/// that, at its end before optional white space ("Inbox (4)"); none when neither is there
/// or the digits do not make a 64-bit number.
std::optional<std::int64_t> badgeCount(std::string_view title);

}  // namespace halyward
