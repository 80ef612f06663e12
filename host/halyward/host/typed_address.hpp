#pragma once
/// Turning what the user types into the hidden address field into an address to open.

#include <optional>
#include <string>
#include <string_view>

namespace halyward {

/// The address for the text typed into the address field: trimmed, "https://" put in
/// front when it holds no "://", and bytes a strict URL parser rejects (blanks, controls,
/// non-ASCII, a stray "%") percent-encoded, as a browser's address bar does. None when the
/// text is empty after trimming or still does not parse as a URL with a scheme.
std::optional<std::string> typedAddress(std::string_view text);

/// `text` with tabs and line breaks dropped and the bytes a strict URL parser rejects
/// percent-encoded; an existing escape ("%20") is kept as it is, and only the first "#"
/// starts the fragment.
std::string encodeAddress(std::string_view text);

}  // namespace halyward
