#pragma once
/// A web-app window: the platform window, the chrome it shows and the responder it offers
/// to menu validation.

#include "halyward/config/config.hpp"
#include "halyward/host/main_menu.hpp"
#include "halyward/host/platform.hpp"

#include <memory>
#include <string_view>

namespace halyward {

/// The content sizes of web-app windows, in points, under the standard chrome.
inline constexpr double kMainWindowWidth = 1100;
inline constexpr double kMainWindowHeight = 760;
inline constexpr double kPopupWindowWidth = 900;
inline constexpr double kPopupWindowHeight = 680;
/// The slim bar's height, added to a window's content height under the slim chrome so
/// that the page keeps the same room under either chrome.
inline constexpr double kSlimBarHeight = 28;

/// The content rectangle of a main window (`popup` false) or a pop-up window, at (0, 0):
/// 1100 × 760 or 900 × 680 points, 28 points higher under the slim chrome.
Frame windowContentRect(WindowChrome chrome, bool popup);

/// How a window with `chrome` is made: its content rectangle, the full-size content view
/// for the slim chrome only, and its title.
WindowOptions windowOptions(WindowChrome chrome, bool popup, std::string title);

class WebChromeWindow {
public:
    explicit WebChromeWindow(std::unique_ptr<PlatformWindow> platform,
                             WindowChrome chrome = WindowChrome::standard);

    /// The toolkit's window.
    PlatformWindow& platform() const { return *platformWindow; }

    /// The controller's responder, held weakly; none for pop-up windows.
    std::weak_ptr<WebActions> actions;

    /// `actions` when it still exists and responds to `action`; otherwise none, and the
    /// platform's own window answers.
    std::shared_ptr<WebActions> supplementalTarget(std::string_view action) const;

    /// The chrome the window shows now.
    WindowChrome chrome;

    /// A pop-up window owns the web view it shows; the main window's view is its
    /// controller's.
    std::unique_ptr<PlatformWebView> ownedWebView;

private:
    std::unique_ptr<PlatformWindow> platformWindow;
};

}  // namespace halyward
