#pragma once
// The running app's window system on X11: XCB requests and EWMH messages on top of
// whatever window manager runs, translated to and from the app core's seam. It decides
// nothing; every choice about what should happen is the core's.

#include "event_loop.hpp"
#include "halyward/app/window_identity.hpp"
#include "halyward/app/window_system.hpp"
#include "keys.hpp"

#include <map>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include <xcb/xcb.h>
#include <xcb/xcb_ewmh.h>

namespace halyward::x11 {

class Overlays;
class Launcher;

/// Widths along a window's left, right, top and bottom edges: the decorations a window
/// manager draws, or the shadow a client draws inside its own window.
struct FrameEdges {
    std::int64_t left = 0, right = 0, top = 0, bottom = 0;
};

class X11WindowSystem final : public WindowSystem {
public:
    /// Connects to the X server `displayName` names (the environment's when null). Null,
    /// with `error` set to a sentence, when there is no X server to talk to.
    static std::unique_ptr<X11WindowSystem> connect(EventLoop& loop, const char* displayName,
                                                    std::string& error);
    ~X11WindowSystem() override;

    /// Reads the installed applications that window classes are matched against; called
    /// now and again before each launch, since an app installed meanwhile is most often
    /// the one being started.
    void setDesktopApplications(std::function<std::vector<DesktopApplication>()> reader);

    void setEvents(WindowSystemEvents* events) override { events_ = events; }
    std::vector<DisplayInfo> displays() override;
    std::vector<WindowInfo> windows() override;
    std::optional<WindowId> focusedWindow() override;
    bool setFrame(WindowId id, const Frame& frame, AxisWrite order) override;
    bool focus(WindowId id) override;
    bool hideApp(const std::string& appIdentity) override;
    bool launch(const LaunchRequest& request, std::string& error) override;
    // In terminal.cpp.
    bool runInTerminal(const TerminalRequest& request, std::string& error) override;
    std::optional<std::string> workingDirectory(std::int64_t processId) override;
    std::vector<ChordGrabFailure> grabChords(const std::vector<HotkeyChord>& chords) override;
    bool watchLeaderKey(const std::optional<HotkeyKey>& key) override;
    bool grabKeyboard() override;
    void releaseKeyboard() override;
    void showTilePanel(const TilePanelContent& content) override;
    void hideTilePanel() override;
    NoticeSize noticeSize(const std::string& text) override;
    void showNotice(const std::string& text, const Frame& frame) override;
    void hideNotice() override;
    void showFocusOutline(const Frame& frame) override;
    void hideFocusOutline() override;
    void watchConfiguration(const std::string& path) override;
    void post(std::function<void()> work) override { loop_.post(std::move(work)); }
    std::unique_ptr<TimerHandle> after(double seconds, std::function<void()> work) override {
        return loop_.after(seconds, std::move(work));
    }
    double now() override { return EventLoop::now(); }

private:
    X11WindowSystem(EventLoop& loop, xcb_connection_t* connection, int screenNumber);

    struct Grab {
        HotkeyChord chord;
        xcb_keycode_t keycode;
        std::uint16_t modifiers;
    };
    /// What is known of a window without asking again: read once when it is first seen.
    struct Tracked {
        bool userWindow = false;
        WindowClass windowClass;
        std::int64_t processId = 0;
        /// What a move needs, as last read, until a property notice says it changed:
        /// a chord's move then needs no round trip of its own.
        bool placementKnown = false;
        bool maximized = false;
        FrameEdges decorations;
        FrameEdges shadow;
    };

    void readEvents();
    void handle(xcb_generic_event_t* event);
    void handleKeyPress(const xcb_key_press_event_t& event);
    void handleKeyRelease(const xcb_key_release_event_t& event);
    void handleProperty(const xcb_property_notify_event_t& event);
    void mappingChanged();
    void clientListChanged(bool report);
    /// Reads the client list now when a change of it is still waiting to be read.
    void syncClientList();
    /// Forgets the displays read and tells the core, once for a burst of notices.
    void displaysMayHaveChanged();
    /// Reads the stacking list and the active window again after the queued events.
    void refreshSoon();
    xcb_window_t activeWindow();
    std::uint32_t currentDesktop();
    std::vector<xcb_window_t> stacking();
    void connectionLost();
    void announceStartup(const std::string& message);
    /// Watches the configuration's folder, or the nearest folder above it while it is
    /// missing.
    void armConfigurationWatch();
    void configurationEvents();

    void ungrabAll();
    void grabLeader();
    std::vector<WindowInfo> describe(const std::vector<xcb_window_t>& ids, bool usersOnly);
    std::optional<Frame> visibleFrame(xcb_window_t window);
    std::vector<xcb_window_t> clientList(xcb_atom_t property);
    xcb_timestamp_t userTime();
    std::string identityFor(const WindowClass& windowClass, std::int64_t processId) const;
    void sendRootMessage(xcb_window_t window, xcb_atom_t type, std::array<std::uint32_t, 5> data);

    EventLoop& loop_;
    xcb_connection_t* connection_;
    xcb_screen_t* screen_ = nullptr;
    xcb_window_t root_ = 0;
    /// An unmapped window of our own: the source of server timestamps.
    xcb_window_t clock_ = 0;
    xcb_ewmh_connection_t ewmh_{};
    xcb_atom_t gtkFrameExtents_ = XCB_ATOM_NONE;
    xcb_atom_t wmChangeState_ = XCB_ATOM_NONE;
    xcb_atom_t startupInfoBegin_ = XCB_ATOM_NONE;
    xcb_atom_t startupInfo_ = XCB_ATOM_NONE;
    std::uint8_t randrEventBase_ = 0;
    bool randr_ = false;
    std::uint8_t xkbEventBase_ = 0;
    bool xkb_ = false;
    bool remapPending_ = false;
    bool clientListPending_ = false;
    bool displaysPending_ = false;
    xcb_key_symbols_t* symbols_ = nullptr;
    ModifierMasks masks_;
    WindowSystemEvents* events_ = nullptr;
    bool lost_ = false;

    std::vector<HotkeyChord> chords_;
    std::vector<Grab> grabs_;
    std::optional<HotkeyKey> leaderKey_;
    std::vector<xcb_keycode_t> leaderCodes_;
    bool leaderDown_ = false;
    bool leaderWasLocked_ = false;
    bool keyboardGrabbed_ = false;
    /// The chord key held down right now: key repeat presses it again without a release.
    xcb_keycode_t heldChordKey_ = 0;
    /// The time of the key event being handled, 0 outside one.
    xcb_timestamp_t eventTime_ = 0;

    std::vector<xcb_window_t> clients_;
    /// The stacking list and the active window, read again after each notice of a change
    /// (soon, or at once when asked for first), so a chord finds them read already.
    std::optional<std::vector<xcb_window_t>> stacking_;
    std::optional<xcb_window_t> active_;
    std::optional<std::uint32_t> currentDesktop_;
    bool refreshPending_ = false;
    std::unordered_map<xcb_window_t, Tracked> tracked_;
    std::optional<std::vector<DisplayInfo>> displays_;
    std::function<std::vector<DesktopApplication>()> readApplications_;
    std::vector<DesktopApplication> applications_;
    /// Processes started by `launch`, with the identity asked for: a window such a process
    /// maps belongs to that app even when its class says otherwise.
    std::map<std::int64_t, std::string> launched_;

    int inotifyFd_ = -1;
    int watchFolder_ = -1;
    int watchParent_ = -1;
    std::string configFolder_;
    std::string configName_;

    std::unique_ptr<Overlays> overlays_;
    std::unique_ptr<Launcher> launcher_;
};

}  // namespace halyward::x11
