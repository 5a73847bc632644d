#include "host/loop/CMainLoop.h"

#include <algorithm>

// One registration. Its GSource owns it (destroyEntry), so that a procedure that unregisters
// itself keeps the record alive until its dispatch has returned.
struct CMainLoop::Entry {
    CMainLoop* loop;
    IdleProc proc;
    void* data;
    bool oneShot;
    bool live;
    GSource* source;
};

CMainLoop::CMainLoop()
    : m_context(g_main_context_ref(g_main_context_default())),
      m_startMicros(g_get_monotonic_time()) {
    // A stop ends the wait of an iteration at once.
    GMainContext* context = m_context;
    m_stopWaker = m_stop.addWaker([context] { g_main_context_wakeup(context); });
}

CMainLoop::~CMainLoop() {
    m_stop.removeWaker(m_stopWaker);
    std::vector<Entry*> entries;
    entries.swap(m_entries);
    for (Entry* entry : entries) {
        entry->live = false;
        entry->loop = nullptr;
        GSource* source = entry->source;
        g_source_destroy(source); // deletes the entry unless it is being dispatched
        g_source_unref(source);
    }
    g_main_context_unref(m_context);
}

guint CMainLoop::ticksToMs(int32_t ticks) {
    if (ticks <= 0)
        return 0;
    return static_cast<guint>((static_cast<uint64_t>(ticks) * 1000 + 59) / 60);
}

void CMainLoop::add(IdleProc proc, void* data, int32_t ticks, bool oneShot) {
    if (!proc)
        return;
    auto* entry = new Entry{this, proc, data, oneShot, true, nullptr};
    // Period 0 means every idle moment: an idle source rather than a zero time-out, so that
    // sources with real work keep their priority.
    entry->source =
        (ticks > 0 || oneShot) ? g_timeout_source_new(ticksToMs(ticks)) : g_idle_source_new();
    g_source_set_callback(entry->source, &CMainLoop::dispatchEntry, entry,
                          &CMainLoop::destroyEntry);
    g_source_attach(entry->source, m_context);
    m_entries.push_back(entry);
}

void CMainLoop::forget(Entry* entry) {
    auto found = std::find(m_entries.begin(), m_entries.end(), entry);
    if (found == m_entries.end())
        return;
    m_entries.erase(found);
    entry->live = false;
    GSource* source = entry->source;
    g_source_destroy(source); // deletes the entry unless it is being dispatched
    g_source_unref(source);
}

void CMainLoop::remove(IdleProc proc, void* data, bool oneShot) {
    for (Entry* entry : m_entries) {
        if (entry->live && entry->oneShot == oneShot && entry->proc == proc &&
            entry->data == data) {
            forget(entry);
            return;
        }
    }
}

gboolean CMainLoop::dispatchEntry(gpointer data) {
    auto* entry = static_cast<Entry*>(data);
    if (!entry->live || !entry->loop)
        return G_SOURCE_REMOVE;
    if (entry->oneShot)
        entry->loop->forget(entry); // the record lives on until this dispatch returns
    entry->proc(entry->data);
    return entry->live ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}

void CMainLoop::destroyEntry(gpointer data) {
    delete static_cast<Entry*>(data);
}

void CMainLoop::registerIdle(IdleProc proc, void* data, int32_t periodTicks) {
    add(proc, data, periodTicks, false);
}

void CMainLoop::unregisterIdle(IdleProc proc, void* data) {
    remove(proc, data, false);
}

void CMainLoop::scheduleDelayed(IdleProc proc, void* data, int32_t delayTicks) {
    add(proc, data, delayTicks, true);
}

void CMainLoop::cancelDelayed(IdleProc proc, void* data) {
    remove(proc, data, true);
}

uint64_t CMainLoop::ticks() {
    return static_cast<uint64_t>(g_get_monotonic_time() - m_startMicros) * 60 / G_USEC_PER_SEC;
}

int64_t CMainLoop::currentTime() {
    return g_get_real_time() / G_USEC_PER_SEC;
}

bool CMainLoop::hasPending() const {
    return !m_entries.empty() || m_work > 0;
}

bool CMainLoop::hasWork() const {
    return m_work > 0 || std::any_of(m_entries.begin(), m_entries.end(),
                                     [](const Entry* entry) { return entry->oneShot; });
}

void CMainLoop::beginWork() {
    ++m_work;
}

void CMainLoop::endWork() {
    if (m_work > 0)
        --m_work;
    g_main_context_wakeup(m_context);
}

void CMainLoop::quit() {
    m_quit = true;
    g_main_context_wakeup(m_context);
}

namespace {

gboolean markLimitReached(gpointer data) {
    *static_cast<bool*>(data) = true;
    return G_SOURCE_REMOVE;
}

} // namespace

bool CMainLoop::run(int64_t limitMs) {
    bool limitReached = false;
    GSource* limit = nullptr;
    if (limitMs >= 0) {
        limit = g_timeout_source_new(static_cast<guint>(std::min<int64_t>(limitMs, G_MAXUINT)));
        g_source_set_callback(limit, markLimitReached, &limitReached, nullptr);
        g_source_attach(limit, m_context);
    }
    m_quit = false;
    while (!m_quit && !limitReached && hasPending())
        g_main_context_iteration(m_context, TRUE);
    // A nested run that was quit must not end the one it returns to.
    m_quit = false;
    if (limit) {
        g_source_destroy(limit);
        g_source_unref(limit);
    }
    return !limitReached;
}
