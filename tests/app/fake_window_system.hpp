#pragma once
// A window system that holds its displays and windows in memory, records what the app
// core asks of it, answers the way a window manager would (moved windows report their
// new frame, focused windows come to the front), and runs timers on a clock the test
// moves by hand.

#include "halyward/app/window_system.hpp"

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace halyward::fakes {

struct FrameWrite {
    WindowId id = 0;
    Frame frame;
    AxisWrite order = AxisWrite::positionThenSize;
    bool operator==(const FrameWrite&) const = default;
};

class FakeWindowSystem : public WindowSystem {
public:
    // The desktop.
    std::vector<DisplayInfo> displayList;
    std::vector<WindowInfo> windowList;  // front-most first
    std::optional<WindowId> focused;

    // How it behaves.
    bool obeysMoves = true;    // false: a window manager that ignores requests
    double writeCost = 0;      // seconds each setFrame takes on the clock
    bool keyboardFree = true;  // false: another program holds the keyboard
    bool launchSucceeds = true;
    std::set<std::string> heldElsewhere;  // canonical chords another program holds

    // What was asked.
    WindowSystemEvents* events = nullptr;
    std::vector<FrameWrite> writes;
    std::vector<WindowId> focuses;
    std::vector<std::string> hiddenApps;
    std::vector<LaunchRequest> launches;
    std::vector<TerminalRequest> terminals;
    // The working folder of each process the fake knows.
    std::map<std::int64_t, std::string> directories;
    std::vector<HotkeyChord> grabbed;
    int grabCalls = 0;
    std::optional<HotkeyKey> leaderKey;
    bool keyboardGrabbed = false;
    std::optional<TilePanelContent> panel;
    std::optional<std::string> noticeText;
    std::optional<Frame> noticeFrame;
    std::optional<Frame> outline;
    std::string watchedConfiguration;

    double clock = 0;

    WindowInfo* find(WindowId id) {
        for (WindowInfo& window : windowList) {
            if (window.id == id) return &window;
        }
        return nullptr;
    }
    Frame frameOf(WindowId id) { return find(id) ? find(id)->frame : Frame{}; }
    void remove(WindowId id) {
        std::erase_if(windowList, [&](const WindowInfo& w) { return w.id == id; });
    }

    // Moves the clock on, running every timer that falls due on the way, in order.
    void advance(double seconds) {
        const double end = clock + seconds;
        while (true) {
            auto next =
                std::min_element(timers.begin(), timers.end(),
                                 [](const Pending& a, const Pending& b) { return a.due < b.due; });
            if (next == timers.end() || next->due > end + 1e-9) break;
            clock = std::max(clock, next->due);
            Pending fired = std::move(*next);
            timers.erase(next);
            if (*fired.alive) fired.work();
        }
        clock = std::max(clock, end);
    }
    std::size_t pendingTimers() const {
        return std::count_if(timers.begin(), timers.end(),
                             [](const Pending& p) { return *p.alive; });
    }
    // Runs the work posted so far from any thread; false when there was none.
    bool runPosted() {
        std::vector<std::function<void()>> work;
        {
            std::lock_guard<std::mutex> lock(postedLock);
            work.swap(posted);
        }
        for (auto& item : work) item();
        return !work.empty();
    }

    // WindowSystem.
    void setEvents(WindowSystemEvents* e) override { events = e; }
    std::vector<DisplayInfo> displays() override { return displayList; }
    std::vector<WindowInfo> windows() override { return windowList; }
    std::optional<WindowId> focusedWindow() override { return focused; }

    bool setFrame(WindowId id, const Frame& frame, AxisWrite order) override {
        clock += writeCost;
        WindowInfo* window = find(id);
        if (!window) return false;
        writes.push_back({id, frame, order});
        if (obeysMoves) {
            window->frame = frame;
            if (events) events->windowMoved(id, frame);
        }
        return true;
    }
    bool focus(WindowId id) override {
        WindowInfo* window = find(id);
        if (!window) return false;
        focuses.push_back(id);
        window->hidden = false;
        WindowInfo copy = *window;
        remove(id);
        windowList.insert(windowList.begin(), copy);
        focused = id;
        if (events) events->focusChanged(id);
        return true;
    }
    bool hideApp(const std::string& appIdentity) override {
        hiddenApps.push_back(appIdentity);
        return true;
    }
    bool launch(const LaunchRequest& request, std::string& error) override {
        launches.push_back(request);
        if (!launchSucceeds) error = "No application is installed as " + request.appIdentity + ".";
        return launchSucceeds;
    }
    bool runInTerminal(const TerminalRequest& request, std::string& error) override {
        terminals.push_back(request);
        if (!launchSucceeds) error = "No terminal could be started.";
        return launchSucceeds;
    }
    std::optional<std::string> workingDirectory(std::int64_t processId) override {
        auto found = directories.find(processId);
        if (found == directories.end()) return std::nullopt;
        return found->second;
    }
    std::vector<ChordGrabFailure> grabChords(const std::vector<HotkeyChord>& chords) override {
        ++grabCalls;
        grabbed.clear();
        std::vector<ChordGrabFailure> failures;
        for (const HotkeyChord& chord : chords) {
            if (heldElsewhere.count(chord.canonical()) != 0) {
                failures.push_back({chord, "held by another program"});
            } else {
                grabbed.push_back(chord);
            }
        }
        return failures;
    }
    bool watchLeaderKey(const std::optional<HotkeyKey>& key) override {
        leaderKey = key;
        return true;
    }
    bool grabKeyboard() override {
        if (!keyboardFree) return false;
        keyboardGrabbed = true;
        return true;
    }
    void releaseKeyboard() override { keyboardGrabbed = false; }
    void showTilePanel(const TilePanelContent& content) override { panel = content; }
    void hideTilePanel() override { panel.reset(); }
    NoticeSize noticeSize(const std::string& text) override {
        return {10.0 * static_cast<double>(text.size()), 40};
    }
    void showNotice(const std::string& text, const Frame& frame) override {
        noticeText = text;
        noticeFrame = frame;
    }
    void hideNotice() override {
        noticeText.reset();
        noticeFrame.reset();
    }
    void showFocusOutline(const Frame& frame) override { outline = frame; }
    void hideFocusOutline() override { outline.reset(); }
    void watchConfiguration(const std::string& path) override { watchedConfiguration = path; }
    void post(std::function<void()> work) override {
        std::lock_guard<std::mutex> lock(postedLock);
        posted.push_back(std::move(work));
    }
    std::unique_ptr<TimerHandle> after(double seconds, std::function<void()> work) override {
        auto alive = std::make_shared<bool>(true);
        timers.push_back({clock + seconds, std::move(work), alive});
        return std::make_unique<Handle>(alive);
    }
    double now() override { return clock; }

private:
    struct Pending {
        double due;
        std::function<void()> work;
        std::shared_ptr<bool> alive;
    };
    struct Handle : TimerHandle {
        explicit Handle(std::shared_ptr<bool> alive) : alive(std::move(alive)) {}
        ~Handle() override { *alive = false; }
        void cancel() override { *alive = false; }
        std::shared_ptr<bool> alive;
    };
    std::vector<Pending> timers;
    std::mutex postedLock;
    std::vector<std::function<void()>> posted;
};

}  // namespace halyward::fakes
