#pragma once
/// Reading the information property list of an application bundle
/// (<bundle>/Contents/Info.plist), XML or binary.

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace halyward {

/// The text entries at the top level of a bundle's Info.plist. Entries of other types
/// (numbers, arrays, dictionaries ...) are left out, so a key of the wrong type reads as
/// missing.
struct BundleInfo {
    std::map<std::string, std::string, std::less<>> strings;

    /// The text stored under `key`, or none when it is missing or not text.
    std::optional<std::string> string(std::string_view key) const;

    bool operator==(const BundleInfo&) const = default;
};

/// Parses property-list bytes (XML or binary). None when they are not a property list or
/// its root is not a dictionary.
std::optional<BundleInfo> parseBundleInfo(std::string_view bytes);

/// Reads the property list at `plistFile`. None when it is missing, is not a regular file
/// (a FIFO is never opened for reading), is larger than 1 MiB (real ones are a few
/// kilobytes), or does not parse.
std::optional<BundleInfo> readInfoPlist(const std::filesystem::path& plistFile);

/// Reads `<bundle>/Contents/Info.plist` as `readInfoPlist` does.
std::optional<BundleInfo> readBundleInfo(const std::filesystem::path& bundle);

}  // namespace halyward
