#include "mac_window.h"

#include "conversions.h"
#include "mac_web_view.h"
#include "slim_bar.h"

using halyward::mac::MacWindow;

@implementation HWWebChromeWindow
- (id)supplementalTargetForAction:(SEL)action sender:(id)sender {
    NSResponder* target = self.actions;
    if (target != nil && [target respondsToSelector:action]) return target;
    return [super supplementalTargetForAction:action sender:sender];
}
@end

// The responder behind a window's own menu actions ("reloadPage:"). It hands each one,
// by name, to the portable window, which asks its `WebChromeWindow::supplementalTarget`
// whether the controller's `WebActions` still exist and respond to it.
@interface HWWebActions : NSResponder
@property(nonatomic, assign) MacWindow* owner;
@end

@implementation HWWebActions
- (IBAction)reloadPage:(id)sender {
    if (_owner != nullptr && _owner->delegate() != nullptr) {
        _owner->delegate()->performAction(*_owner, halyward::mac::toStdString(NSStringFromSelector(_cmd)));
    }
}
@end

// The window's delegate, the address field's target and the key monitor's receiver.
@interface HWWindowEvents : NSObject <NSWindowDelegate>
@property(nonatomic, assign) MacWindow* owner;
- (BOOL)handleKeyDown:(NSEvent*)event;
- (void)titlebarDoubleClicked;
@end

@implementation HWWindowEvents
- (halyward::WindowDelegate*)ownerDelegate {
    return _owner != nullptr ? _owner->delegate() : nullptr;
}

- (void)windowDidBecomeKey:(NSNotification*)notification {
    if (halyward::WindowDelegate* delegate = [self ownerDelegate]) delegate->windowDidBecomeKey(*_owner);
}

- (void)windowWillClose:(NSNotification*)notification {
    if (halyward::WindowDelegate* delegate = [self ownerDelegate]) delegate->windowWillClose(*_owner);
}

- (void)commitAddress:(NSTextField*)sender {
    if (halyward::WindowDelegate* delegate = [self ownerDelegate]) {
        delegate->commitAddress(*_owner, halyward::mac::toStdString(sender.stringValue));
    }
}

- (void)titlebarDoubleClicked {
    if (halyward::WindowDelegate* delegate = [self ownerDelegate]) delegate->titlebarDoubleClicked(*_owner);
}

- (BOOL)handleKeyDown:(NSEvent*)event {
    halyward::WindowDelegate* delegate = [self ownerDelegate];
    if (delegate == nullptr) return NO;
    // The characters with no modifier applied (-charactersByApplyingModifiers:, macOS 10.15):
    // charactersIgnoringModifiers keeps Shift, which would make Shift-Command-C read "C".
    const halyward::KeyEvent key{halyward::mac::toKeyModifiers(event.modifierFlags),
                                 halyward::mac::toStdString([event charactersByApplyingModifiers:0])};
    return delegate->handleKey(*_owner, key) ? YES : NO;
}
@end

namespace halyward::mac {

MacWindow::MacWindow(const WindowOptions& options) {
    NSWindowStyleMask style = NSWindowStyleMaskTitled | NSWindowStyleMaskClosable |
                              NSWindowStyleMaskMiniaturizable | NSWindowStyleMaskResizable;
    if (options.fullSizeContentView) style |= NSWindowStyleMaskFullSizeContentView;
    window = [[HWWebChromeWindow alloc] initWithContentRect:toNSRect(options.contentRect)
                                                  styleMask:style
                                                    backing:NSBackingStoreBuffered
                                                      defer:NO];
    // The wrapper owns the window; AppKit must not release it again when it closes.
    window.releasedWhenClosed = NO;
    window.title = toNSString(options.title);

    events = [[HWWindowEvents alloc] init];
    events.owner = this;
    window.delegate = events;
    actions = [[HWWebActions alloc] init];
    actions.owner = this;
    window.actions = actions;

    address = [NSTextField textFieldWithString:@""];
    address.placeholderString = @"Address";
    address.hidden = YES;
    address.translatesAutoresizingMaskIntoConstraints = NO;
    address.target = events;
    address.action = @selector(commitAddress:);

    // Every window watches the application's key-downs; the portable side acts only for its
    // main window while that window is key. A consumed key returns no event.
    __weak HWWindowEvents* weakEvents = events;
    keyMonitor = [NSEvent addLocalMonitorForEventsMatchingMask:NSEventMaskKeyDown
                                                       handler:^NSEvent*(NSEvent* event) {
                                                           return [weakEvents handleKeyDown:event] ? nil : event;
                                                       }];
}

MacWindow::~MacWindow() {
    if (keyMonitor != nil) [NSEvent removeMonitor:keyMonitor];
    events.owner = nullptr;
    actions.owner = nullptr;
    window.delegate = nil;
    window.actions = nil;
    address.target = nil;
    [window orderOut:nil];
}

void MacWindow::setDelegate(WindowDelegate* delegate) { windowDelegate = delegate; }

void MacWindow::setTitle(const std::string& title) { window.title = toNSString(title); }

void MacWindow::center() { [window center]; }

void MacWindow::makeKeyAndOrderFront() { [window makeKeyAndOrderFront:nil]; }

bool MacWindow::isKey() const { return window.isKeyWindow; }

void MacWindow::close() { [window close]; }

void MacWindow::miniaturize() { [window miniaturize:nil]; }

void MacWindow::zoom() { [window zoom:nil]; }

void MacWindow::applySlimTreatment() {
    // The page reaches under a transparent, titleless title bar; the traffic-light buttons
    // stay where AppKit puts them, over the slim bar's left end.
    window.styleMask |= NSWindowStyleMaskFullSizeContentView;
    window.titleVisibility = NSWindowTitleHidden;
    window.titlebarAppearsTransparent = YES;
}

void MacWindow::installSlimChrome(PlatformWebView& webView, const SlimBarContent& bar) {
    if (slimHost == nil) {
        slimHost = [[HWSlimWindowHost alloc] initWithFrame:NSZeroRect];
        __weak HWWindowEvents* weakEvents = events;
        slimHost.bar.onDoubleClick = ^{
            [weakEvents titlebarDoubleClicked];
        };
    }
    updateSlimBar(bar);
    [slimHost embed:static_cast<MacWebView&>(webView).view()];
    placeAddressField(slimHost, slimHost.bar.bottomAnchor);
    window.contentView = slimHost;
}

void MacWindow::installStandardChrome(PlatformWebView& webView) {
    window.styleMask &= ~NSWindowStyleMaskFullSizeContentView;
    window.titleVisibility = NSWindowTitleVisible;
    window.titlebarAppearsTransparent = NO;
    if (plainContainer == nil) plainContainer = [[NSView alloc] initWithFrame:NSZeroRect];
    pinToEdges(static_cast<MacWebView&>(webView).view(), plainContainer, plainContainer.topAnchor);
    placeAddressField(plainContainer, plainContainer.topAnchor);
    window.contentView = plainContainer;
}

void MacWindow::updateSlimBar(const SlimBarContent& bar) {
    [slimHost.bar showAppName:toNSString(bar.appName)
                         mark:toNSString(bar.mark)
                       hotkey:toNSString(bar.hotkey)
                    pageTitle:toNSString(bar.pageTitle)];
}

void MacWindow::showAddressField(const std::string& text) {
    address.stringValue = toNSString(text);
    address.hidden = NO;
    // A text field that becomes first responder selects all of its text.
    [window makeFirstResponder:address];
}

void MacWindow::hideAddressField() { address.hidden = YES; }

void MacWindow::placeAddressField(NSView* container, NSLayoutYAxisAnchor* top) {
    // Added last, so it lies over the page.
    [address removeFromSuperview];
    [container addSubview:address];
    [NSLayoutConstraint activateConstraints:@[
        [address.topAnchor constraintEqualToAnchor:top constant:8],
        [address.leadingAnchor constraintEqualToAnchor:container.leadingAnchor constant:12],
        [address.trailingAnchor constraintEqualToAnchor:container.trailingAnchor constant:-12],
    ]];
}

}  // namespace halyward::mac
