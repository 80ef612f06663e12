#pragma once
// An NSWindow behind the host's window: the slim or the standard chrome around the web
// view, the hidden address field over it, and the window's key-down monitor.

#import <AppKit/AppKit.h>

#include "halyward/host/platform.hpp"

#include <string>

@class HWSlimWindowHost;
@class HWWebActions;
@class HWWindowEvents;

/// The host's window class. It offers its controller's responder to menu validation, so
/// that "Reload This Page" finds a target in the window whatever holds the focus.
@interface HWWebChromeWindow : NSWindow
/// The responder that carries the window's own menu actions; held weakly.
@property(nonatomic, weak) NSResponder* actions;
@end

namespace halyward::mac {

class MacWindow final : public PlatformWindow {
public:
    explicit MacWindow(const WindowOptions& options);
    /// Removes the key monitor and detaches every object that points back at the wrapper.
    ~MacWindow() override;
    MacWindow(const MacWindow&) = delete;
    MacWindow& operator=(const MacWindow&) = delete;

    WindowDelegate* delegate() const { return windowDelegate; }

    void setDelegate(WindowDelegate* delegate) override;
    void setTitle(const std::string& title) override;
    void center() override;
    void makeKeyAndOrderFront() override;
    bool isKey() const override;
    void close() override;
    void miniaturize() override;
    void zoom() override;
    void applySlimTreatment() override;
    void installSlimChrome(PlatformWebView& webView, const SlimBarContent& bar) override;
    void installStandardChrome(PlatformWebView& webView) override;
    void updateSlimBar(const SlimBarContent& bar) override;
    void showAddressField(const std::string& text) override;
    void hideAddressField() override;

private:
    /// Puts the address field over the page in `container`, just below `top`.
    void placeAddressField(NSView* container, NSLayoutYAxisAnchor* top);

    HWWebChromeWindow* window;
    HWWindowEvents* events;
    HWWebActions* actions;
    NSTextField* address;
    HWSlimWindowHost* slimHost = nil;
    NSView* plainContainer = nil;
    id keyMonitor = nil;
    WindowDelegate* windowDelegate = nullptr;
};

}  // namespace halyward::mac
