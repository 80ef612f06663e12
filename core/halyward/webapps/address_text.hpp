#pragma once
// Internal helpers of the webapps module for quoting what people and pages write.

#include <cstddef>
#include <string>
#include <string_view>

namespace halyward::detail {

/// True when `text` holds an ASCII control character or DEL.
bool hasControlCharacter(std::string_view text);

/// `text` made fit to quote in a message: control characters become U+FFFD and anything
/// after `limit` bytes (cut at a character boundary) becomes "…".
std::string quotable(std::string_view text, std::size_t limit = 120);

}  // namespace halyward::detail
