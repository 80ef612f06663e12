#include "overlays.hpp"

#include <cairo-xcb.h>
#include <cairo.h>
#include <xcb/shape.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <vector>

namespace halyward::x11 {

namespace {

// The palette: a dark panel with light text, and the accent of the focus ring.
constexpr std::uint32_t panelPixel = 0x1d1f24;
constexpr std::uint32_t outlinePixel = 0x4c8dff;
constexpr double panelRGB[] = {0x1d / 255.0, 0x1f / 255.0, 0x24 / 255.0};
constexpr int outlineThickness = 3;
constexpr int panelPadding = 22;
constexpr int rowHeight = 26;
constexpr int radius = 12;
constexpr const char* fontFamily = "sans-serif";

void setColor(cairo_t* cr, std::uint32_t rgb, double alpha = 1) {
    cairo_set_source_rgba(cr, ((rgb >> 16) & 0xff) / 255.0, ((rgb >> 8) & 0xff) / 255.0,
                          (rgb & 0xff) / 255.0, alpha);
}

void useFont(cairo_t* cr, double size, bool bold) {
    cairo_select_font_face(cr, fontFamily, CAIRO_FONT_SLANT_NORMAL,
                           bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cr, size);
}

double textWidth(cairo_t* cr, const std::string& text) {
    cairo_text_extents_t extents;
    cairo_text_extents(cr, text.c_str(), &extents);
    return extents.x_advance;
}

void roundedRectangle(cairo_t* cr, double x, double y, double w, double h, double r) {
    cairo_new_sub_path(cr);
    cairo_arc(cr, x + w - r, y + r, r, -M_PI / 2, 0);
    cairo_arc(cr, x + w - r, y + h - r, r, 0, M_PI / 2);
    cairo_arc(cr, x + r, y + h - r, r, M_PI / 2, M_PI);
    cairo_arc(cr, x + r, y + r, r, M_PI, 3 * M_PI / 2);
    cairo_close_path(cr);
}

/// Draws `text` with its baseline centred vertically on `middle`.
void textAt(cairo_t* cr, const std::string& text, double x, double middle) {
    cairo_font_extents_t font;
    cairo_font_extents(cr, &font);
    cairo_move_to(cr, x, middle + (font.ascent - font.descent) / 2);
    cairo_show_text(cr, text.c_str());
}

struct PanelLayout {
    double keyWidth = 0;
    double titleWidth = 0;
    double chordWidth = 0;
    /// Which column each section goes in.
    std::vector<int> columnOf;
    int columns = 1;
    int rows = 0;  // the taller column's rows, section headings counted
    double columnWidth() const { return keyWidth + 12 + titleWidth + 28 + chordWidth; }
};

PanelLayout layOut(cairo_t* cr, const TilePanelContent& content) {
    PanelLayout layout;
    int total = 0;
    for (const TilePanelSection& section : content.sections) {
        total += static_cast<int>(section.rows.size()) + 1;
        for (const TilePanelRow& row : section.rows) {
            useFont(cr, 12, true);
            layout.keyWidth =
                std::max(layout.keyWidth, std::max(24.0, textWidth(cr, row.key) + 14));
            useFont(cr, 13, false);
            layout.titleWidth = std::max(layout.titleWidth, textWidth(cr, row.title));
            useFont(cr, 12, false);
            layout.chordWidth = std::max(layout.chordWidth, textWidth(cr, row.chord));
        }
    }
    // Two columns once one would run off a small screen; sections never split.
    layout.columns = total > 14 ? 2 : 1;
    int filled = 0;
    int first = 0;
    for (const TilePanelSection& section : content.sections) {
        const int height = static_cast<int>(section.rows.size()) + 1;
        const int column = layout.columns == 2 && filled >= (total + 1) / 2 ? 1 : 0;
        if (column == 0) first += height;
        layout.columnOf.push_back(column);
        filled += height;
    }
    layout.rows = std::max(first, total - first);
    return layout;
}

}  // namespace

Overlays::Overlays(xcb_connection_t* connection, xcb_screen_t* screen)
    : connection_(connection), screen_(screen) {
    for (auto depth = xcb_screen_allowed_depths_iterator(screen_); depth.rem > 0;
         xcb_depth_next(&depth)) {
        for (auto visual = xcb_depth_visuals_iterator(depth.data); visual.rem > 0;
             xcb_visualtype_next(&visual)) {
            if (visual.data->visual_id == screen_->root_visual) visual_ = visual.data;
        }
    }
}

Overlays::~Overlays() {
    cairo_device_t* device = nullptr;
    for (Surface* surface : {&panel_, &notice_}) {
        if (surface->cairo != nullptr) {
            device = cairo_surface_get_device(surface->cairo);
            if (device != nullptr) cairo_device_reference(device);
            cairo_surface_destroy(surface->cairo);
        }
    }
    if (measure_ != nullptr) cairo_destroy(measure_);
    if (measureSurface_ != nullptr) cairo_surface_destroy(measureSurface_);
    // Cairo keeps state per X connection; it must let go before the connection closes.
    if (device != nullptr) {
        cairo_device_finish(device);
        cairo_device_destroy(device);
    }
    for (Surface* surface :
         {&panel_, &notice_, &outline_[0], &outline_[1], &outline_[2], &outline_[3]}) {
        if (surface->window != 0) xcb_destroy_window(connection_, surface->window);
    }
}

xcb_window_t Overlays::createWindow(std::uint32_t background, bool passClicks) {
    const xcb_window_t window = xcb_generate_id(connection_);
    const std::uint32_t values[] = {background, 1, XCB_EVENT_MASK_EXPOSURE};
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window, screen_->root, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen_->root_visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    static constexpr char name[] = "halyward-app\0Halyward-app";
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS,
                        XCB_ATOM_STRING, 8, sizeof name - 1, name);
    if (passClicks) {
        // An empty input shape: clicks go through to the window underneath.
        xcb_shape_rectangles(connection_, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT,
                             XCB_CLIP_ORDERING_UNSORTED, window, 0, 0, 0, nullptr);
    }
    return window;
}

void Overlays::place(Surface& surface, int x, int y, int width, int height, int corner) {
    width = std::max(1, width);
    height = std::max(1, height);
    const std::uint32_t geometry[] = {static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y),
                                      static_cast<std::uint32_t>(width),
                                      static_cast<std::uint32_t>(height), XCB_STACK_MODE_ABOVE};
    xcb_configure_window(connection_, surface.window,
                         XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                             XCB_CONFIG_WINDOW_HEIGHT | XCB_CONFIG_WINDOW_STACK_MODE,
                         geometry);
    if (corner > 0 && (width != surface.width || height != surface.height)) {
        // Rounded corners without a compositor: the window's shape, one rectangle per row
        // of the corners' arcs and one for the straight middle.
        std::vector<xcb_rectangle_t> rows;
        for (int row = 0; row < corner; ++row) {
            const double dy = corner - row - 0.5;
            const auto inset = static_cast<std::int16_t>(
                std::lround(corner - std::sqrt(double(corner) * corner - dy * dy)));
            const auto span = static_cast<std::uint16_t>(std::max(1, width - 2 * inset));
            rows.push_back({inset, static_cast<std::int16_t>(row), span, 1});
            rows.push_back({inset, static_cast<std::int16_t>(height - 1 - row), span, 1});
        }
        rows.push_back({0, static_cast<std::int16_t>(corner), static_cast<std::uint16_t>(width),
                        static_cast<std::uint16_t>(std::max(1, height - 2 * corner))});
        xcb_shape_rectangles(connection_, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING,
                             XCB_CLIP_ORDERING_UNSORTED, surface.window, 0, 0,
                             static_cast<std::uint32_t>(rows.size()), rows.data());
    }
    surface.width = width;
    surface.height = height;
    if (surface.cairo != nullptr) cairo_xcb_surface_set_size(surface.cairo, width, height);
    if (!surface.shown) {
        xcb_map_window(connection_, surface.window);
        surface.shown = true;
    }
    xcb_flush(connection_);
}

void Overlays::hide(Surface& surface) {
    if (!surface.shown) return;
    surface.shown = false;
    xcb_unmap_window(connection_, surface.window);
    xcb_flush(connection_);
}

cairo_t* Overlays::measuring() {
    if (measure_ == nullptr) {
        measureSurface_ = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 1, 1);
        measure_ = cairo_create(measureSurface_);
    }
    return measure_;
}

void Overlays::showPanel(const TilePanelContent& content) {
    panelContent_ = content;
    if (panel_.window == 0) panel_.window = createWindow(panelPixel, false);
    const PanelLayout layout = layOut(measuring(), content);
    const double width =
        layout.columns * layout.columnWidth() + (layout.columns - 1) * 36 + 2 * panelPadding;
    const double height = panelPadding + 30 + layout.rows * rowHeight + panelPadding - 6;
    const Frame& display = content.displayFrame;
    const int x = static_cast<int>(std::lround(display.midX() - width / 2));
    const int y = static_cast<int>(std::lround(display.midY() - height / 2));
    place(panel_, x, y, static_cast<int>(std::ceil(width)), static_cast<int>(std::ceil(height)),
          radius);
    drawPanel();
}

void Overlays::hidePanel() { hide(panel_); }

NoticeSize Overlays::noticeSize(const std::string& text) {
    cairo_t* cr = measuring();
    useFont(cr, 15, true);
    return {std::ceil(textWidth(cr, text)) + 48, 48};
}

void Overlays::showNotice(const std::string& text, const Frame& frame) {
    noticeText_ = text;
    if (notice_.window == 0) notice_.window = createWindow(panelPixel, false);
    place(notice_, static_cast<int>(std::lround(frame.x)), static_cast<int>(std::lround(frame.y)),
          static_cast<int>(std::lround(frame.width)), static_cast<int>(std::lround(frame.height)),
          radius);
    drawNotice();
}

void Overlays::hideNotice() { hide(notice_); }

void Overlays::showOutline(const Frame& frame) {
    const int x = static_cast<int>(std::lround(frame.x));
    const int y = static_cast<int>(std::lround(frame.y));
    const int w = std::max(1, static_cast<int>(std::lround(frame.width)));
    const int h = std::max(1, static_cast<int>(std::lround(frame.height)));
    const int t = outlineThickness;
    // Four bars just inside the window's edges, so that a ring around a window that fills
    // its display stays on screen; they let clicks through.
    const std::array<std::array<int, 4>, 4> bars{{
        {x, y, w, t},
        {x, y + h - t, w, t},
        {x, y + t, t, h - 2 * t},
        {x + w - t, y + t, t, h - 2 * t},
    }};
    for (std::size_t i = 0; i < bars.size(); ++i) {
        if (outline_[i].window == 0) outline_[i].window = createWindow(outlinePixel, true);
        place(outline_[i], bars[i][0], bars[i][1], bars[i][2], bars[i][3], 0);
    }
    // The ring marks a window; the panel and the notice stay above it.
    for (const Surface* above : {&panel_, &notice_}) {
        if (!above->shown) continue;
        const std::uint32_t stack[] = {XCB_STACK_MODE_ABOVE};
        xcb_configure_window(connection_, above->window, XCB_CONFIG_WINDOW_STACK_MODE, stack);
    }
    xcb_flush(connection_);
}

void Overlays::hideOutline() {
    for (Surface& bar : outline_) hide(bar);
}

void Overlays::exposed(xcb_window_t window) {
    if (window == panel_.window && panel_.shown) drawPanel();
    if (window == notice_.window && notice_.shown) drawNotice();
}

void Overlays::drawPanel() {
    if (visual_ == nullptr) return;
    if (panel_.cairo == nullptr) {
        panel_.cairo = cairo_xcb_surface_create(connection_, panel_.window, visual_, panel_.width,
                                                panel_.height);
    }
    cairo_t* cr = cairo_create(panel_.cairo);
    const TilePanelContent& content = panelContent_;
    const PanelLayout layout = layOut(cr, content);
    cairo_set_source_rgb(cr, panelRGB[0], panelRGB[1], panelRGB[2]);
    cairo_paint(cr);
    roundedRectangle(cr, 0.5, 0.5, panel_.width - 1, panel_.height - 1, radius);
    setColor(cr, 0x3a3d46);
    cairo_set_line_width(cr, 1);
    cairo_stroke(cr);

    useFont(cr, 17, true);
    setColor(cr, 0xffffff);
    textAt(cr, content.title, panelPadding, panelPadding + 8);

    std::array<double, 2> rowAt{panelPadding + 30.0, panelPadding + 30.0};
    for (std::size_t s = 0; s < content.sections.size(); ++s) {
        const TilePanelSection& section = content.sections[s];
        const int column = layout.columnOf[s];
        const double left = panelPadding + column * (layout.columnWidth() + 36);
        double& top = rowAt[static_cast<std::size_t>(column)];
        useFont(cr, 11, true);
        setColor(cr, 0x8aa4ff);
        std::string heading = section.title;
        for (char& c : heading) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        textAt(cr, heading, left, top + rowHeight / 2.0 + 2);
        top += rowHeight;
        for (const TilePanelRow& row : section.rows) {
            const double middle = top + rowHeight / 2.0;
            roundedRectangle(cr, left, middle - 10, layout.keyWidth, 20, 4);
            setColor(cr, 0x3a3d46);
            cairo_fill(cr);
            useFont(cr, 12, true);
            setColor(cr, 0xffffff);
            textAt(cr, row.key, left + (layout.keyWidth - textWidth(cr, row.key)) / 2, middle);
            useFont(cr, 13, false);
            setColor(cr, 0xe6e6e6);
            textAt(cr, row.title, left + layout.keyWidth + 12, middle);
            useFont(cr, 12, false);
            setColor(cr, 0x9a9ca5);
            textAt(cr, row.chord, left + layout.columnWidth() - textWidth(cr, row.chord), middle);
            top += rowHeight;
        }
    }
    cairo_destroy(cr);
    cairo_surface_flush(panel_.cairo);
    xcb_flush(connection_);
}

void Overlays::drawNotice() {
    if (visual_ == nullptr) return;
    if (notice_.cairo == nullptr) {
        notice_.cairo = cairo_xcb_surface_create(connection_, notice_.window, visual_,
                                                 notice_.width, notice_.height);
    }
    cairo_t* cr = cairo_create(notice_.cairo);
    cairo_set_source_rgb(cr, panelRGB[0], panelRGB[1], panelRGB[2]);
    cairo_paint(cr);
    roundedRectangle(cr, 0.5, 0.5, notice_.width - 1, notice_.height - 1, radius);
    setColor(cr, 0x3a3d46);
    cairo_set_line_width(cr, 1);
    cairo_stroke(cr);
    useFont(cr, 15, true);
    setColor(cr, 0xffffff);
    textAt(cr, noticeText_, (notice_.width - textWidth(cr, noticeText_)) / 2, notice_.height / 2.0);
    cairo_destroy(cr);
    cairo_surface_flush(notice_.cairo);
    xcb_flush(connection_);
}

}  // namespace halyward::x11
