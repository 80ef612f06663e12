#include "halyward/web/link_policy.hpp"

#include <gtest/gtest.h>

using namespace halyward;

TEST(link_policy, decide_link_routes_each_kind_of_request) {
    constexpr auto user = LinkActivation::userLink, script = LinkActivation::scriptOrRedirect;
    constexpr auto stay = LinkDecision::loadInPlace, out = LinkDecision::openExternally,
                   popup = LinkDecision::openPopup, deferred = LinkDecision::deferPopup;
    struct Case {
        const char* app;
        const char* target;
        bool newWindow, mainFrame;
        LinkActivation how;
        LinkDecision want;
    };
    const Case cases[] = {
        {"https://a.example", "  ABOUT:BLANK#top \n", true, true, user, deferred},
        {"https://a.example", "  about:blank  ", false, true, user, stay},
        {"https://a.example", "/inbox?page=2", false, true, user, stay},
        {"https://a.example", "http://[::1", false, true, user, stay},
        {"https://a.example", "JavaScript:alert('hi there')", true, true, user, popup},
        {"https://a.example", "data:text/plain,hi", false, true, user, stay},
        {"https://a.example", "MAILTO:a@b.c?subject=Hi there", false, true, script, out},
        {"https://a.example", "tel:+15551234567", true, false, user, out},
        {"https://a.example", "https://ads.tracker.net/frame", false, false, user, stay},
        {"https://a.example", "https://other.org/", true, true, user, popup},
        {"https://www.example.com/app", "https://example.com/settings", false, true, user, stay},
        {"https://example.com", "HTTPS://WWW.EXAMPLE.COM/a", false, true, user, stay},
        {"https://www.example.com", "https://docs.example.com/", false, true, user, out},
        {"https://docs.example.com", "https://example.com/", false, true, user, out},
        {"https://a.example", "https://a.example@other.org/", false, true, user, out},
        {"https://a.example", "https://other.org/page", false, true, script, stay},
        {"https://a.example", "https://sso.corp.net/start?Redirect_URI=x", false, true, user, stay},
        {"not a url at all", "https://other.org/", false, true, user, stay},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(decideLink(c.app, c.target, c.newWindow, c.mainFrame, c.how), c.want)
            << c.app << " -> " << c.target << " newWindow=" << c.newWindow
            << " main=" << c.mainFrame;
    }
}

TEST(link_policy, sign_in_is_recognised_by_host_path_or_query) {
    for (const char* yes :
         {"https://WWW.LOGIN.LIVE.COM/", "https://gsa.apple.com/x", "https://github.com/login",
          "https://gist.github.com/sessions/two-factor", "https://x.org/api/OAuth2/token",
          "https://x.org/v1/authorize", "https://x.org/o%61uth", "https://x.org/?CLIENT__ID=1",
          "https://x.org/?a&code_Challenge=x", "https://x.org/?response%5Ftype=code",
          "  https://x.org/?client_id=1  "}) {
        EXPECT_TRUE(isAuthNavigation(yes)) << yes;
    }
    for (const char* no :
         {"https://google.com/", "https://github.com/loginx", "https://github.com/me/sessions",
          "https://notgithub.com/login", "https://x.org/login", "https://x.org/?q=client_id",
          "https://x.org/?#client_id=1", "/relative/oauth", "mailto:a@b.c?client_id=1"}) {
        EXPECT_FALSE(isAuthNavigation(no)) << no;
    }
    EXPECT_EQ(authHosts().size(), 9u);
}

TEST(link_policy, off_site_needs_two_hosts_that_differ_beyond_one_www) {
    struct Case {
        const char* app;
        const char* target;
        bool want;
    };
    const Case cases[] = {
        {"https://www.www.example.com", "https://example.com", true},
        {"https://example.com", "http://EXAMPLE.com:8080/x", false},
        {"https://example.com", "file:///tmp/x", false},
        {"about:blank", "https://example.com", false},
        {"https://bücher.de", "https://BÜCHER.de/x", false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(isOffSite(c.app, c.target), c.want) << c.app << " " << c.target;
}

TEST(link_policy, deferred_popup_waits_for_a_real_address) {
    struct Case {
        const char* target;
        PopupFollowUp want;
    };
    const Case cases[] = {
        {" about:blank ", PopupFollowUp::waiting},
        {"About:srcdoc", PopupFollowUp::waiting},
        {"relative/path", PopupFollowUp::waiting},
        {"javascript:window.close()", PopupFollowUp::keep},
        {"HTTPS://cal.example/invite", PopupFollowUp::keep},
        {"webcal://cal.example/a.ics", PopupFollowUp::openExternally},
    };
    for (const auto& c : cases)
        EXPECT_EQ(decidePopupNavigation("https://app.example", c.target), c.want) << c.target;
}

TEST(link_policy, only_addresses_with_a_foreign_scheme_reach_the_system) {
    int asked = 0;
    const auto yes = [&](std::string_view) {
        ++asked;
        return true;
    };
    for (const char* never : {"data:text/html,hi", "JAVASCRIPT:x", "/no/scheme", ""})
        EXPECT_FALSE(shouldOfferToSystem(never, yes));
    EXPECT_EQ(asked, 0);
    EXPECT_TRUE(shouldOfferToSystem("https://example.com", yes));
    EXPECT_FALSE(shouldOfferToSystem("unknown-app:x", [](std::string_view) { return false; }));
}

TEST(link_policy, blank_navigation_is_exact_about_blank_untrimmed) {
    for (const char* yes :
         {"", "ABOUT:BLANK/", "about:blank?x", "about:blan\xE2\x84\xAA"})  // Kelvin sign
        EXPECT_TRUE(isBlankNavigation(yes)) << yes;
    for (const char* no : {" about:blank", "about:blankx", "about:blank//", "about:"})
        EXPECT_FALSE(isBlankNavigation(no)) << no;
}
