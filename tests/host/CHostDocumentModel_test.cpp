// The host's document model: identity and copies of objects, stale handles, pages, and the
// document notifications.
#include "host/document/CHostDocumentModel.h"

#include "frame/HostError.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace {

int32_t codeOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const HostError& error) {
        return error.code;
    }
    return 0;
}

TEST(CHostDocumentModel, CopiesTakeDescendantsOnceAndCyclesAlong) {
    CHostDocumentModel model;
    LobDoc from = model.docNewTemp();
    LobDoc into = model.docNewTemp();
    LobObj shared = model.objNewString(from, "shared", 6, true);
    LobObj dict = model.objNewDict(from, true, 0);
    LobObj list = model.objNewArray(from, false, 0);
    model.arrayAppend(list, shared);
    model.arrayAppend(list, shared);
    model.dictPut(dict, "List", list);
    model.dictPut(dict, "Self", dict);
    size_t before = model.objectCount(into);
    LobObj copy = model.objCopyToDoc(dict, into);
    EXPECT_EQ(model.objectCount(into), before + 3) << "dict, list and one shared string";
    LobObj copiedList = model.dictGet(copy, "List");
    EXPECT_EQ(model.arrayGet(copiedList, 0), model.arrayGet(copiedList, 1));
    EXPECT_EQ(model.dictGet(copy, "Self"), copy);
    EXPECT_TRUE(model.objIsIndirect(copy));
    EXPECT_FALSE(model.objIsIndirect(copiedList));
    // A child destroyed in between copies as null.
    model.objDestroy(shared);
    LobObj again = model.objCopyToDoc(list, into);
    EXPECT_EQ(model.objGetType(model.arrayGet(again, 0)), LobObjType::Null);
    // Numbers and names belong to no store and copy as themselves.
    LobObj number = model.objNewInteger(from, 4);
    EXPECT_EQ(model.objCopyToDoc(number, into), number);
    EXPECT_EQ(model.objGetLobDoc(number), nullptr);
}

TEST(CHostDocumentModel, DestroyTakesDirectChildrenAndLeavesIndirectOnes) {
    CHostDocumentModel model;
    LobDoc doc = model.docNewTemp();
    LobObj parent = model.objNewDict(doc, true, 0);
    LobObj direct = model.objNewString(doc, "d", 1, false);
    LobObj indirect = model.objNewString(doc, "i", 1, true);
    model.dictPut(parent, "D", direct);
    model.dictPut(parent, "I", indirect);
    model.objDestroy(parent);
    EXPECT_EQ(codeOf([&] { model.objGetString(direct); }), kHostErrBadLobObj);
    EXPECT_EQ(model.objGetString(indirect), "i");
}

TEST(CHostDocumentModel, StaleHandlesAndWrongKindsRaiseClearErrors) {
    CHostDocumentModel model;
    DkDoc doc = model.openDocument(2);
    LobDoc store = model.dkDocGetLobDoc(doc);
    LobObj text = model.objNewString(store, "t", 1, false);
    DkPage page = model.dkDocAcquirePage(doc, 0);
    EXPECT_EQ(model.dkDocAcquirePage(doc, 2), nullptr);
    EXPECT_EQ(model.dkDocAcquirePage(doc, -1), nullptr);
    EXPECT_EQ(codeOf([&] { model.objGetInteger(text); }), kHostErrLobType);
    EXPECT_EQ(codeOf([&] { model.arrayLength(text); }), kHostErrLobType);
    model.closeDocument(doc);
    struct Case {
        const char* what;
        std::function<void()> call;
        int32_t code;
    };
    const Case cases[] = {
        {"object", [&] { model.objGetString(text); }, kHostErrBadLobObj},
        {"object's store", [&] { model.objGetLobDoc(text); }, kHostErrBadLobObj},
        {"store", [&] { model.docRootGet(store, "Pages"); }, kHostErrBadLobDoc},
        {"document", [&] { model.dkDocGetLobDoc(doc); }, kHostErrBadLobDoc},
        {"page number", [&] { model.pageGetNumber(page); }, kHostErrBadLobDoc},
        {"new object", [&] { model.objNewDict(store, false, 0); }, kHostErrBadLobDoc},
        {"null store", [&] { model.objNewArray(nullptr, false, 0); }, kHostErrBadLobDoc},
        // Releasing a page of a closed document has nothing left to do.
        {"page release", [&] { model.pageRelease(page); }, 0},
    };
    for (const Case& c : cases)
        EXPECT_EQ(codeOf(c.call), c.code) << c.what;
}

TEST(CHostDocumentModel, NotificationsComeBeforeTheCloseAndObserversMayLeaveMeanwhile) {
    CHostDocumentModel model;
    DkDoc doc = model.openDocument(1);
    struct Observer {
        CHostDocumentModel* model;
        std::vector<std::string> seen;
        static void willClose(DkDoc closing, void* data) {
            auto* self = static_cast<Observer*>(data);
            // The store is still there to be read.
            self->model->dkDocGetLobDoc(closing);
            self->seen.push_back("close");
            self->model->unregisterDocNotification(DkDocNotification::WillClose, willClose, data);
        }
        static void willSave(DkDoc, void* data) {
            static_cast<Observer*>(data)->seen.push_back("save");
        }
    } observer{&model, {}};
    model.registerDocNotification(DkDocNotification::WillClose, Observer::willClose, &observer);
    model.registerDocNotification(DkDocNotification::WillSave, Observer::willSave, &observer);
    model.saveDocument(doc);
    model.closeDocument(doc);
    EXPECT_EQ(observer.seen, (std::vector<std::string>{"save", "close"}));
    EXPECT_EQ(model.notificationCount(), 1u);
    model.closeDocument(model.openDocument(0));
    EXPECT_EQ(observer.seen.size(), 2u);
}

} // namespace
