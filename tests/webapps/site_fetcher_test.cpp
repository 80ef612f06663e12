#include "halyward/webapps/site_fetcher.hpp"
#include "halyward/webapps/icns.hpp"

#include "support/test_site.hpp"

#include <gtest/gtest.h>

#include <string>

using namespace halyward;
using namespace std::chrono_literals;

namespace {

// Short limits keep the slow and endless cases quick; the caps stay as they ship, except
// where a test names its own.
FetchLimits quick() {
    FetchLimits limits;
    limits.connectTimeout = 1s;
    limits.transferTimeout = 1s;
    return limits;
}

}  // namespace

TEST(site_fetcher, follows_only_a_few_web_redirects_and_stops_on_time) {
    const TestSite site;
    SiteFetcher fetcher(quick());
    const FetchResult hops = fetcher.fetch(site("/hop/4"), 1 << 20);
    EXPECT_TRUE(hops.ok()) << hops.error;
    EXPECT_EQ(hops.finalURL, site("/forms/"));

    const std::pair<const char*, const char*> failures[] = {
        {"/hop/5", "too many redirects"},
        {"/loop", "too many redirects"},
        {"/to-ftp", "redirected to an address that is not http or https"},
        {"/to-file", "redirected to an address that is not http or https"},
        {"/slow/", "timed out"},
        {"/nothing-here", "HTTP status 404"},
    };
    for (const auto& [path, error] : failures) {
        const FetchResult result = fetcher.fetch(site(path), 1 << 20);
        EXPECT_FALSE(result.ok()) << path;
        EXPECT_EQ(result.error, error) << path;
    }
    EXPECT_EQ(fetcher.fetch("file:///etc/passwd", 1 << 20).error,
              "redirected to an address that is not http or https");
}

TEST(site_fetcher, cuts_oversized_and_endless_bodies_at_the_cap) {
    const TestSite site;
    FetchLimits limits = quick();
    limits.transferTimeout = 10s;  // the cap, not the clock, must end these transfers
    SiteFetcher fetcher(limits);
    for (const char* path : {"/huge/", "/endless/"}) {
        const FetchResult result = fetcher.fetch(site(path), 100'000);
        EXPECT_TRUE(result.truncated) << path;
        EXPECT_FALSE(result.ok()) << path;
        EXPECT_LE(result.body.size(), 100'000u) << path;
    }
}

TEST(site_icon, takes_the_best_png_among_page_links_and_manifest_icons) {
    const TestSite site;
    std::vector<std::string> stages;
    const SiteIcon forms = fetchSiteIcon(
        site("/hop/1"), [&](std::string_view stage) { stages.emplace_back(stage); }, quick());
    ASSERT_TRUE(forms.png) << forms.reason;
    EXPECT_TRUE(isPNG(*forms.png));
    EXPECT_EQ(forms.iconURL, site("/icons/192.png"));
    EXPECT_EQ(forms.pageTitle, "Café & Co – 😀 Mail");
    EXPECT_EQ(forms.manifestName, "Forms App");
    EXPECT_EQ(stages, (std::vector<std::string>{"page", "manifest", "icon"}));

    const SiteIcon manifest = fetchSiteIcon(site("/manifest/"), {}, quick());
    EXPECT_EQ(manifest.iconURL, site("/icons/512.png"));
    EXPECT_EQ(manifest.manifestName, "Short");

    // Not a PNG, empty, missing: each is passed over for the next best.
    const SiteIcon broken = fetchSiteIcon(site("/broken/"), {}, quick());
    EXPECT_EQ(broken.iconURL, site("/icons/64.png"));

    // A page cut at its cap still offers its head.
    const SiteIcon huge = fetchSiteIcon(site("/endless/"), {}, quick());
    EXPECT_EQ(huge.iconURL, site("/icons/24.png"));
    EXPECT_EQ(huge.pageTitle, "Endless");
}

TEST(site_icon, falls_back_to_the_sites_own_files_then_gives_a_reason) {
    const TestSite site, bare(true);
    const SiteIcon plain = fetchSiteIcon(site("/plain/"), {}, quick());
    EXPECT_EQ(plain.iconURL, site("/apple-touch-icon.png"));
    EXPECT_EQ(plain.pageTitle, "Plain");

    for (const char* path : {"/plain/", "/only-gif/", "/nothing-here"}) {
        const SiteIcon none = fetchSiteIcon(bare(path), {}, quick());
        EXPECT_EQ(none.png, std::nullopt) << path;
        EXPECT_EQ(none.reason, "the site offers no PNG icon") << path;
    }

    const SiteIcon slow = fetchSiteIcon(site("/slow/"), {}, quick());
    EXPECT_EQ(slow.reason, "the site could not be reached: timed out");
    EXPECT_EQ(slow.pageTitle, std::nullopt);
    const SiteIcon loop = fetchSiteIcon(site("/loop"), {}, quick());
    EXPECT_EQ(loop.reason, "the site could not be reached: too many redirects");
}

// Each icon would get its own second; together they must keep to the one deadline, and
// the reason then names the deadline rather than blaming the site's icons.
TEST(site_icon, keeps_one_deadline_across_all_its_fetches_and_says_so) {
    const TestSite bare(true);
    FetchLimits limits = quick();
    limits.totalTimeout = 1500ms;
    const auto start = std::chrono::steady_clock::now();
    const SiteIcon slow = fetchSiteIcon(bare("/trickle/"), {}, limits);
    EXPECT_EQ(slow.png, std::nullopt);
    EXPECT_EQ(slow.reason, "the site took longer than the 1.5 s allowed for finding an icon");
    // Generous: it only has to show that the fetches did not each take their own second.
    EXPECT_LT(std::chrono::steady_clock::now() - start, 20s);
}
