#pragma once
/// The one way the program replaces one of its own files, so that a reader never sees a
/// half-written file: the bytes go to a hidden temporary file in the same folder, which is
/// flushed to disk and then renamed over the target, and the folder is flushed too.

#include <cstdint>
#include <string_view>
#include <vector>

namespace halyward::AtomicFile {

/// Replaces the file at `path` with `data`, creating missing folders first, and gives it
/// the permission bits `mode` exactly (the umask does not apply). When this returns, the
/// new file and its name are on disk; when it throws HalywardError::failed, the old file
/// is untouched and no temporary file is left behind.
void write(const std::vector<std::uint8_t>& data, std::string_view path, std::uint16_t mode);
/// The same for the UTF-8 bytes of `text`.
void write(std::string_view text, std::string_view path, std::uint16_t mode);

}  // namespace halyward::AtomicFile
