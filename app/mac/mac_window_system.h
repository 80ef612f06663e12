#pragma once
// The running app's window system on macOS: the Accessibility API for other apps' windows,
// Carbon hot keys for the chords, a Quartz event tap for tile mode and the leader key,
// NSWorkspace for apps, NSScreen for displays and dispatch for the main queue, timers and
// the configuration watch. It translates; every decision is the app core's.

#import <AppKit/AppKit.h>
#import <ApplicationServices/ApplicationServices.h>
#import <Carbon/Carbon.h>

#include "conversions.h"
#include "halyward/app/window_system.hpp"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <dispatch/dispatch.h>
#include <sys/types.h>

namespace halyward::mac {

class Overlays;

class MacWindowSystem final : public WindowSystem {
public:
    /// `say` writes one line to the app's log (a launch that failed after it began).
    explicit MacWindowSystem(std::function<void(std::string_view)> say);
    ~MacWindowSystem() override;
    MacWindowSystem(const MacWindowSystem&) = delete;
    MacWindowSystem& operator=(const MacWindowSystem&) = delete;

    /// Starts following apps, windows and displays. Called again once the Accessibility
    /// permission arrives: observers made before it could not be attached.
    void observe();

    void setEvents(WindowSystemEvents* events) override { events_ = events; }
    std::vector<DisplayInfo> displays() override;
    std::vector<WindowInfo> windows() override;
    std::optional<WindowId> focusedWindow() override;
    bool setFrame(WindowId id, const Frame& frame, AxisWrite order) override;
    bool focus(WindowId id) override;
    bool hideApp(const std::string& appIdentity) override;
    bool launch(const LaunchRequest& request, std::string& error) override;
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
    void post(std::function<void()> work) override;
    std::unique_ptr<TimerHandle> after(double seconds, std::function<void()> work) override;
    double now() override;

    // Called from the C callbacks of Carbon, the event tap and the observers.
    void hotKeyEvent(std::uint32_t index, bool pressed);
    /// Returns the event to pass on, or null to swallow it.
    CGEventRef tapEvent(CGEventType type, CGEventRef event);
    void accessibilityNotice(AXUIElementRef element, CFStringRef notice, pid_t pid);

private:
    /// A window met through the Accessibility API, known by its element.
    struct Tracked {
        CFRef<AXUIElementRef> element;
        WindowId id = 0;
        pid_t pid = 0;
        /// A standard window, as opposed to a sheet, palette, pop-up or the like.
        bool userWindow = false;
        /// windowAppeared was said for it, or it was there before it could be.
        bool announced = false;
    };
    /// One app's observer, with the app's element the window notices are asked on.
    struct Watched {
        CFRef<AXObserverRef> observer;
        CFRef<AXUIElementRef> application;
    };
    struct HotKey {
        HotkeyChord chord;
        EventHotKeyRef reference = nullptr;
    };

    void observeApp(NSRunningApplication* app, bool launchedNow, int attempt);
    void forgetApp(pid_t pid);
    /// The tracked entry of `element`, made (and watched for moves and closing) when new.
    Tracked& track(AXUIElementRef element, pid_t pid);
    /// Asks for the notices of `element` closing, moving and resizing.
    void watchWindow(AXUIElementRef element, pid_t pid);
    Tracked* find(WindowId id);
    Tracked* find(AXUIElementRef element);
    void forget(WindowId id);
    std::optional<WindowInfo> describe(const Tracked& window);
    /// The app's windows as the Accessibility API lists them, front-most first.
    std::vector<CFRef<AXUIElementRef>> appWindows(AXUIElementRef application);
    void announceNewWindows(pid_t pid);
    void displaysMayHaveChanged();
    bool ensureTap();
    void updateTap();
    void armConfigurationWatch();
    void configurationEvent(bool rearm);

    std::function<void(std::string_view)> say_;
    WindowSystemEvents* events_ = nullptr;
    std::unique_ptr<Overlays> overlays_;

    /// Every window met, by id; `byHash_` finds an element's entry without comparing it
    /// with every other (elements are equal by CFEqual, whose hash agrees).
    std::map<WindowId, Tracked> tracked_;
    std::unordered_multimap<CFHashCode, WindowId> byHash_;
    WindowId nextId_ = 1;
    std::map<pid_t, Watched> watched_;
    NSMutableArray* workspaceObservers_ = nil;
    id screenObserver_ = nil;
    bool displaysPending_ = false;

    EventHandlerRef hotKeyHandler_ = nullptr;
    std::vector<HotKey> hotKeys_;
    std::optional<std::uint32_t> heldHotKey_;

    CFRef<CFMachPortRef> tap_;
    CFRef<CFRunLoopSourceRef> tapSource_;
    bool keyboardGrabbed_ = false;
    std::vector<std::int64_t> swallowedKeys_;
    std::optional<std::int64_t> leaderCode_;

    std::string configFolder_;
    std::string configPath_;
    dispatch_source_t folderWatch_ = nullptr;
    dispatch_source_t fileWatch_ = nullptr;
};

}  // namespace halyward::mac
