#include "slim_bar.h"

#include "halyward/host/web_chrome_window.hpp"

namespace {

// The room the traffic-light buttons take at the bar's left: three 12-point buttons at
// AppKit's standard spacing, from the window's edge, plus a gap.
constexpr CGFloat kTrafficLightInset = 78;

NSTextField* label(NSFont* font, NSColor* color) {
    NSTextField* field = [NSTextField labelWithString:@""];
    field.font = font;
    field.textColor = color;
    field.lineBreakMode = NSLineBreakByTruncatingTail;
    field.translatesAutoresizingMaskIntoConstraints = NO;
    return field;
}

}  // namespace

namespace halyward::mac {

void pinToEdges(NSView* view, NSView* container, NSLayoutYAxisAnchor* top) {
    view.translatesAutoresizingMaskIntoConstraints = NO;
    if (view.superview != container) {
        [view removeFromSuperview];
        [container addSubview:view];
    }
    [NSLayoutConstraint activateConstraints:@[
        [view.topAnchor constraintEqualToAnchor:top],
        [view.leadingAnchor constraintEqualToAnchor:container.leadingAnchor],
        [view.trailingAnchor constraintEqualToAnchor:container.trailingAnchor],
        [view.bottomAnchor constraintEqualToAnchor:container.bottomAnchor],
    ]];
}

}  // namespace halyward::mac

@implementation HWSlimBar {
    NSTextField* _mark;
    NSTextField* _appName;
    NSTextField* _pageTitle;
    NSTextField* _hotkey;
}

- (instancetype)initWithFrame:(NSRect)frame {
    self = [super initWithFrame:frame];
    if (self == nil) return nil;
    self.material = NSVisualEffectMaterialTitlebar;
    self.blendingMode = NSVisualEffectBlendingModeWithinWindow;
    self.state = NSVisualEffectStateFollowsWindowActiveState;

    const CGFloat size = NSFont.smallSystemFontSize + 1;
    _mark = label([NSFont boldSystemFontOfSize:size], NSColor.controlAccentColor);
    _appName = label([NSFont boldSystemFontOfSize:size], NSColor.labelColor);
    _pageTitle = label([NSFont systemFontOfSize:size], NSColor.secondaryLabelColor);
    _hotkey = label([NSFont systemFontOfSize:size], NSColor.secondaryLabelColor);
    NSBox* separator = [[NSBox alloc] initWithFrame:NSZeroRect];
    separator.boxType = NSBoxSeparator;
    separator.translatesAutoresizingMaskIntoConstraints = NO;
    for (NSView* view in @[ _mark, _appName, _pageTitle, _hotkey, separator ]) [self addSubview:view];

    // The page title gives way first when the bar is narrow; the name and hotkey stay whole.
    [_pageTitle setContentCompressionResistancePriority:NSLayoutPriorityDefaultLow
                                         forOrientation:NSLayoutConstraintOrientationHorizontal];
    [_hotkey setContentCompressionResistancePriority:NSLayoutPriorityRequired
                                      forOrientation:NSLayoutConstraintOrientationHorizontal];
    [NSLayoutConstraint activateConstraints:@[
        [_mark.leadingAnchor constraintEqualToAnchor:self.leadingAnchor constant:kTrafficLightInset],
        [_appName.leadingAnchor constraintEqualToAnchor:_mark.trailingAnchor constant:6],
        [_pageTitle.leadingAnchor constraintEqualToAnchor:_appName.trailingAnchor constant:10],
        [_pageTitle.trailingAnchor constraintLessThanOrEqualToAnchor:_hotkey.leadingAnchor
                                                            constant:-10],
        [_hotkey.trailingAnchor constraintEqualToAnchor:self.trailingAnchor constant:-12],
        [_mark.centerYAnchor constraintEqualToAnchor:self.centerYAnchor],
        [_appName.centerYAnchor constraintEqualToAnchor:self.centerYAnchor],
        [_pageTitle.centerYAnchor constraintEqualToAnchor:self.centerYAnchor],
        [_hotkey.centerYAnchor constraintEqualToAnchor:self.centerYAnchor],
        [separator.leadingAnchor constraintEqualToAnchor:self.leadingAnchor],
        [separator.trailingAnchor constraintEqualToAnchor:self.trailingAnchor],
        [separator.bottomAnchor constraintEqualToAnchor:self.bottomAnchor],
    ]];
    return self;
}

- (void)showAppName:(NSString*)appName
               mark:(NSString*)mark
             hotkey:(NSString*)hotkey
          pageTitle:(NSString*)pageTitle {
    _appName.stringValue = appName;
    _mark.stringValue = mark;
    _hotkey.stringValue = hotkey;
    _pageTitle.stringValue = pageTitle;
    self.needsDisplay = YES;
}

// The labels take no clicks of their own: the whole bar is the title bar.
- (NSView*)hitTest:(NSPoint)point {
    return [super hitTest:point] != nil ? self : nil;
}

- (BOOL)mouseDownCanMoveWindow {
    return YES;
}

- (void)mouseDown:(NSEvent*)event {
    if (event.clickCount == 2) {
        if (_onDoubleClick) _onDoubleClick();
        return;
    }
    [self.window performWindowDragWithEvent:event];
}
@end

@implementation HWSlimWindowHost

- (instancetype)initWithFrame:(NSRect)frame {
    self = [super initWithFrame:frame];
    if (self == nil) return nil;
    _bar = [[HWSlimBar alloc] initWithFrame:NSZeroRect];
    _bar.translatesAutoresizingMaskIntoConstraints = NO;
    [self addSubview:_bar];
    [NSLayoutConstraint activateConstraints:@[
        [_bar.topAnchor constraintEqualToAnchor:self.topAnchor],
        [_bar.leadingAnchor constraintEqualToAnchor:self.leadingAnchor],
        [_bar.trailingAnchor constraintEqualToAnchor:self.trailingAnchor],
        [_bar.heightAnchor constraintEqualToConstant:halyward::kSlimBarHeight],
    ]];
    return self;
}

- (void)embed:(NSView*)view {
    halyward::mac::pinToEdges(view, self, _bar.bottomAnchor);
}
@end
