#include "halyward/commands/command.hpp"

#include <utility>

namespace halyward {

Command Command::appAdd(std::string url, std::optional<std::string> name,
                        std::optional<std::string> hotkey, std::optional<std::string> tile,
                        std::optional<std::string> icon, std::optional<std::string> css,
                        std::optional<std::string> js) {
    return Command(Kind::appAdd,
                   AppAdd{std::move(url), std::move(name), std::move(hotkey), std::move(tile),
                          std::move(icon), std::move(css), std::move(js)});
}

Command Command::appRemove(std::string name) {
    return Command(Kind::appRemove, AppRemove{std::move(name)});
}

Command Command::hotkeySet(std::string chord, std::string target) {
    return Command(Kind::hotkeySet, HotkeySet{std::move(chord), std::move(target)});
}

Command Command::hotkeyUnset(std::string chord) {
    return Command(Kind::hotkeyUnset, HotkeyUnset{std::move(chord)});
}

Command Command::tile(std::string target, std::string slot, std::optional<std::int64_t> display) {
    return Command(Kind::tile, Tile{std::move(target), std::move(slot), display});
}

Command Command::ruleAdd(std::string target, std::string tile, std::optional<std::int64_t> display,
                         std::optional<std::string> title) {
    return Command(Kind::ruleAdd,
                   RuleAdd{std::move(target), std::move(tile), display, std::move(title)});
}

Command Command::ruleRemove(std::string target) {
    return Command(Kind::ruleRemove, RuleRemove{std::move(target)});
}

Command Command::layoutSave(std::string name) {
    return Command(Kind::layoutSave, LayoutSave{std::move(name)});
}

Command Command::layoutApply(std::string name) {
    return Command(Kind::layoutApply, LayoutApply{std::move(name)});
}

Command Command::skillInstall(std::string folder) {
    return Command(Kind::skillInstall, SkillInstall{std::move(folder)});
}

Command Command::skillUninstall(std::string folder) {
    return Command(Kind::skillUninstall, SkillUninstall{std::move(folder)});
}

bool Command::removesSomething() const {
    switch (kind_) {
        case Kind::appRemove:
        case Kind::hotkeyUnset:
        case Kind::ruleRemove:
        case Kind::skillUninstall: return true;
        default: return false;
    }
}

}  // namespace halyward
