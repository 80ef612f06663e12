#include "mac_platform.h"

#import <AppKit/AppKit.h>
#import <UserNotifications/UserNotifications.h>
#import <WebKit/WebKit.h>

#include "conversions.h"
#include "mac_web_view.h"
#include "mac_window.h"

namespace halyward::mac {

std::unique_ptr<PlatformWebViewConfiguration> MacPlatform::makeWebViewConfiguration() {
    return std::make_unique<MacWebViewConfiguration>([[WKWebViewConfiguration alloc] init]);
}

std::unique_ptr<PlatformWebView> MacPlatform::makeWebView(PlatformWebViewConfiguration& configuration) {
    return std::make_unique<MacWebView>(static_cast<MacWebViewConfiguration&>(configuration));
}

std::unique_ptr<PlatformWindow> MacPlatform::makeWindow(const WindowOptions& options) {
    return std::make_unique<MacWindow>(options);
}

void MacPlatform::installMainMenu(const std::vector<Menu>& menus) {
    // Every item targets the first responder (no explicit target), so the responder chain
    // and the windows' supplemental targets decide who performs it.
    NSMenu* mainMenu = [[NSMenu alloc] initWithTitle:@""];
    NSMenu* windowsMenu = nil;
    for (const Menu& menu : menus) {
        NSMenu* submenu = [[NSMenu alloc] initWithTitle:toNSString(menu.title)];
        for (const MenuItem& item : menu.items) {
            if (item.isSeparator()) {
                [submenu addItem:[NSMenuItem separatorItem]];
                continue;
            }
            NSMenuItem* entry =
                [[NSMenuItem alloc] initWithTitle:toNSString(item.title)
                                           action:NSSelectorFromString(toNSString(item.action))
                                    keyEquivalent:toNSString(item.keyEquivalent)];
            entry.keyEquivalentModifierMask = toEventModifierFlags(item.keyModifiers);
            [submenu addItem:entry];
        }
        NSMenuItem* holder = [[NSMenuItem alloc] initWithTitle:toNSString(menu.title)
                                                        action:nil
                                                 keyEquivalent:@""];
        holder.submenu = submenu;
        [mainMenu addItem:holder];
        if (menu.isWindowsMenu) windowsMenu = submenu;
    }
    NSApp.mainMenu = mainMenu;
    // AppKit lists the open windows in this menu.
    if (windowsMenu != nil) NSApp.windowsMenu = windowsMenu;
}

void MacPlatform::runModalAlert(const std::string& message, const std::string& informative) {
    NSAlert* alert = [[NSAlert alloc] init];
    alert.messageText = toNSString(message);
    alert.informativeText = toNSString(informative);
    [alert runModal];
}

void MacPlatform::terminate() { [NSApp terminate:nil]; }

bool MacPlatform::hasHandler(std::string_view url) {
    NSURL* target = toNSURL(url);
    return target != nil && [NSWorkspace.sharedWorkspace URLForApplicationToOpenURL:target] != nil;
}

void MacPlatform::openExternally(const std::string& url) {
    NSURL* target = toNSURL(url);
    if (target != nil) [NSWorkspace.sharedWorkspace openURL:target];
}

void MacPlatform::setClipboardText(const std::optional<std::string>& text) {
    NSPasteboard* pasteboard = NSPasteboard.generalPasteboard;
    [pasteboard clearContents];
    if (text) [pasteboard setString:toNSString(*text) forType:NSPasteboardTypeString];
}

void MacPlatform::postNotification(const std::string& identifier, const std::string& title,
                                   const std::string& body) {
    // The notification centre serves application bundles only and raises for a process
    // without a bundle identifier (the host started from the build folder).
    if (NSBundle.mainBundle.bundleIdentifier == nil) return;
    NSString* requestIdentifier = toNSString(identifier);
    NSString* titleText = toNSString(title);
    NSString* bodyText = toNSString(body);
    // The answer arrives on a queue of the centre's; the block holds only the texts. The
    // request is added whatever the answer: without permission the system drops it.
    [UNUserNotificationCenter.currentNotificationCenter
        requestAuthorizationWithOptions:(UNAuthorizationOptionAlert | UNAuthorizationOptionSound)
                      completionHandler:^(BOOL granted, NSError* error) {
                          (void)granted;
                          (void)error;
                          UNMutableNotificationContent* content = [[UNMutableNotificationContent alloc] init];
                          content.title = titleText;
                          content.body = bodyText;
                          UNNotificationRequest* request =
                              [UNNotificationRequest requestWithIdentifier:requestIdentifier
                                                                   content:content
                                                                   trigger:nil];
                          [UNUserNotificationCenter.currentNotificationCenter addNotificationRequest:request
                                                                               withCompletionHandler:nil];
                      }];
}

void MacPlatform::setBadgeCount(std::int64_t count) {
    // An empty label clears the Dock tile's badge.
    NSApp.dockTile.badgeLabel = count == 0 ? @"" : toNSString(std::to_string(count));
}

std::unique_ptr<FileWatch> MacPlatform::watchFile(const std::string& path, std::function<void()> changed) {
    return watchFileEvents(path, std::move(changed));
}

void MacPlatform::postTask(std::function<void()> task) {
    dispatch_async(dispatch_get_main_queue(), ^{
        task();
    });
}

std::string MacPlatform::homeDirectory() const { return toStdString(NSHomeDirectory()); }

std::optional<std::string> MacPlatform::titlebarDoubleClickPreference() const {
    // The "Double-click a window's title bar to" setting of System Settings, in the global
    // domain that standardUserDefaults searches: "Maximize", "Minimize" or "None".
    return toOptionalString([NSUserDefaults.standardUserDefaults stringForKey:@"AppleActionOnDoubleClick"]);
}

}  // namespace halyward::mac
