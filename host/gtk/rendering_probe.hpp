#pragma once
// What draws this display: a GPU, or OpenGL emulated in software.

#include <gdk/gdk.h>

namespace halyward::gtk {

/// Whether the machine has a DRM render node, the device a GPU is drawn through. Touches
/// neither the display nor OpenGL, so it can be asked before the toolkit starts.
bool hasRenderNode();

/// Whether `display` renders OpenGL with real hardware. A machine without a DRM render node
/// has no GPU to use, which is answered without touching OpenGL; otherwise the renderer
/// name of a GL context on the display decides (`isSoftwareRenderer`).
bool hardwareRendering(GdkDisplay* display);

}  // namespace halyward::gtk
