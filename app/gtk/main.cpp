// halyward-new-app: the small window behind the new-app chord and the tray's "New web
// app…". It runs `halyward app add` through the same command router as the command line,
// shows its progress and refusals as they are worded there, and opens the new app when it
// is made. A process of its own, so GTK is never loaded into the running app.

#include "halyward/app/new_app_form.hpp"
#include "halyward/commands/command_router.hpp"
#include "halyward/commands/targets.hpp"
#include "halyward/system/platform_paths.hpp"
#include "halyward/webapps/application_id.hpp"

#include <gio/gdesktopappinfo.h>
#include <gtk/gtk.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

using namespace halyward;

namespace {

std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

struct Form {
    GtkWidget* window = nullptr;
    GtkWidget* address = nullptr;
    GtkWidget* name = nullptr;
    GtkWidget* hotkey = nullptr;
    GtkWidget* tile = nullptr;
    GtkWidget* make = nullptr;
    GtkWidget* status = nullptr;
    std::vector<std::string> tiles = newAppTileChoices();
    std::thread worker;
};

std::string entryText(GtkWidget* entry) { return gtk_editable_get_text(GTK_EDITABLE(entry)); }

// A line for the status label from the worker thread, shown on the main thread.
struct StatusLine {
    Form* form;
    std::string text;
    bool finished = false;
    bool made = false;
    std::string bundleIdentifier;
};

gboolean showStatus(gpointer data) {
    std::unique_ptr<StatusLine> line(static_cast<StatusLine*>(data));
    Form& form = *line->form;
    gtk_label_set_text(GTK_LABEL(form.status), line->text.c_str());
    if (!line->finished) return G_SOURCE_REMOVE;
    if (form.worker.joinable()) form.worker.join();
    if (!line->made) {
        gtk_widget_set_sensitive(form.make, TRUE);
        return G_SOURCE_REMOVE;
    }
    // The launcher entry the bundle writer installed is named for the bundle identifier.
    const std::string id = applicationID(line->bundleIdentifier) + ".desktop";
    if (GDesktopAppInfo* info = g_desktop_app_info_new(id.c_str())) {
        g_app_info_launch(G_APP_INFO(info), nullptr, nullptr, nullptr);
        g_object_unref(info);
    }
    gtk_window_destroy(GTK_WINDOW(form.window));
    return G_SOURCE_REMOVE;
}

void post(Form* form, std::string text) {
    g_idle_add(showStatus, new StatusLine{form, std::move(text), false, false, {}});
}

CommandContext commandContext(Form* form) {
    const PathEnvironment paths = currentPathEnvironment();
    CommandContext context;
    context.home = paths.home;
    context.paths = platformPaths(hostPathConvention(), paths, localSocketPathLimit());
    std::error_code error;
    context.workingDirectory = std::filesystem::current_path(error).string();
    const std::vector<std::string> folders =
        desktopDataFolders(paths.home, environment("XDG_DATA_HOME"), environment("XDG_DATA_DIRS"));
    context.findApplication = [folders](std::string_view name) {
        return findDesktopApplication(name, folders);
    };
    context.progress = [form](std::string_view line) { post(form, std::string(line)); };
    return context;
}

void makeApp(GtkButton*, gpointer data) {
    auto* form = static_cast<Form*>(data);
    if (form->worker.joinable()) return;
    NewAppForm fields;
    fields.address = entryText(form->address);
    fields.name = entryText(form->name);
    fields.hotkey = entryText(form->hotkey);
    const guint tile = gtk_drop_down_get_selected(GTK_DROP_DOWN(form->tile));
    if (tile < form->tiles.size()) fields.tile = form->tiles[tile];
    gtk_widget_set_sensitive(form->make, FALSE);
    gtk_label_set_text(GTK_LABEL(form->status), "Making the web app…");
    // Fetching the site takes a while; the window keeps answering meanwhile.
    form->worker = std::thread([form, arguments = newAppArguments(fields)] {
        const CommandOutput output = CommandRouter(commandContext(form)).run(arguments);
        auto* line = new StatusLine{form, output.message, true, output.ok(), {}};
        if (const std::optional<JSONObject> app = output.payload.objectValue()) {
            if (auto found = app->find("bundleIdentifier"); found != app->end())
                line->bundleIdentifier = found->second.stringValue().value_or("");
        }
        g_idle_add(showStatus, line);
    });
}

void clipboardRead(GObject* source, GAsyncResult* result, gpointer data) {
    auto* form = static_cast<Form*>(data);
    gchar* text = gdk_clipboard_read_text_finish(GDK_CLIPBOARD(source), result, nullptr);
    if (text == nullptr) return;
    const std::string address = clipboardAddress(text);
    g_free(text);
    // Only into an empty field: the user may have started typing already.
    if (!address.empty() && entryText(form->address).empty())
        gtk_editable_set_text(GTK_EDITABLE(form->address), address.c_str());
}

GtkWidget* row(GtkWidget* grid, int line, const char* label, GtkWidget* field) {
    GtkWidget* caption = gtk_label_new(label);
    gtk_label_set_xalign(GTK_LABEL(caption), 1.0);
    gtk_grid_attach(GTK_GRID(grid), caption, 0, line, 1, 1);
    gtk_widget_set_hexpand(field, TRUE);
    gtk_grid_attach(GTK_GRID(grid), field, 1, line, 1, 1);
    return field;
}

void activate(GtkApplication* application, gpointer data) {
    auto* form = static_cast<Form*>(data);
    form->window = gtk_application_window_new(application);
    gtk_window_set_title(GTK_WINDOW(form->window), "New web app");
    gtk_window_set_default_size(GTK_WINDOW(form->window), 460, -1);

    GtkWidget* grid = gtk_grid_new();
    gtk_grid_set_row_spacing(GTK_GRID(grid), 8);
    gtk_grid_set_column_spacing(GTK_GRID(grid), 10);
    gtk_widget_set_margin_start(grid, 16);
    gtk_widget_set_margin_end(grid, 16);
    gtk_widget_set_margin_top(grid, 16);
    gtk_widget_set_margin_bottom(grid, 16);

    form->address = row(grid, 0, "Address", gtk_entry_new());
    gtk_entry_set_placeholder_text(GTK_ENTRY(form->address), "https://www.example.com/");
    form->name = row(grid, 1, "Name", gtk_entry_new());
    gtk_entry_set_placeholder_text(GTK_ENTRY(form->name), "The site's name when left empty");
    form->hotkey = row(grid, 2, "Hotkey", gtk_entry_new());
    gtk_entry_set_placeholder_text(GTK_ENTRY(form->hotkey), "Optional, like ctrl+opt+m");
    std::vector<const char*> tiles;
    for (const std::string& tile : form->tiles)
        tiles.push_back(tile.empty() ? "No tile" : tile.c_str());
    tiles.push_back(nullptr);
    form->tile = row(grid, 3, "Tile", gtk_drop_down_new_from_strings(tiles.data()));

    form->status = gtk_label_new("");
    gtk_label_set_wrap(GTK_LABEL(form->status), TRUE);
    gtk_label_set_xalign(GTK_LABEL(form->status), 0.0);
    gtk_label_set_max_width_chars(GTK_LABEL(form->status), 50);
    gtk_grid_attach(GTK_GRID(grid), form->status, 0, 4, 2, 1);

    form->make = gtk_button_new_with_label("Make web app");
    gtk_widget_add_css_class(form->make, "suggested-action");
    gtk_widget_set_halign(form->make, GTK_ALIGN_END);
    gtk_grid_attach(GTK_GRID(grid), form->make, 1, 5, 1, 1);
    g_signal_connect(form->make, "clicked", G_CALLBACK(makeApp), form);
    for (GtkWidget* entry : {form->address, form->name, form->hotkey})
        g_signal_connect_swapped(entry, "activate", G_CALLBACK(gtk_widget_activate), form->make);

    gtk_window_set_child(GTK_WINDOW(form->window), grid);
    gtk_window_set_default_widget(GTK_WINDOW(form->window), form->make);
    gdk_clipboard_read_text_async(gtk_widget_get_clipboard(form->window), nullptr, clipboardRead,
                                  form);
    gtk_window_present(GTK_WINDOW(form->window));
}

// The first-run window: the text halyward-app decided, and a button to close it.
void activateFirstRun(GtkApplication* application, gpointer data) {
    GtkWidget* window = gtk_application_window_new(application);
    gtk_window_set_title(GTK_WINDOW(window), "Welcome to Halyward");
    GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 12);
    gtk_widget_set_margin_start(box, 20);
    gtk_widget_set_margin_end(box, 20);
    gtk_widget_set_margin_top(box, 20);
    gtk_widget_set_margin_bottom(box, 16);
    GtkWidget* text = gtk_label_new(static_cast<const char*>(data));
    gtk_label_set_wrap(GTK_LABEL(text), TRUE);
    gtk_label_set_max_width_chars(GTK_LABEL(text), 60);
    gtk_label_set_xalign(GTK_LABEL(text), 0.0);
    gtk_box_append(GTK_BOX(box), text);
    GtkWidget* done = gtk_button_new_with_label("Start tiling");
    gtk_widget_add_css_class(done, "suggested-action");
    gtk_widget_set_halign(done, GTK_ALIGN_END);
    g_signal_connect_swapped(done, "clicked", G_CALLBACK(gtk_window_destroy), window);
    gtk_box_append(GTK_BOX(box), done);
    gtk_window_set_child(GTK_WINDOW(window), box);
    gtk_window_set_default_widget(GTK_WINDOW(window), done);
    gtk_window_present(GTK_WINDOW(window));
}

}  // namespace

int main(int argc, char** argv) {
    // "--first-run <text>" shows the first-run window instead of the form. GApplication
    // is given the program name alone, so it never reads these arguments as its own.
    std::string firstRun;
    const bool welcome = argc == 3 && std::string_view(argv[1]) == "--first-run";
    if (welcome) firstRun = argv[2];
    argc = 1;
    Form form;
    // Not unique: a second press of the chord while one form is open opens another, as a
    // second "New" does elsewhere, and no bus name is needed.
    GtkApplication* application =
        gtk_application_new("app.halyward.NewApp", G_APPLICATION_NON_UNIQUE);
    if (welcome) {
        g_signal_connect(application, "activate", G_CALLBACK(activateFirstRun), firstRun.data());
    } else {
        g_signal_connect(application, "activate", G_CALLBACK(activate), &form);
    }
    const int status = g_application_run(G_APPLICATION(application), argc, argv);
    if (form.worker.joinable()) form.worker.join();
    g_object_unref(application);
    return status;
}
