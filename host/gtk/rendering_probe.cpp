#include "rendering_probe.hpp"

#include "gobject_ptr.hpp"
#include "halyward/host/rendering.hpp"

#include <epoxy/gl.h>

#include <filesystem>
#include <string>

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

}  // namespace halyward::gtk
