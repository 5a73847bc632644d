// Shadow objects: handles of low-level objects that outlive their document.
//
// A LobObj dies with its document. A CLobObjShadow instead holds counted data that the factory
// keeps pointing at a live object: when a document is about to close or be saved, the objects
// behind all shadows into it are copied, at the last moment, into a private temporary store.
#pragma once

#include "frame/host/ViewerHandles.h"

#include <cstddef>
#include <cstdint>
#include <map>

/// The shared body of shadows of one object: the object and a count of shadows.
class CLobObjShadowData {
public:
    explicit CLobObjShadowData(LobObj object) : m_object(object) {}
    /// Reports to the factory that the object is no longer shadowed.
    ~CLobObjShadowData();
    CLobObjShadowData(const CLobObjShadowData&) = delete;
    CLobObjShadowData& operator=(const CLobObjShadowData&) = delete;

    void acquire() { ++m_refCount; }
    /// Drops one count; deletes the data at zero.
    void release();
    LobObj getLobObj() const { return m_object; }
    /// Points the data at the object that replaces the old one.
    void setLobObj(LobObj object) { m_object = object; }
    int32_t refCount() const { return m_refCount; }

private:
    LobObj m_object;
    int32_t m_refCount = 0;
};

/// Keeps the data of every shadowed object, and the temporary store that rescued objects live
/// in. One instance, made on first use and gone when the last shadow is.
class CLobObjShadowDataFactory {
public:
    /// The instance, made if needed.
    static CLobObjShadowDataFactory& get();
    /// The instance if one lives, else null.
    static CLobObjShadowDataFactory* current() { return sm_instance; }

    /// The data for an object, made if needed. An indirect object of no open document is
    /// copied into the temporary store first.
    CLobObjShadowData* fromLobObj(LobObj object);
    /// Forgets an object whose last shadow went; destroys it if it lives in the temporary store.
    void dying(LobObj object);
    /// Holds the temporary store open (making it if needed) and returns it.
    LobDoc acquireLobDoc();
    void releaseLobDoc();
    /// Copies every shadowed object of the document into the temporary store.
    void doDkDocWillChange(DkDoc doc);

    /// Objects shadowed.
    size_t size() const { return m_objects.size(); }
    /// The temporary store, null while there is none.
    LobDoc tempLobDoc() const { return m_tempDoc; }
    /// Holds on the temporary store not yet released.
    int32_t tempLobDocCount() const { return m_tempDocCount; }

private:
    CLobObjShadowDataFactory();
    ~CLobObjShadowDataFactory();
    /// Closes the temporary store when nobody holds it, and goes when nothing is left.
    void idle();
    void destroyIfUnused();

    static void idleProc(void* data);
    static void willChangeProc(DkDoc doc, void* data);

    /// The platform's order of objects.
    struct ObjectLess {
        bool operator()(LobObj a, LobObj b) const;
    };

    std::map<LobObj, CLobObjShadowData*, ObjectLess> m_objects;
    LobDoc m_tempDoc = nullptr;
    int32_t m_tempDocCount = 0;
    bool m_idleRegistered = false;
    bool m_notificationsRegistered = false;

    static CLobObjShadowDataFactory* sm_instance;
};

/// A counted handle of a low-level object that stays valid across its document's closing.
class CLobObjShadow {
public:
    /// An empty shadow.
    CLobObjShadow() = default;
    CLobObjShadow(LobObj object);
    CLobObjShadow(const CLobObjShadow& other);
    ~CLobObjShadow();
    CLobObjShadow& operator=(LobObj object);
    CLobObjShadow& operator=(const CLobObjShadow& other);

    /// The object now behind the shadow (perhaps a rescued copy); the null object when empty.
    LobObj getLobObj() const;
    bool isEmpty() const { return m_data == nullptr; }
    /// Holds the temporary store open while a caller works in it; returns it.
    LobDoc acquireTempLobDoc();
    void releaseTempLobDoc();

private:
    void reset(CLobObjShadowData* data);

    CLobObjShadowData* m_data = nullptr;
};
