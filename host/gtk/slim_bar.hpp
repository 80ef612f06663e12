#pragma once
// The slim chrome's title bar: 28 pixels with the window buttons, the app's mark and name,
// the page title, the app's hotkey and the menu button, drawn with GTK widgets and the
// theme's colours.

#include "gobject_ptr.hpp"
#include "halyward/host/platform.hpp"

#include <gtk/gtk.h>

#include <functional>
#include <list>

namespace halyward::gtk {

/// The slim bar's height in pixels.
inline constexpr int kSlimBarPixels = 28;

class SlimBar {
public:
    /// `onDoubleClick` runs for a double click on the bar outside its buttons.
    SlimBar(GMenuModel* menu, std::function<void()> onDoubleClick);
    SlimBar(const SlimBar&) = delete;
    SlimBar& operator=(const SlimBar&) = delete;

    GtkWidget* widget() const { return root.get(); }
    GtkMenuButton* menuButton() const { return GTK_MENU_BUTTON(menu); }
    void update(const SlimBarContent& content);

private:
    static void onPressed(GtkGestureClick* gesture, int presses, double x, double y, gpointer self);
    static void onDragUpdate(GtkGestureDrag* gesture, double dx, double dy, gpointer self);

    GObjectPtr<GtkWidget> root;
    GtkWidget* mark = nullptr;
    GtkWidget* appName = nullptr;
    GtkWidget* pageTitle = nullptr;
    GtkWidget* hotkey = nullptr;
    GtkWidget* menu = nullptr;
    std::function<void()> doubleClicked;
    bool dragging = false;
};

/// The standard chrome's title bar: the desktop's header bar with the menu button.
class StandardBar {
public:
    explicit StandardBar(GMenuModel* menu);
    StandardBar(const StandardBar&) = delete;
    StandardBar& operator=(const StandardBar&) = delete;

    GtkWidget* widget() const { return root.get(); }
    GtkMenuButton* menuButton() const { return GTK_MENU_BUTTON(menu); }

private:
    GObjectPtr<GtkWidget> root;
    GtkWidget* menu = nullptr;
};

/// Loads the chrome's style sheet for the default display, once.
void installChromeStyle();

}  // namespace halyward::gtk
