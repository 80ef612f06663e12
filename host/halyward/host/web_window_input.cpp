// What a web window does for the user directly: keyboard shortcuts, the address field,
// menu actions and title-bar clicks; and what it does for the page: downloads and
// notifications.

#include "halyward/host/web_window_controller.hpp"

#include "halyward/host/typed_address.hpp"
#include "halyward/web/downloads.hpp"
#include "halyward/web/link_policy.hpp"

#include <uuid/uuid.h>

#include <filesystem>
#include <system_error>

namespace halyward {

namespace {

std::string freshUUID() {
    uuid_t uuid;
    uuid_generate_random(uuid);
    char text[37];
    uuid_unparse_upper(uuid, text);
    return text;
}

// Something is in the way at `path`: a file, a folder, or a symbolic link, even a dangling
// one (saving through it would write wherever it points).
bool pathTaken(const std::filesystem::path& path) {
    std::error_code error;
    const auto type = std::filesystem::symlink_status(path, error).type();
    return type != std::filesystem::file_type::not_found &&
           type != std::filesystem::file_type::none;
}

}  // namespace

bool WebWindowController::handleKey(PlatformWindow& platformWindow, const KeyEvent& event) {
    if (tornDown || !isMainWindow(platformWindow) || !platformWindow.isKey()) return false;
    // Caps Lock changes nothing about a shortcut.
    const std::uint32_t modifiers = event.modifiers & ~static_cast<std::uint32_t>(keyCapsLock);
    const std::string& key = event.charactersIgnoringModifiers;
    if (modifiers == keyCommand) {
        if (key == "l") {
            platformWindow.showAddressField(webView->currentURL().value_or(std::string()));
            addressShown = true;
        } else if (key == "[") {
            webView->goBack();
        } else if (key == "]") {
            webView->goForward();
        } else if (key == "r") {
            webView->reload();
        } else {
            return false;
        }
        return true;
    }
    if (modifiers == (keyShift | keyCommand)) {
        std::optional<std::string> address = webView->currentURL();
        if (address && address->empty()) address.reset();
        if (key == "c") {
            platform().setClipboardText(address);
        } else if (key == "o") {
            if (address) offerToSystem(*address);
        } else {
            return false;
        }
        return true;
    }
    return false;
}

void WebWindowController::commitAddress(PlatformWindow& platformWindow, const std::string& text) {
    if (isMainWindow(platformWindow)) commitAddressText(text);
}

void WebWindowController::commitAddressText(const std::string& text) {
    if (tornDown) return;
    // Nothing usable typed: the field stays up for the user to correct.
    const std::optional<std::string> address = typedAddress(text);
    if (!address) return;
    if (decideLink(homeURL, *address, false, true, LinkActivation::userLink) ==
        LinkDecision::openExternally) {
        offerToSystem(*address);
    } else {
        webView->load(*address, kLoadTimeoutSeconds);
    }
    window->platform().hideAddressField();
    addressShown = false;
    webView->focus();
}

bool WebWindowController::performAction(PlatformWindow& platformWindow, std::string_view action) {
    if (tornDown || !isMainWindow(platformWindow)) return false;
    const std::shared_ptr<WebActions> target = window->supplementalTarget(action);
    return target && target->perform(action);
}

void WebWindowController::titlebarDoubleClicked(PlatformWindow& platformWindow) {
    const std::optional<std::string> stored = platform().titlebarDoubleClickPreference();
    const std::optional<std::string_view> preference =
        stored ? std::optional<std::string_view>(*stored) : std::nullopt;
    switch (titlebarDoubleClickAction(preference)) {
        case TitlebarDoubleClick::zoom: platformWindow.zoom(); break;
        case TitlebarDoubleClick::minimize: platformWindow.miniaturize(); break;
        case TitlebarDoubleClick::none: break;
    }
}

std::string WebWindowController::decideDownloadDestination(const void* download,
                                                           const std::string& suggestedFileName) {
    const std::filesystem::path folder =
        std::filesystem::path(platform().homeDirectory()) / "Downloads";
    // A folder that cannot be made is not reported here: the platform fails the download,
    // and the failure is forgotten like any other.
    std::error_code ignored;
    std::filesystem::create_directories(folder, ignored);
    // Downloads still running have not created their files yet; their names count as
    // taken, so two downloads of report.pdf at once do not both write report.pdf.
    const auto taken = [this](const std::filesystem::path& candidate) {
        for (const auto& [running, destination] : downloads) {
            if (destination == candidate.string()) return true;
        }
        return pathTaken(candidate);
    };
    std::string destination = downloadDestination(folder, suggestedFileName, taken).string();
    downloads[download] = destination;
    return destination;
}

void WebWindowController::downloadDidFinish(const void* download) { downloads.erase(download); }

void WebWindowController::downloadDidFail(const void* download) { downloads.erase(download); }

void WebWindowController::didReceiveScriptMessage(const ScriptMessage& message) {
    if (message.name != kNotifyHandlerName || !message.isDictionary) return;
    const auto textOf = [&message](const std::string& key) -> std::optional<std::string> {
        const auto found = message.entries.find(key);
        if (found == message.entries.end()) return std::nullopt;
        return found->second;
    };
    const std::string title = textOf("title").value_or(std::string(kDefaultNotificationTitle));
    const std::string body = textOf("body").value_or(std::string());
    platform().postNotification(freshUUID(), title, body);
}

}  // namespace halyward
