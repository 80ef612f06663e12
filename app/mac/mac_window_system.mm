#include "mac_window_system.h"

#include "halyward/hotkeys/mac_key_codes.hpp"
#include "keys.h"
#include "overlays.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <set>

#include <fcntl.h>
#include <libproc.h>
#include <unistd.h>

namespace halyward::mac {

namespace {

// The signature our hot keys carry, so that an event for someone else's is told apart.
constexpr OSType hotKeySignature = 'HlWd';

// The virtual key code of Caps Lock, the one leader key there is.
constexpr std::uint32_t capsLockCode = 57;

// An app that does not answer within this many seconds is skipped rather than waited for:
// one hung app must not freeze every chord.
constexpr float messagingTimeout = 1.0f;

// An attribute's value, none when the element does not have it or is gone.
CFRef<CFTypeRef> attribute(AXUIElementRef element, CFStringRef name) {
    CFTypeRef value = nullptr;
    if (AXUIElementCopyAttributeValue(element, name, &value) != kAXErrorSuccess) return {};
    return CFRef<CFTypeRef>::adopt(value);
}

std::string stringAttribute(AXUIElementRef element, CFStringRef name) {
    const CFRef<CFTypeRef> value = attribute(element, name);
    if (!value || CFGetTypeID(value.get()) != CFStringGetTypeID()) return {};
    return toStdString(static_cast<CFStringRef>(value.get()));
}

bool boolAttribute(AXUIElementRef element, CFStringRef name) {
    const CFRef<CFTypeRef> value = attribute(element, name);
    return value && CFGetTypeID(value.get()) == CFBooleanGetTypeID() &&
           CFBooleanGetValue(static_cast<CFBooleanRef>(value.get()));
}

CFRef<AXUIElementRef> elementAttribute(AXUIElementRef element, CFStringRef name) {
    CFRef<CFTypeRef> value = attribute(element, name);
    if (!value || CFGetTypeID(value.get()) != AXUIElementGetTypeID()) return {};
    return CFRef<AXUIElementRef>::retain(static_cast<AXUIElementRef>(value.get()));
}

// A window's frame, none when it cannot be read (most often: the window is gone).
std::optional<Frame> frameOf(AXUIElementRef window) {
    const CFRef<CFTypeRef> position = attribute(window, kAXPositionAttribute);
    const CFRef<CFTypeRef> size = attribute(window, kAXSizeAttribute);
    if (!position || !size || CFGetTypeID(position.get()) != AXValueGetTypeID() ||
        CFGetTypeID(size.get()) != AXValueGetTypeID()) {
        return std::nullopt;
    }
    CGPoint point{};
    CGSize extent{};
    if (!AXValueGetValue(static_cast<AXValueRef>(position.get()), kAXValueTypeCGPoint, &point) ||
        !AXValueGetValue(static_cast<AXValueRef>(size.get()), kAXValueTypeCGSize, &extent)) {
        return std::nullopt;
    }
    return toFrame(point, extent);
}

bool isStandardWindow(AXUIElementRef element) {
    return stringAttribute(element, kAXRoleAttribute) == toStdString(kAXWindowRole) &&
           stringAttribute(element, kAXSubroleAttribute) == toStdString(kAXStandardWindowSubrole);
}

// The apps whose windows a user would call windows: those with a Dock icon.
bool isRegularApp(NSRunningApplication* app) {
    return app != nil && !app.terminated &&
           app.activationPolicy == NSApplicationActivationPolicyRegular &&
           app.processIdentifier != NSRunningApplication.currentApplication.processIdentifier;
}

// The process ids of the apps with windows on screen, front-most first: the Accessibility
// API lists each app's windows in order, but says nothing about the order between apps.
std::vector<pid_t> appsFrontToBack() {
    std::vector<pid_t> order;
    CFRef<CFArrayRef> list = CFRef<CFArrayRef>::adopt(CGWindowListCopyWindowInfo(
        kCGWindowListOptionOnScreenOnly | kCGWindowListExcludeDesktopElements, kCGNullWindowID));
    if (!list) return order;
    for (NSDictionary* info in (__bridge NSArray*)list.get()) {
        NSNumber* layer = info[(__bridge NSString*)kCGWindowLayer];
        NSNumber* owner = info[(__bridge NSString*)kCGWindowOwnerPID];
        if (layer == nil || owner == nil || layer.integerValue != 0) continue;
        const pid_t pid = owner.intValue;
        if (std::find(order.begin(), order.end(), pid) == order.end()) order.push_back(pid);
    }
    return order;
}

// Cancels a dispatch source when there is one.
void cancel(__strong dispatch_source_t& source) {
    if (source != nullptr) dispatch_source_cancel(source);
    source = nullptr;
}

// A resumed source for the file-system events `mask` of `path`, on a descriptor opened
// for event notification only (it neither reads the file nor keeps its volume from
// being unmounted); null when the path cannot be opened.
dispatch_source_t watchPath(const std::string& path, unsigned long mask, dispatch_block_t handler) {
    const int descriptor = ::open(path.c_str(), O_EVTONLY);
    if (descriptor < 0) return nullptr;
    dispatch_source_t source =
        dispatch_source_create(DISPATCH_SOURCE_TYPE_VNODE, static_cast<uintptr_t>(descriptor), mask,
                               dispatch_get_main_queue());
    if (source == nullptr) {
        ::close(descriptor);
        return nullptr;
    }
    dispatch_source_set_event_handler(source, handler);
    dispatch_source_set_cancel_handler(source, ^{ ::close(descriptor); });
    dispatch_resume(source);
    return source;
}

// A timer that does nothing once its handle is gone or cancelled.
class DispatchTimer final : public TimerHandle {
public:
    explicit DispatchTimer(std::shared_ptr<bool> live) : live_(std::move(live)) {}
    ~DispatchTimer() override { cancel(); }
    void cancel() override { *live_ = false; }

private:
    std::shared_ptr<bool> live_;
};

OSStatus hotKeyCallback(EventHandlerCallRef, EventRef event, void* context) {
    EventHotKeyID hotKey{};
    if (GetEventParameter(event, kEventParamDirectObject, typeEventHotKeyID, nullptr, sizeof hotKey,
                          nullptr, &hotKey) != noErr ||
        hotKey.signature != hotKeySignature) {
        return eventNotHandledErr;
    }
    static_cast<MacWindowSystem*>(context)->hotKeyEvent(hotKey.id,
                                                        GetEventKind(event) == kEventHotKeyPressed);
    return noErr;
}

CGEventRef tapCallback(CGEventTapProxy, CGEventType type, CGEventRef event, void* context) {
    return static_cast<MacWindowSystem*>(context)->tapEvent(type, event);
}

void observerCallback(AXObserverRef, AXUIElementRef element, CFStringRef notice, void* context) {
    pid_t pid = 0;
    AXUIElementGetPid(element, &pid);
    static_cast<MacWindowSystem*>(context)->accessibilityNotice(element, notice, pid);
}

}  // namespace

MacWindowSystem::MacWindowSystem(std::function<void(std::string_view)> say)
    : say_(std::move(say)), overlays_(std::make_unique<Overlays>()) {
    const CFRef<AXUIElementRef> everything =
        CFRef<AXUIElementRef>::adopt(AXUIElementCreateSystemWide());
    AXUIElementSetMessagingTimeout(everything.get(), messagingTimeout);

    const EventTypeSpec hotKeyEvents[] = {{kEventClassKeyboard, kEventHotKeyPressed},
                                          {kEventClassKeyboard, kEventHotKeyReleased}};
    InstallEventHandler(GetApplicationEventTarget(), NewEventHandlerUPP(hotKeyCallback), 2,
                        hotKeyEvents, this, &hotKeyHandler_);
}

MacWindowSystem::~MacWindowSystem() {
    for (HotKey& hotKey : hotKeys_) {
        if (hotKey.reference != nullptr) UnregisterEventHotKey(hotKey.reference);
    }
    if (hotKeyHandler_ != nullptr) RemoveEventHandler(hotKeyHandler_);
    if (tap_) {
        CGEventTapEnable(tap_.get(), false);
        CFRunLoopRemoveSource(CFRunLoopGetMain(), tapSource_.get(), kCFRunLoopCommonModes);
        CFMachPortInvalidate(tap_.get());
    }
    for (auto& [pid, watched] : watched_) {
        CFRunLoopRemoveSource(CFRunLoopGetMain(),
                              AXObserverGetRunLoopSource(watched.observer.get()),
                              kCFRunLoopCommonModes);
    }
    NSNotificationCenter* workspace = NSWorkspace.sharedWorkspace.notificationCenter;
    for (id observer in workspaceObservers_) [workspace removeObserver:observer];
    if (screenObserver_ != nil) [NSNotificationCenter.defaultCenter removeObserver:screenObserver_];
    cancel(folderWatch_);
    cancel(fileWatch_);
}

// --- apps and their windows -----------------------------------------------------------------

void MacWindowSystem::observe() {
    if (workspaceObservers_ == nil) {
        workspaceObservers_ = [NSMutableArray array];
        NSNotificationCenter* center = NSWorkspace.sharedWorkspace.notificationCenter;
        NSOperationQueue* main = NSOperationQueue.mainQueue;
        const auto on = [&](NSNotificationName name, void (^handler)(NSNotification*)) {
            [workspaceObservers_ addObject:[center addObserverForName:name
                                                               object:nil
                                                                queue:main
                                                           usingBlock:handler]];
        };
        on(NSWorkspaceDidLaunchApplicationNotification, ^(NSNotification* note) {
          observeApp(note.userInfo[NSWorkspaceApplicationKey], true, 0);
        });
        on(NSWorkspaceDidTerminateApplicationNotification, ^(NSNotification* note) {
          NSRunningApplication* app = note.userInfo[NSWorkspaceApplicationKey];
          if (app != nil) forgetApp(app.processIdentifier);
        });
        on(NSWorkspaceDidActivateApplicationNotification, ^(NSNotification*) {
          if (events_ != nullptr) events_->focusChanged(focusedWindow());
        });
        // Monitors added, removed or rearranged, and the Dock or menu bar taking other room.
        screenObserver_ = [NSNotificationCenter.defaultCenter
            addObserverForName:NSApplicationDidChangeScreenParametersNotification
                        object:nil
                         queue:main
                    usingBlock:^(NSNotification*) { displaysMayHaveChanged(); }];
    }
    for (NSRunningApplication* app in NSWorkspace.sharedWorkspace.runningApplications) {
        observeApp(app, false, 0);
    }
}

void MacWindowSystem::observeApp(NSRunningApplication* app, bool launchedNow, int attempt) {
    if (!isRegularApp(app)) return;
    const pid_t pid = app.processIdentifier;
    if (watched_.contains(pid)) return;
    AXObserverRef created = nullptr;
    if (AXObserverCreate(pid, observerCallback, &created) != kAXErrorSuccess) return;
    Watched watched{CFRef<AXObserverRef>::adopt(created),
                    CFRef<AXUIElementRef>::adopt(AXUIElementCreateApplication(pid))};
    const AXError status = AXObserverAddNotification(
        watched.observer.get(), watched.application.get(), kAXWindowCreatedNotification, this);
    if (status != kAXErrorSuccess) {
        // An app that has only just started often cannot answer yet; it is asked again a
        // few times while it finishes launching.
        if (status == kAXErrorCannotComplete && attempt < 20) {
            dispatch_after(dispatch_time(DISPATCH_TIME_NOW, NSEC_PER_SEC / 4),
                           dispatch_get_main_queue(),
                           ^{ observeApp(app, launchedNow, attempt + 1); });
        }
        return;
    }
    AXObserverAddNotification(watched.observer.get(), watched.application.get(),
                              kAXFocusedWindowChangedNotification, this);
    CFRunLoopAddSource(CFRunLoopGetMain(), AXObserverGetRunLoopSource(watched.observer.get()),
                       kCFRunLoopCommonModes);
    watched_.emplace(pid, std::move(watched));
    for (const CFRef<AXUIElementRef>& element : appWindows(watched_.at(pid).application.get())) {
        // The windows of an app running before we looked were there all along; those of an
        // app that has just started are new.
        Tracked& window = track(element.get(), pid);
        window.announced = window.announced || !launchedNow;
        // A window read before its app was watched was tracked without notices.
        watchWindow(element.get(), pid);
    }
    if (launchedNow) announceNewWindows(pid);
}

void MacWindowSystem::forgetApp(pid_t pid) {
    if (auto found = watched_.find(pid); found != watched_.end()) {
        CFRunLoopRemoveSource(CFRunLoopGetMain(),
                              AXObserverGetRunLoopSource(found->second.observer.get()),
                              kCFRunLoopCommonModes);
        watched_.erase(found);
    }
    std::vector<WindowId> gone;
    std::vector<WindowId> theirs;
    for (const auto& [id, window] : tracked_) {
        if (window.pid != pid) continue;
        theirs.push_back(id);
        if (window.userWindow && window.announced) gone.push_back(id);
    }
    for (WindowId id : theirs) forget(id);
    if (events_ == nullptr) return;
    for (WindowId id : gone) events_->windowVanished(id);
}

std::vector<CFRef<AXUIElementRef>> MacWindowSystem::appWindows(AXUIElementRef application) {
    std::vector<CFRef<AXUIElementRef>> windows;
    const CFRef<CFTypeRef> list = attribute(application, kAXWindowsAttribute);
    if (!list || CFGetTypeID(list.get()) != CFArrayGetTypeID()) return windows;
    const auto array = static_cast<CFArrayRef>(list.get());
    for (CFIndex i = 0; i < CFArrayGetCount(array); ++i) {
        const auto element = static_cast<AXUIElementRef>(CFArrayGetValueAtIndex(array, i));
        if (element != nullptr && CFGetTypeID(element) == AXUIElementGetTypeID()) {
            windows.push_back(CFRef<AXUIElementRef>::retain(element));
        }
    }
    return windows;
}

MacWindowSystem::Tracked* MacWindowSystem::find(AXUIElementRef element) {
    const auto [first, last] = byHash_.equal_range(CFHash(element));
    for (auto candidate = first; candidate != last; ++candidate) {
        Tracked& window = tracked_.at(candidate->second);
        if (CFEqual(window.element.get(), element)) return &window;
    }
    return nullptr;
}

MacWindowSystem::Tracked* MacWindowSystem::find(WindowId id) {
    const auto found = tracked_.find(id);
    return found != tracked_.end() ? &found->second : nullptr;
}

void MacWindowSystem::forget(WindowId id) {
    const auto found = tracked_.find(id);
    if (found == tracked_.end()) return;
    const auto [first, last] = byHash_.equal_range(CFHash(found->second.element.get()));
    for (auto candidate = first; candidate != last; ++candidate) {
        if (candidate->second == id) {
            byHash_.erase(candidate);
            break;
        }
    }
    tracked_.erase(found);
}

MacWindowSystem::Tracked& MacWindowSystem::track(AXUIElementRef element, pid_t pid) {
    if (Tracked* known = find(element)) {
        // A window's subrole may be filled in only after it was created.
        if (!known->userWindow) known->userWindow = isStandardWindow(element);
        return *known;
    }
    Tracked window;
    window.element = CFRef<AXUIElementRef>::retain(element);
    window.id = nextId_++;
    window.pid = pid;
    window.userWindow = isStandardWindow(element);
    watchWindow(element, pid);
    const WindowId id = window.id;
    byHash_.emplace(CFHash(element), id);
    return tracked_.emplace(id, std::move(window)).first->second;
}

void MacWindowSystem::watchWindow(AXUIElementRef element, pid_t pid) {
    const auto watched = watched_.find(pid);
    if (watched == watched_.end()) return;
    // Asking twice for a notice is refused as already asked, which does no harm.
    for (CFStringRef notice :
         {kAXUIElementDestroyedNotification, kAXMovedNotification, kAXResizedNotification}) {
        AXObserverAddNotification(watched->second.observer.get(), element, notice, this);
    }
}

std::optional<WindowInfo> MacWindowSystem::describe(const Tracked& window) {
    const std::optional<Frame> frame = frameOf(window.element.get());
    if (!frame) return std::nullopt;
    NSRunningApplication* app =
        [NSRunningApplication runningApplicationWithProcessIdentifier:window.pid];
    WindowInfo info;
    info.id = window.id;
    info.appIdentity = toStdString(app.bundleIdentifier);
    // The name the user sees in the Dock, for rules and words that name the app so.
    if (const std::string name = toStdString(app.localizedName); !name.empty()) {
        info.appAliases.push_back(name);
    }
    info.processId = window.pid;
    info.title = stringAttribute(window.element.get(), kAXTitleAttribute);
    info.frame = *frame;
    info.hidden = app.hidden || boolAttribute(window.element.get(), kAXMinimizedAttribute);
    return info;
}

void MacWindowSystem::announceNewWindows(pid_t pid) {
    std::vector<WindowInfo> fresh;
    for (auto& [id, window] : tracked_) {
        if (window.pid != pid || window.announced || !window.userWindow) continue;
        if (std::optional<WindowInfo> info = describe(window)) {
            window.announced = true;
            fresh.push_back(std::move(*info));
        }
    }
    // Told after the list is settled: the core may read the windows again meanwhile.
    if (events_ == nullptr) return;
    for (const WindowInfo& window : fresh) events_->windowAppeared(window);
}

void MacWindowSystem::accessibilityNotice(AXUIElementRef element, CFStringRef notice, pid_t pid) {
    if (CFEqual(notice, kAXWindowCreatedNotification)) {
        track(element, pid);
        announceNewWindows(pid);
    } else if (CFEqual(notice, kAXUIElementDestroyedNotification)) {
        const Tracked* window = find(element);
        if (window == nullptr) return;
        const WindowId id = window->id;
        const bool told = window->userWindow && window->announced;
        forget(id);
        if (told && events_ != nullptr) events_->windowVanished(id);
    } else if (CFEqual(notice, kAXMovedNotification) || CFEqual(notice, kAXResizedNotification)) {
        const Tracked* window = find(element);
        if (window == nullptr || !window->userWindow) return;
        const WindowId id = window->id;
        if (const std::optional<Frame> frame = frameOf(element); frame && events_ != nullptr) {
            events_->windowMoved(id, *frame);
        }
    } else if (CFEqual(notice, kAXFocusedWindowChangedNotification)) {
        if (events_ != nullptr) events_->focusChanged(focusedWindow());
    }
}

// --- reading the desktop --------------------------------------------------------------------

std::vector<DisplayInfo> MacWindowSystem::displays() {
    std::vector<DisplayInfo> displays;
    // NSScreen lists the primary display, the one with the menu bar, first.
    for (NSScreen* screen in NSScreen.screens) {
        displays.push_back({toFrame(screen.frame), toFrame(screen.visibleFrame)});
    }
    return displays;
}

std::vector<WindowInfo> MacWindowSystem::windows() {
    std::vector<pid_t> order = appsFrontToBack();
    // Apps with no window on screen (hidden, or all minimised) still have windows.
    for (NSRunningApplication* app in NSWorkspace.sharedWorkspace.runningApplications) {
        if (isRegularApp(app) &&
            std::find(order.begin(), order.end(), app.processIdentifier) == order.end()) {
            order.push_back(app.processIdentifier);
        }
    }
    std::vector<WindowInfo> windows;
    for (pid_t pid : order) {
        NSRunningApplication* app =
            [NSRunningApplication runningApplicationWithProcessIdentifier:pid];
        if (!isRegularApp(app)) continue;
        const auto watched = watched_.find(pid);
        const CFRef<AXUIElementRef> application =
            watched != watched_.end()
                ? watched->second.application
                : CFRef<AXUIElementRef>::adopt(AXUIElementCreateApplication(pid));
        for (const CFRef<AXUIElementRef>& element : appWindows(application.get())) {
            const Tracked& window = track(element.get(), pid);
            if (!window.userWindow) continue;
            if (std::optional<WindowInfo> info = describe(window))
                windows.push_back(std::move(*info));
        }
    }
    return windows;
}

std::optional<WindowId> MacWindowSystem::focusedWindow() {
    NSRunningApplication* app = NSWorkspace.sharedWorkspace.frontmostApplication;
    if (!isRegularApp(app)) return std::nullopt;
    const CFRef<AXUIElementRef> application =
        CFRef<AXUIElementRef>::adopt(AXUIElementCreateApplication(app.processIdentifier));
    const CFRef<AXUIElementRef> window =
        elementAttribute(application.get(), kAXFocusedWindowAttribute);
    if (!window) return std::nullopt;
    const Tracked& tracked = track(window.get(), app.processIdentifier);
    if (!tracked.userWindow) return std::nullopt;
    return tracked.id;
}

// --- acting on windows ----------------------------------------------------------------------

bool MacWindowSystem::setFrame(WindowId id, const Frame& frame, AxisWrite order) {
    Tracked* window = find(id);
    if (window == nullptr) return false;
    AXUIElementRef element = window->element.get();
    // A full-screen window lives on a space of its own and cannot be placed; it leaves it
    // first (macOS has no other maximised state: a zoomed window is just a large frame).
    if (boolAttribute(element, CFSTR("AXFullScreen"))) {
        AXUIElementSetAttributeValue(element, CFSTR("AXFullScreen"), kCFBooleanFalse);
    }
    const CGPoint point = toCGPoint(frame);
    const CGSize size = toCGSize(frame);
    const CFRef<AXValueRef> position =
        CFRef<AXValueRef>::adopt(AXValueCreate(kAXValueTypeCGPoint, &point));
    const CFRef<AXValueRef> extent =
        CFRef<AXValueRef>::adopt(AXValueCreate(kAXValueTypeCGSize, &size));
    // While an app's enhanced interface is on (assistive apps turn it on), it animates
    // every write of its windows and may drop the second: it is off for the writes.
    const CFRef<AXUIElementRef> application =
        CFRef<AXUIElementRef>::adopt(AXUIElementCreateApplication(window->pid));
    const CFStringRef enhanced = CFSTR("AXEnhancedUserInterface");
    const bool wasEnhanced = boolAttribute(application.get(), enhanced);
    if (wasEnhanced) AXUIElementSetAttributeValue(application.get(), enhanced, kCFBooleanFalse);
    const auto write = [element](CFStringRef name, AXValueRef value) {
        return AXUIElementSetAttributeValue(element, name, value);
    };
    AXError first;
    AXError second;
    // The last write decides where the window's top-left ends up when an app adjusts the
    // size (a terminal's cells, a minimum size), so the window stays anchored there.
    if (order == AxisWrite::positionThenSize) {
        first = write(kAXPositionAttribute, position.get());
        second = write(kAXSizeAttribute, extent.get());
    } else {
        first = write(kAXSizeAttribute, extent.get());
        second = write(kAXPositionAttribute, position.get());
    }
    if (wasEnhanced) AXUIElementSetAttributeValue(application.get(), enhanced, kCFBooleanTrue);
    return first != kAXErrorInvalidUIElement && second != kAXErrorInvalidUIElement;
}

bool MacWindowSystem::focus(WindowId id) {
    Tracked* window = find(id);
    if (window == nullptr) return false;
    AXUIElementRef element = window->element.get();
    if (boolAttribute(element, kAXMinimizedAttribute)) {
        AXUIElementSetAttributeValue(element, kAXMinimizedAttribute, kCFBooleanFalse);
    }
    NSRunningApplication* app =
        [NSRunningApplication runningApplicationWithProcessIdentifier:window->pid];
    if (app == nil) return false;
    if (app.hidden) [app unhide];
    // The window becomes its app's main window and comes to the front of it, then the app
    // comes to the front of the others with only that window raised.
    AXUIElementSetAttributeValue(element, kAXMainAttribute, kCFBooleanTrue);
    if (AXUIElementPerformAction(element, kAXRaiseAction) == kAXErrorInvalidUIElement) return false;
    if (@available(macOS 14, *)) {
        [app activateWithOptions:0];
    } else {
        // Before macOS 14 an app in the background could not bring another forward
        // without this option, which macOS 14 deprecated along with the old behaviour.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
        [app activateWithOptions:NSApplicationActivateIgnoringOtherApps];
#pragma clang diagnostic pop
    }
    return true;
}

bool MacWindowSystem::hideApp(const std::string& appIdentity) {
    NSString* identity = toNSString(appIdentity);
    bool any = false;
    for (NSRunningApplication* app in NSWorkspace.sharedWorkspace.runningApplications) {
        if (!isRegularApp(app)) continue;
        // The same names a window is known by: the identifier, or the app's name in any case.
        const bool ours = [app.bundleIdentifier isEqualToString:identity] ||
                          (app.localizedName != nil &&
                           [app.localizedName caseInsensitiveCompare:identity] == NSOrderedSame);
        if (ours && !app.hidden) any = [app hide] || any;
    }
    return any;
}

bool MacWindowSystem::launch(const LaunchRequest& request, std::string& error) {
    NSWorkspace* workspace = NSWorkspace.sharedWorkspace;
    NSURL* url =
        request.appIdentity.empty()
            ? nil
            : [workspace URLForApplicationWithBundleIdentifier:toNSString(request.appIdentity)];
    // A web app's bundle that Launch Services has not registered yet is started by its path.
    std::error_code missing;
    if (url == nil && !request.bundlePath.empty() &&
        std::filesystem::is_directory(request.bundlePath, missing)) {
        url = [NSURL fileURLWithPath:toNSString(request.bundlePath) isDirectory:YES];
    }
    if (url == nil) {
        error = "No installed application has the bundle identifier " + request.appIdentity + ".";
        return false;
    }
    NSWorkspaceOpenConfiguration* configuration = [NSWorkspaceOpenConfiguration configuration];
    configuration.activates = YES;
    const std::function<void(std::string_view)> say = say_;
    const std::string identity = request.appIdentity;
    [workspace openApplicationAtURL:url
                      configuration:configuration
                  completionHandler:^(NSRunningApplication*, NSError* failure) {
                    if (failure == nil || !say) return;
                    const std::string line = "Halyward could not start " + identity + ": " +
                                             toStdString(failure.localizedDescription);
                    dispatch_async(dispatch_get_main_queue(), ^{ say(line); });
                  }];
    return true;
}

bool MacWindowSystem::runInTerminal(const TerminalRequest& request, std::string& error) {
    NSWorkspace* workspace = NSWorkspace.sharedWorkspace;
    NSURL* terminal =
        request.terminal.empty()
            ? nil
            : [workspace URLForApplicationWithBundleIdentifier:toNSString(request.terminal)];
    if (terminal == nil)
        terminal = [workspace URLForApplicationWithBundleIdentifier:@"com.apple.Terminal"];
    if (terminal == nil) {
        error = "No terminal is installed: set terminal_bundle_id in [general] to the bundle "
                "identifier of the terminal to use.";
        return false;
    }
    // A terminal opens an executable script by running it in a new window.
    NSURL* script = [NSURL fileURLWithPath:toNSString(request.scriptPath) isDirectory:NO];
    NSWorkspaceOpenConfiguration* configuration = [NSWorkspaceOpenConfiguration configuration];
    configuration.activates = YES;
    const std::function<void(std::string_view)> say = say_;
    [workspace openURLs:@[ script ]
        withApplicationAtURL:terminal
               configuration:configuration
           completionHandler:^(NSRunningApplication*, NSError* failure) {
             if (failure == nil || !say) return;
             const std::string line = "The terminal could not run the agent: " +
                                      toStdString(failure.localizedDescription);
             dispatch_async(dispatch_get_main_queue(), ^{ say(line); });
           }];
    return true;
}

std::optional<std::string> MacWindowSystem::workingDirectory(std::int64_t processId) {
    if (processId <= 0) return std::nullopt;
    proc_vnodepathinfo info{};
    const int size =
        proc_pidinfo(static_cast<int>(processId), PROC_PIDVNODEPATHINFO, 0, &info, sizeof info);
    // Another user's process, or one that is gone, tells nothing.
    if (size != static_cast<int>(sizeof info) || info.pvi_cdir.vip_path[0] != '/')
        return std::nullopt;
    return std::string(info.pvi_cdir.vip_path);
}

// --- keys -----------------------------------------------------------------------------------

std::vector<ChordGrabFailure> MacWindowSystem::grabChords(const std::vector<HotkeyChord>& chords) {
    for (HotKey& hotKey : hotKeys_) {
        if (hotKey.reference != nullptr) UnregisterEventHotKey(hotKey.reference);
    }
    hotKeys_.clear();
    heldHotKey_.reset();
    std::vector<ChordGrabFailure> failures;
    for (const HotkeyChord& chord : chords) {
        const std::optional<std::uint32_t> code = MacKeyCodes::code(chord.key);
        if (!code) {
            failures.push_back({chord, "no such key on this keyboard"});
            continue;
        }
        const EventHotKeyID hotKeyId{hotKeySignature, static_cast<UInt32>(hotKeys_.size())};
        EventHotKeyRef reference = nullptr;
        // Exclusive: a chord another program registered is refused rather than shared, so
        // that the user learns of the clash.
        const OSStatus status =
            RegisterEventHotKey(*code, MacKeyCodes::carbonModifiers(chord.modifiers), hotKeyId,
                                GetApplicationEventTarget(), kEventHotKeyExclusive, &reference);
        if (status == noErr) {
            hotKeys_.push_back({chord, reference});
        } else if (status == eventHotKeyExistsErr) {
            failures.push_back({chord, "held by another program"});
        } else {
            failures.push_back({chord, "refused by macOS (error " + std::to_string(status) + ")"});
        }
    }
    return failures;
}

void MacWindowSystem::hotKeyEvent(std::uint32_t index, bool pressed) {
    if (index >= hotKeys_.size()) return;
    if (!pressed) {
        if (heldHotKey_ == index) heldHotKey_.reset();
        return;
    }
    if (heldHotKey_ == index) return;  // key repeat
    heldHotKey_ = index;
    // Copied: the handler may grab chords again and replace the list.
    const HotkeyChord chord = hotKeys_[index].chord;
    if (events_ != nullptr) events_->chordPressed(chord);
}

bool MacWindowSystem::ensureTap() {
    if (tap_) return true;
    // A tap at the head of the session's events sees every key before any app does and
    // can withhold it, which neither a global NSEvent monitor (it only listens) nor a key
    // panel (it would take the focus from the window tile mode acts on) can do. It needs
    // the Accessibility permission, as everything here does.
    const CGEventMask mask = CGEventMaskBit(kCGEventKeyDown) | CGEventMaskBit(kCGEventKeyUp) |
                             CGEventMaskBit(kCGEventFlagsChanged);
    CFMachPortRef tap = CGEventTapCreate(kCGSessionEventTap, kCGHeadInsertEventTap,
                                         kCGEventTapOptionDefault, mask, tapCallback, this);
    if (tap == nullptr) return false;
    tap_ = CFRef<CFMachPortRef>::adopt(tap);
    tapSource_ = CFRef<CFRunLoopSourceRef>::adopt(CFMachPortCreateRunLoopSource(nullptr, tap, 0));
    CFRunLoopAddSource(CFRunLoopGetMain(), tapSource_.get(), kCFRunLoopCommonModes);
    return true;
}

void MacWindowSystem::updateTap() {
    // Off while nothing needs it, so that typing costs nothing the rest of the time.
    if (tap_)
        CGEventTapEnable(tap_.get(), keyboardGrabbed_ || leaderCode_ || !swallowedKeys_.empty());
}

CGEventRef MacWindowSystem::tapEvent(CGEventType type, CGEventRef event) {
    if (type == kCGEventTapDisabledByTimeout || type == kCGEventTapDisabledByUserInput) {
        updateTap();
        return event;
    }
    const std::int64_t code = CGEventGetIntegerValueField(event, kCGKeyboardEventKeycode);
    if (type == kCGEventKeyDown && keyboardGrabbed_) {
        if (std::find(swallowedKeys_.begin(), swallowedKeys_.end(), code) == swallowedKeys_.end()) {
            swallowedKeys_.push_back(code);
        }
        const KeyPress press = keyPressOf(event);
        // Handled after the tap returns: a tap that keeps the system waiting is switched off.
        if (!press.key.canonical().empty() || !press.text.empty()) {
            post([this, press] {
                if (events_ != nullptr) events_->keyPressed(press);
            });
        }
        return nullptr;
    }
    if (type == kCGEventKeyUp) {
        // The release of a key whose press was withheld is withheld too, even once tile
        // mode is over, so that no app sees half a key stroke.
        const auto held = std::find(swallowedKeys_.begin(), swallowedKeys_.end(), code);
        if (held == swallowedKeys_.end()) return event;
        swallowedKeys_.erase(held);
        post([this] { updateTap(); });
        return nullptr;
    }
    if (type == kCGEventFlagsChanged && leaderCode_ == code) {
        // Caps Lock reports one change per press and none for the release: each is a tap.
        post([this] {
            if (events_ != nullptr) events_->leaderTapped();
        });
    }
    return event;
}

bool MacWindowSystem::watchLeaderKey(const std::optional<HotkeyKey>& key) {
    if (!key) {
        leaderCode_.reset();
        updateTap();
        return true;
    }
    const std::optional<std::uint32_t> code = MacKeyCodes::code(*key);
    // Only a lock or modifier key reports its presses as flag changes the tap can pass on
    // untouched; of those the grammar names Caps Lock alone.
    if (code != capsLockCode || !ensureTap()) return false;
    leaderCode_ = *code;
    updateTap();
    return true;
}

bool MacWindowSystem::grabKeyboard() {
    // While a password field has secure input on, no tap sees a key: the keyboard is held
    // by another program, as far as tile mode can tell.
    if (IsSecureEventInputEnabled() || !ensureTap()) return false;
    keyboardGrabbed_ = true;
    updateTap();
    return true;
}

void MacWindowSystem::releaseKeyboard() {
    keyboardGrabbed_ = false;
    updateTap();
}

// --- our own windows ------------------------------------------------------------------------

void MacWindowSystem::showTilePanel(const TilePanelContent& content) {
    overlays_->showPanel(content);
}
void MacWindowSystem::hideTilePanel() { overlays_->hidePanel(); }
NoticeSize MacWindowSystem::noticeSize(const std::string& text) {
    return overlays_->noticeSize(text);
}
void MacWindowSystem::showNotice(const std::string& text, const Frame& frame) {
    overlays_->showNotice(text, frame);
}
void MacWindowSystem::hideNotice() { overlays_->hideNotice(); }
void MacWindowSystem::showFocusOutline(const Frame& frame) { overlays_->showOutline(frame); }
void MacWindowSystem::hideFocusOutline() { overlays_->hideOutline(); }

void MacWindowSystem::displaysMayHaveChanged() {
    // One rearrangement comes as several notices; the core hears of it once.
    if (displaysPending_) return;
    displaysPending_ = true;
    post([this] {
        displaysPending_ = false;
        if (events_ != nullptr) events_->displaysChanged();
    });
}

// --- the configuration file -----------------------------------------------------------------

void MacWindowSystem::watchConfiguration(const std::string& path) {
    configPath_ = path;
    configFolder_ = std::filesystem::path(path).parent_path().string();
    if (configFolder_.empty()) configFolder_ = ".";
    armConfigurationWatch();
}

void MacWindowSystem::armConfigurationWatch() {
    cancel(folderWatch_);
    cancel(fileWatch_);
    dispatch_block_t changed = ^{ configurationEvent(true); };
    // The file is usually replaced by a rename, which a watch on the file alone would lose:
    // the folder's own changes (an entry added, removed or renamed) are watched too, and
    // each one makes a fresh watch on whatever file is there now.
    folderWatch_ =
        watchPath(configFolder_,
                  DISPATCH_VNODE_WRITE | DISPATCH_VNODE_DELETE | DISPATCH_VNODE_RENAME, changed);
    if (folderWatch_ != nullptr) {
        fileWatch_ = watchPath(configPath_,
                               DISPATCH_VNODE_WRITE | DISPATCH_VNODE_EXTEND |
                                   DISPATCH_VNODE_DELETE | DISPATCH_VNODE_RENAME,
                               changed);
        return;
    }
    // A folder that does not exist yet (a first run may have no ~/.config/halyward) is
    // waited for in the nearest folder above it that does.
    std::filesystem::path above = std::filesystem::path(configFolder_).parent_path();
    while (!above.empty()) {
        folderWatch_ = watchPath(above.string(), DISPATCH_VNODE_WRITE, changed);
        if (folderWatch_ != nullptr || above == above.root_path()) return;
        above = above.parent_path();
    }
}

void MacWindowSystem::configurationEvent(bool rearm) {
    if (rearm) armConfigurationWatch();
    // The core reads the file again and acts only when its text changed, so a change of
    // another file in the folder costs one read.
    if (events_ != nullptr) events_->configurationChanged();
}

// --- the main queue -------------------------------------------------------------------------

void MacWindowSystem::post(std::function<void()> work) {
    auto task = std::make_shared<std::function<void()>>(std::move(work));
    dispatch_async(dispatch_get_main_queue(), ^{ (*task)(); });
}

std::unique_ptr<TimerHandle> MacWindowSystem::after(double seconds, std::function<void()> work) {
    auto live = std::make_shared<bool>(true);
    auto task = std::make_shared<std::function<void()>>(std::move(work));
    dispatch_after(dispatch_time(DISPATCH_TIME_NOW,
                                 static_cast<std::int64_t>(std::max(seconds, 0.0) * NSEC_PER_SEC)),
                   dispatch_get_main_queue(), ^{
                     if (*live) (*task)();
                   });
    return std::make_unique<DispatchTimer>(live);
}

double MacWindowSystem::now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

}  // namespace halyward::mac
