#include "tracker/TrackerAuth.h"

int32_t TrackerAuthCB(const char*, const char*, char** user, char** password, long, long, void*) {
    if (user)
        *user = nullptr;
    if (password)
        *password = nullptr;
    // Stored credentials, and the dialog for the current subscription of a visible Tracker,
    // answer here once the credentials and the panel arrive; until then the update fails
    // quietly and is retried later.
    return 0;
}
