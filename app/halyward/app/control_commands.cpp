// The window side of the control socket: `tile`, `layout save`, `layout apply` and
// `apply`, already checked by the command router, carried out on the desktop.

#include "halyward/app/app_core_impl.hpp"
#include "halyward/app/desktop.hpp"
#include "halyward/config/config_file.hpp"
#include "halyward/config/config_json.hpp"
#include "halyward/text/text.hpp"
#include "halyward/tiling/layout.hpp"
#include "halyward/tiling/tile_slot.hpp"

#include <set>

namespace halyward {

namespace {

// How close a window must be to a tile for `layout save` to record it: 8 points per edge.
constexpr double slotTolerance = 8.0;

JSONValue frameJSON(const Frame& frame) {
    return JSONObject{
        {"height", frame.height}, {"width", frame.width}, {"x", frame.x}, {"y", frame.y}};
}

std::string windowsWord(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " window" : " windows");
}

// The app's window a command acts on: its front-most shown one, else its front-most one.
const WindowInfo* frontWindow(const detail::Desktop& desktop, std::string_view identity,
                              const std::set<WindowId>& taken = {}) {
    const WindowInfo* hidden = nullptr;
    for (const WindowInfo* window : desktop.windowsOf(identity)) {
        if (taken.count(window->id) != 0) continue;
        if (!window->hidden) return window;
        if (!hidden) hidden = window;
    }
    return hidden;
}

// The configuration a command reads: the file it names, as it is on disk now.
HalywardConfig commandConfig(const CommandRouter& router, const Invocation& invocation) {
    return ConfigFile::load(router.configFile(invocation)).decode();
}

}  // namespace

CommandOutput AppCore::Impl::windowCommand(const Invocation& invocation) {
    switch (invocation.command.kind()) {
        case Command::Kind::tile: return tileCommand(invocation);
        case Command::Kind::layoutSave: return layoutSaveCommand(invocation);
        case Command::Kind::layoutApply: return layoutApplyCommand(invocation);
        case Command::Kind::apply: return applyCommand();
        default: break;
    }
    throw HalywardError::failed("The running app does not carry out this command.");
}

CommandOutput AppCore::Impl::tileCommand(const Invocation& invocation) {
    const Command::Tile& values = *invocation.command.asTile();
    const HalywardConfig current = commandConfig(router, invocation);
    const Target target = resolveTarget(values.target, current, options.findApplication);
    const std::optional<TileSlot> slot = parseTileSlot(values.slot);
    if (!slot) throw HalywardError::usage("Usage: halyward tile <app> <tile> [--display <n>]");

    const detail::Desktop desktop = detail::Desktop::read(system);
    if (desktop.displays.empty()) {
        throw HalywardError::unavailable("No display is connected to tile on.");
    }
    const WindowInfo* window = frontWindow(desktop, target.bundleIdentifier);
    if (!window) {
        throw HalywardError::notFound("No window of " + text::quoted(values.target) + " is open.");
    }
    std::size_t display = desktop.displayIndex(window->frame);
    if (values.display) {
        const std::int64_t count = static_cast<std::int64_t>(desktop.displays.size());
        if (*values.display < 1 || *values.display > count) {
            throw HalywardError::notFound("There is no display " + std::to_string(*values.display) +
                                          ": " +
                                          (count == 1 ? std::string("one display is")
                                                      : std::to_string(count) + " displays are") +
                                          " connected.");
        }
        display = static_cast<std::size_t>(*values.display - 1);
    }
    const GeneralConfig& general = current.general;
    const Frame frame =
        frameForTile(*slot, desktop.displays[display].visibleFrame, general.tileGap);
    mover.move(window->id, window->frame, frame, general.animateTiles);
    const std::string tile(rawValue(*slot));
    return {
        ExitCode::ok,
        "Tiled " + target.name + " to " + tile + " on display " + std::to_string(display + 1) + ".",
        JSONObject{{"app", target.name},
                   {"bundleIdentifier", target.bundleIdentifier},
                   {"display", static_cast<std::int64_t>(display + 1)},
                   {"frame", frameJSON(frame)},
                   {"tile", tile}}};
}

// A layout records, for the focused window's display (the one the user is looking at),
// each application with a window in a tile, front-most window first. An app with several
// windows is recorded once, by its front-most window: a layout names apps, not windows.
CommandOutput AppCore::Impl::layoutSaveCommand(const Invocation& invocation) {
    const std::string name(text::trim(invocation.command.asLayoutSave()->name));
    const double gap = commandConfig(router, invocation).general.tileGap;
    const detail::Desktop desktop = detail::Desktop::read(system);
    if (desktop.displays.empty()) {
        throw HalywardError::unavailable("No display is connected to save a layout from.");
    }
    const std::size_t display = desktop.focusedDisplay();
    const Frame& visible = desktop.displays[display].visibleFrame;
    Layout layout{name, {}};
    std::set<std::string> recorded;
    for (const WindowInfo* window : desktop.windowsOn(display)) {
        if (window->appIdentity.empty() || recorded.count(window->appIdentity) != 0) continue;
        const std::optional<TileSlot> slot = inferSlot(window->frame, visible, gap, slotTolerance);
        if (!slot) continue;
        recorded.insert(window->appIdentity);
        layout.assignments.push_back({window->appIdentity, std::string(rawValue(*slot))});
    }
    if (layout.assignments.empty()) {
        throw HalywardError::notFound("No window on display " + std::to_string(display + 1) +
                                      " is in a tile, so the layout " + text::quoted(name) +
                                      " was not saved.");
    }
    // The one write the app ever makes to the configuration file, under its lock.
    ConfigFile::update(router.configFile(invocation),
                       [&](ConfigFile& file) { file.upsertLayout(layout); });
    if (router.configFile(invocation) == config.path()) reload(false);
    return {ExitCode::ok,
            "Saved the layout " + text::quoted(name) + " with " +
                windowsWord(layout.assignments.size()) + ".",
            layoutJSON(layout.name, layout.assignments)};
}

CommandOutput AppCore::Impl::layoutApplyCommand(const Invocation& invocation) {
    const std::string& name = invocation.command.asLayoutApply()->name;
    const HalywardConfig current = commandConfig(router, invocation);
    const Layout* layout = nullptr;
    for (const Layout& candidate : current.layouts) {
        if (candidate.name == name) layout = &candidate;
    }
    if (!layout) {
        throw HalywardError::notFound("No saved layout is called " + text::quoted(name) + ".");
    }
    const detail::Desktop desktop = detail::Desktop::read(system);
    if (desktop.displays.empty()) {
        throw HalywardError::unavailable("No display is connected to apply a layout on.");
    }
    const Frame& visible = desktop.displays[desktop.focusedDisplay()].visibleFrame;
    const detail::TileSettings tileSettings{current.general.tileGap, current.general.animateTiles};

    std::set<WindowId> placed;
    std::vector<std::string> missing;
    for (const LayoutAssignment& assignment : layout->assignments) {
        const std::optional<TileSlot> slot = parseTileSlot(assignment.tile);
        const WindowInfo* window = slot ? frontWindow(desktop, assignment.target, placed) : nullptr;
        if (!window && slot) {
            // A hand-written layout may name its app as the command line does.
            try {
                const Target target =
                    resolveTarget(assignment.target, current, options.findApplication);
                window = frontWindow(desktop, target.bundleIdentifier, placed);
            } catch (const HalywardError&) {}
        }
        if (!window) {
            missing.push_back(assignment.target);
            continue;
        }
        placed.insert(window->id);
        tiles.place(*window, frameForTile(*slot, visible, tileSettings.gap), tileSettings);
    }
    if (placed.empty()) {
        throw HalywardError::notFound("No window of the layout " + text::quoted(name) +
                                      " is open.");
    }
    std::string message =
        "Applied the layout " + text::quoted(name) + " to " + windowsWord(placed.size()) + ".";
    if (!missing.empty()) {
        message += " Not open or not a tile: ";
        for (std::size_t i = 0; i < missing.size(); ++i) {
            message += (i == 0 ? "" : ", ") + missing[i];
        }
        message += ".";
    }
    JSONArray missingJSON(missing.begin(), missing.end());
    return {ExitCode::ok, message,
            JSONObject{{"missing", std::move(missingJSON)},
                       {"name", name},
                       {"placed", static_cast<std::int64_t>(placed.size())}}};
}

CommandOutput AppCore::Impl::applyCommand() {
    const detail::ConfigFollower::Reload result = reload(true);
    if (result.error) throw *result.error;
    const detail::Desktop desktop = detail::Desktop::read(system);
    std::size_t placedCount = 0;
    for (const WindowInfo& window : desktop.windows) {
        if (window.hidden) continue;
        // A web app's `tile` goes to its front-most window, the one a launch would open.
        const std::vector<const WindowInfo*> siblings = desktop.windowsOf(window.appIdentity);
        const bool firstOfApp = !siblings.empty() && siblings.front()->id == window.id;
        if (const std::optional<detail::Placement> placement =
                rules.placementFor(window, firstOfApp)) {
            placeByRule(desktop, window, *placement, settings().animate);
            ++placedCount;
        }
    }
    const std::size_t chords = bindings.grabbed.size() - grabFailures.size();
    std::string message = "Applied the configuration: " + std::to_string(chords) +
                          (chords == 1 ? " chord works" : " chords work") + " and rules placed " +
                          windowsWord(placedCount) + ".";
    JSONArray failures;
    for (const ChordGrabFailure& failure : grabFailures) {
        message += " " + failure.chord.canonical() + " does not work: " + failure.reason + ".";
        failures.push_back(
            JSONObject{{"chord", failure.chord.canonical()}, {"reason", failure.reason}});
    }
    return {ExitCode::ok, message,
            JSONObject{{"chords", static_cast<std::int64_t>(chords)},
                       {"failures", std::move(failures)},
                       {"placed", static_cast<std::int64_t>(placedCount)}}};
}

}  // namespace halyward
