#include "mac_web_view.h"

#include "conversions.h"

using halyward::NavigationVerdict;
using halyward::WebViewDelegate;
using halyward::mac::MacWebView;
using halyward::mac::MacWebViewConfiguration;
using halyward::mac::toNSString;
using halyward::mac::toOptionalString;
using halyward::mac::toStdString;
using halyward::mac::toURLText;

namespace {

// Tells the title observation apart from any observation a superclass makes.
char titleContext;

WKNavigationActionPolicy actionPolicy(NavigationVerdict verdict) {
    switch (verdict) {
        case NavigationVerdict::allow: return WKNavigationActionPolicyAllow;
        case NavigationVerdict::cancel: return WKNavigationActionPolicyCancel;
        case NavigationVerdict::download: return WKNavigationActionPolicyDownload;
    }
    return WKNavigationActionPolicyCancel;
}

WKNavigationResponsePolicy responsePolicy(NavigationVerdict verdict) {
    switch (verdict) {
        case NavigationVerdict::allow: return WKNavigationResponsePolicyAllow;
        case NavigationVerdict::cancel: return WKNavigationResponsePolicyCancel;
        case NavigationVerdict::download: return WKNavigationResponsePolicyDownload;
    }
    return WKNavigationResponsePolicyCancel;
}

// Whether the response's Content-Disposition names the type "attachment" (any case).
bool isAttachment(NSURLResponse* response) {
    if (![response isKindOfClass:[NSHTTPURLResponse class]]) return false;
    NSString* disposition =
        [(NSHTTPURLResponse*)response valueForHTTPHeaderField:@"Content-Disposition"];
    NSString* type = [[disposition componentsSeparatedByString:@";"].firstObject
        stringByTrimmingCharactersInSet:NSCharacterSet.whitespaceCharacterSet];
    return type != nil && [type caseInsensitiveCompare:@"attachment"] == NSOrderedSame;
}

// A message body as the host's record: an object is a dictionary whose string values are
// texts; any other body is not a dictionary.
halyward::ScriptMessage toScriptMessage(WKScriptMessage* message) {
    halyward::ScriptMessage result;
    result.name = toStdString(message.name);
    if (![message.body isKindOfClass:[NSDictionary class]]) return result;
    result.isDictionary = true;
    NSDictionary* body = message.body;
    for (id key in body) {
        if (![key isKindOfClass:[NSString class]]) continue;
        id value = body[key];
        result.entries.emplace(toStdString(key), [value isKindOfClass:[NSString class]]
                                                     ? toOptionalString(value)
                                                     : std::nullopt);
    }
    return result;
}

// The delegate of the web view that started `download`; null once that view is gone.
WebViewDelegate* delegateOf(WKDownload* download) {
    MacWebView* view = MacWebView::from(download.webView);
    return view != nullptr ? view->delegate() : nullptr;
}

}  // namespace

@implementation HWWebView
@end

// Receives every script message of a configuration and hands it to the configuration's
// routes. The user content controller holds it strongly; it holds its owner weakly.
@interface HWScriptRouter : NSObject <WKScriptMessageHandler>
@property(nonatomic, assign) MacWebViewConfiguration* owner;
@end

@implementation HWScriptRouter
- (void)userContentController:(WKUserContentController*)userContentController
      didReceiveScriptMessage:(WKScriptMessage*)message {
    if (_owner != nullptr) _owner->deliver(message);
}
@end

// The delegate of every download: WKDownload holds its delegate weakly, and a download
// may outlive the pop-up window that started it, so one object serves the process and
// finds the download's web view each time.
@interface HWDownloads : NSObject <WKDownloadDelegate>
+ (instancetype)shared;
@end

@implementation HWDownloads
+ (instancetype)shared {
    static HWDownloads* const downloads = [[HWDownloads alloc] init];
    return downloads;
}

- (void)download:(WKDownload*)download
    decideDestinationUsingResponse:(NSURLResponse*)response
                 suggestedFilename:(NSString*)suggestedFilename
                 completionHandler:(void (^)(NSURL*))completionHandler {
    WebViewDelegate* delegate = delegateOf(download);
    if (delegate == nullptr) {
        // No window is left to account for the file: nil cancels the download.
        completionHandler(nil);
        return;
    }
    const std::string destination = delegate->decideDownloadDestination(
        (__bridge const void*)download, toStdString(suggestedFilename));
    completionHandler([NSURL fileURLWithPath:toNSString(destination)]);
}

- (void)downloadDidFinish:(WKDownload*)download {
    if (WebViewDelegate* delegate = delegateOf(download)) {
        delegate->downloadDidFinish((__bridge const void*)download);
    }
}

- (void)download:(WKDownload*)download
    didFailWithError:(NSError*)error
          resumeData:(NSData*)resumeData {
    if (WebViewDelegate* delegate = delegateOf(download)) {
        delegate->downloadDidFail((__bridge const void*)download);
    }
}
@end

// A web view's navigation and UI delegate and its title observer.
@interface HWWebViewEvents : NSObject <WKNavigationDelegate, WKUIDelegate>
@property(nonatomic, assign) MacWebView* owner;
@end

@implementation HWWebViewEvents
- (WebViewDelegate*)ownerDelegate {
    return _owner != nullptr ? _owner->delegate() : nullptr;
}

- (void)webView:(WKWebView*)webView
    decidePolicyForNavigationAction:(WKNavigationAction*)action
                    decisionHandler:(void (^)(WKNavigationActionPolicy))decisionHandler {
    WebViewDelegate* delegate = [self ownerDelegate];
    if (delegate == nullptr) {
        decisionHandler(WKNavigationActionPolicyAllow);
        return;
    }
    NSURL* url = action.request.URL;
    halyward::NavigationAction request;
    request.targetURL = toURLText(url);
    request.hasURL = url != nil;
    request.hasTargetFrame = action.targetFrame != nil;
    request.targetIsMainFrame = action.targetFrame != nil && action.targetFrame.isMainFrame;
    request.linkActivated = action.navigationType == WKNavigationTypeLinkActivated;
    request.shouldPerformDownload = action.shouldPerformDownload;
    decisionHandler(actionPolicy(delegate->decideNavigationAction(*_owner, request)));
}

- (void)webView:(WKWebView*)webView
    decidePolicyForNavigationResponse:(WKNavigationResponse*)navigationResponse
                      decisionHandler:(void (^)(WKNavigationResponsePolicy))decisionHandler {
    WebViewDelegate* delegate = [self ownerDelegate];
    if (delegate == nullptr) {
        decisionHandler(WKNavigationResponsePolicyAllow);
        return;
    }
    halyward::NavigationResponse response;
    response.canShowMIMEType = navigationResponse.canShowMIMEType;
    response.isAttachment = isAttachment(navigationResponse.response);
    response.isForMainFrame = navigationResponse.isForMainFrame;
    decisionHandler(responsePolicy(delegate->decideNavigationResponse(*_owner, response)));
}

// WKDownload, these two callbacks, the Download policies and shouldPerformDownload are
// macOS 11.3 API.
- (void)webView:(WKWebView*)webView
       navigationAction:(WKNavigationAction*)navigationAction
      didBecomeDownload:(WKDownload*)download {
    download.delegate = [HWDownloads shared];
}

- (void)webView:(WKWebView*)webView
    navigationResponse:(WKNavigationResponse*)navigationResponse
     didBecomeDownload:(WKDownload*)download {
    download.delegate = [HWDownloads shared];
}

- (WKWebView*)webView:(WKWebView*)webView
    createWebViewWithConfiguration:(WKWebViewConfiguration*)configuration
               forNavigationAction:(WKNavigationAction*)action
                    windowFeatures:(WKWindowFeatures*)windowFeatures {
    WebViewDelegate* delegate = [self ownerDelegate];
    if (delegate == nullptr) return nil;
    // WebKit requires the new view to be made from exactly this configuration: it is what
    // keeps the page's opener relation.
    MacWebViewConfiguration popup(configuration);
    NSURL* url = action.request.URL;
    const halyward::NewWindowRequest request{toURLText(url), url != nil};
    halyward::PlatformWebView* created = delegate->createWebView(*_owner, popup, request);
    return created != nullptr ? static_cast<MacWebView*>(created)->view() : nil;
}

- (void)webViewDidClose:(WKWebView*)webView {
    if (WebViewDelegate* delegate = [self ownerDelegate]) delegate->webViewDidClose(*_owner);
}

- (void)observeValueForKeyPath:(NSString*)keyPath
                      ofObject:(id)object
                        change:(NSDictionary<NSKeyValueChangeKey, id>*)change
                       context:(void*)context {
    if (context != &titleContext) {
        [super observeValueForKeyPath:keyPath ofObject:object change:change context:context];
        return;
    }
    if (WebViewDelegate* delegate = [self ownerDelegate]) delegate->titleChanged(*_owner, _owner->title());
}
@end

namespace halyward::mac {

MacWebViewConfiguration::MacWebViewConfiguration(WKWebViewConfiguration* configuration)
    : wkConfiguration(configuration) {}

MacWebViewConfiguration::~MacWebViewConfiguration() {
    router.owner = nullptr;
    for (const auto& [name, handler] : routes) {
        [wkConfiguration.userContentController removeScriptMessageHandlerForName:toNSString(name)];
    }
}

void MacWebViewConfiguration::deliver(WKScriptMessage* message) {
    const auto route = routes.find(toStdString(message.name));
    if (route == routes.end()) return;
    // Copy the handler: it may replace or remove its own route while it runs.
    const auto handler = route->second;
    handler(toScriptMessage(message));
}

void MacWebViewConfiguration::setJavaScriptCanOpenWindowsAutomatically(bool allowed) {
    wkConfiguration.preferences.javaScriptCanOpenWindowsAutomatically = allowed;
}

void MacWebViewConfiguration::setWebsiteDataStore(const std::string& identifier) {
    NSUUID* uuid = [[NSUUID alloc] initWithUUIDString:toNSString(identifier)];
    if (uuid == nil) return;
    // +[WKWebsiteDataStore dataStoreForIdentifier:] is macOS 14 API: a persistent store per
    // identifier, created on first use.
    wkConfiguration.websiteDataStore = [WKWebsiteDataStore dataStoreForIdentifier:uuid];
}

void MacWebViewConfiguration::addUserScript(const std::string& source) {
    WKUserScript* script =
        [[WKUserScript alloc] initWithSource:toNSString(source)
                               injectionTime:WKUserScriptInjectionTimeAtDocumentEnd
                            forMainFrameOnly:NO];
    [wkConfiguration.userContentController addUserScript:script];
}

void MacWebViewConfiguration::setScriptMessageHandler(
    const std::string& name, std::function<void(const ScriptMessage&)> handler) {
    WKUserContentController* content = wkConfiguration.userContentController;
    if (!handler) {
        if (routes.erase(name) > 0) [content removeScriptMessageHandlerForName:toNSString(name)];
        return;
    }
    // WebKit refuses a second handler under one name, so a route that exists only changes
    // where its messages go.
    const bool added = routes.count(name) == 0;
    routes[name] = std::move(handler);
    if (!added) return;
    if (router == nil) {
        router = [[HWScriptRouter alloc] init];
        router.owner = this;
    }
    [content addScriptMessageHandler:router name:toNSString(name)];
}

MacWebView::MacWebView(MacWebViewConfiguration& configuration)
    : webView([[HWWebView alloc] initWithFrame:NSZeroRect
                                 configuration:configuration.configuration()]) {
    webView.owner = this;
    events = [[HWWebViewEvents alloc] init];
    events.owner = this;
    webView.navigationDelegate = events;
    webView.UIDelegate = events;
    [webView addObserver:events
              forKeyPath:@"title"
                 options:NSKeyValueObservingOptionNew
                 context:&titleContext];
}

MacWebView::~MacWebView() {
    [webView removeObserver:events forKeyPath:@"title" context:&titleContext];
    webView.navigationDelegate = nil;
    webView.UIDelegate = nil;
    webView.owner = nullptr;
    events.owner = nullptr;
}

MacWebView* MacWebView::from(WKWebView* view) {
    if (![view isKindOfClass:[HWWebView class]]) return nullptr;
    return ((HWWebView*)view).owner;
}

void MacWebView::setDelegate(WebViewDelegate* delegate) { viewDelegate = delegate; }

void MacWebView::load(const std::string& url, double timeoutSeconds) {
    NSURL* target = toNSURL(url);
    // An address Foundation cannot parse cannot be requested at all.
    if (target == nil) return;
    [webView loadRequest:[NSURLRequest requestWithURL:target
                                          cachePolicy:NSURLRequestUseProtocolCachePolicy
                                      timeoutInterval:timeoutSeconds]];
}

void MacWebView::reload() { [webView reload]; }
void MacWebView::goBack() { [webView goBack]; }
void MacWebView::goForward() { [webView goForward]; }

std::optional<std::string> MacWebView::currentURL() const {
    if (webView.URL == nil) return std::nullopt;
    return toURLText(webView.URL);
}

std::string MacWebView::title() const { return toStdString(webView.title); }

void MacWebView::setCustomUserAgent(const std::string& userAgent) {
    webView.customUserAgent = userAgent.empty() ? nil : toNSString(userAgent);
}

void MacWebView::setAllowsBackForwardNavigationGestures(bool allowed) {
    webView.allowsBackForwardNavigationGestures = allowed;
}

void MacWebView::focus() { [webView.window makeFirstResponder:webView]; }

}  // namespace halyward::mac
