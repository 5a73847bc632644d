#include "discovery/CSynchronizedResource.h"

#include "frame/HostTables.h"
#include "frame/host/IIdle.h"

#include <cstring>
#include <utility>

namespace {

/// Holds the mutex for one scope.
class Lock {
public:
    explicit Lock(pthread_mutex_t& mutex) : m_mutex(mutex) { pthread_mutex_lock(&m_mutex); }
    ~Lock() { pthread_mutex_unlock(&m_mutex); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

private:
    pthread_mutex_t& m_mutex;
};

/// A record's value, or an empty text for a missing key.
const char* valueOf(const DSRecord& record, const char* key) {
    auto found = record.find(key);
    return found == record.end() ? "" : found->second.c_str();
}

} // namespace

CSynchronizedResource::CSynchronizedResource() {
    pthread_mutex_init(&mutex, nullptr);
}

CSynchronizedResource::~CSynchronizedResource() {
    unregisterConsumer();
    pthread_mutex_destroy(&mutex);
}

void CSynchronizedResource::push(DSRecord record) {
    Lock lock(mutex);
    queue.push_back(std::move(record));
}

std::deque<DSRecord> CSynchronizedResource::takeAll() {
    Lock lock(mutex);
    std::deque<DSRecord> taken = std::move(queue);
    queue.clear();
    return taken;
}

void CSynchronizedResource::ConsumerProc(void* data) {
    static_cast<CSynchronizedResource*>(data)->Consumer();
}

void CSynchronizedResource::registerConsumer() {
    IIdle* idle = HostIdle();
    if (!idle || m_consumerRegistered)
        return;
    idle->registerIdle(ConsumerProc, this, kDiscoveryConsumerPeriod);
    m_consumerRegistered = true;
}

void CSynchronizedResource::unregisterConsumer() {
    if (!m_consumerRegistered)
        return;
    m_consumerRegistered = false;
    if (IIdle* idle = HostIdle())
        idle->unregisterIdle(ConsumerProc, this);
}

void DSConsumeBrowseRecords(std::deque<DSRecord> records, DSQueryCallback callback,
                            void* clientData) {
    CAgg added;
    CAgg removed;
    // Newest first; a later record of a name overwrites an earlier one in the same map, and an
    // instance added and removed within one period stands in both.
    while (!records.empty()) {
        DSRecord record = std::move(records.back());
        records.pop_back();
        const char* operation = valueOf(record, "operation");
        CAgg* map = nullptr;
        if (std::strcmp(operation, "add") == 0)
            map = &added;
        else if (std::strcmp(operation, "remove") == 0)
            map = &removed;
        else
            continue;
        CAgg& entry = (*map)[valueOf(record, "name")];
        for (const char* key : {"name", "type", "domain"})
            entry[key] = CAgg(valueOf(record, key));
    }
    // Called every period, also with nothing to tell.
    callback(added, removed, clientData);
}

CAgg DSRecordToCAgg(const DSRecord& record) {
    CAgg map;
    map.toMap();
    for (const auto& [key, value] : record)
        map[key.c_str()] = CAgg(value.c_str());
    return map;
}

void DSAddTextRecordPairs(const char* text, DSRecord& record) {
    if (!text)
        return;
    const char* p = text;
    const char* end = text + std::strlen(text);
    while (p < end) {
        const char* keyEnd = p;
        while (keyEnd < end && *keyEnd != '=')
            ++keyEnd;
        std::string key(p, keyEnd);
        p = keyEnd < end ? keyEnd + 1 : end;
        const char* valueEnd = p;
        while (valueEnd < end && *valueEnd != '\x01' && *valueEnd != '\n')
            ++valueEnd;
        std::string value(p, valueEnd);
        // "key=" and "=value" are dropped; of two equal keys the later wins.
        if (!key.empty() && !value.empty())
            record[key] = value;
        p = valueEnd < end ? valueEnd + 1 : end;
    }
}
