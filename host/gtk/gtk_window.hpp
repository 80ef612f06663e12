#pragma once
// A GtkWindow behind the host's window: one title-bar slot whose child is the slim bar or
// the standard header bar, the web view under it and the hidden address field over it.

#include "gobject_ptr.hpp"
#include "halyward/host/platform.hpp"
#include "slim_bar.hpp"

#include <gtk/gtk.h>

#include <list>
#include <memory>
#include <string>

namespace halyward::gtk {

class GtkPlatform;
class GtkWebView;

class GtkChromeWindow final : public PlatformWindow {
public:
    GtkChromeWindow(GtkPlatform& platform, const WindowOptions& options);
    ~GtkChromeWindow() override;
    GtkChromeWindow(const GtkChromeWindow&) = delete;
    GtkChromeWindow& operator=(const GtkChromeWindow&) = delete;

    /// The wrapper of `window`, none when it is not one of the host's windows.
    static GtkChromeWindow* from(GtkWindow* window);

    GtkWindow* gtkWindow() const { return GTK_WINDOW(window.get()); }
    WindowDelegate* delegate() const { return windowDelegate; }
    /// Sends an editing command (cut, copy, paste, select all, undo, redo, named as the
    /// web engine names them) to the focused web view or text field.
    void performEditingCommand(const char* webKitCommand, const char* widgetAction);
    /// Opens the chrome's menu, as F10 does.
    void popUpMenu();

    void setDelegate(WindowDelegate* delegate) override;
    void setTitle(const std::string& title) override;
    void center() override;
    void makeKeyAndOrderFront() override;
    bool isKey() const override;
    void close() override;
    void miniaturize() override;
    void zoom() override;
    void applySlimTreatment() override;
    void installSlimChrome(PlatformWebView& webView, const SlimBarContent& bar) override;
    void installStandardChrome(PlatformWebView& webView) override;
    void updateSlimBar(const SlimBarContent& bar) override;
    void showAddressField(const std::string& text) override;
    void hideAddressField() override;

private:
    static gboolean onCloseRequest(GtkWindow* window, gpointer self);
    static void onActive(GObject* window, GParamSpec* spec, gpointer self);
    static gboolean onKeyPressed(GtkEventControllerKey* controller, guint keyval, guint keycode,
                                 GdkModifierType state, gpointer self);
    static void onAddressActivate(GtkEntry* entry, gpointer self);
    void showWebView(PlatformWebView& webView);
    void showTitlebar(GtkWidget* bar, GtkMenuButton* menu);

    GtkPlatform& platform;
    GObjectPtr<GtkWidget> window;
    GtkWidget* titlebarSlot = nullptr;
    GtkWidget* overlay = nullptr;
    GtkWidget* address = nullptr;
    std::unique_ptr<SlimBar> slimBar;
    std::unique_ptr<StandardBar> standardBar;
    GtkMenuButton* menuButton = nullptr;
    WindowDelegate* windowDelegate = nullptr;
    /// Expires with this wrapper, so a close handler can tell whether closing destroyed it.
    std::shared_ptr<int> alive = std::make_shared<int>(0);
    std::list<SignalConnection> connections;
};

}  // namespace halyward::gtk
