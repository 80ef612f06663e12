#pragma once
/// The one seam between the running app's decisions and a window system. A front end (XCB
/// + EWMH on Linux, the Accessibility API with Carbon hot keys on macOS) implements
/// `WindowSystem` by translating calls into requests and the system's events into calls on
/// `WindowSystemEvents`; it decides nothing. Frames are the core's top-left frames in
/// points everywhere on this side: a front end converts once, at its own edge. Everything
/// runs on the main thread except `post`, which any thread may call.

#include "halyward/hotkeys/hotkey_chord.hpp"
#include "halyward/tiling/display.hpp"
#include "halyward/tiling/frame.hpp"
#include "halyward/tiling/motion.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace halyward {

/// A window's identity for as long as it exists (an X window id, a number the macOS front
/// end hands out per AXUIElement). 0 is never a window.
using WindowId = std::uint64_t;

/// One display: the whole monitor and the part that windows may use (the monitor less the
/// docks and panels that reserve room on it), both in top-left points.
struct DisplayInfo {
    Frame frame;
    Frame visibleFrame;
    bool operator==(const DisplayInfo&) const = default;
};

/// One top-level window that a user would call a window (not a dock, panel, menu, tooltip
/// or desktop), as the user sees it.
struct WindowInfo {
    WindowId id = 0;
    /// The identity of the window's application, in the terms the configuration uses: a web
    /// app's bundle identifier, a desktop entry id without ".desktop" on Linux, a bundle
    /// identifier on macOS. Empty when the front end cannot tell.
    std::string appIdentity;
    /// Other names of the same application a user or rule may use (on Linux the window's
    /// class and instance names); compared ignoring case after `appIdentity`.
    std::vector<std::string> appAliases;
    /// The process that owns the window, or 0 when unknown.
    std::int64_t processId = 0;
    std::string title;
    /// The visible frame: what the user sees as the window, decorations included and
    /// client-side shadows excluded.
    Frame frame;
    /// Minimised or hidden: such a window keeps its place in the list but is not shown.
    bool hidden = false;
    bool operator==(const WindowInfo&) const = default;
};

/// A key pressed while the app holds the whole keyboard (tile mode, the leader key's
/// letter). `key` is the key in the chord grammar's names ("h", "left", "return",
/// "escape", "1", "leftbracket"), with no modifier applied; `text` is what it types with
/// them (empty for keys that type nothing).
struct KeyPress {
    HotkeyKey key = HotkeyKey::named("");
    std::string text;
    bool shift = false;
    bool ctrl = false;
    bool opt = false;
    bool cmd = false;
    bool operator==(const KeyPress&) const = default;
};

/// A chord the window system could not take, with the reason in a few words ("held by
/// another program", "no such key on this keyboard").
struct ChordGrabFailure {
    HotkeyChord chord;
    std::string reason;
    bool operator==(const ChordGrabFailure&) const = default;
};

/// One row of the tile-mode panel.
struct TilePanelRow {
    /// The keycap of the bare key ("H", "←", "Esc").
    std::string key;
    std::string title;
    /// The global chord as the platform spells shortcuts ("Ctrl+Alt+H"); empty when none.
    std::string chord;
    bool operator==(const TilePanelRow&) const = default;
};

/// One section of the tile-mode panel ("Focus", "Move", "Layout", "More").
struct TilePanelSection {
    std::string title;
    std::vector<TilePanelRow> rows;
    bool operator==(const TilePanelSection&) const = default;
};

/// Everything the tile-mode panel shows, and where.
struct TilePanelContent {
    std::string title;
    std::vector<TilePanelSection> sections;
    /// Centred on this display's visible frame.
    Frame displayFrame;
    bool operator==(const TilePanelContent&) const = default;
};

/// What starting an application needs.
struct LaunchRequest {
    /// The desktop entry id (Linux) or bundle identifier (macOS) to start; for a web app,
    /// the bundle identifier its launcher entry is named for.
    std::string appIdentity;
    /// A web app's bundle folder, when the target is one: the front end may start the
    /// bundle's host directly when no launcher entry is found.
    std::string bundlePath;
    bool operator==(const LaunchRequest&) const = default;
};

/// What running a command in a terminal needs.
struct TerminalRequest {
    /// The terminal the user chose: a desktop entry id on Linux, a bundle identifier on
    /// macOS. Empty, or one that is not installed, means the desktop's default terminal.
    std::string terminal;
    /// An executable script for the terminal to run; it enters its own folder first.
    std::string scriptPath;
    bool operator==(const TerminalRequest&) const = default;
};

/// Events from the window system, implemented by the app core. Calls arrive on the main
/// thread.
class WindowSystemEvents {
public:
    virtual ~WindowSystemEvents() = default;
    /// A grabbed chord was pressed. Key repeat while it is held does not call again.
    virtual void chordPressed(const HotkeyChord& chord) = 0;
    /// A key pressed while `grabKeyboard` holds the keyboard. Modifier keys alone and key
    /// releases are not reported.
    virtual void keyPressed(const KeyPress& press) = 0;
    /// The leader key watched with `watchLeaderKey` was tapped (pressed and released with
    /// no other key between).
    virtual void leaderTapped() = 0;
    /// A new window was mapped (shown for the first time).
    virtual void windowAppeared(const WindowInfo& window) = 0;
    /// A window was closed or withdrawn.
    virtual void windowVanished(WindowId id) = 0;
    /// A window's visible frame changed, by anyone.
    virtual void windowMoved(WindowId id, const Frame& frame) = 0;
    /// The focused window changed (none: no window of ours to speak of has the focus).
    virtual void focusChanged(std::optional<WindowId> id) = 0;
    /// Monitors were added, removed or rearranged, or a panel's reserved room changed.
    virtual void displaysChanged() = 0;
    /// The configuration file was written, replaced or removed.
    virtual void configurationChanged() = 0;
    /// The window system went away (the X server closed); the app should wind down.
    virtual void windowSystemLost() = 0;
};

/// A timer made by `WindowSystem::after`; cancelled when this handle is destroyed or
/// `cancel` is called, so a callback never runs for an owner that is gone.
class TimerHandle {
public:
    virtual ~TimerHandle() = default;
    virtual void cancel() = 0;
};

/// What the app core asks of a window system.
class WindowSystem {
public:
    virtual ~WindowSystem() = default;

    /// Where events go. Set once, before `run`.
    virtual void setEvents(WindowSystemEvents* events) = 0;

    // Reading the desktop.

    /// The displays in the system's order (the primary first on macOS; RandR's monitor
    /// order on X11, primary first). Never empty while the window system is there.
    virtual std::vector<DisplayInfo> displays() = 0;
    /// The user's windows, front-most first.
    virtual std::vector<WindowInfo> windows() = 0;
    virtual std::optional<WindowId> focusedWindow() = 0;

    // Acting on windows. A window that has vanished makes each of these a no-op that
    // returns false; nothing throws.

    /// Asks for `frame` as the window's visible frame. The window manager may adjust it (a
    /// terminal's size increments, a minimum size); the front end anchors such a window to
    /// the frame's top-left and never retries. A maximized window is un-maximized first.
    /// `order` is the order of the position and size writes where the system makes them
    /// separately (the Accessibility API); X11 sends both in one request.
    virtual bool setFrame(WindowId id, const Frame& frame, AxisWrite order) = 0;
    /// Focuses and raises the window (un-hiding it when hidden).
    virtual bool focus(WindowId id) = 0;
    /// Hides every window of the application (minimises on X11).
    virtual bool hideApp(const std::string& appIdentity) = 0;
    /// Starts an application; false with `error` set when it cannot be started.
    virtual bool launch(const LaunchRequest& request, std::string& error) = 0;
    /// Opens a terminal window running `request.scriptPath`; false with `error` set (one
    /// sentence) when no terminal can be started.
    virtual bool runInTerminal(const TerminalRequest& request, std::string& error) = 0;
    /// The folder a process works in (on Linux its /proc/<pid>/cwd), when the system
    /// tells; none for an unknown or foreign process.
    virtual std::optional<std::string> workingDirectory(std::int64_t processId) = 0;

    // Keys.

    /// Makes exactly `chords` the grabbed chords, whatever lock keys are on; chords no
    /// longer listed are released. Returns those that could not be taken; every other one
    /// works. Chords with the `leader` modifier are never passed here.
    virtual std::vector<ChordGrabFailure> grabChords(const std::vector<HotkeyChord>& chords) = 0;
    /// Watches `key` (today only "caps") as the leader key; none stops watching. False
    /// when the key cannot be watched.
    virtual bool watchLeaderKey(const std::optional<HotkeyKey>& key) = 0;
    /// Takes the whole keyboard: every key press goes to `keyPressed` until
    /// `releaseKeyboard`. False when another program holds it even after a short retry.
    virtual bool grabKeyboard() = 0;
    virtual void releaseKeyboard() = 0;

    // The app's own small windows. None of them ever takes the focus.

    virtual void showTilePanel(const TilePanelContent& content) = 0;
    virtual void hideTilePanel() = 0;
    /// Shows `text` in a notice panel at `frame` until `hideNotice`.
    /// The size a notice showing `text` needs, so the core can place it.
    virtual NoticeSize noticeSize(const std::string& text) = 0;
    virtual void showNotice(const std::string& text, const Frame& frame) = 0;
    virtual void hideNotice() = 0;
    /// Draws a thin ring around `frame` (the focused window while tile mode is on).
    virtual void showFocusOutline(const Frame& frame) = 0;
    virtual void hideFocusOutline() = 0;

    // The configuration.

    /// Watches the configuration file at `path` (its folder too, so that a file replaced
    /// by a rename or created later is seen) and calls `configurationChanged` on a change.
    virtual void watchConfiguration(const std::string& path) = 0;

    // The main loop.

    /// Runs `work` soon on the main thread. Safe from any thread.
    virtual void post(std::function<void()> work) = 0;
    /// Runs `work` once on the main thread after `seconds`.
    virtual std::unique_ptr<TimerHandle> after(double seconds, std::function<void()> work) = 0;
    /// A monotonic clock in seconds.
    virtual double now() = 0;
};

}  // namespace halyward
