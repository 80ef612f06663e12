#pragma once
/// Halyward's agent skill: a folder named "halyward" holding a `SKILL.md` that teaches a
/// coding agent to drive the `halyward` command line. `skill install <folder>` writes it
/// into an agent's skills folder, `skill uninstall <folder>` takes it out again, and
/// `skill paths` lists where it is. `[agents]` remembers the folders (`custom_folders`)
/// and the skills written (`installed`).

#include "halyward/base/json.hpp"
#include "halyward/config/config.hpp"

#include <functional>
#include <string>
#include <string_view>

namespace halyward::AgentSkills {

/// "halyward": the skill's name and the name of its folder inside a skills folder.
std::string_view skillName();

/// The text of the skill's SKILL.md.
const std::string& skillText();

/// The absolute, lexically normal form of a folder typed by the user: "~" and "~/…" are
/// taken from `home`, relative paths from `workingDirectory`; no trailing "/". Throws
/// HalywardError::usage for an empty folder or one holding a NUL byte.
std::string folderPath(std::string_view folder, std::string_view home,
                       std::string_view workingDirectory);

/// folder + "/halyward/SKILL.md".
std::string skillFile(std::string_view folder);

/// Writes the skill into `folder` (already a `folderPath`) and records it in `agents`.
/// Returns false when it was there already and nothing changed. Throws
/// HalywardError::usage when `folder` is not a folder, HalywardError::conflict when a
/// SKILL.md of another skill is in the way, and HalywardError::failed when writing fails.
bool install(const std::string& folder, AgentConfig& agents);

/// Removes the skill from `folder` (already a `folderPath`) and forgets the folder in
/// `agents`; "halyward" leaves `installed` once no folder is left. Throws
/// HalywardError::notFound when the skill is neither there nor recorded for the folder,
/// and HalywardError::conflict when the SKILL.md there belongs to another skill.
void uninstall(const std::string& folder, AgentConfig& agents);

/// {"folders":[{"file","folder","installed"}…],"skill":"halyward"}, one entry per
/// recorded folder, in `custom_folders` order; `installed` tells whether the file is there.
JSONValue pathsJSON(const AgentConfig& agents,
                    const std::function<bool(const std::string& path)>& pathExists);

}  // namespace halyward::AgentSkills
