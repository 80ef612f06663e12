#pragma once
/// One web-app window: its web view, chrome, hidden address field, configuration watch,
/// pop-up windows, downloads, notifications and badge. Every decision the window makes is
/// here; the platform only carries it out.

#include "halyward/config/config.hpp"
#include "halyward/host/app_settings.hpp"
#include "halyward/host/main_menu.hpp"
#include "halyward/host/platform.hpp"
#include "halyward/host/web_chrome_window.hpp"

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace halyward {

/// The time-out of loads the host starts.
inline constexpr double kLoadTimeoutSeconds = 60;
/// The name of the script message channel of the notification bridge.
inline constexpr std::string_view kNotifyHandlerName = "halywardNotify";
/// The title of a notification whose page gave none.
inline constexpr std::string_view kDefaultNotificationTitle = "Halyward";
/// The most pop-up windows one web window keeps open. A page that opens windows in a loop
/// gets this many; further requests are refused as a pop-up blocker would refuse them.
inline constexpr std::size_t kMaxPopupWindows = 20;

/// What the platform supplies a controller with.
struct WebHostContext {
    Platform* platform = nullptr;
    /// The running bundle's identifier ("CFBundleIdentifier"), for the configuration lookup.
    std::string bundleIdentifier;
};

/// The mark the slim bar shows beside the app's name: the name's first character, upper
/// case ("M" for "mail"); "H" when the name is empty.
std::string slimBarMark(std::string_view appTitle);

class WebWindowController : public WebViewDelegate,
                            public WindowDelegate,
                            public std::enable_shared_from_this<WebWindowController> {
public:
    /// Builds the web view, starts loading `startURL` in it, then builds the window and
    /// chrome and shows the window. Adds the page script and the "halywardNotify" route to
    /// `configuration`, which must outlive the controller. Use `make`: the callbacks the
    /// controller registers hold it weakly.
    static std::shared_ptr<WebWindowController> make(WebHostContext context, std::string homeURL,
                                                     std::string slug,
                                                     PlatformWebViewConfiguration& configuration,
                                                     std::string title,
                                                     const std::string& startURL);
    /// Clears every delegate and route the controller set, so no platform object calls
    /// into it once it is gone.
    ~WebWindowController() override;
    WebWindowController(const WebWindowController&) = delete;
    WebWindowController& operator=(const WebWindowController&) = delete;

    /// Called once, when the main window closes, after everything is torn down.
    std::function<void()> onClose;
    const std::string homeURL;
    const std::string slug;
    /// The main web view; null once the window has closed.
    std::unique_ptr<PlatformWebView> webView;
    /// The main window; null once it has closed.
    std::unique_ptr<WebChromeWindow> window;
    /// Whether the hidden address field is shown.
    bool addressShown = false;
    std::shared_ptr<WebActions> actions;
    /// The slim bar's texts while the slim chrome is installed.
    std::optional<SlimBarContent> slimHost;
    /// Whether the standard chrome is installed.
    bool plainContainer = false;
    /// The configuration watch; none when the file could not be watched.
    std::unique_ptr<FileWatch> configSource;
    /// Download identity → destination path, while the download runs.
    std::map<const void*, std::string> downloads;
    const std::string appTitle;
    /// The settings read when the window was made; style sheet, script and user agent keep
    /// these values for the window's life.
    const AppSettings settings;
    std::vector<std::shared_ptr<WebChromeWindow>> extraWindows;
    std::map<PlatformWebView*, std::shared_ptr<WebChromeWindow>> popupWindows;
    std::map<PlatformWebView*, std::shared_ptr<WebChromeWindow>> deferredPopups;

    /// Reloads the main web view (the menu's "Reload This Page").
    void reloadFromMenu();
    /// The address field's action with the field's text.
    void commitAddressText(const std::string& text);
    /// Makes the window offer `actions` to menu validation.
    void spliceActions();
    /// Installs the slim or the standard chrome around the main web view, without
    /// reloading it.
    void installContent(bool slim);
    /// Starts the configuration watch.
    void watchConfig();
    /// The configuration watch's handler: follows a changed window chrome and hotkey.
    void configChanged();

    // WebViewDelegate
    NavigationVerdict decideNavigationAction(PlatformWebView& view,
                                             const NavigationAction& action) override;
    NavigationVerdict decideNavigationResponse(PlatformWebView& view,
                                               const NavigationResponse& response) override;
    PlatformWebView* createWebView(PlatformWebView& view,
                                   PlatformWebViewConfiguration& configuration,
                                   const NewWindowRequest& request) override;
    void webViewDidClose(PlatformWebView& view) override;
    void titleChanged(PlatformWebView& view, const std::string& title) override;
    std::string decideDownloadDestination(const void* download,
                                          const std::string& suggestedFileName) override;
    void downloadDidFinish(const void* download) override;
    void downloadDidFail(const void* download) override;

    // WindowDelegate
    void windowDidBecomeKey(PlatformWindow& platformWindow) override;
    void windowWillClose(PlatformWindow& platformWindow) override;
    bool handleKey(PlatformWindow& platformWindow, const KeyEvent& event) override;
    void commitAddress(PlatformWindow& platformWindow, const std::string& text) override;
    void titlebarDoubleClicked(PlatformWindow& platformWindow) override;
    bool performAction(PlatformWindow& platformWindow, std::string_view action) override;

    /// The notification bridge's handler for "halywardNotify".
    void didReceiveScriptMessage(const ScriptMessage& message);

private:
    WebWindowController(WebHostContext context, std::string homeURL, std::string slug,
                        PlatformWebViewConfiguration& configuration, std::string title,
                        AppSettings settings);
    void finishConstruction(const std::string& title, const std::string& startURL);

    Platform& platform() const { return *context.platform; }
    /// The app's settings as the configuration file has them now: the window reads them at
    /// launch, on every change of the file and for each pop-up.
    static AppSettings readSettings(const WebHostContext& context, std::string_view slug);
    bool isMainWindow(const PlatformWindow& platformWindow) const;
    SlimBarContent slimBar(std::string_view hotkey) const;
    void offerToSystem(const std::string& url);
    void openAddress(const std::string& url);

    PlatformWebView* openPopup(PlatformWebViewConfiguration& popupConfiguration, bool deferred);
    void discardPopup(PlatformWebView& view);
    void forgetPopup(PlatformWindow& popupWindow);
    void closeMainWindow();
    void tearDown();
    /// Keeps `popup` alive until the current event is over: the platform may still be
    /// inside one of its handlers.
    void retire(std::shared_ptr<WebChromeWindow> popup);

    WebHostContext context;
    PlatformWebViewConfiguration& configuration;
    bool tornDown = false;
    /// The app's hotkey as the slim bar shows it, from the latest configuration read.
    std::string hotkeyText;
    /// The page title as the slim bar shows it: empty when it is the app's own name.
    std::string pageTitle;
};

}  // namespace halyward
