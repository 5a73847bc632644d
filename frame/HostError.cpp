#include "frame/HostError.h"

void raiseHostError(int32_t code) {
    throw HostError{code};
}
