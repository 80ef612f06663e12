#pragma once
/// Fetching a site's page, manifest and icon over HTTP(S) with firm limits, and finding
/// the icon and name a new web app gets from its site.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halyward {

/// Limits of every fetch. Tests shorten the times.
struct FetchLimits {
    std::chrono::milliseconds connectTimeout{10'000};
    /// The whole transfer of one fetch, redirects included.
    std::chrono::milliseconds transferTimeout{30'000};
    /// Every fetch of one `fetchSiteIcon` together: page, manifest, icons and fallbacks.
    std::chrono::milliseconds totalTimeout{30'000};
    long maxRedirects = 5;
    std::size_t maxPageBytes = 5 * 1024 * 1024;
    std::size_t maxManifestBytes = 1024 * 1024;
    std::size_t maxIconBytes = 4 * 1024 * 1024;

    bool operator==(const FetchLimits&) const = default;
};

/// The outcome of one fetch.
struct FetchResult {
    /// The body received (for a cut-off transfer, its first `maxBytes` bytes).
    std::vector<std::uint8_t> body;
    /// The address the body came from, after redirects.
    std::string finalURL;
    /// The HTTP status of the last response; 0 when none arrived.
    long status = 0;
    /// True when the body went past `maxBytes` and the transfer was stopped there.
    bool truncated = false;
    /// Why the fetch failed, as a short phrase ("timed out", "HTTP status 404", ...);
    /// empty on success.
    std::string error;

    /// A complete body with a 2xx status.
    bool ok() const { return error.empty() && !truncated && status >= 200 && status < 300; }
};

/// One HTTP client with fixed limits. Only http and https are followed, also across
/// redirects. Not copyable; one instance per thread.
class SiteFetcher {
public:
    explicit SiteFetcher(FetchLimits limits = {});
    ~SiteFetcher();
    SiteFetcher(const SiteFetcher&) = delete;
    SiteFetcher& operator=(const SiteFetcher&) = delete;

    /// GETs `url`, stopping the transfer as soon as the body passes `maxBytes`, and at
    /// `deadline` when that comes before the limits' own time-outs (a deadline already
    /// past fetches nothing and answers "timed out"). Never throws: failures are
    /// described in the result.
    FetchResult fetch(std::string_view url, std::size_t maxBytes,
                      std::optional<std::chrono::steady_clock::time_point> deadline = {});

    const FetchLimits& limits() const { return limits_; }

private:
    FetchLimits limits_;
    void* handle_ = nullptr;
};

/// What a site offers a new web app.
struct SiteIcon {
    /// The chosen icon's PNG bytes; none when no usable icon was found.
    std::optional<std::vector<std::uint8_t>> png;
    /// Where the PNG came from.
    std::string iconURL;
    /// Why there is no icon: "the site offers no PNG icon", "the site could not be
    /// reached: " and the cause, or that the site took longer than the time allowed for
    /// all fetches together (`FetchLimits::totalTimeout`). Empty when there is one.
    std::string reason;
    /// The page's title (see `pageTitle`).
    std::optional<std::string> pageTitle;
    /// The web app manifest's name (see `manifestName`).
    std::optional<std::string> manifestName;
};

/// Finds the icon of the site at `siteURL` (an address checked by `validatedWebURL`): the
/// page is fetched, its icon links and its manifest's icons are tried best first, and the
/// first that is a PNG is taken; when none is, the site's /apple-touch-icon.png and
/// /favicon.ico are tried. All these fetches together end at `limits.totalTimeout`.
/// `progress` is called with "page", "manifest" and "icon" as each fetch starts. Never
/// throws.
SiteIcon fetchSiteIcon(std::string_view siteURL,
                       const std::function<void(std::string_view)>& progress = {},
                       const FetchLimits& limits = {});

}  // namespace halyward
