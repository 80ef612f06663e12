#include "halyward/host/main_menu.hpp"

#include "halyward/host/web_window_controller.hpp"

#include <string>

namespace halyward {

namespace {

MenuItem item(std::string title, std::string action, std::string key = {},
              std::uint32_t modifiers = keyCommand) {
    const std::uint32_t keyModifiers = key.empty() ? 0 : modifiers;
    return MenuItem{std::move(title), std::move(action), std::move(key), keyModifiers};
}

MenuItem separator() { return MenuItem{}; }

}  // namespace

std::vector<Menu> mainMenu(std::string_view name) {
    const std::string app(name);
    return {
        Menu{"",
             {item("About " + app, "orderFrontStandardAboutPanel:"), separator(),
              item("Hide " + app, "hide:", "h"),
              item("Hide Others", "hideOtherApplications:", "h", keyOption | keyCommand),
              item("Show All", "unhideAllApplications:"), separator(),
              item("Quit " + app, "terminate:", "q")},
             false},
        Menu{"File", {item("Close", "performClose:", "w")}, false},
        Menu{"Edit",
             {item("Undo", "undo:", "z"), item("Redo", "redo:", "Z", keyShift | keyCommand),
              separator(), item("Cut", "cut:", "x"), item("Copy", "copy:", "c"),
              item("Paste", "paste:", "v"), item("Select All", "selectAll:", "a")},
             false},
        Menu{"View", {item("Reload This Page", std::string(kReloadPageAction), "r")}, false},
        Menu{"Window",
             {item("Minimize", "performMiniaturize:", "m"), item("Zoom", "performZoom:")},
             true},
    };
}

bool WebActions::respondsTo(std::string_view action) const { return action == kReloadPageAction; }

void WebActions::reloadPage() {
    if (const auto controller = owner.lock()) controller->reloadFromMenu();
}

bool WebActions::perform(std::string_view action) {
    if (!respondsTo(action)) return false;
    reloadPage();
    return true;
}

}  // namespace halyward
