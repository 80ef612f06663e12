#pragma once
/// The texts printed for `halyward help` and `halyward help app`.

#include <string_view>

namespace halyward::HelpText {

/// The whole help text: a title line with the tagline, the usage lines, the global flags,
/// the tile names and the hotkey notes. Ends with a line feed.
std::string_view text();

/// The text printed for `halyward help app`: the web-app commands, their options and what
/// they do in the cases the usage lines leave open. Ends with a line feed.
std::string_view appText();

}  // namespace halyward::HelpText
