#pragma once
/// Reading addresses the way people and pages write them.

#include <boost/url/url.hpp>

#include <optional>
#include <string_view>

namespace halyward {

/// Parses `text` as an RFC 3986 URI reference. Text that the strict grammar refuses is
/// tried once more the way a browser's address bar reads it: ASCII tabs and line breaks
/// are dropped, and the bytes that are never valid raw (blanks, other control characters,
/// non-ASCII bytes, a "%" that starts no escape, a second "#", brackets outside the host)
/// are percent-encoded. Only text that still fails (a broken IPv6 literal, a port that is
/// not a number, ...) gives none. Relative references parse too; they have no scheme.
std::optional<boost::urls::url> parseAddress(std::string_view text);

}  // namespace halyward
