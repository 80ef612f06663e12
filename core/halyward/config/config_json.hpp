#pragma once
/// The JSON objects of `app list`, `layout list` and `config show`.

#include "halyward/base/json.hpp"
#include "halyward/config/config.hpp"

#include <string_view>
#include <vector>

namespace halyward {

/// {"bundleIdentifier","hotkey","name","slug","tile","url"}; a missing hotkey or tile is
/// written as null rather than left out.
JSONValue appJSON(const WebAppRecord& record);
/// {"assignments":[{"target","tile"}…],"name"}, assignments in the layout's order.
JSONValue layoutJSON(std::string_view name, const std::vector<LayoutAssignment>& assignments);
/// {"apps":[…],"layouts":[…],"version"}, apps and layouts in configuration order.
JSONValue configJSON(const HalywardConfig& config);

}  // namespace halyward
