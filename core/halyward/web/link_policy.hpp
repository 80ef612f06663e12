#pragma once
/// The web-app host's navigation policy: pure decisions about where an address is shown
/// (in the app, in a pop-up window, or handed to the system). No function here throws or
/// touches the system; every one accepts any bytes as address text.

#include <functional>
#include <set>
#include <string>
#include <string_view>

namespace halyward {

/// Where a navigation request goes.
enum class LinkDecision {
    /// Let the web view navigate (or, for a new-window request, create a pop-up window).
    loadInPlace,
    /// Do not navigate in the app; offer the address to the system.
    openExternally,
    /// A new-window request that gets its own pop-up window at once.
    openPopup,
    /// A new-window request to a blank page: create the pop-up window but decide its fate
    /// at its first real navigation.
    deferPopup,
};

/// How a navigation started.
enum class LinkActivation {
    /// The user activated a link.
    userLink,
    /// Any other navigation: script, form, redirect, reload, back/forward.
    scriptOrRedirect,
};

/// The fate of a deferred pop-up at one of its navigations.
enum class PopupFollowUp {
    /// Still nothing to judge; keep the pop-up deferred.
    waiting,
    /// The pop-up shows web content; keep it as an ordinary pop-up window.
    keep,
    /// The pop-up was only a hop to a non-web address: hand that to the system and discard
    /// the pop-up.
    openExternally,
};

/// The schemes the web view handles itself: about, blob, data, javascript, srcdoc
/// (lower case; searchable with a string_view).
const std::set<std::string, std::less<>>& webViewSchemes();

/// The nine host names of the sign-in services (Google, YouTube, Apple, Microsoft) whose
/// pages stay in the app even though they are on another site.
const std::set<std::string, std::less<>>& authHosts();

/// The verdict for a navigation to `targetURL` in the app whose home address is `appURL`.
LinkDecision decideLink(std::string_view appURL, std::string_view targetURL, bool newWindow,
                        bool mainFrame, LinkActivation activation);

/// True for the empty text and for about:blank (any case, with an optional "/", query or
/// fragment). The text is not trimmed.
bool isBlankNavigation(std::string_view text);

/// True for an address that belongs to a sign-in flow: a known sign-in host, a login page
/// of the code-hosting service, an OAuth-like path or OAuth query items.
bool isAuthNavigation(std::string_view text);

/// True when both addresses have a host and the hosts differ, ignoring case and one
/// leading "www.".
bool isOffSite(std::string_view appURL, std::string_view targetURL);

/// The fate of a deferred pop-up that navigates to `targetURL`. `appURL` takes no part in
/// the decision.
PopupFollowUp decidePopupNavigation(std::string_view appURL, std::string_view targetURL);

/// Whether to give `url` to the system: never for addresses without a scheme or for the
/// web view's own schemes; otherwise whatever `hasHandler` answers for it.
bool shouldOfferToSystem(std::string_view url,
                         const std::function<bool(std::string_view)>& hasHandler);

}  // namespace halyward
