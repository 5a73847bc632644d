#include "values/CLobObjShadow.h"

#include "frame/HostError.h"
#include "frame/HostTables.h"
#include "frame/host/IIdle.h"

#include <utility>
#include <vector>

namespace {

// The temporary store is looked at once a second.
constexpr int32_t kTempDocIdlePeriod = 60;

LobObj nullObject() {
    return gLobHFT ? gLobHFT->objNull() : LobObj{};
}

bool isIndirect(LobObj object) {
    bool indirect = false;
    HostFrame guard;
    guard.run([&] { indirect = gLobHFT && gLobHFT->objIsIndirect(object); });
    return indirect;
}

LobDoc lobDocOf(LobObj object) {
    LobDoc doc = nullptr;
    HostFrame guard;
    guard.run([&] { doc = gLobHFT ? gLobHFT->objGetLobDoc(object) : nullptr; });
    return doc;
}

} // namespace

CLobObjShadowDataFactory* CLobObjShadowDataFactory::sm_instance = nullptr;

CLobObjShadowData::~CLobObjShadowData() {
    if (CLobObjShadowDataFactory* factory = CLobObjShadowDataFactory::current())
        factory->dying(m_object);
}

void CLobObjShadowData::release() {
    if (--m_refCount <= 0)
        delete this;
}

bool CLobObjShadowDataFactory::ObjectLess::operator()(LobObj a, LobObj b) const {
    if (!gLobHFT)
        return a.bits < b.bits;
    return gLobHFT->objCompare(a, b) < 0;
}

CLobObjShadowDataFactory& CLobObjShadowDataFactory::get() {
    if (!sm_instance)
        sm_instance = new CLobObjShadowDataFactory();
    return *sm_instance;
}

CLobObjShadowDataFactory::CLobObjShadowDataFactory() {
    if (gDkModelHFT) {
        gDkModelHFT->registerDocNotification(DkDocNotification::WillClose, willChangeProc, this);
        gDkModelHFT->registerDocNotification(DkDocNotification::WillSave, willChangeProc, this);
        m_notificationsRegistered = true;
    }
    if (IIdle* idle = HostIdle()) {
        idle->registerIdle(idleProc, this, kTempDocIdlePeriod);
        m_idleRegistered = true;
    }
}

CLobObjShadowDataFactory::~CLobObjShadowDataFactory() {
    if (m_notificationsRegistered && gDkModelHFT) {
        gDkModelHFT->unregisterDocNotification(DkDocNotification::WillClose, willChangeProc, this);
        gDkModelHFT->unregisterDocNotification(DkDocNotification::WillSave, willChangeProc, this);
    }
    if (IIdle* idle = HostIdle(); m_idleRegistered && idle)
        idle->unregisterIdle(idleProc, this);
    if (m_tempDoc && gDkModelHFT) {
        HostFrame guard;
        guard.run([&] { gDkModelHFT->docClose(m_tempDoc); });
    }
    if (sm_instance == this)
        sm_instance = nullptr;
}

CLobObjShadowData* CLobObjShadowDataFactory::fromLobObj(LobObj object) {
    auto found = m_objects.find(object);
    if (found != m_objects.end() && found->second)
        return found->second;

    LobObj original = object;
    if (gDkModelHFT && isIndirect(object)) {
        LobDoc home = lobDocOf(object);
        DkDoc open = nullptr;
        HostFrame lookup;
        lookup.run([&] { open = gDkModelHFT->docGetDkDoc(home); });
        if (!open) {
            // An object of no open document is saved from it now; a failing copy keeps the
            // object as it is.
            LobDoc temp = acquireLobDoc();
            if (home != temp) {
                HostFrame copy;
                if (copy.run([&] { object = gLobHFT->objCopyToDoc(object, temp); }) != 0)
                    releaseLobDoc();
            }
        }
    }
    if (!(object == original))
        m_objects.erase(original);
    auto* data = new CLobObjShadowData(object);
    m_objects[object] = data;
    return data;
}

void CLobObjShadowDataFactory::dying(LobObj object) {
    m_objects.erase(object);
    if (m_tempDoc && isIndirect(object) && lobDocOf(object) == m_tempDoc) {
        HostFrame guard;
        guard.run([&] { gLobHFT->objDestroy(object); });
        releaseLobDoc();
    }
    destroyIfUnused();
}

void CLobObjShadowDataFactory::destroyIfUnused() {
    // A caller may still hold the temporary store; then the idle check finishes the job.
    if (m_objects.empty() && m_tempDocCount == 0)
        delete this;
}

LobDoc CLobObjShadowDataFactory::acquireLobDoc() {
    if (!m_tempDoc && gDkModelHFT)
        m_tempDoc = gDkModelHFT->docNewTemp();
    ++m_tempDocCount;
    return m_tempDoc;
}

void CLobObjShadowDataFactory::releaseLobDoc() {
    if (m_tempDocCount > 0)
        --m_tempDocCount;
}

void CLobObjShadowDataFactory::doDkDocWillChange(DkDoc doc) {
    if (!gDkModelHFT)
        return;
    LobDoc changing = nullptr;
    HostFrame lookup;
    if (lookup.run([&] { changing = gDkModelHFT->dkDocGetLobDoc(doc); }) != 0 || !changing)
        return;
    // Copy the entries first: the walk moves them to new keys.
    std::vector<std::pair<LobObj, CLobObjShadowData*>> entries(m_objects.begin(), m_objects.end());
    for (auto& entry : entries) {
        LobObj object = entry.first;
        CLobObjShadowData* data = entry.second;
        if (!data || !isIndirect(object) || lobDocOf(object) != changing)
            continue;
        HostFrame guard;
        bool acquired = false;
        LobObj copy;
        int32_t failure = guard.run([&] {
            LobDoc temp = acquireLobDoc();
            acquired = true;
            copy = gLobHFT->objCopyToDoc(object, temp);
        });
        if (failure) {
            if (acquired)
                releaseLobDoc();
            continue;
        }
        data->setLobObj(copy);
        m_objects.erase(object);
        m_objects[copy] = data;
    }
}

void CLobObjShadowDataFactory::idle() {
    if (m_tempDoc && m_tempDocCount == 0) {
        HostFrame guard;
        guard.run([&] { gDkModelHFT->docClose(m_tempDoc); });
        m_tempDoc = nullptr;
    }
    destroyIfUnused();
}

void CLobObjShadowDataFactory::idleProc(void* data) {
    static_cast<CLobObjShadowDataFactory*>(data)->idle();
}

void CLobObjShadowDataFactory::willChangeProc(DkDoc doc, void* data) {
    static_cast<CLobObjShadowDataFactory*>(data)->doDkDocWillChange(doc);
}

CLobObjShadow::CLobObjShadow(LobObj object) {
    reset(CLobObjShadowDataFactory::get().fromLobObj(object));
}

CLobObjShadow::CLobObjShadow(const CLobObjShadow& other) {
    reset(other.m_data);
}

CLobObjShadow::~CLobObjShadow() {
    reset(nullptr);
}

CLobObjShadow& CLobObjShadow::operator=(LobObj object) {
    reset(CLobObjShadowDataFactory::get().fromLobObj(object));
    return *this;
}

CLobObjShadow& CLobObjShadow::operator=(const CLobObjShadow& other) {
    if (m_data != other.m_data)
        reset(other.m_data);
    return *this;
}

void CLobObjShadow::reset(CLobObjShadowData* data) {
    // The new data is held before the old is let go, so that shadowing an object of the old
    // data again does not lose it in between.
    if (data)
        data->acquire();
    CLobObjShadowData* old = std::exchange(m_data, data);
    if (old)
        old->release();
}

LobObj CLobObjShadow::getLobObj() const {
    return m_data ? m_data->getLobObj() : nullObject();
}

LobDoc CLobObjShadow::acquireTempLobDoc() {
    return CLobObjShadowDataFactory::get().acquireLobDoc();
}

void CLobObjShadow::releaseTempLobDoc() {
    // The idle check closes the store once nobody holds it.
    if (CLobObjShadowDataFactory* factory = CLobObjShadowDataFactory::current())
        factory->releaseLobDoc();
}
