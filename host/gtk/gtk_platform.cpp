#include "gtk_platform.hpp"

#include "conversions.hpp"
#include "gtk_window.hpp"
#include "halyward/base/error.hpp"

#include <gio/gio.h>

#include <array>
#include <utility>

namespace halyward::gtk {

namespace {

/// The toolkit's counterpart of one macOS menu action. `native` marks actions whose key
/// the focused web view or text field already handles itself: their shortcut is shown in
/// the menu but not taken from the page.
struct ActionCounterpart {
    std::string_view action;
    bool native;
    void (*perform)(GtkPlatform& platform, GtkChromeWindow* window);
};

void forEachWindow(GtkPlatform& platform, void (*apply)(GtkWindow*)) {
    // Copy the list first: closing a window changes it.
    std::vector<GObjectPtr<GtkWindow>> windows;
    for (GList* item = gtk_application_get_windows(platform.application()); item != nullptr;
         item = item->next) {
        windows.push_back(GObjectPtr<GtkWindow>::retain(GTK_WINDOW(item->data)));
    }
    for (const auto& window : windows) {
        apply(window.get());
    }
}

void showAbout(GtkPlatform& platform, GtkChromeWindow* window) {
    GtkWidget* about = gtk_about_dialog_new();
    gtk_about_dialog_set_program_name(GTK_ABOUT_DIALOG(about), g_get_application_name());
    gtk_about_dialog_set_version(GTK_ABOUT_DIALOG(about), HalywardVersion::current);
    gtk_about_dialog_set_comments(GTK_ABOUT_DIALOG(about), "A web app made with Halyward.");
    gtk_window_set_application(GTK_WINDOW(about), platform.application());
    if (window != nullptr) {
        gtk_window_set_transient_for(GTK_WINDOW(about), window->gtkWindow());
    }
    gtk_window_present(GTK_WINDOW(about));
}

#define HALYWARD_EDIT(webKit, widget)                      \
    [](GtkPlatform&, GtkChromeWindow* window) {            \
        if (window != nullptr) {                           \
            window->performEditingCommand(webKit, widget); \
        }                                                  \
    }

/// macOS's menu actions and what stands for each on Linux. Actions missing here
/// ("hideOtherApplications:", "unhideAllApplications:") have no counterpart and are not
/// shown.
const std::array<ActionCounterpart, 13>& counterparts() {
    static const std::array<ActionCounterpart, 13> table{{
        {"orderFrontStandardAboutPanel:", false, showAbout},
        // Hiding an application is minimising its windows here.
        {"hide:", false,
         [](GtkPlatform& platform, GtkChromeWindow*) {
             forEachWindow(platform, gtk_window_minimize);
         }},
        // Quitting closes every window the way the user would, so each one's teardown runs;
        // the last one ends the application.
        {"terminate:", false,
         [](GtkPlatform& platform, GtkChromeWindow*) {
             forEachWindow(platform, gtk_window_close);
         }},
        {"performClose:", false,
         [](GtkPlatform&, GtkChromeWindow* window) {
             if (window != nullptr) {
                 window->close();
             }
         }},
        {"undo:", true, HALYWARD_EDIT(WEBKIT_EDITING_COMMAND_UNDO, "text.undo")},
        {"redo:", true, HALYWARD_EDIT(WEBKIT_EDITING_COMMAND_REDO, "text.redo")},
        {"cut:", true, HALYWARD_EDIT(WEBKIT_EDITING_COMMAND_CUT, "clipboard.cut")},
        {"copy:", true, HALYWARD_EDIT(WEBKIT_EDITING_COMMAND_COPY, "clipboard.copy")},
        {"paste:", true, HALYWARD_EDIT(WEBKIT_EDITING_COMMAND_PASTE, "clipboard.paste")},
        {"selectAll:", true,
         HALYWARD_EDIT(WEBKIT_EDITING_COMMAND_SELECT_ALL, "selection.select-all")},
        // The window's own responder carries it; there is nothing else to fall back to.
        {"reloadPage:", false, [](GtkPlatform&, GtkChromeWindow*) {}},
        {"performMiniaturize:", false,
         [](GtkPlatform&, GtkChromeWindow* window) {
             if (window != nullptr) {
                 window->miniaturize();
             }
         }},
        {"performZoom:", false,
         [](GtkPlatform&, GtkChromeWindow* window) {
             if (window != nullptr) {
                 window->zoom();
             }
         }},
    }};
    return table;
}
#undef HALYWARD_EDIT

const ActionCounterpart* counterpart(std::string_view action) {
    for (const ActionCounterpart& entry : counterparts()) {
        if (entry.action == action) {
            return &entry;
        }
    }
    return nullptr;
}

/// "reloadPage:" → "reloadPage", a valid GAction name.
std::string actionName(std::string_view action) {
    std::string name;
    for (const char c : action) {
        if (g_ascii_isalnum(c) || c == '-' || c == '.') {
            name.push_back(c);
        }
    }
    return name;
}

/// A key equivalent as an accelerator: macOS's Command is Ctrl here, and an upper-case
/// key implies Shift.
std::string acceleratorFor(const MenuItem& item) {
    if (item.keyEquivalent.empty()) {
        return {};
    }
    const gunichar character = g_utf8_get_char_validated(
        item.keyEquivalent.c_str(), static_cast<gssize>(item.keyEquivalent.size()));
    if (character == static_cast<gunichar>(-1) || character == static_cast<gunichar>(-2)) {
        return {};
    }
    GdkModifierType modifiers = toGdkModifiers(item.keyModifiers);
    if (g_unichar_isupper(character)) {
        modifiers = static_cast<GdkModifierType>(modifiers | GDK_SHIFT_MASK);
    }
    return takeString(
        gtk_accelerator_name(gdk_unicode_to_keyval(g_unichar_tolower(character)), modifiers));
}

class GioFileWatch final : public FileWatch {
public:
    GioFileWatch(GObjectPtr<GFileMonitor> monitor, std::function<void()> changed)
        : monitor(std::move(monitor)), changed(std::move(changed)) {
        handler = g_signal_connect(this->monitor.get(), "changed", G_CALLBACK(onChanged), this);
    }
    ~GioFileWatch() override {
        g_signal_handler_disconnect(monitor.get(), handler);
        g_file_monitor_cancel(monitor.get());
    }

private:
    static void onChanged(GFileMonitor*, GFile*, GFile*, GFileMonitorEvent event, gpointer self) {
        // A write counts once it is complete; a replacement arrives as a rename or a move
        // onto the path, and a removal as a deletion or a move away.
        switch (event) {
            case G_FILE_MONITOR_EVENT_CHANGES_DONE_HINT:
            case G_FILE_MONITOR_EVENT_CREATED:
            case G_FILE_MONITOR_EVENT_DELETED:
            case G_FILE_MONITOR_EVENT_RENAMED:
            case G_FILE_MONITOR_EVENT_MOVED_IN:
            case G_FILE_MONITOR_EVENT_MOVED_OUT: {
                // Copy the handler: it may end this watch while it runs.
                const auto handler = static_cast<GioFileWatch*>(self)->changed;
                handler();
                break;
            }
            default: break;
        }
    }

    GObjectPtr<GFileMonitor> monitor;
    std::function<void()> changed;
    gulong handler = 0;
};

}  // namespace

GtkPlatform::GtkPlatform(GtkApplication* application, std::string applicationID,
                         bool acceleratedCompositing, std::vector<std::string> ownEnvironment)
    : app(application),
      appID(std::move(applicationID)),
      accelerated(acceleratedCompositing),
      ownEnvironment(std::move(ownEnvironment)),
      websiteData(g_get_home_dir()),
      menu(GObjectPtr<GMenu>::adopt(g_menu_new())) {}

GtkPlatform::~GtkPlatform() = default;

GtkChromeWindow* GtkPlatform::activeWindow() const {
    return GtkChromeWindow::from(gtk_application_get_active_window(app));
}

void GtkPlatform::performMenuAction(const std::string& action) {
    GtkChromeWindow* window = activeWindow();
    if (window != nullptr && window->delegate() != nullptr &&
        window->delegate()->performAction(*window, action)) {
        return;
    }
    if (const ActionCounterpart* entry = counterpart(action)) {
        entry->perform(*this, window);
    }
}

std::unique_ptr<PlatformWebViewConfiguration> GtkPlatform::makeWebViewConfiguration() {
    return std::make_unique<GtkWebViewConfiguration>(websiteData, accelerated);
}

std::unique_ptr<PlatformWebView> GtkPlatform::makeWebView(
    PlatformWebViewConfiguration& configuration) {
    return std::make_unique<GtkWebView>(static_cast<GtkWebViewConfiguration&>(configuration));
}

std::unique_ptr<PlatformWindow> GtkPlatform::makeWindow(const WindowOptions& options) {
    return std::make_unique<GtkChromeWindow>(*this, options);
}

void GtkPlatform::installMainMenu(const std::vector<Menu>& menus) {
    g_menu_remove_all(menu.get());
    for (const Menu& entry : menus) {
        GObjectPtr<GMenu> section = GObjectPtr<GMenu>::adopt(g_menu_new());
        const auto flush = [&] {
            if (g_menu_model_get_n_items(G_MENU_MODEL(section.get())) > 0) {
                g_menu_append_section(menu.get(), nullptr, G_MENU_MODEL(section.get()));
                section = GObjectPtr<GMenu>::adopt(g_menu_new());
            }
        };
        for (const MenuItem& item : entry.items) {
            if (item.isSeparator()) {
                flush();
                continue;
            }
            const ActionCounterpart* known = counterpart(item.action);
            if (known == nullptr) {
                continue;
            }
            const std::string name = actionName(item.action);
            if (g_action_map_lookup_action(G_ACTION_MAP(app), name.c_str()) == nullptr) {
                GSimpleAction* action = g_simple_action_new(name.c_str(), nullptr);
                g_signal_connect_data(
                    action, "activate", G_CALLBACK(+[](GSimpleAction*, GVariant*, gpointer data) {
                        auto* self = static_cast<GtkPlatform*>(
                            g_object_get_data(G_OBJECT(data), "platform"));
                        self->performMenuAction(static_cast<const char*>(
                            g_object_get_data(G_OBJECT(data), "halyward-action")));
                    }),
                    action, nullptr, GConnectFlags{});
                g_object_set_data(G_OBJECT(action), "platform", this);
                g_object_set_data_full(G_OBJECT(action), "halyward-action",
                                       g_strdup(item.action.c_str()), g_free);
                g_action_map_add_action(G_ACTION_MAP(app), G_ACTION(action));
                g_object_unref(action);
            }
            const std::string detailed = "app." + name;
            GMenuItem* menuItem = g_menu_item_new(item.title.c_str(), detailed.c_str());
            const std::string accelerator = acceleratorFor(item);
            if (!accelerator.empty()) {
                g_menu_item_set_attribute(menuItem, "accel", "s", accelerator.c_str());
                if (!known->native) {
                    const char* accels[] = {accelerator.c_str(), nullptr};
                    gtk_application_set_accels_for_action(app, detailed.c_str(), accels);
                }
            }
            g_menu_append_item(section.get(), menuItem);
            g_object_unref(menuItem);
        }
        flush();
    }
}

void GtkPlatform::runModalAlert(const std::string& message, const std::string& informative) {
    G_GNUC_BEGIN_IGNORE_DEPRECATIONS
    GtkWidget* dialog = gtk_message_dialog_new(nullptr, GTK_DIALOG_MODAL, GTK_MESSAGE_WARNING,
                                               GTK_BUTTONS_OK, "%s", message.c_str());
    gtk_message_dialog_format_secondary_text(GTK_MESSAGE_DIALOG(dialog), "%s", informative.c_str());
    G_GNUC_END_IGNORE_DEPRECATIONS
    gtk_window_set_title(GTK_WINDOW(dialog), g_get_application_name());
    gtk_window_set_application(GTK_WINDOW(dialog), app);
    // Our own reference keeps the dialog valid however it goes away (a button, Escape, or
    // the window manager closing it).
    GObjectPtr<GtkWidget> hold = GObjectPtr<GtkWidget>::retain(dialog);
    GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
    g_signal_connect_swapped(dialog, "response", G_CALLBACK(g_main_loop_quit), loop);
    g_signal_connect_swapped(dialog, "destroy", G_CALLBACK(g_main_loop_quit), loop);
    gtk_window_present(GTK_WINDOW(dialog));
    g_main_loop_run(loop);
    g_signal_handlers_disconnect_by_data(dialog, loop);
    g_main_loop_unref(loop);
    gtk_window_destroy(GTK_WINDOW(dialog));
}

void GtkPlatform::terminate() { g_application_quit(G_APPLICATION(app)); }

bool GtkPlatform::hasHandler(std::string_view url) {
    const std::string scheme = uriScheme(url);
    if (scheme.empty()) {
        return false;
    }
    GObjectPtr<GAppInfo> info =
        GObjectPtr<GAppInfo>::adopt(g_app_info_get_default_for_uri_scheme(scheme.c_str()));
    return static_cast<bool>(info);
}

void GtkPlatform::openExternally(const std::string& url) {
    GdkDisplay* display = gdk_display_get_default();
    GObjectPtr<GAppLaunchContext> context;
    if (display != nullptr) {
        context = GObjectPtr<GAppLaunchContext>::adopt(
            G_APP_LAUNCH_CONTEXT(gdk_display_get_app_launch_context(display)));
        // How this process chose to draw is not the handler's business.
        for (const std::string& name : ownEnvironment) {
            g_app_launch_context_unsetenv(context.get(), name.c_str());
        }
    }
    g_app_info_launch_default_for_uri_async(url.c_str(), context.get(), nullptr, nullptr, nullptr);
}

void GtkPlatform::setClipboardText(const std::optional<std::string>& text) {
    GdkDisplay* display = gdk_display_get_default();
    if (display == nullptr) {
        return;
    }
    // Setting the text replaces whatever the clipboard held in one step; clearing it first
    // would hand the selection back and forth, and a reader asking in between gets nothing.
    GdkClipboard* clipboard = gdk_display_get_clipboard(display);
    if (text) {
        gdk_clipboard_set_text(clipboard, text->c_str());
    } else {
        gdk_clipboard_set_content(clipboard, nullptr);
    }
}

void GtkPlatform::postNotification(const std::string& identifier, const std::string& title,
                                   const std::string& body) {
    GObjectPtr<GNotification> notification =
        GObjectPtr<GNotification>::adopt(g_notification_new(title.c_str()));
    g_notification_set_body(notification.get(), body.c_str());
    g_application_send_notification(G_APPLICATION(app), identifier.c_str(), notification.get());
}

GDBusConnection* GtkPlatform::sessionBus() {
    if (GDBusConnection* connection = g_application_get_dbus_connection(G_APPLICATION(app))) {
        return connection;
    }
    if (!busLookedUp) {
        busLookedUp = true;
        bus = GObjectPtr<GDBusConnection>::adopt(
            g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
    }
    return bus.get();
}

void GtkPlatform::setBadgeCount(std::int64_t count) {
    GDBusConnection* connection = sessionBus();
    if (connection == nullptr) {
        return;
    }
    // Docks match the entry by its desktop-entry id, which is the application id.
    const std::string desktopID = appID.empty() ? toString(g_get_prgname()) : appID;
    const std::string entry = "application://" + desktopID + ".desktop";
    const std::string path =
        "/com/canonical/unity/launcherentry/" + std::to_string(g_str_hash(entry.c_str()));
    GVariantBuilder properties;
    g_variant_builder_init(&properties, G_VARIANT_TYPE("a{sv}"));
    g_variant_builder_add(&properties, "{sv}", "count", g_variant_new_int64(count));
    g_variant_builder_add(&properties, "{sv}", "count-visible", g_variant_new_boolean(count > 0));
    g_dbus_connection_emit_signal(connection, nullptr, path.c_str(),
                                  "com.canonical.Unity.LauncherEntry", "Update",
                                  g_variant_new("(sa{sv})", entry.c_str(), &properties), nullptr);
}

std::unique_ptr<FileWatch> GtkPlatform::watchFile(const std::string& path,
                                                  std::function<void()> changed) {
    GObjectPtr<GFile> file = GObjectPtr<GFile>::adopt(g_file_new_for_path(path.c_str()));
    // The monitor follows the path, not the file: a file replaced by a rename is watched
    // on, every time.
    GFileMonitor* monitor =
        g_file_monitor_file(file.get(), G_FILE_MONITOR_WATCH_MOVES, nullptr, nullptr);
    if (monitor == nullptr) {
        return nullptr;
    }
    return std::make_unique<GioFileWatch>(GObjectPtr<GFileMonitor>::adopt(monitor),
                                          std::move(changed));
}

void GtkPlatform::postTask(std::function<void()> task) {
    g_idle_add_full(
        G_PRIORITY_DEFAULT_IDLE,
        [](gpointer data) -> gboolean {
            (*static_cast<std::function<void()>*>(data))();
            return G_SOURCE_REMOVE;
        },
        new std::function<void()>(std::move(task)),
        [](gpointer data) { delete static_cast<std::function<void()>*>(data); });
}

std::string GtkPlatform::homeDirectory() const { return toString(g_get_home_dir()); }

std::optional<std::string> GtkPlatform::titlebarDoubleClickPreference() const {
    GtkSettings* settings = gtk_settings_get_default();
    if (settings == nullptr) {
        return std::nullopt;
    }
    char* action = nullptr;
    g_object_get(settings, "gtk-titlebar-double-click", &action, nullptr);
    if (action == nullptr) {
        return std::nullopt;
    }
    return takeString(action);
}

}  // namespace halyward::gtk
