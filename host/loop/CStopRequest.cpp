#include "host/loop/CStopRequest.h"

void CStopRequest::raise(Reason reason) {
    int none = static_cast<int>(Reason::None);
    m_reason.compare_exchange_strong(none, static_cast<int>(reason));
    std::lock_guard<std::mutex> lock(m_mutex);
    for (auto& [key, waker] : m_wakers)
        waker();
}

int CStopRequest::addWaker(std::function<void()> waker) {
    std::lock_guard<std::mutex> lock(m_mutex);
    int key = m_nextKey++;
    m_wakers.emplace(key, std::move(waker));
    return key;
}

void CStopRequest::removeWaker(int key) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_wakers.erase(key);
}
