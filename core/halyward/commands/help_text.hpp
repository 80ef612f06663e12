#pragma once
/// The text printed for `halyward help`.

#include <string_view>

namespace halyward::HelpText {

/// The whole help text: a title line with the tagline, the usage lines, the global flags,
/// the tile names and the hotkey notes. Ends with a line feed.
std::string_view text();

}  // namespace halyward::HelpText
