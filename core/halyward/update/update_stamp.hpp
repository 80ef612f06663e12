#pragma once
/// The small file that remembers the last update check and what it found.

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace halyward {

struct UpdateStamp {
    /// When the last check was attempted. Stored to the whole second.
    std::chrono::system_clock::time_point lastAttemptAt;
    /// The newest version the feed reported.
    std::optional<std::string> latestVersion;
    std::optional<std::string> downloadURL;

    bool operator==(const UpdateStamp&) const = default;
};

namespace UpdateDisk {

/// Reads the stamp at `path` (normally `HalywardPaths::updateStampFile(home)`). A missing,
/// unreadable, oversized or malformed file gives absent, so the next check goes ahead and
/// the next save rewrites it.
std::optional<UpdateStamp> load(std::string_view path);

/// Writes `stamp` to `path` as pretty-printed JSON with sorted keys and an ISO 8601 UTC
/// time, replacing the file atomically with permissions 0644. Absent values are left out.
/// Throws HalywardError::failed when the file cannot be written.
void save(const UpdateStamp& stamp, std::string_view path);

/// The instant as ISO 8601 in UTC to the whole second, "2024-05-01T12:00:00Z".
std::string formatDate(std::chrono::system_clock::time_point date);

/// Reads "YYYY-MM-DDTHH:MM:SS", an optional fraction of a second, then "Z" or an offset
/// "+HH:MM" / "-HH:MM" / "+HHMM". Absent for any other text or an instant the clock
/// cannot hold.
std::optional<std::chrono::system_clock::time_point> parseDate(std::string_view text);

}  // namespace UpdateDisk

}  // namespace halyward
