#include "halyward/webapps/icns.hpp"

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
    return data.size() >= 4 && data[0] == 0x89 && data[1] == 0x50 && data[2] == 0x4E &&
           data[3] == 0x47;
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
