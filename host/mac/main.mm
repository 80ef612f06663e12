// HalywardWebHost on macOS. The executable sits in a web-app bundle as
// <bundle>/Contents/MacOS/HalywardWebHost and learns which site it shows from the bundle's
// information dictionary; no argument is interpreted.

#import <AppKit/AppKit.h>

#include "conversions.h"
#include "halyward/host/web_host_delegate.hpp"
#include "mac_platform.h"

#include <memory>

// The application delegate: it hands launch and the last-window rule to the portable
// `WebHostDelegate`, which it creates with the bundle's identity.
@interface HWApplicationDelegate : NSObject <NSApplicationDelegate>
@end

@implementation HWApplicationDelegate {
    std::unique_ptr<halyward::mac::MacPlatform> _platform;
    std::shared_ptr<halyward::WebHostDelegate> _host;
}

- (instancetype)init {
    self = [super init];
    if (self == nil) return nil;
    _platform = std::make_unique<halyward::mac::MacPlatform>();
    _host = std::make_shared<halyward::WebHostDelegate>(
        *_platform, halyward::mac::toBundleInfo(NSBundle.mainBundle.infoDictionary));
    return self;
}

- (void)applicationDidFinishLaunching:(NSNotification*)notification {
    _host->applicationDidFinishLaunching();
}

- (BOOL)applicationShouldTerminateAfterLastWindowClosed:(NSApplication*)sender {
    return _host->applicationShouldTerminateAfterLastWindowClosed() ? YES : NO;
}
@end

namespace {

// The application holds its delegate only weakly. This reference is taken once and never
// given back, so the delegate, and every window it keeps, lives until the process exits and
// nothing of the host is torn down while AppKit is terminating.
const void* applicationDelegate = nullptr;

}  // namespace

int main() {
    @autoreleasepool {
        NSApplication* application = NSApplication.sharedApplication;
        HWApplicationDelegate* delegate = [[HWApplicationDelegate alloc] init];
        application.delegate = delegate;
        applicationDelegate = CFBridgingRetain(delegate);
        [application setActivationPolicy:NSApplicationActivationPolicyRegular];
        [application run];
    }
    return 0;
}
