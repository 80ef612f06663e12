#pragma once
// The documents made from the grammar: the manual page and the shell completions.

#include "grammar.hpp"

#include <string>
#include <string_view>

namespace halyward::docgen {

/// The roff source of halyward(1): the hand-written `page` template with its @…@ markers
/// filled from the grammar, the help text and the exit codes. Throws std::runtime_error
/// when the template misses a description of a command or an option, or describes one
/// the command line does not have.
std::string manPage(const Grammar& grammar, std::string_view page, std::string_view date);

/// The completion scripts. Each offers the same words; values that live in the user's
/// configuration are read from the file (the default one or --config's) when it exists.
std::string bashCompletion(const Grammar& grammar);
std::string zshCompletion(const Grammar& grammar);
std::string fishCompletion(const Grammar& grammar);

}  // namespace halyward::docgen
