#pragma once
// WebKitGTK 6.0 behind the host's web view and web view configuration.

#include "gobject_ptr.hpp"
#include "halyward/host/platform.hpp"

#include <webkit/webkit.h>

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace halyward::gtk {

class WebsiteData;

/// How web views are made: a user content manager (scripts and message routes), settings
/// and a network session. A configuration made for a pop-up shares all three with its
/// opener and also carries the opener itself, so that the new view is related to it
/// (same web process, `window.opener` works).
class GtkWebViewConfiguration final : public PlatformWebViewConfiguration {
public:
    /// A fresh configuration on the default website data store.
    GtkWebViewConfiguration(WebsiteData& websiteData, bool acceleratedCompositing);
    /// The configuration of a pop-up that `opener` asks for.
    static std::unique_ptr<GtkWebViewConfiguration> forPopup(WebKitWebView* opener);

    void setJavaScriptCanOpenWindowsAutomatically(bool allowed) override;
    void setWebsiteDataStore(const std::string& identifier) override;
    void addUserScript(const std::string& source) override;
    void setScriptMessageHandler(const std::string& name,
                                 std::function<void(const ScriptMessage&)> handler) override;

    WebKitUserContentManager* contentManager() const { return userContent.get(); }
    WebKitSettings* settings() const { return webSettings.get(); }
    /// The chosen store's session, the default store's when none was chosen; none for a
    /// pop-up, which uses its opener's.
    WebKitNetworkSession* networkSession();
    WebKitWebView* relatedView() const { return opener.get(); }

private:
    GtkWebViewConfiguration() = default;
    WebsiteData* websiteData = nullptr;
    GObjectPtr<WebKitUserContentManager> userContent;
    GObjectPtr<WebKitSettings> webSettings;
    WebKitNetworkSession* session = nullptr;
    GObjectPtr<WebKitWebView> opener;
};

/// One WebKitWebView, whose signals become calls on the view's `WebViewDelegate`.
class GtkWebView final : public PlatformWebView {
public:
    explicit GtkWebView(GtkWebViewConfiguration& configuration);
    ~GtkWebView() override;
    GtkWebView(const GtkWebView&) = delete;
    GtkWebView& operator=(const GtkWebView&) = delete;

    /// The wrapper of `view`, none when the view was not made by this front end or its
    /// wrapper is gone.
    static GtkWebView* from(WebKitWebView* view);

    GtkWidget* widget() const { return GTK_WIDGET(view.get()); }
    WebKitWebView* webKitView() const { return view.get(); }
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
    static gboolean onDecidePolicy(WebKitWebView* view, WebKitPolicyDecision* decision,
                                   WebKitPolicyDecisionType type, gpointer self);
    static GtkWidget* onCreate(WebKitWebView* view, WebKitNavigationAction* action, gpointer self);
    static void onClose(WebKitWebView* view, gpointer self);
    static void onTitle(GObject* view, GParamSpec* spec, gpointer self);

    GObjectPtr<WebKitWebView> view;
    WebViewDelegate* viewDelegate = nullptr;
    std::list<SignalConnection> connections;
};

/// The persistent website data stores of this process: one network session per data-store
/// identifier under `~/.local/share/halyward/website-data/<identifier>/` (its cache under
/// `~/.cache/halyward/website-data/<identifier>/`), and one shared default store, with
/// cookies kept on disk. Downloads of every session reach the delegate of the web view that
/// started them.
class WebsiteData {
public:
    explicit WebsiteData(std::string home);
    /// The session for `identifier`, or the default store's for none; made on first use.
    WebKitNetworkSession* session(const std::optional<std::string>& identifier);

private:
    static void onDownloadStarted(WebKitNetworkSession* session, WebKitDownload* download,
                                  gpointer self);
    std::string home;
    std::map<std::string, GObjectPtr<WebKitNetworkSession>> sessions;
};

}  // namespace halyward::gtk
