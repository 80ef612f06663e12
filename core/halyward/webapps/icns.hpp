#pragma once
/// Wrapping PNG images, unchanged, into an Apple icon image (ICNS) container.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace halyward {

/// True when the data starts as a PNG file does: the 8-byte signature, then an IHDR chunk
/// of 13 bytes with a width and height of 1 to 2^31 - 1, a bit depth its colour type
/// allows, and the defined compression, filter and interlace methods. The chunk's CRC and
/// the pixels are not read.
bool isPNG(const std::vector<std::uint8_t>& data);

namespace ICNSWriter {

/// The container for (element type, PNG data) pairs, in the order given. A pair whose
/// type is not exactly four bytes of UTF-8 is skipped, as is one that would push the
/// file past the 32-bit length field; with nothing left, the 8-byte header alone.
std::vector<std::uint8_t> file(
    const std::vector<std::pair<std::string, std::vector<std::uint8_t>>>& pngs);

/// The container for one PNG, as "ic08" (the 256-pixel slot) when the data is longer than
/// 80,000 bytes and as "ic07" (the 128-pixel slot) otherwise.
std::vector<std::uint8_t> wrappingPNG(const std::vector<std::uint8_t>& data);

}  // namespace ICNSWriter

}  // namespace halyward
