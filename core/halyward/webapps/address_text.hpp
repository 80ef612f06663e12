#pragma once
// Internal helpers of the webapps module for addresses as people and pages write them.

#include <boost/url/url.hpp>

#include <optional>
#include <string>
#include <string_view>

namespace halyward::detail {

/// Parses `text` as an RFC 3986 URI reference; when the strict grammar refuses it, once
/// more the way a browser's address bar would, with blanks, non-ASCII bytes, stray "%"
/// signs and other bytes that are never valid raw percent-encoded. Tabs and line breaks
/// are never accepted here: the callers decide what they mean.
std::optional<boost::urls::url> parseAddress(std::string_view text);

/// True when `text` holds an ASCII control character or DEL.
bool hasControlCharacter(std::string_view text);

/// `text` made fit to quote in a message: control characters become U+FFFD and anything
/// after `limit` bytes (cut at a character boundary) becomes "…".
std::string quotable(std::string_view text, std::size_t limit = 120);

}  // namespace halyward::detail
