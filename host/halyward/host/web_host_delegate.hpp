#pragma once
/// The web-app host's application delegate: reads the app's identity from its bundle,
/// opens the first window and keeps the list of open windows.

#include "halyward/host/platform.hpp"
#include "halyward/host/web_window_controller.hpp"
#include "halyward/webapps/bundle_info.hpp"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halyward {

/// The alert shown when the bundle holds no usable address.
inline constexpr std::string_view kMissingAddressMessage = "This web app has no address";
inline constexpr std::string_view kMissingAddressInformative =
    "Halyward could not read the site stored in the app.";
/// The application's name when the bundle gives none.
inline constexpr std::string_view kDefaultBundleName = "Halyward";

/// The canonical upper-case text of a UUID written in its 36-character form (any case);
/// none for anything else.
std::optional<std::string> canonicalUUID(std::string_view text);

class WebHostDelegate : public std::enable_shared_from_this<WebHostDelegate> {
public:
    /// Reads "HWURL", "HWSlug", "HWDataStoreUUID", "CFBundleName" and
    /// "CFBundleIdentifier" from `info` (none reads as an empty dictionary). `platform`
    /// must outlive the delegate.
    WebHostDelegate(Platform& platform, const std::optional<BundleInfo>& info);
    /// Closes nothing; releases the controllers before the shared configuration they use.
    ~WebHostDelegate();
    WebHostDelegate(const WebHostDelegate&) = delete;
    WebHostDelegate& operator=(const WebHostDelegate&) = delete;

    /// Every open web window, in the order they were opened.
    std::vector<std::shared_ptr<WebWindowController>> controllers;
    /// "HWURL" as written; empty when missing.
    std::string homeURL;
    /// "HWSlug"; empty when missing.
    std::string slug;
    /// "HWDataStoreUUID" as canonical upper-case UUID text; none when missing or not a UUID.
    std::optional<std::string> dataStoreID;
    /// "CFBundleName", or "Halyward".
    std::string bundleName;
    /// "CFBundleIdentifier"; empty when missing.
    std::string bundleIdentifier;

    /// Installs the main menu and opens the home page, or, when the bundle holds no
    /// address with a host, shows the missing-address alert and terminates.
    void applicationDidFinishLaunching();
    /// Always true: closing the last web window quits the web app.
    bool applicationShouldTerminateAfterLastWindowClosed() const { return true; }
    /// A second launch of the running app: bring its first window forward.
    void applicationDidReopen();
    /// Opens a window for `url` with the shared `configuration` and starts loading.
    void open(const std::string& url, PlatformWebViewConfiguration& configuration,
              const std::string& title);

    /// The shared web view configuration, once launched.
    std::unique_ptr<PlatformWebViewConfiguration> configuration;

private:
    Platform& platform;
    /// Expires with the delegate; the controllers' onClose callbacks hold it weakly.
    std::shared_ptr<WebHostDelegate*> self;
};

}  // namespace halyward
