#pragma once
/// The hidden folders in which bundles are assembled and set aside: ".halyward-<UUID>.tmp"
/// beside the bundle, in the apps folder. While a run uses one it holds an exclusive
/// `flock` on it, so that another run can tell a live folder from one left by a run that
/// was killed, and delete only the latter.

#include "halyward/system/unique_fd.hpp"

#include <chrono>
#include <filesystem>
#include <string_view>
#include <vector>

namespace halyward {

/// How old an unheld staging folder must be before it counts as left behind. A run
/// takes the lock right after it makes the folder; the margin covers that moment many
/// times over.
inline constexpr std::chrono::minutes kStaleStagingAge{2};

/// True for ".halyward-" + an upper-case UUID + ".tmp", the names this program gives its
/// staging folders; any other name in the apps folder is never ours to delete.
bool isStagingFolderName(std::string_view name);

/// An open descriptor on the folder at `path` (not followed when it is a link), locked
/// until the owner goes away; an invalid one when there is no folder there. On a file
/// system without locks the descriptor is still answered, unlocked: it still names the
/// folder, and such folders are never taken for left behind (see `staleStagingFolders`).
UniqueFd holdFolder(const std::filesystem::path& path);

/// A new staging folder beside `target` (in its parent folder), held for as long as the
/// object lives and removed with it unless `keep` was called: either its contents moved
/// away (renamed into place) or the caller took charge of it. Throws
/// HalywardError::failed naming the path when it cannot be made.
class StagingFolder {
public:
    explicit StagingFolder(const std::filesystem::path& target);
    ~StagingFolder();
    StagingFolder(const StagingFolder&) = delete;
    StagingFolder& operator=(const StagingFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    /// The descriptor of the folder, which stays valid and locked wherever it is renamed.
    int descriptor() const { return lock_.get(); }
    void keep() { kept_ = true; }

private:
    std::filesystem::path path_;
    UniqueFd lock_;
    bool kept_ = false;
};

/// The staging folders in `appsFolder` that are left behind: named as ours, real folders
/// (not links), last changed at least `minimumAge` ago, and held by no run.
std::vector<std::filesystem::path> staleStagingFolders(
    const std::filesystem::path& appsFolder, std::chrono::seconds minimumAge = kStaleStagingAge);

/// Deletes what `staleStagingFolders` finds, each while holding its lock so that no run
/// can take it meanwhile. Answers the folders deleted; failures are skipped (the next
/// run tries again).
std::vector<std::filesystem::path> removeStaleStagingFolders(
    const std::filesystem::path& appsFolder, std::chrono::seconds minimumAge = kStaleStagingAge);

}  // namespace halyward
