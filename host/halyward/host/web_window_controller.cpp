#include "halyward/host/web_window_controller.hpp"

#include "halyward/host/page_script.hpp"
#include "halyward/system/paths.hpp"
#include "halyward/text/text.hpp"
#include "halyward/web/badge.hpp"

#include <algorithm>

namespace halyward {

std::string slimBarMark(std::string_view appTitle) {
    const std::string_view name = text::trim(appTitle);
    if (name.empty()) return "H";
    return text::uppercased(name.substr(0, text::nextGrapheme(name, 0)));
}

AppSettings WebWindowController::readSettings(const WebHostContext& context,
                                              std::string_view slug) {
    return appSettings(loadHostConfig(context.platform->homeDirectory()), slug,
                       context.bundleIdentifier);
}

std::shared_ptr<WebWindowController> WebWindowController::make(
    WebHostContext context, std::string homeURL, std::string slug,
    PlatformWebViewConfiguration& configuration, std::string title, const std::string& startURL) {
    AppSettings settings = readSettings(context, slug);
    std::shared_ptr<WebWindowController> controller(
        new WebWindowController(std::move(context), std::move(homeURL), std::move(slug),
                                configuration, title, std::move(settings)));
    controller->finishConstruction(title, startURL);
    return controller;
}

WebWindowController::WebWindowController(WebHostContext context, std::string homeURL,
                                         std::string slug,
                                         PlatformWebViewConfiguration& configuration,
                                         std::string title, AppSettings settings)
    : homeURL(std::move(homeURL)),
      slug(std::move(slug)),
      actions(std::make_shared<WebActions>()),
      appTitle(std::move(title)),
      settings(std::move(settings)),
      context(std::move(context)),
      configuration(configuration),
      hotkeyText(readableHotkey(this->settings.hotkey)) {
    // The configuration is shared by every window of the process, so each controller adds
    // its script once more; the style sheet, script and user agent of a window are the
    // ones in force when it was made.
    configuration.addUserScript(pageScript(this->settings.customCSS, this->settings.customScript));
    webView = platform().makeWebView(configuration);
    if (!this->settings.standardUserAgent) webView->setCustomUserAgent(customUserAgent());
}

// The parts of construction that hand out weak references to the controller, which only
// exist once a shared pointer owns it.
void WebWindowController::finishConstruction(const std::string& title,
                                             const std::string& startURL) {
    const std::weak_ptr<WebWindowController> weak = weak_from_this();
    configuration.setScriptMessageHandler(std::string(kNotifyHandlerName),
                                          [weak](const ScriptMessage& message) {
                                              if (const auto self = weak.lock())
                                                  self->didReceiveScriptMessage(message);
                                          });
    webView->setDelegate(this);
    webView->setAllowsBackForwardNavigationGestures(true);
    // The page is asked for before the window exists: starting the web engine's processes
    // is the longest step of a launch, and it runs while the window is built and shown
    // instead of after. The page's script, user agent, message route and delegate are in
    // place already; everything the load reports arrives later, from the event loop.
    webView->load(startURL, kLoadTimeoutSeconds);

    const bool slim = settings.chrome == WindowChrome::slim;
    window = std::make_unique<WebChromeWindow>(
        platform().makeWindow(windowOptions(settings.chrome, false, title)), settings.chrome);
    actions->owner = weak_from_this();
    spliceActions();

    installContent(slim);
    watchConfig();

    PlatformWindow& shown = window->platform();
    shown.center();
    shown.setDelegate(this);
    shown.makeKeyAndOrderFront();
    if (slim) {
        // Showing the window can restore the toolkit's own title bar; apply the slim
        // treatment once more after the window is on screen.
        platform().postTask([weak] {
            const auto self = weak.lock();
            if (self && self->window && self->slimHost)
                self->window->platform().applySlimTreatment();
        });
    }
}

WebWindowController::~WebWindowController() {
    if (tornDown) return;
    // The controller goes away without its window having closed (the process is ending):
    // leave no platform object pointing at it.
    for (const auto& popup : extraWindows) {
        popup->platform().setDelegate(nullptr);
        if (popup->ownedWebView) popup->ownedWebView->setDelegate(nullptr);
    }
    configSource.reset();
    configuration.setScriptMessageHandler(std::string(kNotifyHandlerName), nullptr);
    if (webView) webView->setDelegate(nullptr);
    if (window) window->platform().setDelegate(nullptr);
}

bool WebWindowController::isMainWindow(const PlatformWindow& platformWindow) const {
    return window && &window->platform() == &platformWindow;
}

void WebWindowController::reloadFromMenu() {
    if (webView) webView->reload();
}

void WebWindowController::spliceActions() {
    if (window && window->actions.lock() != actions) window->actions = actions;
}

SlimBarContent WebWindowController::slimBar(std::string_view hotkey) const {
    return SlimBarContent{appTitle, slimBarMark(appTitle), std::string(hotkey), pageTitle};
}

void WebWindowController::installContent(bool slim) {
    if (!window || !webView) return;
    PlatformWindow& target = window->platform();
    if (slim) {
        target.applySlimTreatment();
        slimHost = slimBar(hotkeyText);
        target.installSlimChrome(*webView, *slimHost);
        plainContainer = false;
        window->chrome = WindowChrome::slim;
    } else {
        target.installStandardChrome(*webView);
        slimHost.reset();
        plainContainer = true;
        window->chrome = WindowChrome::standard;
    }
}

void WebWindowController::watchConfig() {
    const std::weak_ptr<WebWindowController> weak = weak_from_this();
    configSource =
        platform().watchFile(HalywardPaths::configFile(platform().homeDirectory()), [weak] {
            if (const auto self = weak.lock()) self->configChanged();
        });
}

void WebWindowController::configChanged() {
    if (tornDown) return;
    const AppSettings fresh = readSettings(context, slug);
    hotkeyText = readableHotkey(fresh.hotkey);
    const bool wantSlim = fresh.chrome == WindowChrome::slim;
    if (slimHost && wantSlim) {
        slimHost->hotkey = hotkeyText;
        window->platform().updateSlimBar(*slimHost);
        return;
    }
    if (!slimHost && !wantSlim) return;
    installContent(wantSlim);
}

void WebWindowController::titleChanged(PlatformWebView& view, const std::string& title) {
    if (tornDown || &view != webView.get()) return;
    const std::optional<std::int64_t> count = badgeCount(title);
    platform().setBadgeCount(count && *count > 0 ? *count : 0);
    if (title.empty()) return;
    window->platform().setTitle(title);
    // The bar already shows the app's name; a page titled just that adds nothing.
    pageTitle = title == appTitle ? std::string() : title;
    if (slimHost) {
        slimHost->pageTitle = pageTitle;
        window->platform().updateSlimBar(*slimHost);
    }
}

void WebWindowController::windowDidBecomeKey(PlatformWindow& platformWindow) {
    if (tornDown) return;
    if (isMainWindow(platformWindow)) {
        spliceActions();
        // Catch up with a configuration the watch could not follow (a file created after
        // launch, or replaced by a rename), then restore the slim title bar the toolkit
        // may have redrawn.
        configChanged();
        if (slimHost) platformWindow.applySlimTreatment();
        return;
    }
    for (const auto& popup : extraWindows) {
        if (&popup->platform() == &platformWindow && popup->chrome == WindowChrome::slim) {
            platformWindow.applySlimTreatment();
        }
    }
}

void WebWindowController::windowWillClose(PlatformWindow& platformWindow) {
    if (tornDown) return;
    if (isMainWindow(platformWindow)) {
        closeMainWindow();
    } else {
        forgetPopup(platformWindow);
    }
}

void WebWindowController::closeMainWindow() {
    // onClose drops the delegate's reference; this one keeps the controller alive until
    // the call is over.
    const std::shared_ptr<WebWindowController> guard = shared_from_this();
    std::vector<std::shared_ptr<WebChromeWindow>> popups = std::move(extraWindows);
    for (auto& [view, popup] : popupWindows) {
        if (std::find(popups.begin(), popups.end(), popup) == popups.end()) popups.push_back(popup);
    }
    extraWindows.clear();
    popupWindows.clear();
    deferredPopups.clear();
    for (const auto& popup : popups) {
        popup->platform().setDelegate(nullptr);
        if (popup->ownedWebView) popup->ownedWebView->setDelegate(nullptr);
        popup->platform().close();
        retire(popup);
    }
    tearDown();
    std::function<void()> callback = std::move(onClose);
    onClose = nullptr;
    if (callback) callback();
}

void WebWindowController::tearDown() {
    tornDown = true;
    configSource.reset();
    configuration.setScriptMessageHandler(std::string(kNotifyHandlerName), nullptr);
    actions->owner.reset();
    if (webView) webView->setDelegate(nullptr);
    if (window) {
        window->platform().setDelegate(nullptr);
        window->actions.reset();
    }
    // The platform is still inside the window's close handler: the window and its web view
    // are released once that event is over, not under its feet.
    std::shared_ptr<PlatformWebView> view = std::move(webView);
    std::shared_ptr<WebChromeWindow> closed = std::move(window);
    platform().postTask([view, closed] {});
}

void WebWindowController::retire(std::shared_ptr<WebChromeWindow> popup) {
    platform().postTask([popup = std::move(popup)] {});
}

}  // namespace halyward
