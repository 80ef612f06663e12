#include "halyward/webapps/site_fetcher.hpp"

#include "halyward/base/error.hpp"
#include "halyward/text/text.hpp"
#include "halyward/webapps/curl_library.hpp"
#include "halyward/webapps/icns.hpp"
#include "halyward/webapps/site_icons.hpp"

#include "halyward/base/number_text.hpp"

#include <algorithm>
#include <set>

namespace halyward {

namespace {

// A page announcing dozens of broken icons must not keep `app add` waiting for dozens of
// time-outs; real sites have a handful of candidates and the first few are the best.
constexpr std::size_t kMaxIconAttempts = 6;

struct Transfer {
    std::vector<std::uint8_t>* body;
    std::size_t maxBytes;
    bool truncated = false;
};

std::size_t receive(char* data, std::size_t size, std::size_t count, void* context) {
    auto& transfer = *static_cast<Transfer*>(context);
    const std::size_t length = size * count;
    const std::size_t room = transfer.maxBytes - transfer.body->size();
    if (length > room) {
        // Keep what fits, then answer short so that curl stops the transfer at once.
        transfer.body->insert(transfer.body->end(), data, data + room);
        transfer.truncated = true;
        return room;
    }
    transfer.body->insert(transfer.body->end(), data, data + length);
    return length;
}

using Clock = std::chrono::steady_clock;

// "30 s", "1.5 s": the time allowed, as the message names it.
std::string secondsText(std::chrono::milliseconds time) {
    std::string out;
    appendDouble(out, static_cast<double>(time.count()) / 1000.0, DoubleNotation::plain);
    return out + " s";
}

}  // namespace

SiteFetcher::SiteFetcher(FetchLimits limits) : limits_(limits) {
    if (const detail::CurlLibrary* library = detail::curlLibrary()) handle_ = library->easyInit();
}

SiteFetcher::~SiteFetcher() {
    if (handle_) detail::curlLibrary()->easyCleanup(static_cast<CURL*>(handle_));
}

FetchResult SiteFetcher::fetch(std::string_view url, std::size_t maxBytes,
                               std::optional<Clock::time_point> deadline) {
    FetchResult result;
    std::chrono::milliseconds connectTimeout = limits_.connectTimeout;
    std::chrono::milliseconds transferTimeout = limits_.transferTimeout;
    if (deadline) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - Clock::now());
        if (left.count() <= 0) {
            result.finalURL = std::string(url);
            result.error = "timed out";
            return result;
        }
        connectTimeout = std::min(connectTimeout, left);
        transferTimeout = std::min(transferTimeout, left);
    }
    auto* curl = static_cast<CURL*>(handle_);
    if (!curl) {
        result.error = "the HTTP client could not start (is libcurl installed?)";
        return result;
    }
    const detail::CurlLibrary& lib = *detail::curlLibrary();
    Transfer transfer{&result.body, maxBytes};
    const std::string address(url);
    lib.easyReset(curl);
    lib.easySetopt(curl, CURLOPT_URL, address.c_str());
    // Only web addresses, also where a redirect leads: never file:, ftp: or the like.
    lib.easySetopt(curl, CURLOPT_PROTOCOLS_STR, "http,https");
    lib.easySetopt(curl, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    lib.easySetopt(curl, CURLOPT_FOLLOWLOCATION, 1L);
    lib.easySetopt(curl, CURLOPT_MAXREDIRS, limits_.maxRedirects);
    lib.easySetopt(curl, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(connectTimeout.count()));
    lib.easySetopt(curl, CURLOPT_TIMEOUT_MS, static_cast<long>(transferTimeout.count()));
    // Refuse early when the server announces a larger body; the write callback enforces
    // the cap for bodies of unknown length. The cap counts decoded bytes, so a small
    // compressed body cannot unpack into gigabytes.
    lib.easySetopt(curl, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(maxBytes));
    lib.easySetopt(curl, CURLOPT_ACCEPT_ENCODING, "");
    lib.easySetopt(curl, CURLOPT_NOSIGNAL, 1L);
    lib.easySetopt(curl, CURLOPT_USERAGENT,
                   (std::string("Halyward/") + HalywardVersion::current).c_str());
    lib.easySetopt(curl, CURLOPT_WRITEFUNCTION, &receive);
    lib.easySetopt(curl, CURLOPT_WRITEDATA, &transfer);

    const CURLcode code = lib.easyPerform(curl);
    lib.easyGetinfo(curl, CURLINFO_RESPONSE_CODE, &result.status);
    char* effective = nullptr;
    lib.easyGetinfo(curl, CURLINFO_EFFECTIVE_URL, &effective);
    result.finalURL = effective ? effective : address;
    result.truncated = transfer.truncated || code == CURLE_FILESIZE_EXCEEDED;

    if (result.truncated) {
        result.error = "more than " + std::to_string(maxBytes) + " bytes";
    } else if (code == CURLE_OPERATION_TIMEDOUT) {
        result.error = "timed out";
    } else if (code == CURLE_TOO_MANY_REDIRECTS) {
        result.error = "too many redirects";
    } else if (code == CURLE_UNSUPPORTED_PROTOCOL) {
        result.error = "redirected to an address that is not http or https";
    } else if (code != CURLE_OK) {
        result.error = lib.easyStrerror(code);
    } else if (result.status < 200 || result.status >= 300) {
        result.error = "HTTP status " + std::to_string(result.status);
    }
    return result;
}

SiteIcon fetchSiteIcon(std::string_view siteURL,
                       const std::function<void(std::string_view)>& progress,
                       const FetchLimits& limits) {
    const auto report = [&](std::string_view stage) {
        if (progress) progress(stage);
    };
    SiteIcon site;
    SiteFetcher fetcher(limits);
    // One deadline for every fetch below: each alone keeps to its own limits too, but a
    // slow site must not hold the command for the sum of them all.
    const Clock::time_point deadline = Clock::now() + limits.totalTimeout;
    const auto outOfTime = [&] { return Clock::now() >= deadline; };
    const std::string outOfTimeReason = "the site took longer than the " +
                                        secondsText(limits.totalTimeout) +
                                        " allowed for finding an icon";

    report("page");
    const FetchResult page = fetcher.fetch(siteURL, limits.maxPageBytes, deadline);
    // Without a page (no answer, a time-out, a redirect loop or one to another scheme) the
    // later fetches would only run into the same trouble; an error status, though, still
    // leaves the site's own icon files worth a try.
    if (!page.error.empty() && !page.truncated && (page.status < 400 || page.status > 599)) {
        site.reason =
            outOfTime() ? outOfTimeReason : "the site could not be reached: " + page.error;
        return site;
    }
    // A page cut at the cap still has its head, where icon links and the title live.
    const std::string_view html(reinterpret_cast<const char*>(page.body.data()), page.body.size());
    const std::string& base = page.finalURL;
    std::vector<IconCandidate> candidates;
    if (page.status >= 200 && page.status < 300) {
        site.pageTitle = pageTitle(html);
        candidates = iconCandidates(html, base);
    }

    for (const IconCandidate& candidate : candidates) {
        if (candidate.rel != "manifest") continue;
        report("manifest");
        const FetchResult manifest =
            fetcher.fetch(candidate.url, limits.maxManifestBytes, deadline);
        if (!manifest.ok()) break;
        const std::string_view bytes(reinterpret_cast<const char*>(manifest.body.data()),
                                     manifest.body.size());
        site.manifestName = manifestName(bytes);
        const auto icons = manifestIconCandidates(bytes, manifest.finalURL);
        candidates.insert(candidates.end(), icons.begin(), icons.end());
        break;
    }

    std::set<std::string> tried;
    const auto tryIcon = [&](const IconCandidate& candidate) {
        const std::string scheme =
            text::lowercased(candidate.url.substr(0, candidate.url.find(':')));
        if ((scheme != "http" && scheme != "https") || !tried.insert(candidate.url).second ||
            outOfTime()) {
            return false;
        }
        report("icon");
        FetchResult icon = fetcher.fetch(candidate.url, limits.maxIconBytes, deadline);
        if (!icon.ok() || !isPNG(icon.body)) return false;
        site.png = std::move(icon.body);
        site.iconURL = candidate.url;
        return true;
    };
    std::size_t attempts = 0;
    for (const IconCandidate& candidate : rankedIcons(candidates)) {
        if (attempts++ == kMaxIconAttempts) break;
        if (tryIcon(candidate)) return site;
    }
    // The site's well-known icon files come after the page's own choices, whatever their
    // rank, since a page that names its icons knows best.
    std::vector<IconCandidate> fallbacks;
    for (const auto& [path, rel] :
         {std::pair<const char*, const char*>{"/apple-touch-icon.png", "apple-touch-icon"},
          {"/favicon.ico", "icon"}}) {
        if (auto url = resolve(path, base)) fallbacks.push_back({*url, std::nullopt, rel});
    }
    for (const IconCandidate& candidate : rankedIcons(fallbacks)) {
        if (tryIcon(candidate)) return site;
    }
    site.reason = outOfTime() ? outOfTimeReason : "the site offers no PNG icon";
    return site;
}

}  // namespace halyward
