#pragma once
// WKWebView behind the host's web view and web view configuration.

#import <WebKit/WebKit.h>

#include "halyward/host/platform.hpp"

#include <functional>
#include <map>
#include <optional>
#include <string>

@class HWScriptRouter;
@class HWWebViewEvents;

namespace halyward::mac {
class MacWebView;
class MacWebViewConfiguration;
}  // namespace halyward::mac

/// The host's web view: a WKWebView that knows the wrapper it belongs to, so that events
/// which only name the view (a download's origin) find their way to its delegate.
@interface HWWebView : WKWebView
/// The wrapper; null once the wrapper is gone.
@property(nonatomic, assign) halyward::mac::MacWebView* owner;
@end

namespace halyward::mac {

/// A WKWebViewConfiguration: a fresh one for the app's windows, or the one WebKit hands
/// over for a pop-up, which carries the opener relation and shares the opener's user
/// content controller, preferences and website data store.
class MacWebViewConfiguration final : public PlatformWebViewConfiguration {
public:
    explicit MacWebViewConfiguration(WKWebViewConfiguration* configuration);
    /// Removes the message routes this wrapper added.
    ~MacWebViewConfiguration() override;
    MacWebViewConfiguration(const MacWebViewConfiguration&) = delete;
    MacWebViewConfiguration& operator=(const MacWebViewConfiguration&) = delete;

    WKWebViewConfiguration* configuration() const { return wkConfiguration; }
    /// Hands a message to the route of its handler name, when there is one.
    void deliver(WKScriptMessage* message);

    void setJavaScriptCanOpenWindowsAutomatically(bool allowed) override;
    void setWebsiteDataStore(const std::string& identifier) override;
    void addUserScript(const std::string& source) override;
    void setScriptMessageHandler(const std::string& name,
                                 std::function<void(const ScriptMessage&)> handler) override;

private:
    WKWebViewConfiguration* wkConfiguration;
    /// The one WKScriptMessageHandler of this configuration; it forwards to `routes`.
    HWScriptRouter* router;
    std::map<std::string, std::function<void(const ScriptMessage&)>> routes;
};

/// One WKWebView, whose navigation, UI, download and title events become calls on its
/// `WebViewDelegate`.
class MacWebView final : public PlatformWebView {
public:
    explicit MacWebView(MacWebViewConfiguration& configuration);
    ~MacWebView() override;
    MacWebView(const MacWebView&) = delete;
    MacWebView& operator=(const MacWebView&) = delete;

    /// The wrapper of `view`; null when the view is not the host's or its wrapper is gone.
    static MacWebView* from(WKWebView* view);

    WKWebView* view() const { return webView; }
    WebViewDelegate* delegate() const { return viewDelegate; }

    void setDelegate(WebViewDelegate* delegate) override;
    void load(const std::string& url, double timeoutSeconds) override;
    void reload() override;
    void goBack() override;
    void goForward() override;
    std::optional<std::string> currentURL() const override;
    std::string title() const override;
    void setCustomUserAgent(const std::string& userAgent) override;
    void setAllowsBackForwardNavigationGestures(bool allowed) override;
    void focus() override;

private:
    HWWebView* webView;
    /// The navigation and UI delegate and title observer; WebKit holds delegates weakly.
    HWWebViewEvents* events;
    WebViewDelegate* viewDelegate = nullptr;
};

}  // namespace halyward::mac
