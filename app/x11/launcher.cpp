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

/// A value of a startup-notification message: quoted, with '"' and '\' escaped.
std::string quotedValue(const std::string& value) {
    std::string out = "\"";
    for (char c : value) {
        if (c == '"' || c == '\\') out += '\\';
        out += c;
    }
    return out + "\"";
}

}  // namespace

}  // namespace halyward::x11

// GIO asks its launch context for a startup id; the plain context has none to give, so
// ours is a small subclass that hands the question to the Launcher.
extern "C" {
struct HalywardLaunchContext {
    GAppLaunchContext parent;
    halyward::x11::Launcher* launcher;
};
struct HalywardLaunchContextClass {
    GAppLaunchContextClass parent;
};
}

G_DEFINE_TYPE(HalywardLaunchContext, halyward_launch_context, G_TYPE_APP_LAUNCH_CONTEXT)

static char* halywardStartupNotifyId(GAppLaunchContext* context, GAppInfo* info, GList*) {
    auto* self = reinterpret_cast<HalywardLaunchContext*>(context);
    const char* name = g_app_info_get_name(info);
    const char* id = g_app_info_get_id(info);
    const std::string startup =
        self->launcher->beginStartup(name != nullptr ? name : "", id != nullptr ? id : "");
    return g_strdup(startup.c_str());
}

static void halywardLaunchFailed(GAppLaunchContext* context, const char* startupId) {
    auto* self = reinterpret_cast<HalywardLaunchContext*>(context);
    if (startupId != nullptr) self->launcher->startupFailed(startupId);
}

static void halyward_launch_context_class_init(HalywardLaunchContextClass* type) {
    auto* base = reinterpret_cast<GAppLaunchContextClass*>(type);
    base->get_startup_notify_id = halywardStartupNotifyId;
    base->launch_failed = halywardLaunchFailed;
}

static void halyward_launch_context_init(HalywardLaunchContext* self) { self->launcher = nullptr; }

namespace halyward::x11 {

Launcher::Launcher(std::function<void(const std::string& message)> announce)
    : announce_(std::move(announce)) {}

std::string Launcher::beginStartup(const std::string& name, const std::string& application) {
    // The _TIME suffix is how the new window learns the time of the user's action.
    const std::string id = "halyward-app-" + std::to_string(::getpid()) + "-" +
                           std::to_string(++launches_) + "_TIME" + std::to_string(userTime_);
    std::string message = "new: ID=" + quotedValue(id) + " NAME=" + quotedValue(name) +
                          " SCREEN=0 TIMESTAMP=" + std::to_string(userTime_);
    if (!application.empty()) message += " APPLICATION_ID=" + quotedValue(application);
    if (announce_) announce_(message);
    return id;
}

void Launcher::startupFailed(const std::string& id) {
    if (announce_) announce_("remove: ID=" + quotedValue(id));
}

std::optional<std::int64_t> Launcher::launch(const LaunchRequest& request, std::uint32_t userTime,
                                             std::string& error) {
    userTime_ = userTime;
    GDesktopAppInfo* info = nullptr;
    for (const std::string& id : {request.appIdentity, applicationID(request.appIdentity)}) {
        if (id.empty()) continue;
        info = g_desktop_app_info_new((id + ".desktop").c_str());
        if (info != nullptr) break;
    }
    Owned<GAppLaunchContext> context(
        static_cast<GAppLaunchContext*>(g_object_new(halyward_launch_context_get_type(), nullptr)));
    reinterpret_cast<HalywardLaunchContext*>(context.value)->launcher = this;

    std::int64_t pid = 0;
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
