// The handler of a reply kept as bytes: an icon or a script. The body is gathered whole (up to
// a limit) and handed to the store by the subclass's done().
#pragma once

#include "rss/CFeedHandler.h"

#include <cstddef>

class CBinaryHandler : public CFeedHandler {
public:
    using CFeedHandler::CFeedHandler;
    ~CBinaryHandler() override;

    bool process(CHTTPRequest* request, const char* data, long length, long error) override;

protected:
    /// Hands the bytes to the store, which takes them over; buffer is then null.
    void giveBuffer() { buffer = nullptr; }

    size_t capacity = 0;
    size_t length = 0;
    /// Allocated with QsMalloc; one byte beyond length is kept for a closing zero.
    unsigned char* buffer = nullptr;
};
