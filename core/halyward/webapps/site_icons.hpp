#pragma once
/// Finding a site's icons: the icon links of a page, the icons of its web app manifest,
/// and the choice of the best one. Also the page's title and the manifest's name, which
/// name a new web app when the user gave none. Pure functions: nothing here touches the
/// network, and every function accepts any bytes and stays linear in their size.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halyward {

/// One icon a page or manifest announces.
struct IconCandidate {
    /// Absolute address of the icon (or of the manifest, for `rel` "manifest").
    std::string url;
    /// The pixel size announced for it, when known.
    std::optional<std::int64_t> size;
    /// The link relation as written in the page, "manifest-icon" for an icon listed in a
    /// manifest, or "manifest" for the manifest link itself.
    std::string rel;

    bool operator==(const IconCandidate&) const = default;
};

/// The icon links of a page in page order (every link tag whose rel contains "icon" and
/// whose href resolves against `baseURL`), followed by the manifest link, when there is
/// one, as a candidate with rel "manifest".
std::vector<IconCandidate> iconCandidates(std::string_view html, std::string_view baseURL);

/// The icons listed in a web app manifest (its "icons" array, "src" resolved against the
/// manifest's own address), with rel "manifest-icon". Nothing for anything but a JSON
/// object with such an array; inline data: images are skipped.
std::vector<IconCandidate> manifestIconCandidates(std::string_view bytes,
                                                  std::string_view manifestURL);

/// The href of the first link tag whose rel is "manifest".
std::optional<std::string> manifestHref(std::string_view html);

/// The value of the attribute `name` (matched case-insensitively) in one tag's text,
/// double-quoted, single-quoted or bare.
std::optional<std::string> attribute(std::string_view name, std::string_view tag);

/// `href` made absolute against `base`; none for data: addresses and for anything that
/// does not resolve.
std::optional<std::string> resolve(std::string_view href, std::string_view base);

/// The largest width of the "WIDTHxHEIGHT" tokens of a sizes value; none without one.
std::optional<std::int64_t> iconSize(std::string_view sizes);

/// A candidate's score: its size (32 when unknown), plus 50 for an apple-touch rel, plus
/// 20 for a ".png" address, minus 10 for an ".svg" one.
std::int64_t rank(const IconCandidate& candidate);

/// The address of the highest-ranked candidate other than the manifest link; the earlier
/// one wins a tie. None when there is no such candidate.
std::optional<std::string> bestIconURL(const std::vector<IconCandidate>& among);

/// The candidates other than the manifest link, best first (ties keep their order), each
/// address once.
std::vector<IconCandidate> rankedIcons(const std::vector<IconCandidate>& among);

/// The text of the page's first title element with character references decoded, runs of
/// white space joined into one blank and the ends trimmed; none when it is missing or
/// empty.
std::optional<std::string> pageTitle(std::string_view html);

/// The manifest's "name" member, else its "short_name", trimmed; none when neither is
/// non-empty text.
std::optional<std::string> manifestName(std::string_view bytes);

}  // namespace halyward
