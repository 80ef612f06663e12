#include "gtk_window.hpp"

#include "conversions.hpp"
#include "gtk_platform.hpp"
#include "gtk_web_view.hpp"

#include <webkit/webkit.h>

namespace halyward::gtk {

namespace {

constexpr const char* kWrapperKey = "halyward-window";

/// The characters a key produces with no modifier applied, in the layout the key was
/// typed in, so Ctrl+Shift+C reads "c" and Caps Lock changes nothing.
std::string unmodifiedCharacters(GtkEventControllerKey* controller, guint keycode, guint keyval) {
    GdkEvent* event = gtk_event_controller_get_current_event(GTK_EVENT_CONTROLLER(controller));
    GtkWidget* widget = gtk_event_controller_get_widget(GTK_EVENT_CONTROLLER(controller));
    guint plain = keyval;
    if (event != nullptr && gdk_event_get_event_type(event) == GDK_KEY_PRESS) {
        guint translated = 0;
        if (gdk_display_translate_key(gtk_widget_get_display(widget), keycode, GdkModifierType{},
                                      static_cast<int>(gdk_key_event_get_layout(event)),
                                      &translated, nullptr, nullptr, nullptr)) {
            plain = translated;
        }
    }
    return keyvalText(plain);
}

}  // namespace

GtkChromeWindow::GtkChromeWindow(GtkPlatform& platform, const WindowOptions& options)
    : platform(platform) {
    installChromeStyle();
    window = GObjectPtr<GtkWidget>::retain(gtk_window_new());
    GtkWindow* gtkWindow = GTK_WINDOW(window.get());
    g_object_set_data(G_OBJECT(gtkWindow), kWrapperKey, this);
    gtk_window_set_application(gtkWindow, platform.application());
    gtk_window_set_title(gtkWindow, options.title.c_str());
    gtk_widget_add_css_class(window.get(), "halyward-web-window");

    // One title-bar slot for the window's life: the toolkit warns when a realized window's
    // title bar is replaced, so the chromes swap the slot's child instead.
    titlebarSlot = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    gtk_widget_add_css_class(titlebarSlot, "halyward-titlebar-slot");
    gtk_window_set_titlebar(gtkWindow, titlebarSlot);

    overlay = gtk_overlay_new();
    address = gtk_entry_new();
    gtk_entry_set_placeholder_text(GTK_ENTRY(address), "Address");
    gtk_entry_set_input_purpose(GTK_ENTRY(address), GTK_INPUT_PURPOSE_URL);
    gtk_widget_add_css_class(address, "halyward-address");
    gtk_widget_set_valign(address, GTK_ALIGN_START);
    gtk_widget_set_halign(address, GTK_ALIGN_FILL);
    gtk_widget_set_visible(address, FALSE);
    gtk_overlay_add_overlay(GTK_OVERLAY(overlay), address);
    gtk_window_set_child(gtkWindow, overlay);

    // The content rectangle is the page's; a standard window's header bar comes on top of
    // it, while the slim bar is part of a full-size content rectangle.
    int titlebarHeight = 0;
    if (!options.fullSizeContentView) {
        standardBar = std::make_unique<StandardBar>(platform.menuModel());
        showTitlebar(standardBar->widget(), standardBar->menuButton());
        gtk_widget_measure(titlebarSlot, GTK_ORIENTATION_VERTICAL, -1, nullptr, &titlebarHeight,
                           nullptr, nullptr);
    }
    const GdkRectangle content = toGdkRectangle(options.contentRect);
    gtk_window_set_default_size(gtkWindow, content.width, content.height + titlebarHeight);

    connections.emplace_back(
        gtkWindow, g_signal_connect(gtkWindow, "close-request", G_CALLBACK(onCloseRequest), this));
    connections.emplace_back(
        gtkWindow, g_signal_connect(gtkWindow, "notify::is-active", G_CALLBACK(onActive), this));
    connections.emplace_back(
        address, g_signal_connect(address, "activate", G_CALLBACK(onAddressActivate), this));

    // Capture phase: the host's shortcuts come before the page sees the keys.
    GtkEventController* keys = gtk_event_controller_key_new();
    gtk_event_controller_set_propagation_phase(keys, GTK_PHASE_CAPTURE);
    g_signal_connect(keys, "key-pressed", G_CALLBACK(onKeyPressed), this);
    gtk_widget_add_controller(window.get(), keys);

    // F10 opens the primary menu, as in every GNOME application.
    GtkEventController* shortcuts = gtk_shortcut_controller_new();
    gtk_shortcut_controller_add_shortcut(
        GTK_SHORTCUT_CONTROLLER(shortcuts),
        gtk_shortcut_new(gtk_keyval_trigger_new(GDK_KEY_F10, GdkModifierType{}),
                         gtk_callback_action_new(
                             +[](GtkWidget* widget, GVariant*, gpointer) -> gboolean {
                                 if (GtkChromeWindow* self = from(GTK_WINDOW(widget))) {
                                     self->popUpMenu();
                                 }
                                 return TRUE;
                             },
                             nullptr, nullptr)));
    gtk_widget_add_controller(window.get(), shortcuts);
}

GtkChromeWindow::~GtkChromeWindow() {
    connections.clear();
    g_object_set_data(G_OBJECT(window.get()), kWrapperKey, nullptr);
    gtk_window_destroy(gtkWindow());
}

GtkChromeWindow* GtkChromeWindow::from(GtkWindow* window) {
    if (window == nullptr) {
        return nullptr;
    }
    return static_cast<GtkChromeWindow*>(g_object_get_data(G_OBJECT(window), kWrapperKey));
}

void GtkChromeWindow::setDelegate(WindowDelegate* delegate) { windowDelegate = delegate; }

void GtkChromeWindow::setTitle(const std::string& title) {
    gtk_window_set_title(gtkWindow(), title.c_str());
}

void GtkChromeWindow::center() {
    // GTK 4 leaves placement to the window manager, which centres new windows on GNOME;
    // there is no call to make.
}

void GtkChromeWindow::makeKeyAndOrderFront() { gtk_window_present(gtkWindow()); }

bool GtkChromeWindow::isKey() const { return gtk_window_is_active(gtkWindow()); }

void GtkChromeWindow::close() { gtk_window_close(gtkWindow()); }

void GtkChromeWindow::miniaturize() { gtk_window_minimize(gtkWindow()); }

void GtkChromeWindow::zoom() {
    if (gtk_window_is_maximized(gtkWindow())) {
        gtk_window_unmaximize(gtkWindow());
    } else {
        gtk_window_maximize(gtkWindow());
    }
}

void GtkChromeWindow::applySlimTreatment() {
    // The slim bar is the window's own client-side title bar; the toolkit never puts its
    // own back, so there is nothing to apply again.
}

void GtkChromeWindow::installSlimChrome(PlatformWebView& webView, const SlimBarContent& bar) {
    showWebView(webView);
    if (!slimBar) {
        slimBar = std::make_unique<SlimBar>(platform.menuModel(), [this] {
            if (windowDelegate != nullptr) {
                windowDelegate->titlebarDoubleClicked(*this);
            }
        });
    }
    slimBar->update(bar);
    showTitlebar(slimBar->widget(), slimBar->menuButton());
}

void GtkChromeWindow::installStandardChrome(PlatformWebView& webView) {
    showWebView(webView);
    if (!standardBar) {
        standardBar = std::make_unique<StandardBar>(platform.menuModel());
    }
    showTitlebar(standardBar->widget(), standardBar->menuButton());
}

void GtkChromeWindow::updateSlimBar(const SlimBarContent& bar) {
    if (slimBar) {
        slimBar->update(bar);
    }
}

void GtkChromeWindow::showAddressField(const std::string& text) {
    gtk_editable_set_text(GTK_EDITABLE(address), text.c_str());
    gtk_widget_set_visible(address, TRUE);
    gtk_widget_grab_focus(address);
    gtk_editable_select_region(GTK_EDITABLE(address), 0, -1);
}

void GtkChromeWindow::hideAddressField() { gtk_widget_set_visible(address, FALSE); }

void GtkChromeWindow::performEditingCommand(const char* webKitCommand, const char* widgetAction) {
    GtkWidget* focus = gtk_root_get_focus(GTK_ROOT(window.get()));
    if (focus == nullptr) {
        return;
    }
    if (WEBKIT_IS_WEB_VIEW(focus)) {
        webkit_web_view_execute_editing_command(WEBKIT_WEB_VIEW(focus), webKitCommand);
    } else {
        gtk_widget_activate_action(focus, widgetAction, nullptr);
    }
}

void GtkChromeWindow::popUpMenu() {
    if (menuButton != nullptr) {
        gtk_menu_button_popup(menuButton);
    }
}

void GtkChromeWindow::showWebView(PlatformWebView& webView) {
    GtkWidget* view = static_cast<GtkWebView&>(webView).widget();
    if (gtk_overlay_get_child(GTK_OVERLAY(overlay)) != view) {
        gtk_overlay_set_child(GTK_OVERLAY(overlay), view);
    }
}

void GtkChromeWindow::showTitlebar(GtkWidget* bar, GtkMenuButton* menu) {
    GtkWidget* current = gtk_widget_get_first_child(titlebarSlot);
    if (current != bar) {
        if (current != nullptr) {
            gtk_box_remove(GTK_BOX(titlebarSlot), current);
        }
        gtk_box_append(GTK_BOX(titlebarSlot), bar);
    }
    menuButton = menu;
}

gboolean GtkChromeWindow::onCloseRequest(GtkWindow* gtkWindow, gpointer self) {
    auto* wrapper = static_cast<GtkChromeWindow*>(self);
    const std::weak_ptr<int> alive = wrapper->alive;
    // Closing may destroy the wrapper (and so the window) from inside this handler; the
    // extra reference keeps the object valid until the emission ends.
    GObjectPtr<GtkWindow> hold = GObjectPtr<GtkWindow>::retain(gtkWindow);
    if (wrapper->windowDelegate != nullptr) {
        wrapper->windowDelegate->windowWillClose(*wrapper);
    }
    if (!alive.expired()) {
        gtk_widget_set_visible(GTK_WIDGET(gtkWindow), FALSE);
        gtk_window_set_application(gtkWindow, nullptr);
    }
    return TRUE;
}

void GtkChromeWindow::onActive(GObject*, GParamSpec*, gpointer self) {
    auto* wrapper = static_cast<GtkChromeWindow*>(self);
    if (wrapper->windowDelegate != nullptr && gtk_window_is_active(wrapper->gtkWindow())) {
        wrapper->windowDelegate->windowDidBecomeKey(*wrapper);
    }
}

gboolean GtkChromeWindow::onKeyPressed(GtkEventControllerKey* controller, guint keyval,
                                       guint keycode, GdkModifierType state, gpointer self) {
    auto* wrapper = static_cast<GtkChromeWindow*>(self);
    if (wrapper->windowDelegate == nullptr) {
        return FALSE;
    }
    const KeyEvent event{toKeyModifiers(state), unmodifiedCharacters(controller, keycode, keyval)};
    return wrapper->windowDelegate->handleKey(*wrapper, event) ? TRUE : FALSE;
}

void GtkChromeWindow::onAddressActivate(GtkEntry* entry, gpointer self) {
    auto* wrapper = static_cast<GtkChromeWindow*>(self);
    if (wrapper->windowDelegate != nullptr) {
        wrapper->windowDelegate->commitAddress(*wrapper,
                                               gtk_editable_get_text(GTK_EDITABLE(entry)));
    }
}

}  // namespace halyward::gtk
