#pragma once
// The menu-bar item: Halyward's icon in the menu bar with the menu the app core decides
// (the same model the Linux tray shows). It shows the model as it is and hands back the
// action of the item the user chose.

#include "halyward/app/tray_menu.hpp"

#include <functional>
#include <string>
#include <vector>

@class NSStatusItem;
@class HWMenuTarget;

namespace halyward::mac {

class StatusItem {
public:
    /// `chosen` runs on the main thread with the chosen item's `action`.
    explicit StatusItem(std::function<void(const std::string& action)> chosen);
    ~StatusItem();
    StatusItem(const StatusItem&) = delete;
    StatusItem& operator=(const StatusItem&) = delete;

    void setMenu(const std::vector<TrayMenuItem>& items);

private:
    NSStatusItem* item_ = nil;
    HWMenuTarget* target_ = nil;
};

}  // namespace halyward::mac
