#include "halyward/webapps/site_icons.hpp"

#include "halyward/text/regex.hpp"
#include "halyward/text/text.hpp"
#include "halyward/web/address.hpp"

#include <boost/json/parse.hpp>
#include <boost/json/value.hpp>
#include <boost/url/url.hpp>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <limits>
#include <map>
#include <set>

namespace halyward {

namespace {

using text::Regex;
using text::RegexMatch;

// Pages may hold any bytes (Latin-1 and other legacy encodings, broken UTF-8), and the
// patterns only read the ASCII of the markup: a tag must be found even when one of its
// attributes holds a byte that is not UTF-8.
Regex pagePattern(std::string_view pattern) { return Regex(pattern, text::RegexSubjects::bytes); }

const Regex& linkTagPattern() {
    static const Regex pattern = pagePattern("(?i)<link\\b[^>]*>");
    return pattern;
}

// The page cut just after its last ">": every pattern used on pages ends in ">", and a
// start with no ">" after it would make the matcher rescan the rest of the page from
// every "<link" of a page full of unclosed tags.
std::string_view throughLastTagEnd(std::string_view html) {
    const std::size_t last = html.rfind('>');
    return last == std::string_view::npos ? std::string_view() : html.substr(0, last + 1);
}

std::string attributePatternText(std::string_view name) {
    std::string escaped;
    for (const char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        if (!std::isalnum(byte) && byte < 0x80) escaped += '\\';
        escaped += c;
    }
    return "(?i)\\b" + escaped + "\\s*=\\s*(?:\"([^\"]*)\"|'([^']*)'|([^\\s>]+))";
}

// The three attributes the scanner reads are compiled once; any other name, asked for by
// an outside caller, is compiled for that call only.
const Regex* knownAttributePattern(std::string_view name) {
    static const Regex rel = pagePattern(attributePatternText("rel"));
    static const Regex href = pagePattern(attributePatternText("href"));
    static const Regex sizes = pagePattern(attributePatternText("sizes"));
    if (name == "rel") return &rel;
    if (name == "href") return &href;
    if (name == "sizes") return &sizes;
    return nullptr;
}

bool isASCIIWhitespace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
}

bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

char asciiLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// For the ASCII words compared here, ASCII case folding gives the same answers as full
// Unicode lower-casing: no other character lower-cases to a, c, e, f, i, m, n, o, s or t
// alone, so the cost of the Unicode tables is saved on every tag.
bool containsIgnoringCase(std::string_view text, std::string_view lowerWord) {
    if (lowerWord.size() > text.size()) return false;
    for (std::size_t i = 0; i + lowerWord.size() <= text.size(); ++i) {
        std::size_t j = 0;
        while (j < lowerWord.size() && asciiLower(text[i + j]) == lowerWord[j]) ++j;
        if (j == lowerWord.size()) return true;
    }
    return false;
}

bool equalsIgnoringCase(std::string_view text, std::string_view lowerWord) {
    return text.size() == lowerWord.size() && containsIgnoringCase(text, lowerWord);
}

// Calls `body` with the text of every link tag of the page, in order.
template <typename Body>
void forEachLinkTag(std::string_view html, Body body) {
    const std::string_view page = throughLastTagEnd(html);
    RegexMatch match;
    for (std::size_t offset = 0; linkTagPattern().find(page, offset, match);) {
        offset = match.end();
        if (!body(page.substr(match.begin(), offset - match.begin()))) return;
    }
}

// Numeric and the common named character references; anything else stays as written.
void appendDecodedReference(std::string& out, std::string_view reference) {
    static const std::map<std::string_view, char32_t> named = {
        {"amp", U'&'},         {"lt", U'<'},          {"gt", U'>'},         {"quot", U'"'},
        {"apos", U'\''},       {"nbsp", U'\u00A0'},   {"copy", U'\u00A9'},  {"reg", U'\u00AE'},
        {"trade", U'\u2122'},  {"hellip", U'\u2026'}, {"mdash", U'\u2014'}, {"ndash", U'\u2013'},
        {"lsquo", U'\u2018'},  {"rsquo", U'\u2019'},  {"ldquo", U'\u201C'}, {"rdquo", U'\u201D'},
        {"middot", U'\u00B7'}, {"bull", U'\u2022'},   {"laquo", U'\u00AB'}, {"raquo", U'\u00BB'},
    };
    const std::string_view body = reference.substr(1, reference.size() - 2);  // no & and ;
    if (!body.empty() && body.front() == '#') {
        const bool hex = body.size() > 1 && (body[1] == 'x' || body[1] == 'X');
        const std::string_view digits = body.substr(hex ? 2 : 1);
        std::uint32_t value = 0;
        const auto [end, error] =
            std::from_chars(digits.data(), digits.data() + digits.size(), value, hex ? 16 : 10);
        if (digits.empty() || error != std::errc() || end != digits.data() + digits.size()) {
            out += reference;
            return;
        }
        const bool valid = value != 0 && value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF);
        text::appendUTF8(out, valid ? static_cast<char32_t>(value) : U'\uFFFD');
        return;
    }
    if (const auto found = named.find(body); found != named.end()) {
        text::appendUTF8(out, found->second);
    } else {
        out += reference;
    }
}

std::optional<boost::urls::url> parseBase(std::string_view base) {
    auto url = parseAddress(base);
    if (!url || !url->has_scheme()) return std::nullopt;
    return url;
}

std::optional<std::string> resolveAgainst(std::string_view href, const boost::urls::url& base) {
    // Pages often wrap addresses in blanks and line breaks, which the URL standard
    // drops at the ends and, for tabs and line breaks, everywhere.
    while (!href.empty() && isASCIIWhitespace(href.front())) href.remove_prefix(1);
    while (!href.empty() && isASCIIWhitespace(href.back())) href.remove_suffix(1);
    std::string cleaned;
    cleaned.reserve(href.size());
    for (const char c : href) {
        if (c != '\t' && c != '\n' && c != '\r') cleaned += c;
    }
    if (text::lowercased(cleaned.substr(0, 5)) == "data:") return std::nullopt;
    const auto reference = parseAddress(cleaned);
    if (!reference) return std::nullopt;
    boost::urls::url absolute;
    if (!boost::urls::resolve(base, *reference, absolute)) return std::nullopt;
    // A relative href on a data: page would still make an inline image.
    if (text::lowercased(absolute.scheme()) == "data") return std::nullopt;
    return std::string(absolute.buffer());
}

}  // namespace

std::optional<std::string> attribute(std::string_view name, std::string_view tag) {
    const Regex* known = knownAttributePattern(name);
    std::optional<Regex> adHoc;
    if (!known) known = &adHoc.emplace(pagePattern(attributePatternText(name)));
    // Called for every attribute of every link tag: one match per thread serves them all.
    thread_local RegexMatch match;
    if (!known->find(tag, 0, match)) return std::nullopt;
    for (std::size_t group = 1; group <= 3; ++group) {
        if (const auto value = match.group(tag, group)) return std::string(*value);
    }
    return std::nullopt;
}

std::optional<std::string> resolve(std::string_view href, std::string_view base) {
    const auto baseURL = parseBase(base);
    if (!baseURL) return std::nullopt;
    return resolveAgainst(href, *baseURL);
}

std::optional<std::int64_t> iconSize(std::string_view sizes) {
    std::optional<std::int64_t> largest;
    std::size_t pos = 0;
    while (pos < sizes.size()) {
        while (pos < sizes.size() && isASCIIWhitespace(sizes[pos])) ++pos;
        std::size_t end = pos;
        while (end < sizes.size() && !isASCIIWhitespace(sizes[end])) ++end;
        const std::string_view token = sizes.substr(pos, end - pos);
        pos = end;
        const std::size_t separator = token.find_first_of("xX");
        if (separator == std::string_view::npos || separator == 0) continue;
        const std::string_view width = token.substr(0, separator);
        const std::string_view height = token.substr(separator + 1);
        std::int64_t value = 0;
        const auto [stop, error] =
            std::from_chars(width.data(), width.data() + width.size(), value);
        const bool heightIsNumber =
            !height.empty() &&
            std::all_of(height.begin(), height.end(), [](char c) { return c >= '0' && c <= '9'; });
        if (error != std::errc() || stop != width.data() + width.size() || value < 0 ||
            !heightIsNumber) {
            continue;
        }
        if (!largest || value > *largest) largest = value;
    }
    return largest;
}

std::int64_t rank(const IconCandidate& candidate) {
    // Sizes come from pages; keep room so the bonuses below cannot overflow.
    std::int64_t score = std::min<std::int64_t>(candidate.size.value_or(32),
                                                std::numeric_limits<std::int64_t>::max() - 100);
    const std::string address = text::lowercased(candidate.url);
    if (contains(candidate.rel, "apple-touch")) score += 50;
    if (contains(address, ".png")) score += 20;
    if (contains(address, ".svg")) score -= 10;
    return score;
}

std::optional<std::string> manifestHref(std::string_view html) {
    std::optional<std::string> href;
    forEachLinkTag(html, [&](std::string_view tag) {
        const auto rel = attribute("rel", tag);
        if (!rel || !equalsIgnoringCase(*rel, "manifest")) return true;
        href = attribute("href", tag);
        return false;
    });
    return href;
}

std::vector<IconCandidate> iconCandidates(std::string_view html, std::string_view baseURL) {
    std::vector<IconCandidate> candidates;
    const auto base = parseBase(baseURL);
    if (!base) return candidates;
    // The manifest link is found in the same pass, as `manifestHref` would find it.
    std::optional<std::string> manifest;
    bool seenManifest = false;
    forEachLinkTag(html, [&](std::string_view tag) {
        const auto rel = attribute("rel", tag);
        if (rel && !seenManifest && equalsIgnoringCase(*rel, "manifest")) {
            seenManifest = true;
            manifest = attribute("href", tag);
            return true;
        }
        if (!rel || !containsIgnoringCase(*rel, "icon")) return true;
        const auto href = attribute("href", tag);
        const auto url = href ? resolveAgainst(*href, *base) : std::nullopt;
        if (!url) return true;
        const auto sizes = attribute("sizes", tag);
        candidates.push_back({*url, sizes ? iconSize(*sizes) : std::nullopt, *rel});
        return true;
    });
    if (manifest) {
        if (auto url = resolveAgainst(*manifest, *base))
            candidates.push_back({*url, std::nullopt, "manifest"});
    }
    return candidates;
}

std::vector<IconCandidate> manifestIconCandidates(std::string_view bytes,
                                                  std::string_view manifestURL) {
    std::vector<IconCandidate> candidates;
    const auto base = parseBase(manifestURL);
    boost::system::error_code error;
    const boost::json::value manifest = boost::json::parse(bytes, error);
    if (!base || error || !manifest.is_object()) return candidates;
    const auto* icons = manifest.as_object().if_contains("icons");
    if (!icons || !icons->is_array()) return candidates;
    for (const boost::json::value& icon : icons->as_array()) {
        if (!icon.is_object()) continue;
        const auto* src = icon.as_object().if_contains("src");
        if (!src || !src->is_string()) continue;
        const std::string_view source(src->as_string());
        if (source.starts_with("data:")) continue;
        auto url = resolveAgainst(source, *base);
        if (!url) continue;
        const auto* sizes = icon.as_object().if_contains("sizes");
        std::optional<std::int64_t> size;
        if (sizes && sizes->is_string()) size = iconSize(std::string_view(sizes->as_string()));
        candidates.push_back({std::move(*url), size, "manifest-icon"});
    }
    return candidates;
}

std::optional<std::string> bestIconURL(const std::vector<IconCandidate>& among) {
    const IconCandidate* best = nullptr;
    std::int64_t bestRank = 0;
    for (const IconCandidate& candidate : among) {
        if (candidate.rel == "manifest") continue;
        const std::int64_t score = rank(candidate);
        if (!best || score > bestRank) {
            best = &candidate;
            bestRank = score;
        }
    }
    if (!best) return std::nullopt;
    return best->url;
}

std::vector<IconCandidate> rankedIcons(const std::vector<IconCandidate>& among) {
    std::vector<std::pair<std::int64_t, const IconCandidate*>> scored;
    for (const IconCandidate& candidate : among) {
        if (candidate.rel != "manifest") scored.emplace_back(rank(candidate), &candidate);
    }
    std::stable_sort(scored.begin(), scored.end(),
                     [](const auto& a, const auto& b) { return a.first > b.first; });
    std::vector<IconCandidate> ranked;
    std::set<std::string_view> seen;
    for (const auto& [score, candidate] : scored) {
        if (seen.insert(candidate->url).second) ranked.push_back(*candidate);
    }
    return ranked;
}

std::optional<std::string> pageTitle(std::string_view html) {
    static const Regex opening = pagePattern("(?i)<title\\b[^>]*>");
    static const Regex closing = pagePattern("(?i)</title\\b");
    RegexMatch match;
    if (!opening.find(throughLastTagEnd(html), 0, match)) return std::nullopt;
    const std::size_t start = match.end();
    if (!closing.find(html, start, match)) return std::nullopt;
    const std::string_view raw = html.substr(start, match.begin() - start);

    std::string decoded;
    for (std::size_t pos = 0; pos < raw.size();) {
        const std::size_t semicolon = raw[pos] == '&' ? raw.find(';', pos) : std::string_view::npos;
        // References are short; a far-off ";" belongs to other text.
        if (semicolon != std::string_view::npos && semicolon - pos <= 10) {
            appendDecodedReference(decoded, raw.substr(pos, semicolon - pos + 1));
            pos = semicolon + 1;
        } else {
            decoded += raw[pos++];
        }
    }
    std::string title;
    bool blank = false;
    for (std::size_t pos = 0; pos < decoded.size();) {
        const text::Scalar scalar = text::decodeAt(decoded, pos);
        if (text::isWhitespace(scalar.value) || scalar.value < 0x20 || scalar.value == 0x7F) {
            blank = true;
        } else {
            if (blank && !title.empty()) title += ' ';
            blank = false;
            title.append(decoded, pos, scalar.length);
        }
        pos += scalar.length;
    }
    if (title.empty()) return std::nullopt;
    return title;
}

std::optional<std::string> manifestName(std::string_view bytes) {
    boost::system::error_code error;
    const boost::json::value manifest = boost::json::parse(bytes, error);
    if (error || !manifest.is_object()) return std::nullopt;
    for (const char* key : {"name", "short_name"}) {
        const auto* value = manifest.as_object().if_contains(key);
        if (!value || !value->is_string()) continue;
        const std::string_view name = text::trim(std::string_view(value->as_string()));
        if (!name.empty()) return std::string(name);
    }
    return std::nullopt;
}

}  // namespace halyward
