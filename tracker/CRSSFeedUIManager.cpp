#include "tracker/CRSSFeedUIManager.h"

#include "frame/HostTables.h"
#include "frame/host/IIdle.h"
#include "rss/CRSSManager.h"

#include <algorithm>

void CRSSFeedUIObserver::didAddUI(EStr) {}
void CRSSFeedUIObserver::didUpdateUI(EStr) {}
void CRSSFeedUIObserver::didRemoveUI(EStr) {}

CRSSFeedUIManager* CRSSFeedUIManager::sm_instance = nullptr;

CRSSFeedUIManager::CRSSFeedUIManager() : m_default(std::make_unique<CRSSFeedUI>()) {}

CRSSFeedUIManager::~CRSSFeedUIManager() {
    if (m_removeScheduled)
        if (IIdle* idle = HostIdle())
            idle->cancelDelayed(RemoveUIDoIt, this);
    m_focus = nullptr;
    for (Pending& pending : m_pending)
        delete pending.ui;
    for (auto& [url, ui] : m_uis)
        delete ui;
    m_uis.clear();
    // The default presentation goes last, with the manager still there to release its focus.
    m_default.reset();
}

CRSSFeedUIManager& CRSSFeedUIManager::instance() {
    if (!sm_instance)
        sm_instance = new CRSSFeedUIManager;
    return *sm_instance;
}

void CRSSFeedUIManager::destroyInstance() {
    CRSSFeedUIManager* manager = sm_instance;
    delete manager;
    sm_instance = nullptr;
}

CRSSFeedUI* CRSSFeedUIManager::findFeedUI(EStr url) {
    if (!url)
        return nullptr;
    auto found = m_uis.find(CRSSManager::normalURL(url));
    return found == m_uis.end() ? nullptr : found->second;
}

CRSSFeedUI* CRSSFeedUIManager::getFeedUI(EStr url) {
    CRSSFeedUI* own = findFeedUI(url);
    return own ? own : m_default.get();
}

template <class Fn> void CRSSFeedUIManager::notify(Fn fn) {
    std::vector<CRSSFeedUIObserver*> observers = m_observers;
    for (CRSSFeedUIObserver* observer : observers)
        if (std::find(m_observers.begin(), m_observers.end(), observer) != m_observers.end())
            fn(observer);
}

void CRSSFeedUIManager::notifyDidAdd(EStr url, CRSSFeedUI* ui) {
    ui->didLoad();
    notify([&](CRSSFeedUIObserver* observer) { observer->didAddUI(url); });
}

void CRSSFeedUIManager::addFeedUI(EStr url, CRSSFeedUI* ui) {
    if (!url || !ui)
        return;
    CEStr key = CRSSManager::normalURL(url);
    bool replaced = false;
    auto found = m_uis.find(key);
    if (found != m_uis.end()) {
        CRSSFeedUI* old = found->second;
        m_uis.erase(found);
        if (old != ui) {
            releaseContextFocus(old);
            delete old;
        }
        replaced = true;
    }
    m_uis.emplace(key, ui);
    if (replaced)
        notify([&](CRSSFeedUIObserver* observer) { observer->didUpdateUI(key); });
    else
        notifyDidAdd(key, ui);
}

void CRSSFeedUIManager::removeFeedUI(EStr url) {
    if (!url)
        return;
    auto found = m_uis.find(CRSSManager::normalURL(url));
    if (found == m_uis.end())
        return;
    m_pending.push_back({found->first, found->second});
    m_uis.erase(found);
    if (m_removeScheduled)
        return;
    if (IIdle* idle = HostIdle()) {
        idle->scheduleDelayed(RemoveUIDoIt, this, 0);
        m_removeScheduled = true;
    } else {
        RemoveUIDoIt(this);
    }
}

void CRSSFeedUIManager::RemoveUIDoIt(void* data) {
    auto* manager = static_cast<CRSSFeedUIManager*>(data);
    manager->m_removeScheduled = false;
    std::vector<Pending> pending = std::move(manager->m_pending);
    manager->m_pending.clear();
    for (Pending& entry : pending) {
        entry.ui->willUnload();
        manager->notify([&](CRSSFeedUIObserver* observer) { observer->didRemoveUI(entry.url); });
        manager->releaseContextFocus(entry.ui);
        delete entry.ui;
    }
}

void CRSSFeedUIManager::addObserver(CRSSFeedUIObserver* observer) {
    if (observer &&
        std::find(m_observers.begin(), m_observers.end(), observer) == m_observers.end())
        m_observers.push_back(observer);
}

void CRSSFeedUIManager::removeObserver(CRSSFeedUIObserver* observer) {
    m_observers.erase(std::remove(m_observers.begin(), m_observers.end(), observer),
                      m_observers.end());
}

void CRSSFeedUIManager::setContextFocus(CRSSFeedUI* ui) {
    if (ui == m_focus)
        return;
    CRSSFeedUI* old = m_focus;
    m_focus = ui;
    if (!old)
        return;
    old->willLoseContextFocus();
    old->hideContextView();
}

void CRSSFeedUIManager::releaseContextFocus(CRSSFeedUI* ui) {
    if (ui && m_focus == ui)
        m_focus = nullptr;
}
