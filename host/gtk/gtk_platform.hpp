#pragma once
// The process-wide half of the Linux front end: the GtkApplication, the main menu and its
// actions, alerts, the clipboard, the default handlers through GIO, notifications, the
// launcher badge, file watches and the main loop.

#include "gobject_ptr.hpp"
#include "gtk_web_view.hpp"
#include "halyward/host/platform.hpp"

#include <gtk/gtk.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halyward::gtk {

class GtkChromeWindow;

class GtkPlatform final : public Platform {
public:
    /// `applicationID` is the desktop's id for this app (empty when the bundle has none);
    /// `acceleratedCompositing` says whether web pages are composited on the GPU;
    /// `ownEnvironment` names the environment variables the process set for itself, which
    /// the programs it launches do not inherit.
    GtkPlatform(GtkApplication* application, std::string applicationID, bool acceleratedCompositing,
                std::vector<std::string> ownEnvironment = {});
    ~GtkPlatform() override;
    GtkPlatform(const GtkPlatform&) = delete;
    GtkPlatform& operator=(const GtkPlatform&) = delete;

    GtkApplication* application() const { return app; }
    /// The installed main menu, shown by each window's menu button.
    GMenuModel* menuModel() const { return G_MENU_MODEL(menu.get()); }
    /// Performs a menu item's action for the active window: first its own responders, then
    /// the toolkit's counterpart of the action.
    void performMenuAction(const std::string& action);

    std::unique_ptr<PlatformWebViewConfiguration> makeWebViewConfiguration() override;
    std::unique_ptr<PlatformWebView> makeWebView(
        PlatformWebViewConfiguration& configuration) override;
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
    std::unique_ptr<FileWatch> watchFile(const std::string& path,
                                         std::function<void()> changed) override;
    void postTask(std::function<void()> task) override;
    std::string homeDirectory() const override;
    std::optional<std::string> titlebarDoubleClickPreference() const override;

private:
    GtkChromeWindow* activeWindow() const;
    GDBusConnection* sessionBus();

    GtkApplication* app;
    std::string appID;
    bool accelerated;
    std::vector<std::string> ownEnvironment;
    WebsiteData websiteData;
    GObjectPtr<GMenu> menu;
    GObjectPtr<GDBusConnection> bus;
    bool busLookedUp = false;
};

}  // namespace halyward::gtk
