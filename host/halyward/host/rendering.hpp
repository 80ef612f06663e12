#pragma once
/// How web views draw on the machine at hand.

#include <string_view>

namespace halyward {

/// Whether web views should composite with the GPU. With real hardware, compositing keeps
/// scrolling and animation off the main thread; when OpenGL is emulated in software
/// (llvmpipe, a virtual machine, a remote session), the compositor's extra frame copies
/// cost more than they save, and drawing directly is faster.
bool useAcceleratedCompositing(bool hardwareRendering);

/// Whether an OpenGL renderer name (GL_RENDERER) names a software rasteriser: llvmpipe,
/// softpipe, swrast, SwiftShader, "Software Rasterizer" or Microsoft's basic render driver.
/// An empty name (no GL at all) counts as software.
bool isSoftwareRenderer(std::string_view rendererName);

}  // namespace halyward
