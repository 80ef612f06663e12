#pragma once
/// The one seam between the web-app host's decisions and a desktop toolkit. A front end
/// (GTK 4 + WebKitGTK on Linux, AppKit + WKWebView on macOS) implements these interfaces
/// by translating calls and events; it decides nothing. Calls go down through the
/// `Platform*` interfaces; events come up as plain calls on the delegates the portable
/// controller registers. Everything runs on the main thread.

#include "halyward/tiling/frame.hpp"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halyward {

/// Keyboard modifiers as the host's shortcuts name them. `command` is the platform's
/// primary shortcut modifier: Command on macOS, Ctrl on Linux (where `control` is then the
/// Super key). `capsLock` is reported as it is and masked by the controller.
enum KeyModifier : std::uint32_t {
    keyShift = 1u << 0,
    keyControl = 1u << 1,
    keyOption = 1u << 2,
    keyCommand = 1u << 3,
    keyCapsLock = 1u << 4,
    keyFunction = 1u << 5,
};

/// One key-down event: its modifier flags (`KeyModifier` bits) and the characters the key
/// produces with no modifier applied (neither Shift nor Caps Lock), as UTF-8.
struct KeyEvent {
    std::uint32_t modifiers = 0;
    std::string charactersIgnoringModifiers;
    bool operator==(const KeyEvent&) const = default;
};

/// A navigation the web view asks about.
struct NavigationAction {
    /// The request's absolute address; empty when the request has no URL.
    std::string targetURL;
    bool hasURL = false;
    /// False for a request with no target frame (a new window).
    bool hasTargetFrame = true;
    bool targetIsMainFrame = true;
    /// The navigation was started by the user activating a link (on WebKitGTK: a link
    /// click with a user gesture).
    bool linkActivated = false;
    /// The platform marks the action as a download (a link with a download attribute).
    bool shouldPerformDownload = false;
    bool operator==(const NavigationAction&) const = default;
};

/// A response the web view is about to show.
struct NavigationResponse {
    bool canShowMIMEType = true;
    /// The response asks to be saved ("Content-Disposition: attachment").
    bool isAttachment = false;
    bool isForMainFrame = true;
    bool operator==(const NavigationResponse&) const = default;
};

/// What the front end answers the web view.
enum class NavigationVerdict { allow, cancel, download };

/// A page's request for a new window (window.open, a link with a target).
struct NewWindowRequest {
    std::string targetURL;
    bool hasURL = false;
    bool operator==(const NewWindowRequest&) const = default;
};

/// A message a page posted to a named script message handler. `isDictionary` is false
/// when the body was anything but an object; `entries` maps each key of an object body to
/// its text, or to none when that value is not text.
struct ScriptMessage {
    std::string name;
    bool isDictionary = false;
    std::map<std::string, std::optional<std::string>> entries;
    bool operator==(const ScriptMessage&) const = default;
};

/// The texts of the slim title bar.
struct SlimBarContent {
    std::string appName;
    std::string mark;
    std::string hotkey;
    std::string pageTitle;
    bool operator==(const SlimBarContent&) const = default;
};

/// How a window is made: its content rectangle and whether its content reaches under the
/// title bar (the slim chrome). Every host window is titled, closable, minimisable and
/// resizable.
struct WindowOptions {
    Frame contentRect;
    bool fullSizeContentView = false;
    std::string title;
    bool operator==(const WindowOptions&) const = default;
};

/// One item of the main menu. `action` is the responder action's name as macOS spells it
/// ("reloadPage:", "performClose:", ...); an empty action with an empty title is a
/// separator. `keyEquivalent` is empty for none; `keyModifiers` are `KeyModifier` bits.
struct MenuItem {
    std::string title;
    std::string action;
    std::string keyEquivalent;
    std::uint32_t keyModifiers = 0;
    bool isSeparator() const { return title.empty() && action.empty(); }
    bool operator==(const MenuItem&) const = default;
};

struct Menu {
    std::string title;
    std::vector<MenuItem> items;
    /// The menu the platform lists open windows in.
    bool isWindowsMenu = false;
    bool operator==(const Menu&) const = default;
};

/// Events of one web view, implemented by the controller that shows it.
class WebViewDelegate {
public:
    virtual ~WebViewDelegate() = default;
    virtual NavigationVerdict decideNavigationAction(class PlatformWebView& webView,
                                                     const NavigationAction& action) = 0;
    virtual NavigationVerdict decideNavigationResponse(PlatformWebView& webView,
                                                       const NavigationResponse& response) = 0;
    /// A page asks for a new window. Returns the new web view, made with `configuration`
    /// (which carries the opener relation), or null to refuse. The returned view stays
    /// owned by the controller.
    virtual PlatformWebView* createWebView(PlatformWebView& webView,
                                           class PlatformWebViewConfiguration& configuration,
                                           const NewWindowRequest& request) = 0;
    /// The page called window.close().
    virtual void webViewDidClose(PlatformWebView& webView) = 0;
    /// The page title changed (empty text when there is none).
    virtual void titleChanged(PlatformWebView& webView, const std::string& title) = 0;
    /// A download started by this view needs a file. `download` is the download's identity,
    /// stable until it finishes or fails. Returns the absolute destination path.
    virtual std::string decideDownloadDestination(const void* download,
                                                  const std::string& suggestedFileName) = 0;
    virtual void downloadDidFinish(const void* download) = 0;
    virtual void downloadDidFail(const void* download) = 0;
};

/// Events of one window, implemented by the controller that owns it.
class WindowDelegate {
public:
    virtual ~WindowDelegate() = default;
    virtual void windowDidBecomeKey(class PlatformWindow& window) = 0;
    /// The window is closing (by the user, a shortcut, or `close()`).
    virtual void windowWillClose(PlatformWindow& window) = 0;
    /// A key went down while the window was key. Returns whether it was consumed.
    virtual bool handleKey(PlatformWindow& window, const KeyEvent& event) = 0;
    /// The user pressed Return in the address field.
    virtual void commitAddress(PlatformWindow& window, const std::string& text) = 0;
    /// A double click on the slim title bar.
    virtual void titlebarDoubleClicked(PlatformWindow& window) = 0;
    /// A menu item's action was chosen while the window was key. Returns whether the
    /// window's responders handled it; otherwise the front end's own default applies.
    virtual bool performAction(PlatformWindow& window, std::string_view action) = 0;
};

/// The shared settings web views are made from: user scripts, message handlers, the
/// website data store and preferences. A configuration that a front end passes to
/// `WebViewDelegate::createWebView` also carries the opener relation of the pop-up.
class PlatformWebViewConfiguration {
public:
    virtual ~PlatformWebViewConfiguration() = default;
    virtual void setJavaScriptCanOpenWindowsAutomatically(bool allowed) = 0;
    /// The persistent website data store for `identifier` (canonical UUID text).
    virtual void setWebsiteDataStore(const std::string& identifier) = 0;
    /// A script injected at document end in every frame of every page.
    virtual void addUserScript(const std::string& source) = 0;
    /// Routes messages posted to `window.webkit.messageHandlers.<name>` to `handler`;
    /// a null handler removes the route.
    virtual void setScriptMessageHandler(const std::string& name,
                                         std::function<void(const ScriptMessage&)> handler) = 0;
};

class PlatformWebView {
public:
    virtual ~PlatformWebView() = default;
    virtual void setDelegate(WebViewDelegate* delegate) = 0;
    /// Loads `url` with the protocol's default cache policy and the given time-out.
    virtual void load(const std::string& url, double timeoutSeconds) = 0;
    virtual void reload() = 0;
    virtual void goBack() = 0;
    virtual void goForward() = 0;
    /// The address shown, none before the first navigation.
    virtual std::optional<std::string> currentURL() const = 0;
    virtual std::string title() const = 0;
    /// An empty text restores the platform's user agent.
    virtual void setCustomUserAgent(const std::string& userAgent) = 0;
    virtual void setAllowsBackForwardNavigationGestures(bool allowed) = 0;
    virtual void focus() = 0;
};

class PlatformWindow {
public:
    virtual ~PlatformWindow() = default;
    virtual void setDelegate(WindowDelegate* delegate) = 0;
    virtual void setTitle(const std::string& title) = 0;
    virtual void center() = 0;
    virtual void makeKeyAndOrderFront() = 0;
    virtual bool isKey() const = 0;
    virtual void close() = 0;
    virtual void miniaturize() = 0;
    /// Toggles between the zoomed (maximised) and the user's size.
    virtual void zoom() = 0;
    /// Turns the window's title bar into the slim treatment (again: the platform may
    /// restore its own title bar when the window changes state).
    virtual void applySlimTreatment() = 0;
    /// Replaces the content by the slim bar over `webView`.
    virtual void installSlimChrome(PlatformWebView& webView, const SlimBarContent& bar) = 0;
    /// Replaces the content by `webView` under the platform's own title bar.
    virtual void installStandardChrome(PlatformWebView& webView) = 0;
    /// Sets the slim bar's texts and redraws it.
    virtual void updateSlimBar(const SlimBarContent& bar) = 0;
    /// Shows the hidden address field holding `text` and focuses it.
    virtual void showAddressField(const std::string& text) = 0;
    virtual void hideAddressField() = 0;
};

/// A file watch; destroying it ends the watch.
class FileWatch {
public:
    virtual ~FileWatch() = default;
};

/// The process-wide services of a front end.
class Platform {
public:
    virtual ~Platform() = default;
    virtual std::unique_ptr<PlatformWebViewConfiguration> makeWebViewConfiguration() = 0;
    virtual std::unique_ptr<PlatformWebView> makeWebView(
        PlatformWebViewConfiguration& configuration) = 0;
    virtual std::unique_ptr<PlatformWindow> makeWindow(const WindowOptions& options) = 0;

    virtual void installMainMenu(const std::vector<Menu>& menus) = 0;
    /// Shows a modal alert and returns once the user dismissed it.
    virtual void runModalAlert(const std::string& message, const std::string& informative) = 0;
    /// Ends the application's event loop.
    virtual void terminate() = 0;

    /// Whether some application of the system opens `url`.
    virtual bool hasHandler(std::string_view url) = 0;
    /// Opens `url` with the system's handler for it (the default browser for web addresses).
    virtual void openExternally(const std::string& url) = 0;

    /// Empties the clipboard, then puts `text` on it when there is one.
    virtual void setClipboardText(const std::optional<std::string>& text) = 0;
    /// Delivers a desktop notification at once.
    virtual void postNotification(const std::string& identifier, const std::string& title,
                                  const std::string& body) = 0;
    /// The unread count on the application's icon; 0 clears it.
    virtual void setBadgeCount(std::int64_t count) = 0;

    /// Calls `changed` on the main loop when the file at `path` is written, renamed or
    /// deleted; none when the file cannot be watched.
    virtual std::unique_ptr<FileWatch> watchFile(const std::string& path,
                                                 std::function<void()> changed) = 0;
    /// Runs `task` on the main loop after the current event.
    virtual void postTask(std::function<void()> task) = 0;

    /// The user's home folder; everything the host reads or writes derives from it.
    virtual std::string homeDirectory() const = 0;
    /// What a double click on a title bar does, as the desktop stores it (none when unset);
    /// read through `titlebarDoubleClickAction`.
    virtual std::optional<std::string> titlebarDoubleClickPreference() const = 0;
};

}  // namespace halyward
