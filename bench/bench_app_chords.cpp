// The app core's own share of a chord: from `chordPressed` to the `setFrame` it asks for,
// on a desktop of 500 windows, with a window system that answers from memory at once. The
// figure is what the core adds to the window system's round trips. Also the cost of taking
// in a configuration with 5,000 web apps, each with a hotkey and a tile, which is what a
// saved change of config.toml costs before the chords are grabbed again.
#include "halyward/app/app_core.hpp"
#include "halyward/hotkeys/hotkey_parser.hpp"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

namespace {

using namespace halyward;

class MemoryWindowSystem : public WindowSystem {
public:
    std::vector<DisplayInfo> screens{{{0, 0, 2560, 1440}, {0, 30, 2560, 1410}},
                                     {{2560, 0, 1920, 1080}, {2560, 0, 1920, 1080}}};
    std::vector<WindowInfo> list;
    std::size_t writes = 0;

    MemoryWindowSystem() {
        for (WindowId id = 1; id <= 500; ++id) {
            WindowInfo window;
            window.id = id;
            window.appIdentity = "org.example.app" + std::to_string(id % 40);
            window.appAliases = {"app" + std::to_string(id % 40)};
            window.title = "Window " + std::to_string(id);
            window.frame = {static_cast<double>(id % 2000), 40, 800, 600};
            list.push_back(window);
        }
    }
    void setEvents(WindowSystemEvents*) override {}
    std::vector<DisplayInfo> displays() override { return screens; }
    std::vector<WindowInfo> windows() override { return list; }
    std::optional<WindowId> focusedWindow() override { return 1; }
    bool setFrame(WindowId, const Frame&, AxisWrite) override { return ++writes != 0; }
    bool focus(WindowId) override { return true; }
    bool hideApp(const std::string&) override { return true; }
    bool launch(const LaunchRequest&, std::string&) override { return true; }
    std::vector<ChordGrabFailure> grabChords(const std::vector<HotkeyChord>&) override {
        return {};
    }
    bool watchLeaderKey(const std::optional<HotkeyKey>&) override { return true; }
    bool grabKeyboard() override { return true; }
    void releaseKeyboard() override {}
    void showTilePanel(const TilePanelContent&) override {}
    void hideTilePanel() override {}
    NoticeSize noticeSize(const std::string&) override { return {200, 40}; }
    void showNotice(const std::string&, const Frame&) override {}
    void hideNotice() override {}
    void showFocusOutline(const Frame&) override {}
    void hideFocusOutline() override {}
    void watchConfiguration(const std::string&) override {}
    bool runInTerminal(const TerminalRequest&, std::string&) override { return true; }
    std::optional<std::string> workingDirectory(std::int64_t) override { return std::nullopt; }
    void post(std::function<void()> work) override { work(); }
    std::unique_ptr<TimerHandle> after(double, std::function<void()>) override { return nullptr; }
    double now() override { return 0; }
};

struct Home {
    std::string folder;
    explicit Home(const std::string& config) {
        char pattern[] = "/tmp/hwbench-XXXXXX";
        folder = ::mkdtemp(pattern);
        std::filesystem::create_directories(folder + "/.config/halyward");
        std::ofstream(folder + "/.config/halyward/config.toml") << config;
    }
    ~Home() { std::filesystem::remove_all(folder); }
};

void BM_app_chord_to_frame(benchmark::State& state) {
    Home home("[general]\nanimate_tiles = false\n");
    MemoryWindowSystem system;
    AppCoreOptions options;
    options.home = home.folder;
    AppCore core(system, options);
    core.start();
    const HotkeyChord fill = HotkeyParser::parse("ctrl+opt+f");
    for (auto _ : state) core.chordPressed(fill);
    if (system.writes != static_cast<std::size_t>(state.iterations())) {
        state.SkipWithError("a chord did not move the window");
    }
}
BENCHMARK(BM_app_chord_to_frame)->Unit(benchmark::kMicrosecond);

void BM_app_reload_5000_apps(benchmark::State& state) {
    std::string config = "[general]\nanimate_tiles = false\n";
    for (int i = 0; i < 5000; ++i) {
        const std::string n = std::to_string(i);
        config += "[apps.app" + n + "]\nurl = \"https://" + n +
                  ".example.com\"\nhotkey = \"ctrl+opt+shift+f" + std::to_string(i % 9 + 1) +
                  "\"\ntile = \"left-half\"\n";
    }
    Home home(config);
    MemoryWindowSystem system;
    AppCoreOptions options;
    options.home = home.folder;
    AppCore core(system, options);
    core.start();
    // `apply` reads the file again and grabs every chord even when nothing changed.
    for (auto _ : state) benchmark::DoNotOptimize(core.runCommand({"apply"}));
}
BENCHMARK(BM_app_reload_5000_apps)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
