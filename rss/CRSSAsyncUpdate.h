// One entry of the update queue: a feed waiting to be fetched, or being fetched.
#pragma once

#include "values/EStr.h"

#include <cstdint>
#include <cstring>

struct CRSSAsyncUpdate {
    CEStr url;
    /// For a "service://" feed, the "http://" URL that discovery gave.
    CEStr resolved;
    int32_t reserved = 0;
    /// Finished; may be erased.
    uint16_t done = 0;
    /// resolved holds a result.
    uint16_t isResolved = 0;
    /// Handed to processUpdate.
    uint16_t started = 0;
    /// The result is to be dropped.
    uint16_t cancelled = 0;

    /// Whether the URL begins with "service://".
    bool isService() const { return std::strncmp(url.c_str(), "service://", 10) == 0; }
};
