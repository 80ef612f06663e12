#include "halyward/update/version_compare.hpp"

#include "halyward/text/text.hpp"

#include <algorithm>
#include <charconv>

namespace halyward {

namespace {

// A decimal integer: an optional "+" and ASCII digits. A piece never holds a "-", since
// the text was cut at its first dash.
std::int64_t pieceValue(std::string_view piece) {
    if (!piece.empty() && piece.front() == '+') piece.remove_prefix(1);
    if (piece.empty()) return 0;
    std::int64_t value = 0;
    auto [end, ec] = std::from_chars(piece.data(), piece.data() + piece.size(), value);
    if (ec != std::errc() || end != piece.data() + piece.size()) return 0;
    return value;
}

}  // namespace

std::vector<std::int64_t> versionParts(std::string_view text) {
    std::string lowered = text::lowercased(text::trim(text));
    std::string_view rest = lowered;
    if (!rest.empty() && rest.front() == 'v') rest.remove_prefix(1);

    // Keep the first run that is not a dash: "1.2-rc1" gives "1.2" and "-1.2" gives "1.2".
    std::size_t start = rest.find_first_not_of('-');
    if (start == std::string_view::npos) return {};
    rest = rest.substr(start);
    rest = rest.substr(0, rest.find('-'));

    std::vector<std::int64_t> parts;
    std::size_t pos = 0;
    while (pos <= rest.size()) {
        std::size_t dot = std::min(rest.find('.', pos), rest.size());
        if (dot > pos) parts.push_back(pieceValue(rest.substr(pos, dot - pos)));
        pos = dot + 1;
    }
    return parts;
}

bool isVersion(std::string_view candidate, std::string_view newerThan) {
    std::vector<std::int64_t> a = versionParts(candidate);
    std::vector<std::int64_t> b = versionParts(newerThan);
    std::size_t count = std::max(a.size(), b.size());
    for (std::size_t i = 0; i < count; ++i) {
        std::int64_t left = i < a.size() ? a[i] : 0;
        std::int64_t right = i < b.size() ? b[i] : 0;
        if (left != right) return left > right;
    }
    return false;
}

}  // namespace halyward
