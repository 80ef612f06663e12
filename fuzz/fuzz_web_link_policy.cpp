// Feeds arbitrary bytes to every link-policy function. The input is split at its first
// NUL into the app's address and the target; the first byte also picks the flags.
#include "halyward/web/link_policy.hpp"

#include <cstdint>
#include <cstdlib>
#include <string_view>

using namespace halyward;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::size_t cut = input.find('\0');
    const std::string_view app =
        cut == std::string_view::npos ? std::string_view() : input.substr(0, cut);
    const std::string_view target = cut == std::string_view::npos ? input : input.substr(cut + 1);
    const unsigned flags = size > 0 ? data[0] : 0;
    const bool mainFrame = flags & 1;
    const LinkActivation activation =
        (flags & 2) ? LinkActivation::userLink : LinkActivation::scriptOrRedirect;

    // Only new-window requests may ever produce a pop-up.
    const LinkDecision inWindow = decideLink(app, target, false, mainFrame, activation);
    if (inWindow == LinkDecision::openPopup || inWindow == LinkDecision::deferPopup) abort();
    const LinkDecision newWindow = decideLink(app, target, true, mainFrame, activation);
    if (isBlankNavigation(target) && newWindow != LinkDecision::deferPopup) abort();

    // Being on another site is a symmetric relation.
    if (isOffSite(app, target) != isOffSite(target, app)) abort();

    // The app's address takes no part in a deferred pop-up's fate.
    if (decidePopupNavigation(app, target) != decidePopupNavigation("https://example.com", target))
        abort();

    (void)isAuthNavigation(target);
    bool asked = false;
    const bool offered = shouldOfferToSystem(target, [&](std::string_view url) {
        asked = true;
        if (url != target) abort();  // the predicate sees the address as it was given
        return true;
    });
    if (offered != asked) abort();
    return 0;
}
