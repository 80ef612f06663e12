#pragma once
/// Which application a window belongs to, on desktops where a window names its program
/// only through its class (X11's WM_CLASS): the class is matched against the installed
/// desktop entries, so that a window and the `<app>` word of a hotkey or rule meet on the
/// desktop id, as launchers and docks match them.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halyward {

/// What a desktop entry tells about the windows of its application.
struct DesktopApplication {
    /// The desktop id: the file's path below an `applications` folder, without
    /// ".desktop", with "/" as "-".
    std::string id;
    /// StartupWMClass, the class its windows carry; empty when the entry gives none.
    std::string startupWMClass;
    /// The web app's bundle identifier when the entry launches one of our web-app bundles
    /// (it carries X-Halyward-Bundle); empty otherwise.
    std::string bundleIdentifier;
    bool operator==(const DesktopApplication&) const = default;
};

/// A window's WM_CLASS: the instance name and the class name.
struct WindowClass {
    std::string instance;
    std::string className;
    bool operator==(const WindowClass&) const = default;
};

/// The identity a window is known by, in the terms `WindowInfo` uses.
struct WindowIdentity {
    std::string appIdentity;
    std::vector<std::string> appAliases;
    bool operator==(const WindowIdentity&) const = default;
};

/// The identity of a window of class `windowClass`, given the installed applications
/// (earlier entries win). An entry whose StartupWMClass equals the class (exactly, else
/// ignoring case) claims the window; else an entry without StartupWMClass whose id equals
/// the class or the instance, ignoring case. A claiming entry gives its web app's bundle
/// identifier, else its id. A window no entry claims is known by its class, which is what
/// our web-app host sets to its bundle identifier. The aliases are the class and the
/// instance (non-empty, without repeats).
WindowIdentity windowIdentity(const WindowClass& windowClass,
                              const std::vector<DesktopApplication>& applications);

/// The desktop entry in `entryText` as a `DesktopApplication` with `id`; the bundle
/// identifier is left empty (reading it needs the bundle). None for a hidden entry or
/// text without a [Desktop Entry] group.
std::optional<DesktopApplication> parseDesktopApplication(std::string_view id,
                                                          std::string_view entryText);

/// Every visible desktop entry in the `applications` folders of `dataFolders`, searched
/// in order, an earlier folder's entry hiding a later one with the same id. An entry of
/// one of our web-app bundles gets the bundle's identifier from its Info.plist.
std::vector<DesktopApplication> readDesktopApplications(
    const std::vector<std::string>& dataFolders);

}  // namespace halyward
