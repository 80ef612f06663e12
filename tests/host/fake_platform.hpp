#pragma once
// A platform that records what the host asks of it and lets a test fire the events a
// toolkit would send. Every fake object registers itself with the platform while it lives,
// so a test can also check that nothing is left behind.

#include "halyward/host/platform.hpp"

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace halyward::fakes {

class FakeWebView;
class FakeWindow;
class FakeWatch;

// The fake objects alive now.
struct LiveObjects {
    std::vector<FakeWebView*> webViews;
    std::vector<FakeWindow*> windows;
    std::vector<FakeWatch*> watches;
};

class FakeConfiguration : public PlatformWebViewConfiguration {
public:
    bool canOpenWindows = false;
    std::optional<std::string> dataStore;
    std::vector<std::string> userScripts;
    std::map<std::string, std::function<void(const ScriptMessage&)>> handlers;

    void setJavaScriptCanOpenWindowsAutomatically(bool allowed) override {
        canOpenWindows = allowed;
    }
    void setWebsiteDataStore(const std::string& identifier) override { dataStore = identifier; }
    void addUserScript(const std::string& source) override { userScripts.push_back(source); }
    void setScriptMessageHandler(const std::string& name,
                                 std::function<void(const ScriptMessage&)> handler) override {
        if (handler) {
            handlers[name] = std::move(handler);
        } else {
            handlers.erase(name);
        }
    }
    void post(const ScriptMessage& message) {
        const auto found = handlers.find(message.name);
        if (found == handlers.end()) return;
        const auto handler = found->second;  // the handler may remove itself
        handler(message);
    }
};

class FakeWebView : public PlatformWebView {
public:
    // What was in place when a load was asked for.
    struct LoadMoment {
        std::size_t windows = 0;
        WebViewDelegate* delegate = nullptr;
        std::optional<std::string> userAgent;
        std::size_t userScripts = 0;
        std::set<std::string> routes;
    };

    FakeWebView(LiveObjects& live, PlatformWebViewConfiguration& configuration)
        : live(live), configuration(&configuration) {
        live.webViews.push_back(this);
    }
    ~FakeWebView() override { std::erase(live.webViews, this); }

    LiveObjects& live;
    PlatformWebViewConfiguration* configuration;
    WebViewDelegate* delegate = nullptr;
    std::vector<std::pair<std::string, double>> loads;
    std::vector<LoadMoment> loadMoments;
    int reloads = 0, backs = 0, forwards = 0, focuses = 0;
    std::optional<std::string> url;
    std::optional<std::string> userAgent;
    bool swipeGestures = false;

    void setDelegate(WebViewDelegate* d) override { delegate = d; }
    void load(const std::string& address, double timeout) override {
        loads.emplace_back(address, timeout);
        LoadMoment moment{live.windows.size(), delegate, userAgent, 0, {}};
        if (const auto* shared = dynamic_cast<const FakeConfiguration*>(configuration)) {
            moment.userScripts = shared->userScripts.size();
            for (const auto& [name, handler] : shared->handlers) moment.routes.insert(name);
        }
        loadMoments.push_back(std::move(moment));
    }
    void reload() override { ++reloads; }
    void goBack() override { ++backs; }
    void goForward() override { ++forwards; }
    std::optional<std::string> currentURL() const override { return url; }
    std::string title() const override { return {}; }
    void setCustomUserAgent(const std::string& agent) override { userAgent = agent; }
    void setAllowsBackForwardNavigationGestures(bool allowed) override { swipeGestures = allowed; }
    void focus() override { ++focuses; }

    // Events go to whatever delegate is set now, as a toolkit sends them.
    NavigationVerdict navigate(std::string target, bool mainFrame = true,
                               bool linkActivated = true) {
        NavigationAction action;
        action.hasURL = !target.empty();
        action.targetURL = std::move(target);
        action.targetIsMainFrame = mainFrame;
        action.linkActivated = linkActivated;
        return delegate ? delegate->decideNavigationAction(*this, action)
                        : NavigationVerdict::allow;
    }
    PlatformWebView* openWindow(const std::string& target, PlatformWebViewConfiguration& with) {
        return delegate
                   ? delegate->createWebView(*this, with, NewWindowRequest{target, !target.empty()})
                   : nullptr;
    }
    void closeByScript() {
        if (delegate) delegate->webViewDidClose(*this);
    }
    void setTitle(const std::string& title) {
        if (delegate) delegate->titleChanged(*this, title);
    }
};

class FakeWindow : public PlatformWindow {
public:
    FakeWindow(LiveObjects& live, WindowOptions options)
        : live(live), spec(std::move(options)), title(spec.title) {
        live.windows.push_back(this);
    }
    ~FakeWindow() override { std::erase(live.windows, this); }

    LiveObjects& live;
    WindowOptions spec;
    WindowDelegate* delegate = nullptr;
    std::string title;
    bool key = true;
    int fronts = 0, slimTreatments = 0, miniaturizes = 0, zooms = 0;
    PlatformWebView* content = nullptr;
    std::optional<SlimBarContent> slimBar;  // none under the standard chrome
    int chromeInstalls = 0;
    std::optional<std::string> addressField;  // shown, with this text

    void setDelegate(WindowDelegate* d) override { delegate = d; }
    void setTitle(const std::string& t) override { title = t; }
    void center() override {}
    void makeKeyAndOrderFront() override { ++fronts; }
    bool isKey() const override { return key; }
    // Like the toolkits, closing tells the delegate before the window goes.
    void close() override {
        if (delegate) delegate->windowWillClose(*this);
    }
    void miniaturize() override { ++miniaturizes; }
    void zoom() override { ++zooms; }
    void applySlimTreatment() override { ++slimTreatments; }
    void installSlimChrome(PlatformWebView& webView, const SlimBarContent& bar) override {
        content = &webView;
        slimBar = bar;
        ++chromeInstalls;
    }
    void installStandardChrome(PlatformWebView& webView) override {
        content = &webView;
        slimBar.reset();
        ++chromeInstalls;
    }
    void updateSlimBar(const SlimBarContent& bar) override { slimBar = bar; }
    void showAddressField(const std::string& text) override { addressField = text; }
    void hideAddressField() override { addressField.reset(); }

    bool press(std::uint32_t modifiers, std::string characters) {
        return delegate && delegate->handleKey(*this, KeyEvent{modifiers, std::move(characters)});
    }
};

class FakeWatch : public FileWatch {
public:
    FakeWatch(LiveObjects& live, std::string path, std::function<void()> changed)
        : live(live), path(std::move(path)), changed(std::move(changed)) {
        live.watches.push_back(this);
    }
    ~FakeWatch() override { std::erase(live.watches, this); }
    LiveObjects& live;
    std::string path;
    std::function<void()> changed;
};

// The live lists are a base, so they outlive the queued tasks, whose captures may hold
// fake objects that unregister themselves as they go.
class FakePlatform : public Platform, public LiveObjects {
public:
    std::string home;
    bool canWatch = true;
    std::set<std::string> schemesWithHandler{"http", "https", "mailto", "tel"};
    std::optional<std::string> doubleClickPreference;

    std::vector<std::vector<Menu>> menus;
    std::vector<std::pair<std::string, std::string>> alerts;
    int terminations = 0;
    std::vector<std::string> opened;
    std::vector<std::optional<std::string>> clipboard;
    std::vector<std::tuple<std::string, std::string, std::string>> notifications;
    std::vector<std::int64_t> badges;
    std::deque<std::function<void()>> tasks;

    std::unique_ptr<PlatformWebViewConfiguration> makeWebViewConfiguration() override {
        return std::make_unique<FakeConfiguration>();
    }
    std::unique_ptr<PlatformWebView> makeWebView(PlatformWebViewConfiguration& c) override {
        return std::make_unique<FakeWebView>(*this, c);
    }
    std::unique_ptr<PlatformWindow> makeWindow(const WindowOptions& spec) override {
        return std::make_unique<FakeWindow>(*this, spec);
    }
    void installMainMenu(const std::vector<Menu>& m) override { menus.push_back(m); }
    void runModalAlert(const std::string& message, const std::string& informative) override {
        alerts.emplace_back(message, informative);
    }
    void terminate() override { ++terminations; }
    bool hasHandler(std::string_view url) override {
        const auto colon = url.find(':');
        return colon != std::string_view::npos &&
               schemesWithHandler.count(std::string(url.substr(0, colon)));
    }
    void openExternally(const std::string& url) override { opened.push_back(url); }
    void setClipboardText(const std::optional<std::string>& text) override {
        clipboard.push_back(text);
    }
    void postNotification(const std::string& id, const std::string& title,
                          const std::string& body) override {
        notifications.emplace_back(id, title, body);
    }
    void setBadgeCount(std::int64_t count) override { badges.push_back(count); }
    std::unique_ptr<FileWatch> watchFile(const std::string& path,
                                         std::function<void()> changed) override {
        if (!canWatch) return nullptr;
        return std::make_unique<FakeWatch>(*this, path, std::move(changed));
    }
    void postTask(std::function<void()> task) override { tasks.push_back(std::move(task)); }
    std::string homeDirectory() const override { return home; }
    std::optional<std::string> titlebarDoubleClickPreference() const override {
        return doubleClickPreference;
    }

    // Runs the main loop until it is idle.
    void runTasks() {
        while (!tasks.empty()) {
            auto task = std::move(tasks.front());
            tasks.pop_front();
            task();
        }
    }
    // The configuration file changed: every watch still open hears of it.
    void fireConfigChange() {
        std::vector<std::function<void()>> handlers;
        for (FakeWatch* watch : watches) handlers.push_back(watch->changed);
        for (const auto& handler : handlers) handler();
    }
    FakeWindow* windowShowing(const PlatformWebView* view) const {
        for (FakeWindow* window : windows) {
            if (window->content == view) return window;
        }
        return nullptr;
    }
};

}  // namespace halyward::fakes
