// The hand-over from network threads to the viewer's thread.
//
// A producer on a network thread queues plain string records under the mutex; the consumer,
// which the viewer's idle loop calls, takes the whole queue at once and works on it with the
// mutex released. Producers touch nothing else: CAgg, CEStr and scripts belong to the consumer.
#pragma once

#include "discovery/CDiscover.h"

#include <pthread.h>

#include <deque>
#include <map>
#include <string>

/// One answer as a producer records it.
using DSRecord = std::map<std::string, std::string>;

class CSynchronizedResource {
public:
    CSynchronizedResource();
    /// Destroys the mutex, then the queue with what it still holds.
    virtual ~CSynchronizedResource();
    CSynchronizedResource(const CSynchronizedResource&) = delete;
    CSynchronizedResource& operator=(const CSynchronizedResource&) = delete;

    /// Ends the lower layer's work and the consumer's calls; safe twice.
    virtual void stop() {}
    /// Handles what the producers queued; called on the idle loop.
    virtual void Consumer() = 0;

    /// From a producer: queues the record.
    void push(DSRecord record);

    /// What the idle loop calls with the request as data.
    static void ConsumerProc(void* data);

protected:
    /// Takes every queued record, emptying the queue.
    std::deque<DSRecord> takeAll();
    /// Has the idle loop call the consumer every 20 ticks.
    void registerConsumer();
    /// Ends the idle loop's calls; nothing when none were registered.
    void unregisterConsumer();

    std::deque<DSRecord> queue;
    pthread_mutex_t mutex;

private:
    bool m_consumerRegistered = false;
};

/// The browse consumer: the records newest first, into instance maps, and the callback, always.
void DSConsumeBrowseRecords(std::deque<DSRecord> records, DSQueryCallback callback,
                            void* clientData);
/// The record's pairs as a map of texts.
CAgg DSRecordToCAgg(const DSRecord& record);
/// Adds the pairs of a text record ("key=value", separated by 0x01 or 0x0A) to the record.
void DSAddTextRecordPairs(const char* text, DSRecord& record);
