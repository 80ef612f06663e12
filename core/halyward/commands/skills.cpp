#include "halyward/commands/skills.hpp"

#include "halyward/base/error.hpp"
#include "halyward/commands/help_text.hpp"
#include "halyward/system/atomic_file.hpp"
#include "halyward/text/text.hpp"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <system_error>

namespace halyward::AgentSkills {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kFrontMatter = "---\nname: halyward\n";

/// The file's first bytes, enough to tell whose skill it is; none when it is not there.
std::optional<std::string> readHead(const std::string& path, std::size_t limit) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return std::nullopt;
    std::string head(limit, '\0');
    in.read(head.data(), static_cast<std::streamsize>(limit));
    head.resize(static_cast<std::size_t>(in.gcount()));
    return head;
}

bool isOurs(const std::string& head) { return head.starts_with(kFrontMatter); }

void eraseValue(std::vector<std::string>& values, std::string_view value) {
    values.erase(std::remove(values.begin(), values.end(), value), values.end());
}

void appendOnce(std::vector<std::string>& values, std::string_view value) {
    if (std::find(values.begin(), values.end(), value) == values.end()) values.emplace_back(value);
}

/// A recorded folder matches the typed one also when it was written with a trailing
/// slash or other unnormalised spelling.
bool sameFolder(const std::string& recorded, const std::string& folder) {
    if (recorded == folder) return true;
    std::string normal = fs::path(recorded).lexically_normal().string();
    while (normal.size() > 1 && normal.back() == '/') normal.pop_back();
    return normal == folder;
}

}  // namespace

std::string_view skillName() { return "halyward"; }

const std::string& skillText() {
    static const std::string text = [] {
        std::string body(kFrontMatter);
        body +=
            "description: Tile windows, bind app hotkeys, save and apply layouts, and manage "
            "web apps on this computer with the halyward command line.\n"
            "---\n"
            "\n"
            "# Halyward\n"
            "\n"
            "Halyward is a keyboard-driven tiling window manager and web-app maker. Drive it "
            "with the `halyward` command:\n"
            "\n"
            "- Add `--json` to get one JSON object: {\"exitCode\",\"message\",\"ok\",\"result\"}.\n"
            "- Exit statuses: 0 ok, 1 usage, 2 configuration, 3 Halyward not running or a "
            "feature missing, 5 not found, 6 conflict, 7 not confirmed, 8 failed.\n"
            "- Commands that remove something need `--yes`; ask the user before passing it.\n"
            "- `halyward doctor` lists problems in the configuration; run it after edits.\n"
            "- `tile`, `layout save`, `layout apply` and `apply` need the menu-bar app running.\n"
            "\n"
            "```\n";
        body += HelpText::text();
        body += "```\n";
        return body;
    }();
    return text;
}

std::string folderPath(std::string_view folder, std::string_view home,
                       std::string_view workingDirectory) {
    if (folder.empty()) throw HalywardError::usage("Usage: halyward skill install <folder>");
    if (folder.find('\0') != std::string_view::npos) {
        throw HalywardError::usage("A folder name cannot hold a NUL byte.");
    }
    fs::path path;
    if (folder == "~") {
        path = fs::path(std::string(home));
    } else if (folder.starts_with("~/")) {
        path = fs::path(std::string(home)) / std::string(folder.substr(2));
    } else {
        path = fs::path(std::string(folder));
        if (path.is_relative()) path = fs::path(std::string(workingDirectory)) / path;
    }
    std::string normal = path.lexically_normal().string();
    while (normal.size() > 1 && normal.back() == '/') normal.pop_back();
    return normal;
}

std::string skillFile(std::string_view folder) {
    std::string file(folder);
    if (file.empty() || file.back() != '/') file += '/';
    file += skillName();
    file += "/SKILL.md";
    return file;
}

bool install(const std::string& folder, AgentConfig& agents) {
    std::error_code error;
    const fs::file_status status = fs::status(folder, error);
    if (fs::exists(status) && !fs::is_directory(status)) {
        throw HalywardError::usage(text::quoted(folder) + " is a file, not a folder.");
    }
    const std::string file = skillFile(folder);
    const std::string& wanted = skillText();
    bool changed = false;
    const std::optional<std::string> present = readHead(file, wanted.size() + 1);
    if (present && !isOurs(*present)) {
        throw HalywardError::conflict(text::quoted(file) +
                                      " belongs to another skill; Halyward leaves it alone.");
    }
    if (present != wanted) {
        AtomicFile::write(std::string_view(wanted), file, 0644);
        changed = true;
    }
    const std::size_t before = agents.customFolders.size() + agents.installed.size();
    if (std::none_of(agents.customFolders.begin(), agents.customFolders.end(),
                     [&](const std::string& recorded) { return sameFolder(recorded, folder); })) {
        agents.customFolders.push_back(folder);
    }
    appendOnce(agents.installed, skillName());
    return changed || agents.customFolders.size() + agents.installed.size() != before;
}

void uninstall(const std::string& folder, AgentConfig& agents) {
    const std::string file = skillFile(folder);
    const bool recorded =
        std::any_of(agents.customFolders.begin(), agents.customFolders.end(),
                    [&](const std::string& entry) { return sameFolder(entry, folder); });
    const std::optional<std::string> present = readHead(file, kFrontMatter.size());
    if (!present && !recorded) {
        throw HalywardError::notFound("The Halyward skill is not installed in " +
                                      text::quoted(folder) + ".");
    }
    if (present) {
        if (!isOurs(*present)) {
            throw HalywardError::conflict(text::quoted(file) +
                                          " belongs to another skill; Halyward leaves it alone.");
        }
        std::error_code error;
        fs::remove(file, error);
        if (error) {
            throw HalywardError::failed("Halyward can't remove " + text::quoted(file) + ": " +
                                        error.message() + ".");
        }
        // The skill's own folder goes too, but only when nothing else was put in it.
        fs::remove(fs::path(file).parent_path(), error);
    }
    agents.customFolders.erase(
        std::remove_if(agents.customFolders.begin(), agents.customFolders.end(),
                       [&](const std::string& entry) { return sameFolder(entry, folder); }),
        agents.customFolders.end());
    if (agents.customFolders.empty()) eraseValue(agents.installed, skillName());
}

JSONValue pathsJSON(const AgentConfig& agents,
                    const std::function<bool(const std::string& path)>& pathExists) {
    JSONArray folders;
    folders.reserve(agents.customFolders.size());
    for (const std::string& folder : agents.customFolders) {
        const std::string file = skillFile(folder);
        folders.emplace_back(JSONObject{
            {"file", file}, {"folder", folder}, {"installed", pathExists && pathExists(file)}});
    }
    return JSONValue(JSONObject{{"folders", std::move(folders)}, {"skill", skillName()}});
}

}  // namespace halyward::AgentSkills
