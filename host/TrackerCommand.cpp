#include "host/TrackerCommand.h"

#include "host/CReferenceHost.h"
#include "host/tracker/CTrackerPage.h"

#include <glib-unix.h>
#include <signal.h>

#include <ostream>

namespace {

struct Serving {
    CMainLoop& loop;
    CTrackerPage& page;
};

// Ctrl-C, SIGTERM or the time limit: the page closes first, so that a dialog waiting on it gives
// up, then the loop ends.
gboolean stopServing(gpointer data) {
    auto* serving = static_cast<Serving*>(data);
    serving->page.stop();
    serving->loop.quit();
    return G_SOURCE_REMOVE;
}

void openInBrowser(const std::string& address, std::ostream& errors) {
    std::string program = "xdg-open";
    std::string argument = address;
    char* argv[] = {program.data(), argument.data(), nullptr};
    GError* error = nullptr;
    if (!g_spawn_async(nullptr, argv, nullptr,
                       static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH | G_SPAWN_STDOUT_TO_DEV_NULL |
                                                G_SPAWN_STDERR_TO_DEV_NULL),
                       nullptr, nullptr, nullptr, &error)) {
        errors << "vellum-host: cannot open a browser: " << (error ? error->message : "no xdg-open")
               << std::endl;
        g_clear_error(&error);
    }
}

} // namespace

int RunTracker(CReferenceHost& host, const std::string& plugin, const TrackerRequest& request,
               std::ostream& out, std::ostream& errors) {
    std::string error;
    if (!host.start(plugin, error)) {
        errors << "vellum-host: " << error << std::endl;
        return 2;
    }
    int status = 0;
    {
        CTrackerPage page(host.viewLayer(), host.loop().context());
        if (!page.start(error, request.port)) {
            errors << "vellum-host: cannot serve the Tracker: " << error << std::endl;
            status = 1;
        } else {
            host.userInterface().setPageDialogs(&page);
            if (!host.viewLayer().showPanel("Tracker", false))
                errors << "vellum-host: the plug-in offers no Tracker panel" << std::endl;
            out << "The Tracker is served at\n"
                << page.address() << "\nPress Ctrl-C to stop." << std::endl;
            if (request.open)
                openInBrowser(page.address(), errors);

            CMainLoop& loop = host.loop();
            Serving serving{loop, page};
            guint interrupt = g_unix_signal_add(SIGINT, stopServing, &serving);
            guint terminate = g_unix_signal_add(SIGTERM, stopServing, &serving);
            guint limit = request.timeoutSeconds > 0
                              ? g_timeout_add_seconds(static_cast<guint>(request.timeoutSeconds),
                                                      stopServing, &serving)
                              : 0;
            // The page is work under way: the loop serves it until told to stop.
            loop.beginWork();
            loop.run();
            loop.endWork();
            for (guint source : {interrupt, terminate, limit}) {
                if (GSource* pending =
                        source ? g_main_context_find_source_by_id(nullptr, source) : nullptr;
                    pending && !g_source_is_destroyed(pending))
                    g_source_remove(source);
            }
            host.userInterface().setPageDialogs(nullptr);
        }
        page.stop();
    }
    host.stop();
    return status;
}
