// The host's document model: an in-memory object store with documents and pages.
//
// Enough of a viewer's model for the plug-in's needs: objects with identity and order, stores
// with a root dictionary, temporary stores, open documents with pages and annotations, a byte
// form for stores, and the two document notifications. Handles are serial numbers, never
// pointers, so a handle that outlived its document meets a clear error instead of freed memory.
//
// Object handles: the null object is 0; booleans, integers, fixed numbers and names are held in
// the handle itself and belong to no store; strings, arrays and dictionaries are nodes of a store.
#pragma once

#include "frame/host/HostTableIds.h"
#include "frame/host/IDocumentModel.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

class CHostDocumentModel : public IDocumentModel {
public:
    CHostDocumentModel();
    ~CHostDocumentModel() override;
    CHostDocumentModel(const CHostDocumentModel&) = delete;
    CHostDocumentModel& operator=(const CHostDocumentModel&) = delete;

    int32_t hftVersion() const override { return kLobTable.version; }

    LobObj objNull() override { return LobObj{}; }
    int32_t objCompare(LobObj a, LobObj b) override;
    bool objIsIndirect(LobObj object) override;
    LobObjType objGetType(LobObj object) override;
    LobDoc objGetLobDoc(LobObj object) override;
    LobObj objCopyToDoc(LobObj object, LobDoc target) override;
    void objDestroy(LobObj object) override;

    LobObj objNewString(LobDoc doc, const char* bytes, long length, bool indirect) override;
    LobObj objNewInteger(LobDoc doc, int32_t value) override;
    LobObj objNewName(LobDoc doc, const char* name) override;
    LobObj objNewBoolean(LobDoc doc, bool value) override;
    LobObj objNewFixed(LobDoc doc, int32_t fixedValue) override;
    LobObj objNewDict(LobDoc doc, bool indirect, long capacity) override;
    LobObj objNewArray(LobDoc doc, bool indirect, long capacity) override;

    bool objGetBoolean(LobObj object) override;
    int32_t objGetInteger(LobObj object) override;
    int32_t objGetFixed(LobObj object) override;
    std::string objGetName(LobObj object) override;
    std::string objGetString(LobObj object) override;

    long arrayLength(LobObj array) override;
    LobObj arrayGet(LobObj array, long index) override;
    void arrayAppend(LobObj array, LobObj value) override;
    LobObj dictGet(LobObj dict, const char* key) override;
    void dictPut(LobObj dict, const char* key, LobObj value) override;
    std::vector<std::string> dictKeys(LobObj dict) override;

    LobDoc docNewTemp() override;
    void docClose(LobDoc doc) override;
    LobObj docRootGet(LobDoc doc, const char* key) override;
    void docRootPut(LobDoc doc, const char* key, LobObj value) override;
    DkDoc docGetDkDoc(LobDoc doc) override;
    LobDoc dkDocGetLobDoc(DkDoc doc) override;
    void docSave(LobDoc doc, QsStm out, const LobDocSaveRec& record) override;
    LobDoc docOpen(const LobDocOpenRec& record) override;

    DkPage dkDocAcquirePage(DkDoc doc, int32_t number) override;
    void pageAcquire(DkPage page) override;
    void pageRelease(DkPage page) override;
    int32_t pageGetNumber(DkPage page) override;
    DkDoc pageGetDkDoc(DkPage page) override;
    LobObj pageGetLobObj(DkPage page) override;
    DkPage pageFromLobObj(LobObj object) override;

    bool annotEqual(DkAnnot a, DkAnnot b) override { return a.bits == b.bits; }
    DkAnnot annotFromLobObj(LobObj object) override;
    LobObj annotGetLobObj(DkAnnot annot) override { return LobObj{annot.bits}; }
    DkPage annotAcquirePage(DkAnnot annot) override;

    void actionClipboardDataDestroy(DkActionClipboardData data) override;

    void registerDocNotification(DkDocNotification kind, DkDocNotifyProc proc, void* data) override;
    void unregisterDocNotification(DkDocNotification kind, DkDocNotifyProc proc,
                                   void* data) override;

    // The viewer's side: documents opened, saved and closed by the user.

    /// Opens a new document with pageCount empty pages (at most 65534).
    DkDoc openDocument(int32_t pageCount);
    /// Tells the will-save observers.
    void saveDocument(DkDoc doc);
    /// Tells the will-close observers, then closes the document and its store.
    void closeDocument(DkDoc doc);
    /// Adds an annotation to a page of a document.
    DkAnnot addAnnotation(DkDoc doc, int32_t pageNumber);
    /// New clipboard data, as an action would hand out.
    DkActionClipboardData newActionClipboardData();

    /// Stores open, temporary ones included.
    size_t storeCount() const { return m_stores.size(); }
    /// Objects of a store (its root dictionary included); 0 for a store that is not open.
    size_t objectCount(LobDoc doc) const;
    /// How often a page is acquired and not yet released.
    long pageAcquireCount(DkPage page) const;
    /// Clipboard data handed out and not yet destroyed.
    size_t liveClipboardDataCount() const { return m_clipboardData.size(); }
    /// Registered notification procedures.
    size_t notificationCount() const;

protected:
    struct Node {
        LobObjType type = LobObjType::Null;
        bool indirect = false;
        std::string bytes;
        std::vector<LobObj> items;
        std::map<std::string, LobObj> entries;
    };
    struct Store {
        std::map<uint32_t, Node> nodes;
        uint32_t nextId = 1;
        uint32_t rootId = 0;
        uintptr_t document = 0;
    };
    struct Document {
        uint32_t store = 0;
        std::vector<uint32_t> pages; // node ids of the page dictionaries
        std::vector<long> acquired;  // per page
    };
    struct Observer {
        DkDocNotification kind;
        DkDocNotifyProc proc;
        void* data;
        bool live;
    };

    Store& storeOf(LobDoc doc);
    Node& nodeOf(LobObj object);
    Node& nodeOfType(LobObj object, LobObjType type);
    LobDoc newStore();
    void notify(DkDocNotification kind, DkDoc doc);
    Document* pageDocument(DkPage page, int32_t* number);

    static LobObj storedObj(uint32_t store, uint32_t id);
    static bool isStored(LobObj object);
    static uint32_t storeSerial(LobObj object);
    static uint32_t nodeId(LobObj object);

    std::map<uint32_t, Store> m_stores;
    std::map<uintptr_t, Document> m_documents;
    std::vector<std::string> m_names;
    std::map<std::string, uint32_t> m_nameIndex;
    std::vector<Observer> m_observers;
    std::set<uintptr_t> m_clipboardData;
    uint32_t m_nextStore = 1;
    uintptr_t m_nextDocument = 1;
    uintptr_t m_nextClipboardData = 1;
    int m_notifying = 0;
};
