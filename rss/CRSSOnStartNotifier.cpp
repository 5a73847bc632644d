#include "rss/CRSSOnStartNotifier.h"

std::vector<std::pair<CRSSOnStartNotifier::Proc, void*>>* CRSSOnStartNotifier::sm_list = nullptr;

void CRSSOnStartNotifier::add(Proc proc, void* clientData) {
    if (!proc)
        return;
    if (!sm_list)
        sm_list = new std::vector<std::pair<Proc, void*>>;
    sm_list->emplace_back(proc, clientData);
}

void CRSSOnStartNotifier::runAll() {
    // Indexing, not iterating: a procedure may append to the list it is called from.
    for (size_t i = 0; sm_list && i < sm_list->size(); ++i) {
        auto [proc, data] = (*sm_list)[i];
        proc(data);
    }
    delete sm_list;
    sm_list = nullptr;
}

size_t CRSSOnStartNotifier::count() {
    return sm_list ? sm_list->size() : 0;
}
