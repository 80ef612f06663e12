#include "halyward/webapps/icns.hpp"

#include <algorithm>
#include <iterator>
#include <limits>
#include <string_view>

namespace halyward {

namespace {

constexpr std::size_t kHeaderSize = 8;

// Icons of web sites are tiny next to 4 GiB, but a length that wrapped around would make a
// file every reader misparses, so such an element is left out instead.
constexpr std::uint64_t kMaxLength = std::numeric_limits<std::uint32_t>::max();

// The size threshold chooses the slot by byte count, not by pixel size: decoding the
// image just to read its dimensions is not worth it, and a PNG above 80,000 bytes is in
// practice a large icon.
constexpr std::size_t kLargeIconBytes = 80000;

void appendBigEndian32(std::vector<std::uint8_t>& out, std::uint32_t value) {
    out.push_back(static_cast<std::uint8_t>(value >> 24));
    out.push_back(static_cast<std::uint8_t>(value >> 16));
    out.push_back(static_cast<std::uint8_t>(value >> 8));
    out.push_back(static_cast<std::uint8_t>(value));
}

}  // namespace

bool isPNG(const std::vector<std::uint8_t>& data) {
    // The signature, then the IHDR chunk, which a PNG must open with: its 13 bytes say
    // what the image is, so checking them turns away a file that only starts like one
    // (a cut-off download, an error page) without decoding pixels.
    static constexpr std::uint8_t kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    constexpr std::size_t kHeaderEnd = 8 + 8 + 13;
    if (data.size() < kHeaderEnd ||
        !std::equal(std::begin(kSignature), std::end(kSignature), data.begin())) {
        return false;
    }
    const auto u32 = [&](std::size_t at) {
        return std::uint32_t{data[at]} << 24 | std::uint32_t{data[at + 1]} << 16 |
               std::uint32_t{data[at + 2]} << 8 | std::uint32_t{data[at + 3]};
    };
    if (u32(8) != 13 || std::string_view(reinterpret_cast<const char*>(&data[12]), 4) != "IHDR") {
        return false;
    }
    const std::uint32_t width = u32(16), height = u32(20);
    constexpr std::uint32_t kMaxSide = 0x7FFFFFFF;
    if (width == 0 || height == 0 || width > kMaxSide || height > kMaxSide) return false;
    const std::uint8_t depth = data[24], colour = data[25];
    bool depthFits = false;
    switch (colour) {
        case 0:
            depthFits = depth == 1 || depth == 2 || depth == 4 || depth == 8 || depth == 16;
            break;
        case 3: depthFits = depth == 1 || depth == 2 || depth == 4 || depth == 8; break;
        case 2:
        case 4:
        case 6: depthFits = depth == 8 || depth == 16; break;
        default: return false;
    }
    // Compression and filter method 0 are the only ones defined; interlacing is 0 or 1.
    return depthFits && data[26] == 0 && data[27] == 0 && data[28] <= 1;
}

namespace ICNSWriter {

std::vector<std::uint8_t> file(
    const std::vector<std::pair<std::string, std::vector<std::uint8_t>>>& pngs) {
    std::uint64_t total = kHeaderSize;
    std::vector<const std::pair<std::string, std::vector<std::uint8_t>>*> kept;
    for (const auto& pair : pngs) {
        if (pair.first.size() != 4) continue;
        const std::uint64_t length = std::uint64_t{pair.second.size()} + kHeaderSize;
        if (total + length > kMaxLength) continue;
        total += length;
        kept.push_back(&pair);
    }

    constexpr std::string_view magic = "icns";
    std::vector<std::uint8_t> out(magic.begin(), magic.end());
    out.reserve(static_cast<std::size_t>(total));
    appendBigEndian32(out, static_cast<std::uint32_t>(total));
    for (const auto* pair : kept) {
        out.insert(out.end(), pair->first.begin(), pair->first.end());
        appendBigEndian32(out, static_cast<std::uint32_t>(pair->second.size() + kHeaderSize));
        out.insert(out.end(), pair->second.begin(), pair->second.end());
    }
    return out;
}

std::vector<std::uint8_t> wrappingPNG(const std::vector<std::uint8_t>& data) {
    const char* type = data.size() > kLargeIconBytes ? "ic08" : "ic07";
    return file({{type, data}});
}

}  // namespace ICNSWriter

}  // namespace halyward
