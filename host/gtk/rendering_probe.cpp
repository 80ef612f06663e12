#include "rendering_probe.hpp"

#include "gobject_ptr.hpp"
#include "halyward/host/rendering.hpp"

#include <epoxy/gl.h>
#include <gtk/gtk.h>

#include <filesystem>
#include <string>
#include <utility>

namespace halyward::gtk {

bool hasRenderNode() {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/dev/dri", error)) {
        if (entry.path().filename().string().starts_with("renderD")) {
            return true;
        }
    }
    return false;
}

bool hardwareRendering(GdkDisplay* display) {
    if (display == nullptr || !hasRenderNode()) {
        return false;
    }
    GObjectPtr<GdkGLContext> context =
        GObjectPtr<GdkGLContext>::adopt(gdk_display_create_gl_context(display, nullptr));
    if (!context || !gdk_gl_context_realize(context.get(), nullptr)) {
        return false;
    }
    gdk_gl_context_make_current(context.get());
    const auto* renderer = reinterpret_cast<const char*>(glGetString(GL_RENDERER));
    const std::string name = renderer != nullptr ? renderer : "";
    gdk_gl_context_clear_current();
    return !isSoftwareRenderer(name);
}

std::vector<std::string> drawWithoutOpenGL() {
    // GSK_RENDERER is the toolkit's only switch for its renderer. GDK loads OpenGL when it
    // opens the display, just to pick a visual, unless its OpenGL is switched off: a
    // GDK_DEBUG flag up to GTK 4.14, GDK_DISABLE from 4.16. WebKit probes OpenGL as its
    // context is made, to see whether it could hand frames to the toolkit on the GPU,
    // unless compositing is off. Without a GPU device that OpenGL is a software emulation
    // nothing is drawn with. WebKit still opens an OpenGL display of its own when it starts
    // its first web process, so OpenGL does not leave the launch, but that costs less than
    // GDK's set-up and WebKit's probe together: less work before the page is first asked
    // for, and less memory.
    const bool gdkDisable = gtk_get_major_version() > 4 || gtk_get_minor_version() >= 16;
    const std::pair<const char*, const char*> settings[] = {
        {"GSK_RENDERER", "cairo"},
        gdkDisable ? std::pair{"GDK_DISABLE", "gl"} : std::pair{"GDK_DEBUG", "gl-disable"},
        {"WEBKIT_DISABLE_COMPOSITING_MODE", "1"},
    };
    std::vector<std::string> set;
    for (const auto& [name, value] : settings) {
        if (g_getenv(name) == nullptr && g_setenv(name, value, TRUE)) {
            set.emplace_back(name);
        }
    }
    return set;
}

}  // namespace halyward::gtk
