#include "halyward/web/link_policy.hpp"

#include "halyward/text/text.hpp"
#include "halyward/web/address.hpp"

#include <boost/url/url.hpp>

#include <optional>

namespace halyward {

namespace {

using NameSet = std::set<std::string, std::less<>>;

// The code-hosting service whose own login pages count as a sign-in flow; its sub-domains
// (gist, enterprise hosts) count too.
constexpr std::string_view kCodeHostingHost = "github.com";

// The lower-cased scheme, or nothing when the text does not parse or has no scheme.
std::optional<std::string> schemeOf(const std::optional<boost::urls::url>& url) {
    if (!url || !url->has_scheme() || url->scheme().empty()) return std::nullopt;
    return text::lowercased(url->scheme());
}

// The decoded, lower-cased host; nothing when there is no authority or its host is empty
// (file:///path, mailto:, relative references).
std::optional<std::string> hostOf(const std::optional<boost::urls::url>& url) {
    if (!url || !url->has_authority()) return std::nullopt;
    std::string host = url->host();
    if (host.empty()) return std::nullopt;
    return text::lowercased(host);
}

std::string_view withoutWWW(std::string_view host) {
    return host.starts_with("www.") ? host.substr(4) : host;
}

bool isHTTP(std::string_view scheme) { return scheme == "http" || scheme == "https"; }

bool contains(const NameSet& set, std::string_view name) { return set.find(name) != set.end(); }

// Query item names that only OAuth and OpenID requests carry, compared without case and
// without underscores.
bool isOAuthQueryName(std::string_view name) {
    std::string folded;
    for (char c : text::lowercased(name)) {
        if (c == '_') continue;
        folded.push_back(c);
        if (folded.size() > 13) return false;  // longer than the longest name below
    }
    return folded == "clientid" || folded == "redirecturi" || folded == "responsetype" ||
           folded == "codechallenge";
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// The percent-decoded name of each "&"-separated query item (the part before "=").
bool hasOAuthQueryName(std::string_view query) {
    std::size_t start = 0;
    while (start <= query.size()) {
        std::size_t end = query.find('&', start);
        if (end == std::string_view::npos) end = query.size();
        const std::string_view item = query.substr(start, end - start);
        const std::string_view encodedName = item.substr(0, item.find('='));
        std::string name;
        for (std::size_t i = 0; i < encodedName.size(); ++i) {
            const bool escape = encodedName[i] == '%' && i + 2 < encodedName.size();
            const int high = escape ? hexValue(encodedName[i + 1]) : -1;
            const int low = high >= 0 ? hexValue(encodedName[i + 2]) : -1;
            if (low >= 0) {
                name.push_back(static_cast<char>(high * 16 + low));
                i += 2;
            } else {
                name.push_back(encodedName[i]);
            }
        }
        if (isOAuthQueryName(name)) return true;
        start = end + 1;
    }
    return false;
}

bool isPathOrSubPath(std::string_view path, std::string_view base) {
    return path == base ||
           (path.starts_with(base) && path.size() > base.size() && path[base.size()] == '/');
}

}  // namespace

const NameSet& webViewSchemes() {
    static const NameSet schemes{"about", "blob", "data", "javascript", "srcdoc"};
    return schemes;
}

const NameSet& authHosts() {
    static const NameSet hosts{
        "accounts.google.com",        // Google account sign-in
        "accounts.youtube.com",       // YouTube's account host, visited during Google sign-in
        "appleid.apple.com",          // Apple ID
        "idmsa.apple.com",            // Apple identity management sign-in
        "gsa.apple.com",              // Apple authentication service
        "login.microsoftonline.com",  // Microsoft identity platform
        "login.microsoft.com",        // Microsoft identity platform
        "login.live.com",             // Microsoft consumer account sign-in
        "account.live.com",           // Microsoft consumer account
    };
    return hosts;
}

bool isBlankNavigation(std::string_view text) {
    if (text.empty()) return true;
    // Only a short prefix can matter: no lower-case mapping turns more than four bytes into
    // one ASCII letter, so 64 bytes cover "about:blank" plus one character. Longer text
    // can only match the "?" and "#" prefixes, never the two exact forms.
    constexpr std::size_t kPrefix = 64;
    const bool whole = text.size() <= kPrefix;
    const std::string lower = text::lowercased(text.substr(0, kPrefix));
    if (whole && (lower == "about:blank" || lower == "about:blank/")) return true;
    return lower.starts_with("about:blank?") || lower.starts_with("about:blank#");
}

bool isOffSite(std::string_view appURL, std::string_view targetURL) {
    const auto appHost = hostOf(parseAddress(appURL));
    if (!appHost) return false;
    const auto targetHost = hostOf(parseAddress(targetURL));
    if (!targetHost) return false;
    return withoutWWW(*appHost) != withoutWWW(*targetHost);
}

bool isAuthNavigation(std::string_view text) {
    const auto url = parseAddress(text::trim(text));
    const auto host = hostOf(url);
    if (!host) return false;
    const std::string_view bareHost = withoutWWW(*host);
    if (contains(authHosts(), bareHost)) return true;

    const std::string path = text::lowercased(url->path());
    const bool codeHosting =
        bareHost == kCodeHostingHost ||
        (bareHost.ends_with(kCodeHostingHost) && bareHost.size() > kCodeHostingHost.size() &&
         bareHost[bareHost.size() - kCodeHostingHost.size() - 1] == '.');
    if (codeHosting && (isPathOrSubPath(path, "/login") || isPathOrSubPath(path, "/sessions"))) {
        return true;
    }
    if (path.find("/oauth") != std::string::npos || path.find("/authorize") != std::string::npos) {
        return true;
    }
    // The query is walked by hand: Boost.URL 1.81's parameter iterator reads past the end
    // of an empty query that is followed by a fragment ("?#x"). Drop this once the
    // minimum Boost version is 1.82 or later.
    if (url->has_query() && hasOAuthQueryName(url->encoded_query())) return true;
    return false;
}

LinkDecision decideLink(std::string_view appURL, std::string_view targetURL, bool newWindow,
                        bool mainFrame, LinkActivation activation) {
    const std::string_view target = text::trim(targetURL);
    if (newWindow && isBlankNavigation(target)) return LinkDecision::deferPopup;

    const auto scheme = schemeOf(parseAddress(target));
    if (!scheme) return LinkDecision::loadInPlace;
    if (contains(webViewSchemes(), *scheme)) {
        return newWindow ? LinkDecision::openPopup : LinkDecision::loadInPlace;
    }
    if (!isHTTP(*scheme)) return LinkDecision::openExternally;

    // Sub-frames (embedded players, sign-in widgets, ads) always load, whatever their site.
    if (!mainFrame) return LinkDecision::loadInPlace;
    if (newWindow) return LinkDecision::openPopup;
    if (isAuthNavigation(target)) return LinkDecision::loadInPlace;
    // Only a link the user activated can leave the app; redirects and scripts stay, so
    // single-sign-on hops through other hosts keep working.
    if (activation == LinkActivation::scriptOrRedirect) return LinkDecision::loadInPlace;
    return isOffSite(appURL, target) ? LinkDecision::openExternally : LinkDecision::loadInPlace;
}

PopupFollowUp decidePopupNavigation(std::string_view /*appURL*/, std::string_view targetURL) {
    const std::string_view target = text::trim(targetURL);
    if (isBlankNavigation(target)) return PopupFollowUp::waiting;
    const auto scheme = schemeOf(parseAddress(target));
    if (!scheme || *scheme == "about") return PopupFollowUp::waiting;
    if (contains(webViewSchemes(), *scheme) || isHTTP(*scheme)) return PopupFollowUp::keep;
    return PopupFollowUp::openExternally;
}

bool shouldOfferToSystem(std::string_view url,
                         const std::function<bool(std::string_view)>& hasHandler) {
    const auto scheme = schemeOf(parseAddress(url));
    if (!scheme) return false;
    if (contains(webViewSchemes(), *scheme)) return false;
    return hasHandler ? hasHandler(url) : false;
}

}  // namespace halyward
