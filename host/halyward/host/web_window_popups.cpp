// Navigation verdicts and pop-up windows of a web window: where each request goes, and the
// bookkeeping that leaves no pop-up behind whichever way it closes.

#include "halyward/host/web_window_controller.hpp"

#include "halyward/web/link_policy.hpp"

#include <algorithm>

namespace halyward {

void WebWindowController::offerToSystem(const std::string& url) {
    Platform& system = platform();
    const auto hasHandler = [&system](std::string_view candidate) {
        return system.hasHandler(candidate);
    };
    if (shouldOfferToSystem(url, hasHandler)) system.openExternally(url);
}

NavigationVerdict WebWindowController::decideNavigationAction(PlatformWebView& view,
                                                              const NavigationAction& action) {
    if (action.shouldPerformDownload) return NavigationVerdict::download;
    const std::string target = action.hasURL ? action.targetURL : std::string();

    const bool mainFrameOrNone = !action.hasTargetFrame || action.targetIsMainFrame;
    if (mainFrameOrNone && deferredPopups.count(&view) > 0) {
        switch (decidePopupNavigation(homeURL, target)) {
            case PopupFollowUp::waiting: return NavigationVerdict::allow;
            case PopupFollowUp::keep: deferredPopups.erase(&view); return NavigationVerdict::allow;
            case PopupFollowUp::openExternally:
                if (action.hasURL) offerToSystem(target);
                discardPopup(view);
                return NavigationVerdict::cancel;
        }
    }

    if (!action.hasTargetFrame) return NavigationVerdict::allow;
    const LinkActivation activation =
        action.linkActivated ? LinkActivation::userLink : LinkActivation::scriptOrRedirect;
    if (decideLink(homeURL, target, false, action.targetIsMainFrame, activation) ==
        LinkDecision::openExternally) {
        if (action.hasURL) offerToSystem(target);
        return NavigationVerdict::cancel;
    }
    return NavigationVerdict::allow;
}

NavigationVerdict WebWindowController::decideNavigationResponse(
    PlatformWebView&, const NavigationResponse& response) {
    // What the page cannot show, or asks to have saved, becomes a file in Downloads.
    if (response.isAttachment || !response.canShowMIMEType) return NavigationVerdict::download;
    return NavigationVerdict::allow;
}

PlatformWebView* WebWindowController::createWebView(
    PlatformWebView&, PlatformWebViewConfiguration& popupConfiguration,
    const NewWindowRequest& request) {
    if (tornDown) return nullptr;
    const std::string target = request.hasURL ? request.targetURL : std::string();
    const LinkDecision decision = decideLink(homeURL, target, true, true, LinkActivation::userLink);
    if (decision == LinkDecision::openExternally) {
        if (request.hasURL) offerToSystem(target);
        return nullptr;
    }
    // Pages may open windows without a user gesture here, so a page that calls
    // window.open in a loop would bury the desktop; past the limit the page gets null, as
    // from a pop-up blocker.
    if (extraWindows.size() >= kMaxPopupWindows) return nullptr;
    // loadInPlace only arises here for an address that does not parse or has no scheme;
    // like openPopup, it gets a window, so the page's opener relation holds.
    return openPopup(popupConfiguration, decision == LinkDecision::deferPopup);
}

PlatformWebView* WebWindowController::openPopup(PlatformWebViewConfiguration& popupConfiguration,
                                                bool deferred) {
    std::unique_ptr<PlatformWebView> view = platform().makeWebView(popupConfiguration);
    PlatformWebView* raw = view.get();
    raw->setDelegate(this);
    raw->setAllowsBackForwardNavigationGestures(true);

    const AppSettings fresh = readSettings(context, slug);
    const bool slim = fresh.chrome == WindowChrome::slim;
    auto popup = std::make_shared<WebChromeWindow>(
        platform().makeWindow(windowOptions(fresh.chrome, true, appTitle)), fresh.chrome);
    popup->ownedWebView = std::move(view);
    PlatformWindow& shown = popup->platform();
    if (slim) {
        shown.applySlimTreatment();
        shown.installSlimChrome(
            *raw,
            SlimBarContent{appTitle, slimBarMark(appTitle), readableHotkey(fresh.hotkey), {}});
    } else {
        shown.installStandardChrome(*raw);
    }
    shown.center();
    shown.setDelegate(this);
    shown.makeKeyAndOrderFront();
    if (slim) {
        platform().postTask([weak = std::weak_ptr<WebChromeWindow>(popup)] {
            if (const auto window = weak.lock()) window->platform().applySlimTreatment();
        });
    }

    extraWindows.push_back(popup);
    popupWindows[raw] = popup;
    if (deferred) deferredPopups[raw] = popup;
    return raw;
}

void WebWindowController::webViewDidClose(PlatformWebView& view) {
    if (tornDown) return;
    if (popupWindows.count(&view) > 0 || deferredPopups.count(&view) > 0) {
        discardPopup(view);
    } else if (webView && &view == webView.get()) {
        window->platform().close();
    }
}

void WebWindowController::discardPopup(PlatformWebView& view) {
    std::shared_ptr<WebChromeWindow> popup;
    if (auto found = popupWindows.find(&view); found != popupWindows.end()) popup = found->second;
    if (auto found = deferredPopups.find(&view); !popup && found != deferredPopups.end()) {
        popup = found->second;
    }
    deferredPopups.erase(&view);
    popupWindows.erase(&view);
    if (!popup) return;
    std::erase(extraWindows, popup);
    popup->platform().setDelegate(nullptr);
    view.setDelegate(nullptr);
    popup->platform().close();
    // The web view asking may be this pop-up's own: it is released after its event.
    retire(std::move(popup));
}

void WebWindowController::forgetPopup(PlatformWindow& popupWindow) {
    const auto isClosing = [&popupWindow](const std::shared_ptr<WebChromeWindow>& popup) {
        return &popup->platform() == &popupWindow;
    };
    const auto found = std::find_if(extraWindows.begin(), extraWindows.end(), isClosing);
    std::shared_ptr<WebChromeWindow> popup;
    if (found != extraWindows.end()) popup = *found;
    std::erase_if(extraWindows, isClosing);
    std::erase_if(popupWindows, [&](const auto& entry) {
        if (!popup && isClosing(entry.second)) popup = entry.second;
        return isClosing(entry.second);
    });
    std::erase_if(deferredPopups, [&](const auto& entry) { return isClosing(entry.second); });
    if (!popup) return;
    popupWindow.setDelegate(nullptr);
    if (popup->ownedWebView) popup->ownedWebView->setDelegate(nullptr);
    retire(std::move(popup));
}

}  // namespace halyward
