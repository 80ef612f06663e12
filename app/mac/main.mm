// Halyward on macOS: the menu-bar app that owns the chords, tiles other apps' windows
// through the Accessibility API and serves the control socket the `halyward` command
// talks to. It is an agent app (no Dock icon, no main menu): its one face is the menu-bar
// item. It takes no arguments and runs until it is told to quit (the menu, SIGTERM,
// SIGINT, logging out).

#import <AppKit/AppKit.h>

#include "accessibility.h"
#include "conversions.h"
#include "halyward/app/app_core.hpp"
#include "halyward/base/error.hpp"
#include "halyward/commands/targets.hpp"
#include "halyward/system/paths.hpp"
#include "halyward/system/platform_paths.hpp"
#include "mac_window_system.h"
#include "status_item.h"

#include <csignal>
#include <cstdio>
#include <memory>
#include <string>

using namespace halyward;

namespace {

void say(std::string_view line) {
    std::fprintf(stderr, "Halyward: %.*s\n", static_cast<int>(line.size()), line.data());
}

// Brings this agent app to the front, so that an alert it shows is seen.
void comeForward() {
    if (@available(macOS 14, *)) {
        [NSRunningApplication.currentApplication
            activateWithOptions:NSApplicationActivateAllWindows];
    } else {
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
        [NSApp activateIgnoringOtherApps:YES];
#pragma clang diagnostic pop
    }
}

void showAlert(NSString* message, NSString* informative) {
    comeForward();
    NSAlert* alert = [[NSAlert alloc] init];
    alert.messageText = message;
    alert.informativeText = informative;
    [alert runModal];
}

// The new-app form is a program of its own on Linux; macOS has none yet, so the chord and
// the menu item say how to make a web app instead of doing nothing.
void showNewAppHint() {
    showAlert(@"New web app",
              @"Run halyward app add <address> --name <name> in a terminal to make a web app.");
}

// Opens the configuration file in the app this Mac uses for such files, or TextEdit when
// none is set for them.
void openConfiguration(const std::string& path) {
    NSURL* file = [NSURL fileURLWithPath:mac::toNSString(path) isDirectory:NO];
    NSWorkspace* workspace = NSWorkspace.sharedWorkspace;
    if ([workspace URLForApplicationToOpenURL:file] != nil && [workspace openURL:file]) return;
    NSURL* editor = [workspace URLForApplicationWithBundleIdentifier:@"com.apple.TextEdit"];
    if (editor == nil) {
        say("Cannot open " + path + ": no application opens it.");
        return;
    }
    [workspace openURLs:@[ file ]
        withApplicationAtURL:editor
               configuration:[NSWorkspaceOpenConfiguration configuration]
           completionHandler:nil];
}

// Everything the app is made of, alive from launch until it terminates.
struct MenuBarApp {
    PlatformPaths paths;
    std::unique_ptr<mac::MacWindowSystem> system;
    std::unique_ptr<AppCore> core;
    std::unique_ptr<mac::StatusItem> statusItem;
    std::unique_ptr<TimerHandle> trustPoll;
    std::unique_ptr<TimerHandle> firstRun;
    bool stopped = false;

    void chosen(const std::string& action) {
        const std::optional<TrayAction> rest = core->trayChosen(action);
        if (!rest) return;
        switch (rest->kind) {
            case TrayAction::Kind::editConfiguration: openConfiguration(paths.configFile); break;
            case TrayAction::Kind::newApp: showNewAppHint(); break;
            case TrayAction::Kind::quit: [NSApp terminate:nil]; break;
            default: break;
        }
    }

    // Without the permission nothing of other apps can be followed; once the user grants
    // it, following starts without a restart.
    void waitForTrust() {
        trustPoll = system->after(2.0, [this] {
            if (!mac::accessibilityTrustedNow()) {
                waitForTrust();
                return;
            }
            trustPoll.reset();
            system->observe();
            core->displaysChanged();
        });
    }

    void stop() {
        if (stopped) return;
        stopped = true;
        core->stop();
    }
};

// Made once and never destroyed: AppKit ends the process from inside its run loop, and
// nothing of the app should be torn down while AppKit is terminating. Stopping (the
// socket removed, the chords released) happens before, when the app is told it ends.
MenuBarApp* app = nullptr;
std::vector<dispatch_source_t> signalSources;

// Stop signals end the app as the menu's Quit does, so the socket is removed.
void quitOnSignals() {
    for (int number : {SIGTERM, SIGINT, SIGHUP}) {
        std::signal(number, SIG_IGN);
        dispatch_source_t source =
            dispatch_source_create(DISPATCH_SOURCE_TYPE_SIGNAL, static_cast<uintptr_t>(number), 0,
                                   dispatch_get_main_queue());
        dispatch_source_set_event_handler(source, ^{ [NSApp terminate:nil]; });
        dispatch_resume(source);
        signalSources.push_back(source);
    }
}

}  // namespace

@interface HWMenuBarAppDelegate : NSObject <NSApplicationDelegate>
@end

@implementation HWMenuBarAppDelegate
- (void)applicationWillTerminate:(NSNotification*)notification {
    (void)notification;
    if (app) app->stop();
}
@end

int main() {
    @autoreleasepool {
        std::signal(SIGPIPE, SIG_IGN);
        NSApplication* application = NSApplication.sharedApplication;
        // No Dock icon and no menu bar of its own, also when started outside its bundle.
        [application setActivationPolicy:NSApplicationActivationPolicyAccessory];
        HWMenuBarAppDelegate* delegate = [[HWMenuBarAppDelegate alloc] init];
        application.delegate = delegate;

        const PathEnvironment environment = currentPathEnvironment();
        const std::string& home = environment.home;
        app = new MenuBarApp();
        // The same paths the command line uses, so `halyward ping` reaches this process.
        app->paths = platformPaths(hostPathConvention(), environment, localSocketPathLimit());
        app->system = std::make_unique<mac::MacWindowSystem>(say);

        const bool trusted =
            mac::accessibilityTrusted(HalywardPaths::accessibilityGrantFile(home), say);

        AppCoreOptions options;
        options.home = home;
        options.socketPath = app->paths.socketFile;
        options.commandFile = app->paths.commandFile;
        options.executable = mac::toStdString(NSBundle.mainBundle.executablePath);
        options.findApplication = [home](std::string_view name) {
            return findBundleApplication(name, bundleApplicationFolders(home));
        };
        options.report = say;
        options.configurationApplied = [] {
            if (app && app->statusItem) app->statusItem->setMenu(app->core->trayMenu());
        };
        options.showNewAppForm = [] { showNewAppHint(); };
        app->core = std::make_unique<AppCore>(*app->system, options);
        app->system->setEvents(app->core.get());
        app->system->observe();

        try {
            app->core->start();
        } catch (const HalywardError& failure) {
            if (failure.code == "unavailable") {
                std::printf("Halyward is already running.\n");
                return 0;
            }
            say(failure.message);
            return failure.exitCode;
        }
        if (!trusted) app->waitForTrust();

        // Only the one instance that runs shows a menu-bar item.
        app->statusItem = std::make_unique<mac::StatusItem>([](const std::string& action) {
            if (app) app->chosen(action);
        });
        app->statusItem->setMenu(app->core->trayMenu());
        app->firstRun = app->system->after(0.5, [] {
            // The menu-bar item is always there to be found on a Mac.
            if (const std::optional<std::string> text = app->core->firstRun(true)) {
                showAlert(@"Welcome to Halyward", mac::toNSString(*text));
            }
        });
        quitOnSignals();
        [application run];
    }
    return 0;
}
