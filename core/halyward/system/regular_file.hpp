#pragma once
/// The one way the program reads a file it was pointed at: without ever waiting on it, and
/// only when it is a regular file. A named pipe, socket or device planted where a file is
/// expected would otherwise stall the reader (and any lock it holds) until someone writes
/// to it, or feed it endless bytes.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace halyward {

/// What `readRegularFile` read, and the file's owner and permissions as they were when it
/// was opened.
struct RegularFile {
    /// The file's first bytes, at most the `maxBytes` asked for.
    std::string bytes;
    /// The permission bits (st_mode & 07777).
    std::uint32_t permissions = 0;
    uid_t owner = 0;
    gid_t group = 0;
};

/// Reads at most `maxBytes` of the file at `path`, following symbolic links. The file is
/// opened without blocking, so a named pipe or device is refused instead of waited on.
/// Returns none when nothing exists at `path`. Throws HalywardError::failed, with a
/// sentence that names the path, when it is a folder or anything else that is not a
/// regular file, or when it cannot be opened or read.
std::optional<RegularFile> readRegularFile(std::string_view path, std::size_t maxBytes);

/// True when the permission bits of `file` let the current user write it: the owner's bit
/// for its owner, the group's for a member of its group, the others' bit for anyone else.
/// The system lets the superuser write any file, so for the superuser the bits decide
/// too, but more leniently: a file is read-only then only when it has no write bit at
/// all, as a file someone made read-only on purpose has.
bool writableByCurrentUser(const RegularFile& file);

}  // namespace halyward
