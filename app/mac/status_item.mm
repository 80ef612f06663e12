#include "status_item.h"

#import <AppKit/AppKit.h>

#include "conversions.h"

#include <utility>

// Receives the menu's choices; each item carries its action as its represented object.
@interface HWMenuTarget : NSObject
- (instancetype)initWithHandler:(std::function<void(const std::string&)>)handler;
- (void)choose:(NSMenuItem*)sender;
@end

@implementation HWMenuTarget {
    std::function<void(const std::string&)> _handler;
}

- (instancetype)initWithHandler:(std::function<void(const std::string&)>)handler {
    self = [super init];
    if (self != nil) _handler = std::move(handler);
    return self;
}

- (void)choose:(NSMenuItem*)sender {
    NSString* action = sender.representedObject;
    if (_handler && [action isKindOfClass:[NSString class]])
        _handler(halyward::mac::toStdString(action));
}
@end

namespace halyward::mac {

namespace {

NSMenu* buildMenu(const std::vector<TrayMenuItem>& items, HWMenuTarget* target) {
    NSMenu* menu = [[NSMenu alloc] initWithTitle:@"Halyward"];
    // Greyed items are the model's to say, not AppKit's to guess from the target.
    menu.autoenablesItems = NO;
    for (const TrayMenuItem& entry : items) {
        if (entry.kind == TrayMenuItem::Kind::separator) {
            [menu addItem:[NSMenuItem separatorItem]];
            continue;
        }
        NSMenuItem* item = [[NSMenuItem alloc] initWithTitle:toNSString(entry.label)
                                                      action:nil
                                               keyEquivalent:@""];
        item.enabled = entry.enabled;
        if (entry.kind == TrayMenuItem::Kind::submenu) {
            item.submenu = buildMenu(entry.children, target);
        } else if (!entry.action.empty()) {
            item.target = target;
            item.action = @selector(choose:);
            item.representedObject = toNSString(entry.action);
        }
        if (entry.kind == TrayMenuItem::Kind::toggle) {
            item.state = entry.checked ? NSControlStateValueOn : NSControlStateValueOff;
        }
        [menu addItem:item];
    }
    return menu;
}

}  // namespace

StatusItem::StatusItem(std::function<void(const std::string& action)> chosen) {
    target_ = [[HWMenuTarget alloc] initWithHandler:std::move(chosen)];
    item_ = [NSStatusBar.systemStatusBar statusItemWithLength:NSVariableStatusItemLength];
    NSImage* icon = [NSImage imageWithSystemSymbolName:@"rectangle.split.2x2"
                              accessibilityDescription:@"Halyward"];
    if (icon != nil) {
        // A template image takes the menu bar's colours, light or dark.
        [icon setTemplate:YES];
        item_.button.image = icon;
    } else {
        item_.button.title = @"Halyward";
    }
    item_.button.toolTip = @"Halyward";
}

StatusItem::~StatusItem() { [NSStatusBar.systemStatusBar removeStatusItem:item_]; }

void StatusItem::setMenu(const std::vector<TrayMenuItem>& items) {
    item_.menu = buildMenu(items, target_);
}

}  // namespace halyward::mac
