// The base of everything that finishes a step of the update queue later: a fetch handler or a
// service lookup. The store knows the one under way and moves the queue on when it reports.
#pragma once

#include <cstdint>

class CRSSManager;

class CAsyncHandler {
public:
    /// The kinds that CRSSManager::notifyDidComplete tells apart. 3 is not used.
    enum : int32_t {
        kFeedType = 0,
        kPNGType = 1,
        kCodeType = 2,
        kServiceType = 4,
    };

    explicit CAsyncHandler(CRSSManager* manager) : m_manager(manager) {}
    virtual ~CAsyncHandler() = default;
    CAsyncHandler(const CAsyncHandler&) = delete;
    CAsyncHandler& operator=(const CAsyncHandler&) = delete;

    virtual int32_t getType() = 0;
    /// The store is going: whatever arrives later is dropped, and nothing is written.
    virtual void detach() { m_manager = nullptr; }

protected:
    /// The store the result goes to; null once detached.
    CRSSManager* m_manager;
};
