#include "halyward/tiling/motion.hpp"

#include <cmath>

namespace halyward {

namespace {

// Windows whose primary distances lie within this band are ranked by alignment: a
// fraction of a point of distance should not beat a window that sits squarely in line.
constexpr double alignmentBand = 8.0;
// Centres closer than this along the axis are in the same column or row, not neighbours.
constexpr double minimumOffset = 1.0;

struct Candidate {
    const WindowBox* box;
    double primary;
    double secondary;
};

std::optional<Candidate> candidateFor(const WindowBox& box, Direction direction, double sourceX,
                                      double sourceY) {
    const double dx = (box.frame.x + box.frame.width * 0.5) - sourceX;
    const double dy = (box.frame.y + box.frame.height * 0.5) - sourceY;
    switch (direction) {
        case Direction::left:
            if (dx < -minimumOffset) return Candidate{&box, -dx, std::abs(dy)};
            break;
        case Direction::right:
            if (dx > minimumOffset) return Candidate{&box, dx, std::abs(dy)};
            break;
        case Direction::up:
            if (dy < -minimumOffset) return Candidate{&box, -dy, std::abs(dx)};
            break;
        case Direction::down:
            if (dy > minimumOffset) return Candidate{&box, dy, std::abs(dx)};
            break;
    }
    return std::nullopt;
}

double lerp(double from, double to, double fraction) { return from + (to - from) * fraction; }

Frame lerp(const Frame& from, const Frame& to, double fraction) {
    return {lerp(from.x, to.x, fraction), lerp(from.y, to.y, fraction),
            lerp(from.width, to.width, fraction), lerp(from.height, to.height, fraction)};
}

}  // namespace

std::optional<std::string> neighborWindow(std::string_view id, Direction direction,
                                          const std::vector<WindowBox>& windows) {
    const WindowBox* source = nullptr;
    for (const WindowBox& box : windows) {
        if (box.id == id) {
            source = &box;
            break;
        }
    }
    if (!source) return std::nullopt;
    const double sourceX = source->frame.x + source->frame.width * 0.5;
    const double sourceY = source->frame.y + source->frame.height * 0.5;

    std::optional<Candidate> best;
    for (const WindowBox& box : windows) {
        if (box.id == id) continue;
        const auto candidate = candidateFor(box, direction, sourceX, sourceY);
        if (!candidate) continue;
        if (!best) {
            best = candidate;
            continue;
        }
        const bool replaces = std::abs(candidate->primary - best->primary) > alignmentBand
                                  ? candidate->primary < best->primary
                                  : candidate->secondary < best->secondary;
        if (replaces) best = candidate;
    }
    if (!best) return std::nullopt;
    return best->box->id;
}

std::vector<Frame> interpolatedFrames(const Frame& from, const Frame& to, std::int64_t steps) {
    if (steps <= 1) return {to};
    std::vector<Frame> frames;
    frames.reserve(static_cast<std::size_t>(steps));
    const auto total = static_cast<double>(steps);
    for (std::int64_t i = 1; i < steps; ++i) {
        frames.push_back(lerp(from, to, static_cast<double>(i) / total));
    }
    // The last step lands exactly on the target rather than on from + (to − from) × 1,
    // which can differ from `to` in the last bit.
    frames.push_back(to);
    return frames;
}

namespace TileMotion {

double easeOut(double p) {
    if (p < 0) return 0;
    const double c = 1 - std::fmin(p, 1);
    return 1 - c * c * c;
}

AxisWrite attributeOrder(const Frame& from, const Frame& to) {
    return to.width * to.height + 1 < from.width * from.height ? AxisWrite::sizeThenPosition
                                                               : AxisWrite::positionThenSize;
}

Frame frame(const Frame& from, const Frame& to, double progress) {
    return lerp(from, to, easeOut(progress));
}

}  // namespace TileMotion

double switchHintProgress(double t) {
    constexpr double cycle = 2.25;
    constexpr double fadeInStart = 0.55;
    constexpr double fade = 0.4;
    constexpr double fadeOutStart = 1.85;
    // A clock that is not a number keeps the hint hidden rather than making it NaN.
    if (!std::isfinite(t)) return 0;
    double p = std::fmod(t, cycle);
    if (p < 0) p += cycle;
    if (p < fadeInStart) return 0;
    if (p < fadeInStart + fade) return (p - fadeInStart) / fade;
    if (p < fadeOutStart) return 1;
    return 1 - (p - fadeOutStart) / fade;
}

}  // namespace halyward
