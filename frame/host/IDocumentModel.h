// "Lob" and "DkModel": the viewer's document model.
//
// Low-level objects (LobObj) live in object stores (LobDoc); an open document (DkDoc) has one
// store and its pages (DkPage). The plug-in holds only opaque handles and asks the model for
// everything else. One interface serves both tables; gLobHFT and gDkModelHFT point at it.
//
// Operations on a handle the model no longer knows (an object of a closed store, a closed
// document) raise a HostError; the plug-in guards the calls that may meet such a handle.
#pragma once

#include "frame/host/IHostTable.h"
#include "frame/host/QsStmRec.h"
#include "frame/host/ViewerHandles.h"

#include <cstdint>
#include <string>
#include <vector>

/// Codes the model raises.
constexpr int32_t kHostErrBadLobObj = 0x40020001;   // an object the model does not know
constexpr int32_t kHostErrBadLobDoc = 0x40020002;   // a store or document that is not open
constexpr int32_t kHostErrLobType = 0x40020003;     // an object read as a kind it is not
constexpr int32_t kHostErrBadByteForm = 0x40020004; // bytes that are not a saved store

/// The kinds of low-level object.
enum class LobObjType : int32_t {
    Null,
    Boolean,
    Integer,
    Fixed,
    Name,
    String,
    Array,
    Dict,
};

/// The two notifications about an open document.
enum class DkDocNotification : int32_t {
    WillClose,
    WillSave,
};

/// A notification procedure; data is what it was registered with.
using DkDocNotifyProc = void (*)(DkDoc doc, void* data);

/// How a store is saved as bytes. The viewer's record has seven fields and a size of 28.
struct LobDocSaveRec {
    uint32_t size;
    uint32_t flags;
    const char* header; // written first; the byte form starts with it
    void* progressProc;
    void* progressData;
    void* cancelProc;
    void* cancelData;
};

/// How a store is opened from bytes. The viewer's record has a size of 20.
struct LobDocOpenRec {
    uint32_t size;
    QsStm file;         // read to its end
    const char* header; // the bytes must start with it
    uint32_t flags;
    void* reserved;
};

class IDocumentModel : public IHostTable {
public:
    // Objects.

    /// The null object.
    virtual LobObj objNull() = 0;
    /// Order of two objects: negative, 0 (the same object) or positive.
    virtual int32_t objCompare(LobObj a, LobObj b) = 0;
    /// Whether an object is indirect (has an identity of its own in its store).
    virtual bool objIsIndirect(LobObj object) = 0;
    virtual LobObjType objGetType(LobObj object) = 0;
    /// The store an object lives in; null for objects of no store (null, numbers, names).
    virtual LobDoc objGetLobDoc(LobObj object) = 0;
    /// Copies an object with its descendants into a store; the copy.
    virtual LobObj objCopyToDoc(LobObj object, LobDoc target) = 0;
    /// Destroys an object of a store.
    virtual void objDestroy(LobObj object) = 0;

    // Object constructors. String, array and dictionary objects live in the given store.

    virtual LobObj objNewString(LobDoc doc, const char* bytes, long length, bool indirect) = 0;
    virtual LobObj objNewInteger(LobDoc doc, int32_t value) = 0;
    virtual LobObj objNewName(LobDoc doc, const char* name) = 0;
    virtual LobObj objNewBoolean(LobDoc doc, bool value) = 0;
    virtual LobObj objNewFixed(LobDoc doc, int32_t fixedValue) = 0;
    virtual LobObj objNewDict(LobDoc doc, bool indirect, long capacity) = 0;
    virtual LobObj objNewArray(LobDoc doc, bool indirect, long capacity) = 0;

    // Readers. Reading an object as another kind raises.

    virtual bool objGetBoolean(LobObj object) = 0;
    virtual int32_t objGetInteger(LobObj object) = 0;
    virtual int32_t objGetFixed(LobObj object) = 0;
    virtual std::string objGetName(LobObj object) = 0;
    /// The bytes of a string object, embedded zeros included.
    virtual std::string objGetString(LobObj object) = 0;

    virtual long arrayLength(LobObj array) = 0;
    /// The element at an index; the null object out of range.
    virtual LobObj arrayGet(LobObj array, long index) = 0;
    virtual void arrayAppend(LobObj array, LobObj value) = 0;

    /// The value of a key; the null object when absent.
    virtual LobObj dictGet(LobObj dict, const char* key) = 0;
    virtual void dictPut(LobObj dict, const char* key, LobObj value) = 0;
    /// The keys, in the dictionary's order.
    virtual std::vector<std::string> dictKeys(LobObj dict) = 0;

    // Stores and documents.

    /// A new empty store of no document, with a root dictionary.
    virtual LobDoc docNewTemp() = 0;
    /// Closes a store and destroys its objects.
    virtual void docClose(LobDoc doc) = 0;
    /// The value under a key of the store's root dictionary; the null object when absent.
    virtual LobObj docRootGet(LobDoc doc, const char* key) = 0;
    virtual void docRootPut(LobDoc doc, const char* key, LobObj value) = 0;
    /// The open document of a store; null when the store belongs to none.
    virtual DkDoc docGetDkDoc(LobDoc doc) = 0;
    /// The store of an open document.
    virtual LobDoc dkDocGetLobDoc(DkDoc doc) = 0;
    /// Writes the store's byte form to a stream.
    virtual void docSave(LobDoc doc, QsStm out, const LobDocSaveRec& record) = 0;
    /// Opens a store from a byte form; raises when the bytes are not one.
    virtual LobDoc docOpen(const LobDocOpenRec& record) = 0;

    // Pages. A page handle is counted: acquire and release in pairs.

    /// The page of a document by number from 0, acquired; null when there is none.
    virtual DkPage dkDocAcquirePage(DkDoc doc, int32_t number) = 0;
    virtual void pageAcquire(DkPage page) = 0;
    virtual void pageRelease(DkPage page) = 0;
    virtual int32_t pageGetNumber(DkPage page) = 0;
    virtual DkDoc pageGetDkDoc(DkPage page) = 0;
    /// The page's dictionary.
    virtual LobObj pageGetLobObj(DkPage page) = 0;
    /// The page whose dictionary an object is, acquired; null when it is none.
    virtual DkPage pageFromLobObj(LobObj object) = 0;

    // Annotations.

    virtual bool annotEqual(DkAnnot a, DkAnnot b) = 0;
    /// The annotation whose dictionary an object is; the null annotation for any other object.
    virtual DkAnnot annotFromLobObj(LobObj object) = 0;
    virtual LobObj annotGetLobObj(DkAnnot annot) = 0;
    /// The page an annotation is on, acquired; null when it is on none.
    virtual DkPage annotAcquirePage(DkAnnot annot) = 0;

    // Clipboard data of actions.

    /// Frees clipboard data that the viewer handed out.
    virtual void actionClipboardDataDestroy(DkActionClipboardData data) = 0;

    // Notifications.

    virtual void registerDocNotification(DkDocNotification kind, DkDocNotifyProc proc,
                                         void* data) = 0;
    /// Removes the registration with this same procedure and data; safe from within it.
    virtual void unregisterDocNotification(DkDocNotification kind, DkDocNotifyProc proc,
                                           void* data) = 0;
};
