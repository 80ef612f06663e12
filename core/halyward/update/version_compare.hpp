#pragma once
/// Comparison of version texts such as "v1.2.0", "1.10" or "2.0.0-beta".

#include <cstdint>
#include <string_view>
#include <vector>

namespace halyward {

/// The numeric parts of a version text: trimmed and lower-cased, one leading "v" dropped,
/// everything from the first "-" after the number on ignored (leading dashes are skipped),
/// then the pieces between dots (empty pieces left out), each read as a decimal integer;
/// a piece that is not one, or does not fit in 64 bits, counts as 0.
std::vector<std::int64_t> versionParts(std::string_view text);

/// True when `candidate` is a strictly newer version than `newerThan`, comparing the parts
/// numerically from the left and counting missing parts as 0.
bool isVersion(std::string_view candidate, std::string_view newerThan);

}  // namespace halyward
