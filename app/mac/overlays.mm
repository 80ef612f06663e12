#include "overlays.h"

#import <AppKit/AppKit.h>

#include "conversions.h"

#include <algorithm>
#include <cmath>
#include <vector>

using halyward::TilePanelContent;

namespace {

// The palette and measures the Linux front end uses too: a dark panel with light text,
// and the accent of the focus ring.
NSColor* rgb(unsigned value, CGFloat alpha = 1) {
    return [NSColor colorWithSRGBRed:((value >> 16) & 0xff) / 255.0
                               green:((value >> 8) & 0xff) / 255.0
                                blue:(value & 0xff) / 255.0
                               alpha:alpha];
}
constexpr unsigned panelColor = 0x1d1f24;
constexpr unsigned borderColor = 0x3a3d46;
constexpr unsigned outlineColor = 0x4c8dff;
constexpr CGFloat outlineThickness = 3;
constexpr CGFloat panelPadding = 22;
constexpr CGFloat rowHeight = 26;
constexpr CGFloat radius = 12;

NSDictionary* font(CGFloat size, bool bold, unsigned color) {
    return @{
        NSFontAttributeName : bold ? [NSFont boldSystemFontOfSize:size]
                                   : [NSFont systemFontOfSize:size],
        NSForegroundColorAttributeName : rgb(color),
    };
}

CGFloat widthOf(NSString* text, NSDictionary* attributes) {
    return [text sizeWithAttributes:attributes].width;
}

// Draws `text` with its line centred vertically on `middle` (a flipped view's y).
void drawText(NSString* text, NSDictionary* attributes, CGFloat x, CGFloat middle) {
    const NSSize size = [text sizeWithAttributes:attributes];
    [text drawAtPoint:NSMakePoint(x, middle - size.height / 2) withAttributes:attributes];
}

// Where the panel's sections go: one column, or two once one would run off a small
// screen; sections never split.
struct PanelLayout {
    CGFloat keyWidth = 0;
    CGFloat titleWidth = 0;
    CGFloat chordWidth = 0;
    std::vector<int> columnOf;
    int columns = 1;
    int rows = 0;
    CGFloat columnWidth() const { return keyWidth + 12 + titleWidth + 28 + chordWidth; }
    CGFloat width() const {
        return columns * columnWidth() + (columns - 1) * 36 + 2 * panelPadding;
    }
    CGFloat height() const { return panelPadding + 30 + rows * rowHeight + panelPadding - 6; }
};

PanelLayout layOut(const TilePanelContent& content) {
    using halyward::mac::toNSString;
    PanelLayout layout;
    int total = 0;
    for (const halyward::TilePanelSection& section : content.sections) {
        total += static_cast<int>(section.rows.size()) + 1;
        for (const halyward::TilePanelRow& row : section.rows) {
            layout.keyWidth = std::max({layout.keyWidth, CGFloat(24),
                                        widthOf(toNSString(row.key), font(12, true, 0)) + 14});
            layout.titleWidth =
                std::max(layout.titleWidth, widthOf(toNSString(row.title), font(13, false, 0)));
            layout.chordWidth =
                std::max(layout.chordWidth, widthOf(toNSString(row.chord), font(12, false, 0)));
        }
    }
    layout.columns = total > 14 ? 2 : 1;
    int filled = 0;
    int first = 0;
    for (const halyward::TilePanelSection& section : content.sections) {
        const int height = static_cast<int>(section.rows.size()) + 1;
        const int column = layout.columns == 2 && filled >= (total + 1) / 2 ? 1 : 0;
        if (column == 0) first += height;
        layout.columnOf.push_back(column);
        filled += height;
    }
    layout.rows = std::max(first, total - first);
    return layout;
}

void fillRoundedBackground(NSRect bounds) {
    NSBezierPath* shape = [NSBezierPath bezierPathWithRoundedRect:NSInsetRect(bounds, 0.5, 0.5)
                                                          xRadius:radius
                                                          yRadius:radius];
    [rgb(panelColor) setFill];
    [shape fill];
    [rgb(borderColor) setStroke];
    shape.lineWidth = 1;
    [shape stroke];
}

NSPanel* makePanel(NSView* content, bool passClicks) {
    NSPanel* panel = [[NSPanel alloc]
        initWithContentRect:NSMakeRect(0, 0, 1, 1)
                  styleMask:NSWindowStyleMaskBorderless | NSWindowStyleMaskNonactivatingPanel
                    backing:NSBackingStoreBuffered
                      defer:YES];
    panel.opaque = NO;
    panel.backgroundColor = NSColor.clearColor;
    panel.hasShadow = !passClicks;
    panel.hidesOnDeactivate = NO;
    panel.releasedWhenClosed = NO;
    panel.ignoresMouseEvents = passClicks;
    panel.becomesKeyOnlyIfNeeded = YES;
    // The ring sits below the panel and the notice, which stay readable above it.
    panel.level = passClicks ? NSFloatingWindowLevel : NSStatusWindowLevel;
    // Shown on whichever space is current, full-screen apps' spaces included.
    panel.collectionBehavior =
        NSWindowCollectionBehaviorCanJoinAllSpaces | NSWindowCollectionBehaviorStationary |
        NSWindowCollectionBehaviorFullScreenAuxiliary | NSWindowCollectionBehaviorIgnoresCycle;
    panel.contentView = content;
    return panel;
}

}  // namespace

// The tile-mode cheat sheet: a title, then each section's heading and its rows of keycap,
// action and global chord.
@interface HWTilePanelView : NSView
@property(nonatomic) TilePanelContent content;
@end

@implementation HWTilePanelView
- (BOOL)isFlipped {
    return YES;
}

- (void)drawRect:(NSRect)dirty {
    (void)dirty;
    using halyward::mac::toNSString;
    fillRoundedBackground(self.bounds);
    const TilePanelContent& content = self.content;
    const PanelLayout layout = layOut(content);
    drawText(toNSString(content.title), font(17, true, 0xffffff), panelPadding, panelPadding + 8);
    CGFloat rowAt[2] = {panelPadding + 30, panelPadding + 30};
    for (std::size_t s = 0; s < content.sections.size(); ++s) {
        const halyward::TilePanelSection& section = content.sections[s];
        const int column = layout.columnOf[s];
        const CGFloat left = panelPadding + column * (layout.columnWidth() + 36);
        CGFloat& top = rowAt[column];
        drawText(toNSString(section.title).uppercaseString, font(11, true, 0x8aa4ff), left,
                 top + rowHeight / 2 + 2);
        top += rowHeight;
        for (const halyward::TilePanelRow& row : section.rows) {
            const CGFloat middle = top + rowHeight / 2;
            [rgb(borderColor) setFill];
            [[NSBezierPath
                bezierPathWithRoundedRect:NSMakeRect(left, middle - 10, layout.keyWidth, 20)
                                  xRadius:4
                                  yRadius:4] fill];
            NSString* key = toNSString(row.key);
            NSDictionary* keyFont = font(12, true, 0xffffff);
            drawText(key, keyFont, left + (layout.keyWidth - widthOf(key, keyFont)) / 2, middle);
            drawText(toNSString(row.title), font(13, false, 0xe6e6e6), left + layout.keyWidth + 12,
                     middle);
            NSString* chord = toNSString(row.chord);
            NSDictionary* chordFont = font(12, false, 0x9a9ca5);
            drawText(chord, chordFont, left + layout.columnWidth() - widthOf(chord, chordFont),
                     middle);
            top += rowHeight;
        }
    }
}
@end

// One line of text, centred.
@interface HWNoticeView : NSView
@property(nonatomic, copy) NSString* text;
@end

@implementation HWNoticeView
- (BOOL)isFlipped {
    return YES;
}

- (void)drawRect:(NSRect)dirty {
    (void)dirty;
    fillRoundedBackground(self.bounds);
    NSDictionary* attributes = font(15, true, 0xffffff);
    const NSRect bounds = self.bounds;
    drawText(self.text, attributes, (bounds.size.width - widthOf(self.text, attributes)) / 2,
             bounds.size.height / 2);
}
@end

// A thin ring just inside the bounds, so that a ring around a window that fills its
// display stays on screen.
@interface HWOutlineView : NSView
@end

@implementation HWOutlineView
- (void)drawRect:(NSRect)dirty {
    (void)dirty;
    [rgb(outlineColor) setStroke];
    NSBezierPath* ring = [NSBezierPath
        bezierPathWithRect:NSInsetRect(self.bounds, outlineThickness / 2, outlineThickness / 2)];
    ring.lineWidth = outlineThickness;
    [ring stroke];
}
@end

namespace halyward::mac {

Overlays::Overlays() = default;

Overlays::~Overlays() {
    for (NSPanel* panel : {panel_, notice_, outline_}) [panel orderOut:nil];
}

void Overlays::showPanel(const TilePanelContent& content) {
    if (panel_ == nil) panel_ = makePanel([[HWTilePanelView alloc] init], false);
    auto* view = static_cast<HWTilePanelView*>(panel_.contentView);
    view.content = content;
    const PanelLayout layout = layOut(content);
    const CGFloat width = std::ceil(layout.width());
    const CGFloat height = std::ceil(layout.height());
    const Frame& display = content.displayFrame;
    const Frame frame{std::round(display.midX() - width / 2),
                      std::round(display.midY() - height / 2), width, height};
    [panel_ setFrame:toNSRect(frame) display:NO];
    view.needsDisplay = YES;
    [panel_ orderFrontRegardless];
}

void Overlays::hidePanel() { [panel_ orderOut:nil]; }

NoticeSize Overlays::noticeSize(const std::string& text) {
    NSAttributedString* measured =
        [[NSAttributedString alloc] initWithString:toNSString(text)
                                        attributes:font(15, true, 0xffffff)];
    return {std::ceil(measured.size.width) + 48, 48};
}

void Overlays::showNotice(const std::string& text, const Frame& frame) {
    if (notice_ == nil) notice_ = makePanel([[HWNoticeView alloc] init], false);
    auto* view = static_cast<HWNoticeView*>(notice_.contentView);
    view.text = toNSString(text);
    [notice_ setFrame:toNSRect(frame) display:NO];
    view.needsDisplay = YES;
    [notice_ orderFrontRegardless];
}

void Overlays::hideNotice() { [notice_ orderOut:nil]; }

void Overlays::showOutline(const Frame& frame) {
    if (outline_ == nil) outline_ = makePanel([[HWOutlineView alloc] init], true);
    [outline_ setFrame:toNSRect(frame) display:YES];
    [outline_ orderFrontRegardless];
}

void Overlays::hideOutline() { [outline_ orderOut:nil]; }

}  // namespace halyward::mac
