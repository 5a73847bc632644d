// tracker_sample: the sample panel (CSamplePanel) served as the Tracker page, for the browser
// tests. Prints the page's address on a line of its own and serves until SIGTERM or SIGINT.
//   tracker_sample [--closed]   (--closed: the window is not shown at the start)
#include "host/tracker/CTrackerPage.h"
#include "host/view/CHostViewLayer.h"
#include "tests/support/CSamplePanel.h"

#include <glib-unix.h>
#include <signal.h>

#include <cstring>
#include <iostream>

int main(int argc, char** argv) {
    bool closed = argc > 1 && std::strcmp(argv[1], "--closed") == 0;
    GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
    CHostViewLayer layer;
    CTrackerPage page(layer, g_main_context_default());
    std::string error;
    if (!page.start(error)) {
        std::cerr << "tracker_sample: " << error << std::endl;
        return 1;
    }
    {
        CSamplePanel panel(layer, &page);
        panel.addFeed("Harbour Town Gazette",
                      {"Ferry timetable changes from Monday", "Storm warning for the weekend"});
        panel.addFeed("<img src=x onerror=\"document.title='pwned'\">Evil <b>feed</b>",
                      {"<script>document.title='pwned'</script>Scripted item"});
        panel.addFeed("Field Notes",
                      {"First brent geese of the winter", "Samphire, late in the year"});
        if (!closed)
            layer.showPanel("Tracker", true);
        std::cout << page.address() << std::endl;
        auto quit = [](gpointer data) {
            g_main_loop_quit(static_cast<GMainLoop*>(data));
            return G_SOURCE_REMOVE;
        };
        g_unix_signal_add(SIGTERM, quit, loop);
        g_unix_signal_add(SIGINT, quit, loop);
        g_main_loop_run(loop);
    }
    page.stop();
    g_main_loop_unref(loop);
    return 0;
}
