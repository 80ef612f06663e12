#include "gtk_web_view.hpp"

#include "conversions.hpp"

#include <libsoup/soup.h>

#include <filesystem>
#include <utility>

namespace halyward::gtk {

namespace {

constexpr const char* kWrapperKey = "halyward-web-view";
constexpr const char* kRoutesKey = "halyward-script-routes";

/// The message routes of one user content manager. They live on the manager itself, so a
/// pop-up's configuration, which shares the manager, sees the same routes.
struct ScriptRoutes {
    struct Route {
        std::function<void(const ScriptMessage&)> handler;
        gulong signalHandler = 0;
    };
    std::map<std::string, Route> routes;
};

ScriptRoutes& routesOf(WebKitUserContentManager* manager) {
    auto* routes = static_cast<ScriptRoutes*>(g_object_get_data(G_OBJECT(manager), kRoutesKey));
    if (routes == nullptr) {
        routes = new ScriptRoutes();
        g_object_set_data_full(G_OBJECT(manager), kRoutesKey, routes,
                               [](gpointer data) { delete static_cast<ScriptRoutes*>(data); });
    }
    return *routes;
}

/// A message body as the host's record: an object (not an array or a function) is a
/// dictionary whose string values are texts.
ScriptMessage toScriptMessage(const std::string& name, JSCValue* value) {
    ScriptMessage message;
    message.name = name;
    if (value == nullptr || !jsc_value_is_object(value) || jsc_value_is_array(value) ||
        jsc_value_is_function(value)) {
        return message;
    }
    message.isDictionary = true;
    gchar** properties = jsc_value_object_enumerate_properties(value);
    for (gchar** property = properties; property != nullptr && *property != nullptr; ++property) {
        GObjectPtr<JSCValue> entry =
            GObjectPtr<JSCValue>::adopt(jsc_value_object_get_property(value, *property));
        std::optional<std::string> text;
        if (entry && jsc_value_is_string(entry.get())) {
            text = takeString(jsc_value_to_string(entry.get()));
        }
        message.entries.emplace(*property, std::move(text));
    }
    g_strfreev(properties);
    return message;
}

void onScriptMessage(WebKitUserContentManager* manager, JSCValue* value, gpointer name) {
    const std::string channel = static_cast<const char*>(name);
    ScriptRoutes& routes = routesOf(manager);
    const auto route = routes.routes.find(channel);
    if (route == routes.routes.end() || !route->second.handler) {
        return;
    }
    // Copy the handler: it may replace or remove its own route while it runs.
    const auto handler = route->second.handler;
    handler(toScriptMessage(channel, value));
}

void answer(WebKitPolicyDecision* decision, NavigationVerdict verdict) {
    switch (verdict) {
        case NavigationVerdict::allow: webkit_policy_decision_use(decision); break;
        case NavigationVerdict::cancel: webkit_policy_decision_ignore(decision); break;
        case NavigationVerdict::download: webkit_policy_decision_download(decision); break;
    }
}

NavigationAction toNavigationAction(WebKitNavigationAction* action, bool newWindow) {
    NavigationAction result;
    WebKitURIRequest* request = webkit_navigation_action_get_request(action);
    const char* uri = request != nullptr ? webkit_uri_request_get_uri(request) : nullptr;
    result.targetURL = toString(uri);
    result.hasURL = uri != nullptr && *uri != '\0';
    result.hasTargetFrame = !newWindow;
    // WebKitGTK's UI-process API does not say which frame a navigation targets; every
    // navigation is reported as the main frame's.
    result.targetIsMainFrame = true;
    result.linkActivated = webkit_navigation_action_get_navigation_type(action) ==
                               WEBKIT_NAVIGATION_TYPE_LINK_CLICKED &&
                           webkit_navigation_action_is_user_gesture(action);
    // WebKitGTK turns a link with a download attribute into a download itself; the
    // decision never sees it as one.
    result.shouldPerformDownload = false;
    return result;
}

NavigationResponse toNavigationResponse(WebKitResponsePolicyDecision* decision) {
    NavigationResponse result;
    result.canShowMIMEType = webkit_response_policy_decision_is_mime_type_supported(decision);
    result.isForMainFrame = webkit_response_policy_decision_is_main_frame_main_resource(decision);
    WebKitURIResponse* response = webkit_response_policy_decision_get_response(decision);
    SoupMessageHeaders* headers =
        response != nullptr ? webkit_uri_response_get_http_headers(response) : nullptr;
    char* disposition = nullptr;
    if (headers != nullptr &&
        soup_message_headers_get_content_disposition(headers, &disposition, nullptr)) {
        result.isAttachment = g_ascii_strcasecmp(disposition, "attachment") == 0;
        g_free(disposition);
    }
    return result;
}

WebViewDelegate* delegateOfDownload(WebKitDownload* download) {
    GtkWebView* view = GtkWebView::from(webkit_download_get_web_view(download));
    return view != nullptr ? view->delegate() : nullptr;
}

gboolean onDecideDestination(WebKitDownload* download, gchar* suggestedName, gpointer) {
    WebViewDelegate* delegate = delegateOfDownload(download);
    if (delegate == nullptr) {
        webkit_download_cancel(download);
        return TRUE;
    }
    const std::string destination =
        delegate->decideDownloadDestination(download, toString(suggestedName));
    webkit_download_set_allow_overwrite(download, FALSE);
    webkit_download_set_destination(download, destination.c_str());
    return TRUE;
}

void onDownloadFinished(WebKitDownload* download, gpointer) {
    if (WebViewDelegate* delegate = delegateOfDownload(download)) {
        delegate->downloadDidFinish(download);
    }
}

void onDownloadFailed(WebKitDownload* download, GError*, gpointer) {
    if (WebViewDelegate* delegate = delegateOfDownload(download)) {
        delegate->downloadDidFail(download);
    }
}

}  // namespace

// --- GtkWebViewConfiguration -------------------------------------------------------------

GtkWebViewConfiguration::GtkWebViewConfiguration(WebsiteData& websiteData,
                                                 bool acceleratedCompositing)
    : websiteData(&websiteData),
      userContent(GObjectPtr<WebKitUserContentManager>::adopt(webkit_user_content_manager_new())),
      webSettings(GObjectPtr<WebKitSettings>::adopt(webkit_settings_new())) {
    // ALWAYS is WebKit's own default: a machine with a GPU draws exactly as WebKit would.
    webkit_settings_set_hardware_acceleration_policy(
        webSettings.get(), acceleratedCompositing ? WEBKIT_HARDWARE_ACCELERATION_POLICY_ALWAYS
                                                  : WEBKIT_HARDWARE_ACCELERATION_POLICY_NEVER);
}

std::unique_ptr<GtkWebViewConfiguration> GtkWebViewConfiguration::forPopup(WebKitWebView* opener) {
    std::unique_ptr<GtkWebViewConfiguration> configuration(new GtkWebViewConfiguration());
    configuration->userContent = GObjectPtr<WebKitUserContentManager>::retain(
        webkit_web_view_get_user_content_manager(opener));
    configuration->webSettings =
        GObjectPtr<WebKitSettings>::retain(webkit_web_view_get_settings(opener));
    configuration->opener = GObjectPtr<WebKitWebView>::retain(opener);
    return configuration;
}

WebKitNetworkSession* GtkWebViewConfiguration::networkSession() {
    // Resolved when the first view is made, so an app with its own store never sets up the
    // shared default one.
    if (session == nullptr && websiteData != nullptr) {
        session = websiteData->session(std::nullopt);
    }
    return session;
}

void GtkWebViewConfiguration::setJavaScriptCanOpenWindowsAutomatically(bool allowed) {
    webkit_settings_set_javascript_can_open_windows_automatically(webSettings.get(), allowed);
}

void GtkWebViewConfiguration::setWebsiteDataStore(const std::string& identifier) {
    // A pop-up always lives in its opener's store; only a fresh configuration picks one.
    if (websiteData != nullptr) {
        session = websiteData->session(identifier);
    }
}

void GtkWebViewConfiguration::addUserScript(const std::string& source) {
    WebKitUserScript* script =
        webkit_user_script_new(source.c_str(), WEBKIT_USER_CONTENT_INJECT_ALL_FRAMES,
                               WEBKIT_USER_SCRIPT_INJECT_AT_DOCUMENT_END, nullptr, nullptr);
    webkit_user_content_manager_add_script(userContent.get(), script);
    webkit_user_script_unref(script);
}

void GtkWebViewConfiguration::setScriptMessageHandler(
    const std::string& name, std::function<void(const ScriptMessage&)> handler) {
    ScriptRoutes& routes = routesOf(userContent.get());
    auto existing = routes.routes.find(name);
    if (!handler) {
        if (existing != routes.routes.end()) {
            g_signal_handler_disconnect(userContent.get(), existing->second.signalHandler);
            webkit_user_content_manager_unregister_script_message_handler(userContent.get(),
                                                                          name.c_str(), nullptr);
            routes.routes.erase(existing);
        }
        return;
    }
    if (existing != routes.routes.end()) {
        existing->second.handler = std::move(handler);
        return;
    }
    ScriptRoutes::Route route;
    route.handler = std::move(handler);
    const std::string detailed = "script-message-received::" + name;
    route.signalHandler = g_signal_connect_data(
        userContent.get(), detailed.c_str(), G_CALLBACK(onScriptMessage), g_strdup(name.c_str()),
        [](gpointer data, GClosure*) { g_free(data); }, GConnectFlags{});
    webkit_user_content_manager_register_script_message_handler(userContent.get(), name.c_str(),
                                                                nullptr);
    routes.routes.emplace(name, std::move(route));
}

// --- GtkWebView ---------------------------------------------------------------------------

GtkWebView::GtkWebView(GtkWebViewConfiguration& configuration) {
    GtkWidget* widget = nullptr;
    if (configuration.relatedView() != nullptr) {
        // A related view takes its opener's web process and network session.
        widget = GTK_WIDGET(g_object_new(WEBKIT_TYPE_WEB_VIEW, "related-view",
                                         configuration.relatedView(), "user-content-manager",
                                         configuration.contentManager(), "settings",
                                         configuration.settings(), nullptr));
    } else {
        widget = GTK_WIDGET(g_object_new(WEBKIT_TYPE_WEB_VIEW, "network-session",
                                         configuration.networkSession(), "user-content-manager",
                                         configuration.contentManager(), "settings",
                                         configuration.settings(), nullptr));
    }
    view = GObjectPtr<WebKitWebView>::retain(WEBKIT_WEB_VIEW(widget));
    gtk_widget_set_hexpand(widget, TRUE);
    gtk_widget_set_vexpand(widget, TRUE);
    g_object_set_data(G_OBJECT(widget), kWrapperKey, this);
    connections.emplace_back(
        widget, g_signal_connect(widget, "decide-policy", G_CALLBACK(onDecidePolicy), this));
    connections.emplace_back(widget,
                             g_signal_connect(widget, "create", G_CALLBACK(onCreate), this));
    connections.emplace_back(widget, g_signal_connect(widget, "close", G_CALLBACK(onClose), this));
    connections.emplace_back(widget,
                             g_signal_connect(widget, "notify::title", G_CALLBACK(onTitle), this));
}

GtkWebView::~GtkWebView() {
    connections.clear();
    // The widget may outlive this wrapper inside its window for a moment; events it still
    // sends then find no wrapper.
    g_object_set_data(G_OBJECT(view.get()), kWrapperKey, nullptr);
}

GtkWebView* GtkWebView::from(WebKitWebView* view) {
    if (view == nullptr) {
        return nullptr;
    }
    return static_cast<GtkWebView*>(g_object_get_data(G_OBJECT(view), kWrapperKey));
}

void GtkWebView::setDelegate(WebViewDelegate* delegate) { viewDelegate = delegate; }

void GtkWebView::load(const std::string& url, double) {
    // WebKitGTK has no per-request time-out; its network layer applies its own.
    webkit_web_view_load_uri(view.get(), url.c_str());
}

void GtkWebView::reload() { webkit_web_view_reload(view.get()); }
void GtkWebView::goBack() { webkit_web_view_go_back(view.get()); }
void GtkWebView::goForward() { webkit_web_view_go_forward(view.get()); }

std::optional<std::string> GtkWebView::currentURL() const {
    return toOptionalString(webkit_web_view_get_uri(view.get()));
}

std::string GtkWebView::title() const { return toString(webkit_web_view_get_title(view.get())); }

void GtkWebView::setCustomUserAgent(const std::string& userAgent) {
    // Views of one app share their settings, and so their user agent, which is the app's.
    webkit_settings_set_user_agent(webkit_web_view_get_settings(view.get()),
                                   userAgent.empty() ? nullptr : userAgent.c_str());
}

void GtkWebView::setAllowsBackForwardNavigationGestures(bool allowed) {
    webkit_settings_set_enable_back_forward_navigation_gestures(
        webkit_web_view_get_settings(view.get()), allowed);
}

void GtkWebView::focus() { gtk_widget_grab_focus(widget()); }

gboolean GtkWebView::onDecidePolicy(WebKitWebView*, WebKitPolicyDecision* decision,
                                    WebKitPolicyDecisionType type, gpointer self) {
    auto* wrapper = static_cast<GtkWebView*>(self);
    if (wrapper->viewDelegate == nullptr) {
        return FALSE;
    }
    switch (type) {
        case WEBKIT_POLICY_DECISION_TYPE_NAVIGATION_ACTION:
        case WEBKIT_POLICY_DECISION_TYPE_NEW_WINDOW_ACTION: {
            WebKitNavigationAction* action =
                webkit_navigation_policy_decision_get_navigation_action(
                    WEBKIT_NAVIGATION_POLICY_DECISION(decision));
            answer(
                decision,
                wrapper->viewDelegate->decideNavigationAction(
                    *wrapper, toNavigationAction(
                                  action, type == WEBKIT_POLICY_DECISION_TYPE_NEW_WINDOW_ACTION)));
            return TRUE;
        }
        case WEBKIT_POLICY_DECISION_TYPE_RESPONSE:
            answer(decision,
                   wrapper->viewDelegate->decideNavigationResponse(
                       *wrapper, toNavigationResponse(WEBKIT_RESPONSE_POLICY_DECISION(decision))));
            return TRUE;
    }
    return FALSE;
}

GtkWidget* GtkWebView::onCreate(WebKitWebView* view, WebKitNavigationAction* action,
                                gpointer self) {
    auto* wrapper = static_cast<GtkWebView*>(self);
    if (wrapper->viewDelegate == nullptr) {
        return nullptr;
    }
    WebKitURIRequest* request = webkit_navigation_action_get_request(action);
    const char* uri = request != nullptr ? webkit_uri_request_get_uri(request) : nullptr;
    NewWindowRequest newWindow{toString(uri), uri != nullptr && *uri != '\0'};
    auto configuration = GtkWebViewConfiguration::forPopup(view);
    PlatformWebView* created =
        wrapper->viewDelegate->createWebView(*wrapper, *configuration, newWindow);
    auto* popup = static_cast<GtkWebView*>(created);
    return popup != nullptr ? popup->widget() : nullptr;
}

void GtkWebView::onClose(WebKitWebView*, gpointer self) {
    auto* wrapper = static_cast<GtkWebView*>(self);
    if (wrapper->viewDelegate != nullptr) {
        wrapper->viewDelegate->webViewDidClose(*wrapper);
    }
}

void GtkWebView::onTitle(GObject*, GParamSpec*, gpointer self) {
    auto* wrapper = static_cast<GtkWebView*>(self);
    if (wrapper->viewDelegate != nullptr) {
        wrapper->viewDelegate->titleChanged(*wrapper, wrapper->title());
    }
}

// --- WebsiteData --------------------------------------------------------------------------

WebsiteData::WebsiteData(std::string home) : home(std::move(home)) {}

WebKitNetworkSession* WebsiteData::session(const std::optional<std::string>& identifier) {
    // The default store is one folder that every app without an identifier shares.
    const std::string folder = identifier.value_or("default");
    auto found = sessions.find(folder);
    if (found != sessions.end()) {
        return found->second.get();
    }
    const std::string dataDirectory = home + "/.local/share/halyward/website-data/" + folder;
    const std::string cacheDirectory = home + "/.cache/halyward/website-data/" + folder;
    std::error_code ignored;
    std::filesystem::create_directories(dataDirectory, ignored);
    auto session = GObjectPtr<WebKitNetworkSession>::adopt(
        webkit_network_session_new(dataDirectory.c_str(), cacheDirectory.c_str()));
    webkit_cookie_manager_set_persistent_storage(
        webkit_network_session_get_cookie_manager(session.get()),
        (dataDirectory + "/cookies.sqlite").c_str(), WEBKIT_COOKIE_PERSISTENT_STORAGE_SQLITE);
    g_signal_connect(session.get(), "download-started", G_CALLBACK(onDownloadStarted), this);
    WebKitNetworkSession* result = session.get();
    sessions.emplace(folder, std::move(session));
    return result;
}

void WebsiteData::onDownloadStarted(WebKitNetworkSession*, WebKitDownload* download, gpointer) {
    g_signal_connect(download, "decide-destination", G_CALLBACK(onDecideDestination), nullptr);
    g_signal_connect(download, "finished", G_CALLBACK(onDownloadFinished), nullptr);
    g_signal_connect(download, "failed", G_CALLBACK(onDownloadFailed), nullptr);
}

}  // namespace halyward::gtk
