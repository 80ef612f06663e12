#include "halyward/app/tray_menu.hpp"

namespace halyward {

namespace {

TrayMenuItem item(std::string label, std::string action) {
    return {TrayMenuItem::Kind::action, std::move(label), std::move(action), false, true, {}};
}

TrayMenuItem separator() { return {TrayMenuItem::Kind::separator, {}, {}, false, true, {}}; }

// A submenu of `children`, or one greyed line saying how to fill it when there are none.
TrayMenuItem submenu(std::string label, std::vector<TrayMenuItem> children,
                     std::string_view whenEmpty) {
    if (children.empty()) {
        TrayMenuItem hint = item(std::string(whenEmpty), {});
        hint.enabled = false;
        children.push_back(std::move(hint));
    }
    return {TrayMenuItem::Kind::submenu, std::move(label), {}, false, true, std::move(children)};
}

constexpr std::string_view layoutPrefix = "layout:";
constexpr std::string_view appPrefix = "app:";

}  // namespace

std::vector<TrayMenuItem> trayMenu(const HalywardConfig& config) {
    std::vector<TrayMenuItem> layouts;
    for (const Layout& layout : config.layouts)
        layouts.push_back(item(layout.name, std::string(layoutPrefix) + layout.name));
    std::vector<TrayMenuItem> apps;
    for (const WebAppRecord& app : config.apps)
        apps.push_back(item(app.spec.name, std::string(appPrefix) + app.slug));

    std::vector<TrayMenuItem> menu;
    menu.push_back(item("Tile mode", "tile-mode"));
    menu.push_back(
        submenu("Layouts", std::move(layouts), "No saved layouts: halyward layout save <name>"));
    menu.push_back(separator());
    menu.push_back(submenu("Web apps", std::move(apps), "No web apps yet"));
    menu.push_back(item("New web app…", "new-app"));
    menu.push_back(separator());
    menu.push_back(item("Edit configuration", "edit-configuration"));
    TrayMenuItem login = item("Start at login", "start-at-login");
    login.kind = TrayMenuItem::Kind::toggle;
    login.checked = config.general.launchAtLogin;
    menu.push_back(std::move(login));
    menu.push_back(separator());
    menu.push_back(item("Quit Halyward", "quit"));
    return menu;
}

std::optional<TrayAction> parseTrayAction(std::string_view action) {
    using Kind = TrayAction::Kind;
    if (action.starts_with(layoutPrefix) && action.size() > layoutPrefix.size())
        return TrayAction{Kind::applyLayout, std::string(action.substr(layoutPrefix.size()))};
    if (action.starts_with(appPrefix) && action.size() > appPrefix.size())
        return TrayAction{Kind::openApp, std::string(action.substr(appPrefix.size()))};
    if (action == "tile-mode") return TrayAction{Kind::tileMode, {}};
    if (action == "new-app") return TrayAction{Kind::newApp, {}};
    if (action == "edit-configuration") return TrayAction{Kind::editConfiguration, {}};
    if (action == "start-at-login") return TrayAction{Kind::startAtLogin, {}};
    if (action == "quit") return TrayAction{Kind::quit, {}};
    return std::nullopt;
}

}  // namespace halyward
