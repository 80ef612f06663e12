#pragma once
// The app's own small windows: the tile-mode panel, the notice and the focus outline.
// They are override-redirect windows, so no window manager manages or focuses them, and
// they are drawn with cairo, whose fonts are loaded only when one is first shown.

#include "halyward/app/window_system.hpp"

#include <array>
#include <string>

#include <xcb/xcb.h>

typedef struct _cairo_surface cairo_surface_t;
typedef struct _cairo cairo_t;

namespace halyward::x11 {

class Overlays {
public:
    Overlays(xcb_connection_t* connection, xcb_screen_t* screen);
    ~Overlays();
    Overlays(const Overlays&) = delete;
    Overlays& operator=(const Overlays&) = delete;

    void showPanel(const TilePanelContent& content);
    void hidePanel();
    NoticeSize noticeSize(const std::string& text);
    void showNotice(const std::string& text, const Frame& frame);
    void hideNotice();
    void showOutline(const Frame& frame);
    void hideOutline();
    /// Redraws `window` when it is one of ours.
    void exposed(xcb_window_t window);

private:
    struct Surface {
        xcb_window_t window = 0;
        cairo_surface_t* cairo = nullptr;
        int width = 0;
        int height = 0;
        bool shown = false;
    };

    xcb_window_t createWindow(std::uint32_t background, bool passClicks);
    void place(Surface& surface, int x, int y, int width, int height, int radius);
    void hide(Surface& surface);
    void drawPanel();
    void drawNotice();
    /// A context for measuring text before any window is drawn.
    cairo_t* measuring();

    xcb_connection_t* connection_;
    xcb_screen_t* screen_;
    xcb_visualtype_t* visual_ = nullptr;
    Surface panel_;
    Surface notice_;
    std::array<Surface, 4> outline_;
    TilePanelContent panelContent_;
    std::string noticeText_;
    cairo_surface_t* measureSurface_ = nullptr;
    cairo_t* measure_ = nullptr;
};

}  // namespace halyward::x11
