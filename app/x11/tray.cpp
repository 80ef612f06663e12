#include "tray.hpp"

#include <gio/gio.h>
#include <libdbusmenu-glib/client.h>
#include <libdbusmenu-glib/menuitem.h>
#include <libdbusmenu-glib/server.h>

#include <mutex>

#include <unistd.h>

namespace halyward::x11 {

namespace {

constexpr const char* itemPath = "/StatusNotifierItem";
constexpr const char* menuPath = "/MenuBar";
constexpr const char* watcherName = "org.kde.StatusNotifierWatcher";
constexpr const char* actionKey = "halyward-action";

// The item's interface as tray hosts read it; the methods are answered and ignored, since
// every action lives in the menu.
constexpr const char* itemInterface = R"xml(<node>
  <interface name="org.kde.StatusNotifierItem">
    <property name="Category" type="s" access="read"/>
    <property name="Id" type="s" access="read"/>
    <property name="Title" type="s" access="read"/>
    <property name="Status" type="s" access="read"/>
    <property name="IconName" type="s" access="read"/>
    <property name="ToolTip" type="(sa(iiay)ss)" access="read"/>
    <property name="ItemIsMenu" type="b" access="read"/>
    <property name="Menu" type="o" access="read"/>
    <method name="Activate"><arg name="x" type="i" direction="in"/><arg name="y" type="i" direction="in"/></method>
    <method name="SecondaryActivate"><arg name="x" type="i" direction="in"/><arg name="y" type="i" direction="in"/></method>
    <method name="ContextMenu"><arg name="x" type="i" direction="in"/><arg name="y" type="i" direction="in"/></method>
    <method name="Scroll"><arg name="delta" type="i" direction="in"/><arg name="orientation" type="s" direction="in"/></method>
    <signal name="NewTitle"/>
    <signal name="NewIcon"/>
    <signal name="NewStatus"><arg name="status" type="s"/></signal>
  </interface>
</node>)xml";

}  // namespace

// Everything the tray thread owns. Only that thread touches the GLib objects.
struct Tray::State {
    std::function<void(const std::string&)> chosen;
    std::function<void(bool)> hostChanged;
    std::atomic<bool>* hostFound = nullptr;
    GMainContext* context = nullptr;
    GMainLoop* loop = nullptr;
    GDBusConnection* bus = nullptr;
    DbusmenuServer* server = nullptr;
    std::string busName;
    guint ownerId = 0;
    guint watchId = 0;
    guint objectId = 0;
    // The menu handed over by setMenu, waiting for the tray thread.
    std::mutex pendingLock;
    std::vector<TrayMenuItem> pending;

    void run();
    void showPending();
    DbusmenuMenuitem* build(const TrayMenuItem& item);
};

namespace {

void activated(DbusmenuMenuitem* item, guint, gpointer data) {
    auto* state = static_cast<Tray::State*>(data);
    const auto* action = static_cast<const char*>(g_object_get_data(G_OBJECT(item), actionKey));
    if (action != nullptr && *action != '\0') state->chosen(action);
}

GVariant* itemProperty(GDBusConnection*, const gchar*, const gchar*, const gchar*,
                       const gchar* name, GError**, gpointer) {
    const std::string_view property = name;
    if (property == "Category") return g_variant_new_string("ApplicationStatus");
    if (property == "Id") return g_variant_new_string("halyward");
    if (property == "Title") return g_variant_new_string("Halyward");
    if (property == "Status") return g_variant_new_string("Active");
    if (property == "IconName") return g_variant_new_string("app.halyward.Halyward");
    if (property == "ItemIsMenu") return g_variant_new_boolean(TRUE);
    if (property == "Menu") return g_variant_new_object_path(menuPath);
    if (property == "ToolTip")
        return g_variant_new("(sa(iiay)ss)", "app.halyward.Halyward", nullptr, "Halyward",
                             "Tiles windows from the keyboard");
    return nullptr;
}

void itemMethod(GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*, GVariant*,
                GDBusMethodInvocation* invocation, gpointer) {
    g_dbus_method_invocation_return_value(invocation, nullptr);
}

// The watcher is there: hand it our item. A watcher that comes back after going away
// appears here again, so the item returns with it.
void watcherAppeared(GDBusConnection* bus, const gchar*, const gchar* owner, gpointer data) {
    auto* state = static_cast<Tray::State*>(data);
    g_dbus_connection_call(bus, owner, "/StatusNotifierWatcher", watcherName,
                           "RegisterStatusNotifierItem",
                           g_variant_new("(s)", state->busName.c_str()), nullptr,
                           G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr, nullptr);
    state->hostFound->store(true);
    if (state->hostChanged) state->hostChanged(true);
}

void watcherVanished(GDBusConnection*, const gchar*, gpointer data) {
    auto* state = static_cast<Tray::State*>(data);
    const bool was = state->hostFound->exchange(false);
    if (was && state->hostChanged) state->hostChanged(false);
}

// Runs `function` on the thread that iterates `context`, never on the caller's (which
// g_main_context_invoke would do when the caller can take the context for a moment).
void onTrayThread(GMainContext* context, GSourceFunc function, gpointer data) {
    GSource* source = g_idle_source_new();
    g_source_set_callback(source, function, data, nullptr);
    g_source_attach(source, context);
    g_source_unref(source);
}

// The watcher learns the item by its bus name, so it is only told once the name is ours.
void nameAcquired(GDBusConnection* bus, const gchar*, gpointer data) {
    auto* state = static_cast<Tray::State*>(data);
    if (state->watchId != 0) return;
    state->watchId =
        g_bus_watch_name_on_connection(bus, watcherName, G_BUS_NAME_WATCHER_FLAGS_NONE,
                                       watcherAppeared, watcherVanished, state, nullptr);
}

}  // namespace

DbusmenuMenuitem* Tray::State::build(const TrayMenuItem& item) {
    DbusmenuMenuitem* node = dbusmenu_menuitem_new();
    if (item.kind == TrayMenuItem::Kind::separator) {
        dbusmenu_menuitem_property_set(node, DBUSMENU_MENUITEM_PROP_TYPE,
                                       DBUSMENU_CLIENT_TYPES_SEPARATOR);
        return node;
    }
    dbusmenu_menuitem_property_set(node, DBUSMENU_MENUITEM_PROP_LABEL, item.label.c_str());
    dbusmenu_menuitem_property_set_bool(node, DBUSMENU_MENUITEM_PROP_ENABLED, item.enabled);
    if (item.kind == TrayMenuItem::Kind::toggle) {
        dbusmenu_menuitem_property_set(node, DBUSMENU_MENUITEM_PROP_TOGGLE_TYPE,
                                       DBUSMENU_MENUITEM_TOGGLE_CHECK);
        dbusmenu_menuitem_property_set_int(node, DBUSMENU_MENUITEM_PROP_TOGGLE_STATE,
                                           item.checked ? DBUSMENU_MENUITEM_TOGGLE_STATE_CHECKED
                                                        : DBUSMENU_MENUITEM_TOGGLE_STATE_UNCHECKED);
    }
    if (item.kind == TrayMenuItem::Kind::submenu) {
        dbusmenu_menuitem_property_set(node, DBUSMENU_MENUITEM_PROP_CHILD_DISPLAY,
                                       DBUSMENU_MENUITEM_CHILD_DISPLAY_SUBMENU);
        for (const TrayMenuItem& child : item.children) {
            DbusmenuMenuitem* built = build(child);
            dbusmenu_menuitem_child_append(node, built);
            g_object_unref(built);
        }
    }
    g_object_set_data_full(G_OBJECT(node), actionKey, g_strdup(item.action.c_str()), g_free);
    g_signal_connect(node, DBUSMENU_MENUITEM_SIGNAL_ITEM_ACTIVATED, G_CALLBACK(activated), this);
    return node;
}

void Tray::State::showPending() {
    std::vector<TrayMenuItem> menu;
    {
        std::lock_guard<std::mutex> hold(pendingLock);
        menu.swap(pending);
    }
    if (server == nullptr || menu.empty()) return;
    DbusmenuMenuitem* root = dbusmenu_menuitem_new();
    for (const TrayMenuItem& item : menu) {
        DbusmenuMenuitem* built = build(item);
        dbusmenu_menuitem_child_append(root, built);
        g_object_unref(built);
    }
    // The server keeps its own reference and tells clients the layout changed.
    dbusmenu_server_set_root(server, root);
    g_object_unref(root);
}

void Tray::State::run() {
    GError* error = nullptr;
    bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, &error);
    if (bus == nullptr) {
        // No session bus: no tray, and nothing else changes.
        g_clear_error(&error);
        return;
    }
    GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(itemInterface, nullptr);
    static const GDBusInterfaceVTable table = {itemMethod, itemProperty, nullptr, {}};
    objectId = g_dbus_connection_register_object(bus, itemPath, node->interfaces[0], &table, this,
                                                 nullptr, nullptr);
    g_dbus_node_info_unref(node);
    server = dbusmenu_server_new(menuPath);
    showPending();
    busName = "org.kde.StatusNotifierItem-" + std::to_string(::getpid()) + "-1";
    ownerId = g_bus_own_name_on_connection(bus, busName.c_str(), G_BUS_NAME_OWNER_FLAGS_NONE,
                                           nameAcquired, nullptr, this, nullptr);
    g_main_loop_run(loop);

    if (watchId != 0) g_bus_unwatch_name(watchId);
    g_bus_unown_name(ownerId);
    g_dbus_connection_unregister_object(bus, objectId);
    g_object_unref(server);
    g_dbus_connection_flush_sync(bus, nullptr, nullptr);
    g_object_unref(bus);
}

Tray::Tray(std::function<void(const std::string& action)> chosen,
           std::function<void(bool found)> hostChanged)
    : state_(std::make_shared<State>()) {
    state_->chosen = std::move(chosen);
    state_->hostChanged = std::move(hostChanged);
    state_->hostFound = &hostFound_;
    // GLib's global default context, not one of the tray's own: libdbusmenu-glib hands
    // clicks to idle sources there, and GIO's launching leaves its child watches there, so
    // iterating it on this thread serves both. The main thread never iterates it.
    state_->context = g_main_context_ref(g_main_context_default());
    state_->loop = g_main_loop_new(state_->context, FALSE);
    thread_ = std::thread([state = state_] { state->run(); });
}

Tray::~Tray() {
    // Quit from inside the loop, so a quit before the loop runs is not lost.
    onTrayThread(
        state_->context,
        [](gpointer loop) -> gboolean {
            g_main_loop_quit(static_cast<GMainLoop*>(loop));
            return G_SOURCE_REMOVE;
        },
        state_->loop);
    if (thread_.joinable()) thread_.join();
    g_main_loop_unref(state_->loop);
    g_main_context_unref(state_->context);
}

void Tray::setMenu(std::vector<TrayMenuItem> menu) {
    {
        std::lock_guard<std::mutex> hold(state_->pendingLock);
        state_->pending = std::move(menu);
    }
    onTrayThread(
        state_->context,
        [](gpointer data) -> gboolean {
            static_cast<State*>(data)->showPending();
            return G_SOURCE_REMOVE;
        },
        state_.get());
}

}  // namespace halyward::x11
