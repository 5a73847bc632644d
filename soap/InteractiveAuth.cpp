#include "soap/InteractiveAuth.h"

int32_t InteractiveAuthCB(const char*, const char*, char** user, char** password, long, long,
                          void*) {
    if (user)
        *user = nullptr;
    if (password)
        *password = nullptr;
    // The request's own credentials, the credential store and the sign-in dialog answer here
    // once the credentials arrive; until then a demand is declined and the request ends with
    // the server's 401.
    return 0;
}
