// HalywardWebHost on Linux. The executable sits in a web-app bundle as
// <bundle>/Contents/MacOS/HalywardWebHost and learns which site it shows from
// <bundle>/Contents/Info.plist; no argument is interpreted.

#include "gtk_platform.hpp"
#include "halyward/host/bundle_location.hpp"
#include "halyward/host/rendering.hpp"
#include "halyward/host/web_host_delegate.hpp"
#include "halyward/webapps/application_id.hpp"
#include "halyward/webapps/bundle_info.hpp"
#include "rendering_probe.hpp"

#include <gtk/gtk.h>
#ifdef GDK_WINDOWING_X11
#include <gdk/x11/gdkx.h>
#endif

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

using halyward::gtk::GtkPlatform;

struct Host {
    std::optional<halyward::BundleInfo> info;
    std::string applicationID;
    /// The environment variables this process set for itself.
    std::vector<std::string> ownEnvironment;
    std::unique_ptr<GtkPlatform> platform;
    std::shared_ptr<halyward::WebHostDelegate> delegate;
};

void onStartup(GApplication* application, gpointer data) {
    auto* host = static_cast<Host*>(data);
    GdkDisplay* display = gdk_display_get_default();
#ifdef GDK_WINDOWING_X11
    // The program class (WM_CLASS) is what X11 docks match a window to its launcher by.
    if (display != nullptr && GDK_IS_X11_DISPLAY(display) && !host->applicationID.empty()) {
        gdk_x11_display_set_program_class(display, host->applicationID.c_str());
    }
#endif
    const bool accelerated =
        halyward::useAcceleratedCompositing(halyward::gtk::hardwareRendering(display));
    host->platform = std::make_unique<GtkPlatform>(
        GTK_APPLICATION(application), host->applicationID, accelerated, host->ownEnvironment);
    host->delegate = std::make_shared<halyward::WebHostDelegate>(*host->platform, host->info);
    g_set_application_name(host->delegate->bundleName.c_str());
}

void onActivate(GApplication*, gpointer data) {
    auto* host = static_cast<Host*>(data);
    // The first activation is the launch; any later one is the app being opened again
    // while it runs (a second launch hands its activation to this process).
    static bool launched = false;
    if (!launched) {
        launched = true;
        host->delegate->applicationDidFinishLaunching();
    } else {
        host->delegate->applicationDidReopen();
    }
}

}  // namespace

int main(int, char** argv) {
    Host host;
    if (const auto bundle = halyward::bundleOfExecutable("/proc/self/exe")) {
        host.info = halyward::readBundleInfo(*bundle);
    }
    const std::optional<std::string> identifier =
        host.info ? host.info->string("CFBundleIdentifier") : std::nullopt;
    if (identifier && !identifier->empty()) {
        host.applicationID = halyward::applicationID(*identifier);
    }
    // A machine with no GPU device at all draws without OpenGL: GTK's GL renderer, and the
    // OpenGL that GDK and WebKit load to find out what the machine can do, would run on an
    // emulation that costs more than it saves. The toolkit and the engine only read their
    // switches from the environment, so they are set here, before the toolkit starts a
    // thread; ones set by the user win. Programs this process launches do not inherit them
    // (see GtkPlatform::openExternally). A machine with a GPU keeps the toolkit's and the
    // engine's own choices.
    if (!halyward::useAcceleratedCompositing(halyward::gtk::hasRenderNode())) {
        host.ownEnvironment = halyward::gtk::drawWithoutOpenGL();
    }

    // The application id is also the program name, the Wayland app id and the
    // desktop-entry id, so launchers and docks see one app.
    if (!host.applicationID.empty()) {
        g_set_prgname(host.applicationID.c_str());
    }

    // With an id, a second launch of the same app activates the running one instead.
    GtkApplication* application = gtk_application_new(
        host.applicationID.empty() ? nullptr : host.applicationID.c_str(),
        host.applicationID.empty() ? G_APPLICATION_NON_UNIQUE : G_APPLICATION_DEFAULT_FLAGS);
    g_signal_connect(application, "startup", G_CALLBACK(onStartup), &host);
    g_signal_connect(application, "activate", G_CALLBACK(onActivate), &host);

    // Only the program name is passed on: the host interprets no argument.
    char* arguments[] = {argv[0], nullptr};
    const int status = g_application_run(G_APPLICATION(application), 1, arguments);

    host.delegate.reset();
    host.platform.reset();
    g_object_unref(application);
    return status;
}
