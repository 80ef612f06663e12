#include "launcher.hpp"

#include "halyward/webapps/application_id.hpp"

#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>

#include <filesystem>

#include <unistd.h>

namespace halyward::x11 {

namespace {

/// Owns one GObject reference.
template <class T>
struct Owned {
    T* value = nullptr;
    explicit Owned(T* object) : value(object) {}
    ~Owned() {
        if (value != nullptr) g_object_unref(value);
    }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
};

void rememberPid(GDesktopAppInfo*, GPid pid, gpointer data) {
    *static_cast<std::int64_t*>(data) = pid;
}

}  // namespace

std::optional<std::int64_t> Launcher::launch(const LaunchRequest& request, std::uint32_t userTime,
                                             std::string& error) {
    GDesktopAppInfo* info = nullptr;
    for (const std::string& id : {request.appIdentity, applicationID(request.appIdentity)}) {
        if (id.empty()) continue;
        info = g_desktop_app_info_new((id + ".desktop").c_str());
        if (info != nullptr) break;
    }
    std::int64_t pid = 0;
    Owned<GAppLaunchContext> context(g_app_launch_context_new());
    // What a launcher with startup notification passes on: the id names us and the time
    // of the key press, which the new window gives its window manager as the user time.
    const std::string startupId = "halyward-app-" + std::to_string(::getpid()) + "-" +
                                  std::to_string(++launches_) + "_TIME" + std::to_string(userTime);
    g_app_launch_context_setenv(context.value, "DESKTOP_STARTUP_ID", startupId.c_str());

    GError* failure = nullptr;
    if (info != nullptr) {
        Owned<GDesktopAppInfo> owned(info);
        if (g_desktop_app_info_launch_uris_as_manager(info, nullptr, context.value,
                                                      G_SPAWN_SEARCH_PATH, nullptr, nullptr,
                                                      rememberPid, &pid, &failure)) {
            return pid;
        }
    } else if (!request.bundlePath.empty()) {
        const std::string host =
            (std::filesystem::path(request.bundlePath) / "Contents" / "MacOS" / "HalywardWebHost")
                .string();
        if (::access(host.c_str(), X_OK) != 0) {
            error = "The web app's bundle has no host to start at " + host + ".";
            return std::nullopt;
        }
        gchar* quoted = g_shell_quote(host.c_str());
        GAppInfo* appInfo =
            g_app_info_create_from_commandline(quoted, nullptr, G_APP_INFO_CREATE_NONE, &failure);
        g_free(quoted);
        if (appInfo != nullptr) {
            Owned<GAppInfo> owned(appInfo);
            if (g_app_info_launch(appInfo, nullptr, context.value, &failure)) return 0;
        }
    } else {
        error = "No installed application has the desktop id " + request.appIdentity + ".";
        return std::nullopt;
    }
    error = failure != nullptr ? failure->message : "The application could not be started.";
    if (failure != nullptr) g_error_free(failure);
    return std::nullopt;
}

}  // namespace halyward::x11
