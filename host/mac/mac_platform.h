#pragma once
// The process-wide half of the macOS front end: web views and windows, the main menu,
// alerts, the workspace, the pasteboard, notifications, the Dock badge, file watches and
// the main queue.

#include "halyward/host/platform.hpp"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halyward::mac {

class MacPlatform final : public Platform {
public:
    std::unique_ptr<PlatformWebViewConfiguration> makeWebViewConfiguration() override;
    std::unique_ptr<PlatformWebView> makeWebView(PlatformWebViewConfiguration& configuration) override;
    std::unique_ptr<PlatformWindow> makeWindow(const WindowOptions& options) override;
    void installMainMenu(const std::vector<Menu>& menus) override;
    void runModalAlert(const std::string& message, const std::string& informative) override;
    void terminate() override;
    bool hasHandler(std::string_view url) override;
    void openExternally(const std::string& url) override;
    void setClipboardText(const std::optional<std::string>& text) override;
    void postNotification(const std::string& identifier, const std::string& title,
                          const std::string& body) override;
    void setBadgeCount(std::int64_t count) override;
    std::unique_ptr<FileWatch> watchFile(const std::string& path, std::function<void()> changed) override;
    void postTask(std::function<void()> task) override;
    std::string homeDirectory() const override;
    std::optional<std::string> titlebarDoubleClickPreference() const override;
};

/// Watches the file at `path` with a dispatch source on a descriptor opened for event
/// notification only; `changed` runs on the main queue after a write, rename or deletion.
/// None when the file cannot be opened.
std::unique_ptr<FileWatch> watchFileEvents(const std::string& path, std::function<void()> changed);

}  // namespace halyward::mac
