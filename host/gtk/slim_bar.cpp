#include "slim_bar.hpp"

#include <utility>

namespace halyward::gtk {

namespace {

GtkWidget* label(const char* cssClass, bool ellipsize) {
    GtkWidget* widget = gtk_label_new(nullptr);
    gtk_widget_add_css_class(widget, cssClass);
    gtk_label_set_single_line_mode(GTK_LABEL(widget), TRUE);
    if (ellipsize) {
        gtk_label_set_ellipsize(GTK_LABEL(widget), PANGO_ELLIPSIZE_END);
    }
    return widget;
}

GtkWidget* newMenuButton(GMenuModel* model) {
    GtkWidget* button = gtk_menu_button_new();
    gtk_menu_button_set_icon_name(GTK_MENU_BUTTON(button), "open-menu-symbolic");
    gtk_menu_button_set_menu_model(GTK_MENU_BUTTON(button), model);
    gtk_widget_set_tooltip_text(button, "Menu");
    gtk_widget_set_focus_on_click(button, FALSE);
    return button;
}

void setText(GtkWidget* widget, const std::string& text) {
    gtk_label_set_text(GTK_LABEL(widget), text.c_str());
    gtk_widget_set_visible(widget, !text.empty());
}

}  // namespace

SlimBar::SlimBar(GMenuModel* model, std::function<void()> onDoubleClick)
    : doubleClicked(std::move(onDoubleClick)) {
    root = GObjectPtr<GtkWidget>::retain(gtk_center_box_new());
    gtk_widget_add_css_class(root.get(), "slim-bar");
    gtk_widget_set_size_request(root.get(), -1, kSlimBarPixels);
    gtk_widget_set_valign(root.get(), GTK_ALIGN_START);

    GtkWidget* start = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 6);
    GtkWidget* startControls = gtk_window_controls_new(GTK_PACK_START);
    mark = label("slim-mark", false);
    appName = label("slim-app-name", false);
    gtk_box_append(GTK_BOX(start), startControls);
    gtk_box_append(GTK_BOX(start), mark);
    gtk_box_append(GTK_BOX(start), appName);

    pageTitle = label("slim-page-title", true);
    gtk_label_set_max_width_chars(GTK_LABEL(pageTitle), 60);

    GtkWidget* end = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 4);
    hotkey = label("slim-hotkey", false);
    menu = newMenuButton(model);
    gtk_menu_button_set_has_frame(GTK_MENU_BUTTON(menu), FALSE);
    GtkWidget* endControls = gtk_window_controls_new(GTK_PACK_END);
    gtk_box_append(GTK_BOX(end), hotkey);
    gtk_box_append(GTK_BOX(end), menu);
    gtk_box_append(GTK_BOX(end), endControls);

    gtk_center_box_set_start_widget(GTK_CENTER_BOX(root.get()), start);
    gtk_center_box_set_center_widget(GTK_CENTER_BOX(root.get()), pageTitle);
    gtk_center_box_set_end_widget(GTK_CENTER_BOX(root.get()), end);

    // The bar handles its own clicks rather than being a GtkWindowHandle, whose double
    // click would run the toolkit's title-bar action besides the host's.
    GtkGesture* click = gtk_gesture_click_new();
    gtk_gesture_single_set_button(GTK_GESTURE_SINGLE(click), 0);
    g_signal_connect(click, "pressed", G_CALLBACK(onPressed), this);
    gtk_widget_add_controller(root.get(), GTK_EVENT_CONTROLLER(click));

    GtkGesture* drag = gtk_gesture_drag_new();
    gtk_gesture_single_set_button(GTK_GESTURE_SINGLE(drag), GDK_BUTTON_PRIMARY);
    g_signal_connect(drag, "drag-update", G_CALLBACK(onDragUpdate), this);
    g_signal_connect(drag, "drag-begin",
                     G_CALLBACK(+[](GtkGestureDrag*, double, double, gpointer self) {
                         static_cast<SlimBar*>(self)->dragging = false;
                     }),
                     this);
    gtk_widget_add_controller(root.get(), GTK_EVENT_CONTROLLER(drag));
}

void SlimBar::update(const SlimBarContent& content) {
    setText(mark, content.mark);
    setText(appName, content.appName);
    setText(pageTitle, content.pageTitle);
    setText(hotkey, content.hotkey);
}

void SlimBar::onPressed(GtkGestureClick* gesture, int presses, double, double, gpointer self) {
    auto* bar = static_cast<SlimBar*>(self);
    const guint button = gtk_gesture_single_get_current_button(GTK_GESTURE_SINGLE(gesture));
    GtkNative* native = gtk_widget_get_native(bar->root.get());
    GdkSurface* surface = native != nullptr ? gtk_native_get_surface(native) : nullptr;
    if (button == GDK_BUTTON_SECONDARY && surface != nullptr && GDK_IS_TOPLEVEL(surface)) {
        gtk_gesture_set_state(GTK_GESTURE(gesture), GTK_EVENT_SEQUENCE_CLAIMED);
        GdkEvent* event = gtk_event_controller_get_current_event(GTK_EVENT_CONTROLLER(gesture));
        gdk_toplevel_show_window_menu(GDK_TOPLEVEL(surface), event);
        return;
    }
    if (button == GDK_BUTTON_PRIMARY && presses == 2) {
        gtk_gesture_set_state(GTK_GESTURE(gesture), GTK_EVENT_SEQUENCE_CLAIMED);
        if (bar->doubleClicked) {
            bar->doubleClicked();
        }
    }
}

void SlimBar::onDragUpdate(GtkGestureDrag* gesture, double dx, double dy, gpointer self) {
    auto* bar = static_cast<SlimBar*>(self);
    if (bar->dragging || !gtk_drag_check_threshold(bar->root.get(), 0, 0, static_cast<int>(dx),
                                                   static_cast<int>(dy))) {
        return;
    }
    bar->dragging = true;
    GtkNative* native = gtk_widget_get_native(bar->root.get());
    GdkSurface* surface = native != nullptr ? gtk_native_get_surface(native) : nullptr;
    if (surface == nullptr || !GDK_IS_TOPLEVEL(surface)) {
        return;
    }
    double startX = 0;
    double startY = 0;
    gtk_gesture_drag_get_start_point(gesture, &startX, &startY);
    double nativeX = startX;
    double nativeY = startY;
    gtk_widget_translate_coordinates(bar->root.get(), GTK_WIDGET(native), startX, startY, &nativeX,
                                     &nativeY);
    double surfaceX = 0;
    double surfaceY = 0;
    gtk_native_get_surface_transform(native, &surfaceX, &surfaceY);
    nativeX += surfaceX;
    nativeY += surfaceY;
    gtk_gesture_set_state(GTK_GESTURE(gesture), GTK_EVENT_SEQUENCE_CLAIMED);
    gdk_toplevel_begin_move(
        GDK_TOPLEVEL(surface), gtk_gesture_get_device(GTK_GESTURE(gesture)), GDK_BUTTON_PRIMARY,
        nativeX, nativeY,
        gtk_event_controller_get_current_event_time(GTK_EVENT_CONTROLLER(gesture)));
    gtk_event_controller_reset(GTK_EVENT_CONTROLLER(gesture));
}

StandardBar::StandardBar(GMenuModel* model) {
    root = GObjectPtr<GtkWidget>::retain(gtk_header_bar_new());
    menu = newMenuButton(model);
    gtk_header_bar_pack_end(GTK_HEADER_BAR(root.get()), menu);
}

void installChromeStyle() {
    static bool installed = false;
    GdkDisplay* display = gdk_display_get_default();
    if (installed || display == nullptr) {
        return;
    }
    installed = true;
    GtkCssProvider* provider = gtk_css_provider_new();
    gtk_css_provider_load_from_resource(provider, "/app/halyward/host/chrome.css");
    gtk_style_context_add_provider_for_display(display, GTK_STYLE_PROVIDER(provider),
                                               GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    g_object_unref(provider);
}

}  // namespace halyward::gtk
