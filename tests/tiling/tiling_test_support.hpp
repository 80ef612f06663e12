#pragma once
// Frame printing and comparisons shared by the tiling tests.

#include <ostream>

#include "halyward/tiling/frame.hpp"

namespace halyward {

inline void PrintTo(const Frame& f, std::ostream* os) {
    *os << "(" << f.x << ", " << f.y << ", " << f.width << ", " << f.height << ")";
}

// Sums of thirds differ from the whole in the last bit; a nanometre is no overlap.
inline bool overlaps(const Frame& a, const Frame& b, double slack = 1e-9) {
    return a.x + slack < b.maxX() && b.x + slack < a.maxX() && a.y + slack < b.maxY() &&
           b.y + slack < a.maxY();
}

inline bool inside(const Frame& in, const Frame& out, double slack = 1e-9) {
    return in.x >= out.x - slack && in.y >= out.y - slack && in.maxX() <= out.maxX() + slack &&
           in.maxY() <= out.maxY() + slack;
}

}  // namespace halyward
