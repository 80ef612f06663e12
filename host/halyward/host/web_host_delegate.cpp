#include "halyward/host/web_host_delegate.hpp"

#include "halyward/host/main_menu.hpp"
#include "halyward/host/typed_address.hpp"

#include <uuid/uuid.h>
#include <boost/url/parse.hpp>

#include <algorithm>

namespace halyward {

std::optional<std::string> canonicalUUID(std::string_view text) {
    // uuid_parse reads a NUL-terminated string and accepts exactly the 8-4-4-4-12 form.
    if (text.size() != 36) return std::nullopt;
    const std::string terminated(text);
    uuid_t uuid;
    if (uuid_parse(terminated.c_str(), uuid) != 0) return std::nullopt;
    char canonical[37];
    uuid_unparse_upper(uuid, canonical);
    return std::string(canonical);
}

namespace {

// The home address when it can be opened: it parses as a URL and names a host (mailto:,
// about: and bare words have none). An address with bytes a strict parser rejects (a
// blank, non-ASCII) is read as a browser would read it, percent-encoded.
std::optional<std::string> openableHome(const std::string& homeURL) {
    std::string address = homeURL;
    auto parsed = boost::urls::parse_uri_reference(address);
    if (!parsed) {
        address = encodeAddress(homeURL);
        parsed = boost::urls::parse_uri_reference(address);
    }
    if (!parsed || !parsed->has_authority() || parsed->host().empty()) return std::nullopt;
    return address;
}

}  // namespace

WebHostDelegate::WebHostDelegate(Platform& platform, const std::optional<BundleInfo>& info)
    : platform(platform), self(std::make_shared<WebHostDelegate*>(this)) {
    const BundleInfo bundle = info.value_or(BundleInfo{});
    homeURL = bundle.string("HWURL").value_or(std::string());
    slug = bundle.string("HWSlug").value_or(std::string());
    if (const auto uuid = bundle.string("HWDataStoreUUID")) dataStoreID = canonicalUUID(*uuid);
    bundleName = bundle.string("CFBundleName").value_or(std::string(kDefaultBundleName));
    bundleIdentifier = bundle.string("CFBundleIdentifier").value_or(std::string());
}

WebHostDelegate::~WebHostDelegate() {
    self.reset();
    controllers.clear();
}

void WebHostDelegate::applicationDidFinishLaunching() {
    platform.installMainMenu(mainMenu(bundleName));
    const std::optional<std::string> home = openableHome(homeURL);
    if (!home) {
        platform.runModalAlert(std::string(kMissingAddressMessage),
                               std::string(kMissingAddressInformative));
        platform.terminate();
        return;
    }
    configuration = platform.makeWebViewConfiguration();
    configuration->setJavaScriptCanOpenWindowsAutomatically(true);
    // Each web app keeps its cookies, storage and logins in its own store, keyed by the
    // identifier its bundle was made with; without one it shares the platform's default.
    if (dataStoreID) configuration->setWebsiteDataStore(*dataStoreID);
    open(*home, *configuration, bundleName);
}

void WebHostDelegate::applicationDidReopen() {
    if (controllers.empty()) return;
    const auto& first = controllers.front();
    if (first->window) first->window->platform().makeKeyAndOrderFront();
}

void WebHostDelegate::open(const std::string& url, PlatformWebViewConfiguration& shared,
                           const std::string& title) {
    std::shared_ptr<WebWindowController> controller = WebWindowController::make(
        WebHostContext{&platform, bundleIdentifier}, homeURL, slug, shared, title, url);
    const std::weak_ptr<WebHostDelegate*> weakDelegate = self;
    const std::weak_ptr<WebWindowController> weakController = controller;
    controller->onClose = [weakDelegate, weakController] {
        const auto delegate = weakDelegate.lock();
        const auto closed = weakController.lock();
        if (!delegate || !closed) return;
        WebHostDelegate& host = **delegate;
        std::erase_if(host.controllers, [&](const auto& held) { return held == closed; });
        if (host.controllers.empty() && host.applicationShouldTerminateAfterLastWindowClosed()) {
            host.platform.terminate();
        }
    };
    controllers.push_back(controller);
}

}  // namespace halyward
