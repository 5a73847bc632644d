#include "host/extra/CHostQsExtra.h"

#include <uuid/uuid.h>

std::string CHostQsExtra::newUUID() {
    uuid_t id;
    uuid_generate_random(id);
    char text[37];
    uuid_unparse_lower(id, text);
    return text;
}
