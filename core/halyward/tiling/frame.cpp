#include "halyward/tiling/frame.hpp"

namespace halyward {

Frame appKitFrame(const Frame& fromTopLeft, double primaryHeight) {
    return {fromTopLeft.x, primaryHeight - fromTopLeft.y - fromTopLeft.height, fromTopLeft.width,
            fromTopLeft.height};
}

Frame topLeftFrame(const Frame& fromAppKit, double primaryHeight) {
    // Flipping the y axis twice about the same line is the identity, so both directions
    // share one formula.
    return appKitFrame(fromAppKit, primaryHeight);
}

}  // namespace halyward
