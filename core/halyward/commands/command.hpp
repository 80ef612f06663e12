#pragma once
/// What one invocation of the command line asks for: a command with the values typed for
/// it, kept exactly as typed. Checking chords, tile names and addresses is the job of the
/// command router and the modules it calls.

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

namespace halyward {

class Command {
public:
    /// The cases in declaration order: those with values first, then the bare ones.
    enum class Kind {
        appAdd,
        appRemove,
        hotkeySet,
        hotkeyUnset,
        tile,
        ruleAdd,
        ruleRemove,
        layoutSave,
        layoutApply,
        skillInstall,
        skillUninstall,
        help,
        version,
        appList,
        hotkeyList,
        layoutList,
        configShow,
        apply,
        doctor,
        ping,
        skillPaths,
    };

    struct AppAdd {
        std::string url;
        std::optional<std::string> name;
        std::optional<std::string> hotkey;
        std::optional<std::string> tile;
        std::optional<std::string> icon;
        std::optional<std::string> css;
        std::optional<std::string> js;
        bool operator==(const AppAdd&) const = default;
    };
    struct AppRemove {
        std::string name;
        bool operator==(const AppRemove&) const = default;
    };
    struct HotkeySet {
        std::string chord;
        std::string target;
        bool operator==(const HotkeySet&) const = default;
    };
    struct HotkeyUnset {
        std::string chord;
        bool operator==(const HotkeyUnset&) const = default;
    };
    /// `display` is 1-based, as typed.
    struct Tile {
        std::string target;
        std::string slot;
        std::optional<std::int64_t> display;
        bool operator==(const Tile&) const = default;
    };
    struct RuleAdd {
        std::string target;
        std::string tile;
        std::optional<std::int64_t> display;
        std::optional<std::string> title;
        bool operator==(const RuleAdd&) const = default;
    };
    struct RuleRemove {
        std::string target;
        bool operator==(const RuleRemove&) const = default;
    };
    struct LayoutSave {
        std::string name;
        bool operator==(const LayoutSave&) const = default;
    };
    struct LayoutApply {
        std::string name;
        bool operator==(const LayoutApply&) const = default;
    };
    struct SkillInstall {
        std::string folder;
        bool operator==(const SkillInstall&) const = default;
    };
    struct SkillUninstall {
        std::string folder;
        bool operator==(const SkillUninstall&) const = default;
    };

    /// `help`.
    Command() = default;

    static Command appAdd(std::string url, std::optional<std::string> name = std::nullopt,
                          std::optional<std::string> hotkey = std::nullopt,
                          std::optional<std::string> tile = std::nullopt,
                          std::optional<std::string> icon = std::nullopt,
                          std::optional<std::string> css = std::nullopt,
                          std::optional<std::string> js = std::nullopt);
    static Command appRemove(std::string name);
    static Command hotkeySet(std::string chord, std::string target);
    static Command hotkeyUnset(std::string chord);
    static Command tile(std::string target, std::string slot,
                        std::optional<std::int64_t> display = std::nullopt);
    static Command ruleAdd(std::string target, std::string tile,
                           std::optional<std::int64_t> display = std::nullopt,
                           std::optional<std::string> title = std::nullopt);
    static Command ruleRemove(std::string target);
    static Command layoutSave(std::string name);
    static Command layoutApply(std::string name);
    static Command skillInstall(std::string folder);
    static Command skillUninstall(std::string folder);
    static Command help() { return Command(Kind::help); }
    static Command version() { return Command(Kind::version); }
    static Command appList() { return Command(Kind::appList); }
    static Command hotkeyList() { return Command(Kind::hotkeyList); }
    static Command layoutList() { return Command(Kind::layoutList); }
    static Command configShow() { return Command(Kind::configShow); }
    static Command apply() { return Command(Kind::apply); }
    static Command doctor() { return Command(Kind::doctor); }
    static Command ping() { return Command(Kind::ping); }
    static Command skillPaths() { return Command(Kind::skillPaths); }

    Kind kind() const { return kind_; }

    /// The values of the matching case, or null for any other case.
    const AppAdd* asAppAdd() const { return std::get_if<AppAdd>(&values_); }
    const AppRemove* asAppRemove() const { return std::get_if<AppRemove>(&values_); }
    const HotkeySet* asHotkeySet() const { return std::get_if<HotkeySet>(&values_); }
    const HotkeyUnset* asHotkeyUnset() const { return std::get_if<HotkeyUnset>(&values_); }
    const Tile* asTile() const { return std::get_if<Tile>(&values_); }
    const RuleAdd* asRuleAdd() const { return std::get_if<RuleAdd>(&values_); }
    const RuleRemove* asRuleRemove() const { return std::get_if<RuleRemove>(&values_); }
    const LayoutSave* asLayoutSave() const { return std::get_if<LayoutSave>(&values_); }
    const LayoutApply* asLayoutApply() const { return std::get_if<LayoutApply>(&values_); }
    const SkillInstall* asSkillInstall() const { return std::get_if<SkillInstall>(&values_); }
    const SkillUninstall* asSkillUninstall() const { return std::get_if<SkillUninstall>(&values_); }

    /// True for the commands that remove something and so need confirmation:
    /// `appRemove`, `hotkeyUnset`, `ruleRemove` and `skillUninstall`.
    bool removesSomething() const;

    /// Same case and equal values.
    bool operator==(const Command&) const = default;

private:
    using Values =
        std::variant<std::monostate, AppAdd, AppRemove, HotkeySet, HotkeyUnset, Tile, RuleAdd,
                     RuleRemove, LayoutSave, LayoutApply, SkillInstall, SkillUninstall>;

    explicit Command(Kind kind) : kind_(kind) {}
    Command(Kind kind, Values values) : kind_(kind), values_(std::move(values)) {}

    Kind kind_ = Kind::help;
    Values values_;
};

}  // namespace halyward
