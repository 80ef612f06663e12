#include "halyward/host/rendering.hpp"

#include "halyward/text/text.hpp"

#include <array>

namespace halyward {

bool useAcceleratedCompositing(bool hardwareRendering) { return hardwareRendering; }

bool isSoftwareRenderer(std::string_view rendererName) {
    const std::string name = text::lowercased(text::trim(rendererName));
    if (name.empty()) return true;
    static constexpr std::array<std::string_view, 6> kSoftware{"llvmpipe",
                                                               "softpipe",
                                                               "swrast",
                                                               "swiftshader",
                                                               "software rasterizer",
                                                               "microsoft basic render"};
    for (std::string_view marker : kSoftware) {
        if (name.find(marker) != std::string::npos) return true;
    }
    return false;
}

}  // namespace halyward
