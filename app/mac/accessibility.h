#pragma once
// The Accessibility permission, without which no other app's window can be read or moved
// and no key withheld. macOS shows its prompt at most once: after that the user is only
// reminded where to grant it, so a refusal does not bring the prompt back at every start.

#include <functional>
#include <string>
#include <string_view>

namespace halyward::mac {

/// Whether this process may use the Accessibility API now. When it may not and
/// `grantFile` does not exist, asks macOS to prompt the user and records in `grantFile`
/// that it asked; when it exists, says where the permission is granted through `say`.
bool accessibilityTrusted(const std::string& grantFile,
                          const std::function<void(std::string_view)>& say);

/// Whether this process may use the Accessibility API now, without asking.
bool accessibilityTrustedNow();

}  // namespace halyward::mac
