#pragma once
// The slim chrome: a 28-point bar drawn where the title bar was, with room on its left for
// the window's own traffic-light buttons, then the app's mark and name and the page title,
// and the app's hotkey on the right; and the host view that stacks the bar over the page.

#import <AppKit/AppKit.h>

/// The slim title bar. A click drags the window; a double click calls `onDoubleClick`.
@interface HWSlimBar : NSVisualEffectView
@property(nonatomic, copy) void (^onDoubleClick)(void);
/// Sets the bar's texts and redraws it.
- (void)showAppName:(NSString*)appName
               mark:(NSString*)mark
             hotkey:(NSString*)hotkey
          pageTitle:(NSString*)pageTitle;
@end

/// The content view of a slim window: the bar at the top, the embedded page under it.
@interface HWSlimWindowHost : NSView
@property(nonatomic, readonly) HWSlimBar* bar;
/// Moves `view` into the host, under the bar, filling the rest of it.
- (void)embed:(NSView*)view;
@end

namespace halyward::mac {

/// Makes `view` a subview of `container` filling it from `top` down, with constraints.
void pinToEdges(NSView* view, NSView* container, NSLayoutYAxisAnchor* top);

}  // namespace halyward::mac
