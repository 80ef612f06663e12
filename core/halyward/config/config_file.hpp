#pragma once
/// The one reader and editor of config.toml. Every edit goes through the in-place
/// document edits, so comments, blank lines, key order and unknown keys survive.

#include "halyward/config/config.hpp"
#include "halyward/toml/document.hpp"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace halyward {

struct ConfigFile {
    TOMLDocument document;

    /// An empty file.
    ConfigFile() = default;
    explicit ConfigFile(TOMLDocument document) : document(std::move(document)) {}
    /// Parses configuration text (CR LF and lone CR read as LF). Throws the parser's
    /// HalywardError::config("Config line N: …") unchanged.
    explicit ConfigFile(std::string_view text);

    /// The file written when none exists.
    static ConfigFile makeDefault();
    /// The text of the file written when none exists.
    static std::string_view defaultText();

    /// The rendered document: what is written to disk.
    std::string text() const;
    /// The typed configuration. Never fails: missing keys and values of the wrong kind
    /// take their defaults. Linear in the size of the document.
    HalywardConfig decode() const;

    /// Writes `version` and every general setting and tile hotkey; tile hotkeys missing
    /// from `general.tileHotkeys` are removed from the file.
    void setGeneral(const GeneralConfig& general);
    /// Creates or updates table ["apps", slug], writing only keys that carry information
    /// unless the file already has them.
    void upsertApp(const WebAppRecord& record);
    void removeApp(std::string_view slug);
    /// Sets `chord` in ["hotkeys"] to `{ bundle = bundleIdentifier }`.
    void setNativeHotkey(std::string_view chord, std::string_view bundleIdentifier);
    void removeNativeHotkey(std::string_view chord);
    /// Creates or updates table ["rules", id].
    void upsertRule(const TileRule& rule);
    void removeRule(std::string_view id);
    /// Makes table ["layouts", name] hold exactly the layout's assignments, in order.
    void upsertLayout(const Layout& layout);
    /// Sets `installed` and `custom_folders` in ["agents"].
    void setAgents(const AgentConfig& agents);

    /// Reads the file at `path` for a reader that does not change it. A missing file gives
    /// `makeDefault()` (nothing is created). Throws HalywardError::config when the path is
    /// a folder or cannot be read, and the parser's error when the text is not valid.
    static ConfigFile load(const std::filesystem::path& path);
    /// The bytes of the file at `path` as they are, for readers that need the text itself
    /// rather than the document read from it; none when the file does not exist. Throws
    /// HalywardError::config as `load` does when the path cannot be read.
    static std::optional<std::string> readText(const std::filesystem::path& path);

    /// Read-modify-write under an advisory lock on `path` + ".lock": creates the folder,
    /// loads the file (the default file when it is missing), runs `edit`, and writes the
    /// result through AtomicFile, keeping the file's permissions (0644 for a new file).
    /// A file that does not parse fails with the parser's error and is left byte for byte;
    /// so is every file when `edit` throws. An edit that changes nothing writes nothing.
    /// A symbolic link at `path` is followed, so the link stays a link and the file it
    /// points to is edited, or created when the link dangles. A file whose permission
    /// bits make it read-only for the user (even for the superuser, see
    /// `writableByCurrentUser`) is refused with HalywardError::config before `edit` runs,
    /// and stays as it is. Returns the file as written.
    static ConfigFile update(const std::filesystem::path& path,
                             const std::function<void(ConfigFile&)>& edit);

    /// Equal when the rendered texts are equal.
    bool operator==(const ConfigFile& other) const { return text() == other.text(); }
};

}  // namespace halyward
