#include "rss/CBinaryHandler.h"

#include "frame/QsCore.h"
#include "rss/CRSSManager.h"
#include "soap/CHTTPRequest.h"

#include <cstring>

CBinaryHandler::~CBinaryHandler() {
    QsFree(buffer);
}

bool CBinaryHandler::process(CHTTPRequest* request, const char* data, long size, long error) {
    status = static_cast<int32_t>(request ? request->getStatus() : 0);
    this->error = static_cast<int32_t>(error);
    if (size > 0) {
        if (tooLarge)
            return false;
        size_t piece = static_cast<size_t>(size);
        if (length + piece + 1 > static_cast<size_t>(CRSSManager::kMaxBinaryBytes)) {
            tooLarge = true;
            QsFree(buffer);
            buffer = nullptr;
            length = capacity = 0;
            return false;
        }
        if (!buffer) {
            capacity = piece + 1;
            buffer = static_cast<unsigned char*>(QsMalloc(capacity));
            if (!buffer)
                return false;
        } else if (length + piece + 1 > capacity) {
            size_t grown = piece < capacity ? 2 * capacity : capacity + piece + 1;
            auto* larger = static_cast<unsigned char*>(QsMalloc(grown));
            if (!larger) {
                QsFree(buffer);
                buffer = nullptr;
                return false;
            }
            std::memcpy(larger, buffer, length);
            QsFree(buffer);
            buffer = larger;
            capacity = grown;
        }
        std::memcpy(buffer + length, data, piece);
        length += piece;
        return true;
    }
    if (m_manager && !dropIfCancelled()) {
        if (tooLarge) {
            setError(IDS_NETWORK_INVALID);
            status = -1;
        } else if (status == 200) {
            if (buffer && length < capacity)
                buffer[length] = 0;
            if (done())
                m_manager->notifyDidUpdate(url);
        }
        // A 304 keeps the bytes the store has; any other status only shows in State.
        descriptor()["State"] = CAgg(status == 304 ? 200L : static_cast<long>(status));
    }
    if (isAsync)
        finishAsync();
    return false;
}
