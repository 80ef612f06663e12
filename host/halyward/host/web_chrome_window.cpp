#include "halyward/host/web_chrome_window.hpp"

namespace halyward {

Frame windowContentRect(WindowChrome chrome, bool popup) {
    const double width = popup ? kPopupWindowWidth : kMainWindowWidth;
    const double height = popup ? kPopupWindowHeight : kMainWindowHeight;
    const double bar = chrome == WindowChrome::slim ? kSlimBarHeight : 0;
    return Frame{0, 0, width, height + bar};
}

WindowOptions windowOptions(WindowChrome chrome, bool popup, std::string title) {
    return WindowOptions{windowContentRect(chrome, popup), chrome == WindowChrome::slim,
                         std::move(title)};
}

WebChromeWindow::WebChromeWindow(std::unique_ptr<PlatformWindow> platform, WindowChrome chrome)
    : chrome(chrome), platformWindow(std::move(platform)) {}

std::shared_ptr<WebActions> WebChromeWindow::supplementalTarget(std::string_view action) const {
    auto target = actions.lock();
    if (target && target->respondsTo(action)) return target;
    return nullptr;
}

}  // namespace halyward
