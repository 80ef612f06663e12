#pragma once
// What draws this display: a GPU, or OpenGL emulated in software.

#include <gdk/gdk.h>

#include <string>
#include <vector>

namespace halyward::gtk {

/// Whether the machine has a DRM render node, the device a GPU is drawn through. Touches
/// neither the display nor OpenGL, so it can be asked before the toolkit starts.
bool hasRenderNode();

/// Whether `display` renders OpenGL with real hardware. A machine without a DRM render node
/// has no GPU to use, which is answered without touching OpenGL; otherwise the renderer
/// name of a GL context on the display decides (`isSoftwareRenderer`).
bool hardwareRendering(GdkDisplay* display);

/// Sets up this process, before the toolkit starts, to draw without OpenGL: GTK renders
/// with cairo and does not load OpenGL, and the web engine neither composites nor probes
/// OpenGL as its context is made, here and in the web processes that inherit the
/// environment. A variable the user set stays as it is. Returns the names of the variables
/// it set.
std::vector<std::string> drawWithoutOpenGL();

}  // namespace halyward::gtk
