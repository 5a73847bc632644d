// Shadows: objects that outlive their document, the rescue into the temporary store, and the
// life of the factory.
#include "values/CLobObjShadow.h"

#include "frame/HostError.h"
#include "tests/fakehost/FakeHost.h"
#include "tests/values/EStrTestSupport.h"
#include "values/CAgg.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

class Shadows : public ::testing::Test {
protected:
    FakeHost host;
    FakeDocumentModel& model = host.documents();
    DkDoc doc = model.openDocument(1);
    LobDoc store = model.dkDocGetLobDoc(doc);

    LobObj indirectString(const char* text) {
        return model.objNewString(store, text, static_cast<long>(std::strlen(text)), true);
    }
    static CLobObjShadowDataFactory* factory() { return CLobObjShadowDataFactory::current(); }
};

TEST_F(Shadows, ShadowsOfOneObjectShareDataAndTheRescuedCopy) {
    LobObj object = indirectString("kept");
    CLobObjShadow first(object);
    CLobObjShadow second(object);
    ASSERT_NE(factory(), nullptr);
    EXPECT_EQ(factory()->size(), 1u);
    EXPECT_EQ(first.getLobObj(), object) << "an object of an open document is not copied";

    model.closeDocument(doc);
    LobObj rescued = first.getLobObj();
    EXPECT_NE(rescued, object);
    EXPECT_EQ(second.getLobObj(), rescued);
    EXPECT_EQ(model.objGetString(rescued), "kept");
    EXPECT_EQ(model.objGetLobDoc(rescued), factory()->tempLobDoc());
}

TEST_F(Shadows, SavingRescuesToo) {
    CLobObjShadow shadow(indirectString("saved"));
    model.saveDocument(doc);
    EXPECT_EQ(model.objGetLobDoc(shadow.getLobObj()), factory()->tempLobDoc());
    // Objects of other documents and direct objects stay where they are.
    DkDoc other = model.openDocument(1);
    LobDoc otherStore = model.dkDocGetLobDoc(other);
    LobObj elsewhere = model.objNewString(otherStore, "other", 5, true);
    LobObj direct = model.objNewString(otherStore, "direct", 6, false);
    CLobObjShadow stays(elsewhere), alsoStays(direct);
    model.saveDocument(doc);
    EXPECT_EQ(stays.getLobObj(), elsewhere);
    EXPECT_EQ(alsoStays.getLobObj(), direct);
    // Closing the other document rescues only its indirect object.
    model.closeDocument(other);
    EXPECT_NE(stays.getLobObj(), elsewhere);
    EXPECT_EQ(alsoStays.getLobObj(), direct);
}

TEST_F(Shadows, AnIndirectObjectOfNoDocumentIsCopiedAtOnce) {
    LobDoc loose = model.docNewTemp();
    LobObj object = model.objNewString(loose, "loose", 5, true);
    CLobObjShadow shadow(object);
    EXPECT_NE(shadow.getLobObj(), object);
    EXPECT_EQ(model.objGetLobDoc(shadow.getLobObj()), factory()->tempLobDoc());
    EXPECT_EQ(factory()->tempLobDocCount(), 1);
    model.docClose(loose);
    EXPECT_EQ(model.objGetString(shadow.getLobObj()), "loose");
}

TEST_F(Shadows, TheTemporaryStoreClosesAtTheIdleAfterItsLastObjectGoes) {
    CLobObjShadow keeper(indirectString("keeper"));
    auto* rescued = new CLobObjShadow(indirectString("rescued"));
    DkDoc other = model.openDocument(1);
    LobObj inOther = model.objNewString(model.dkDocGetLobDoc(other), "in other", 8, true);
    CLobObjShadow alsoRescued(inOther);
    model.closeDocument(other);
    size_t stores = model.storeCount();
    LobDoc temp = factory()->tempLobDoc();
    ASSERT_NE(temp, nullptr);
    EXPECT_EQ(factory()->tempLobDocCount(), 1);

    delete rescued;
    host.idle().advanceTicks(120);
    EXPECT_EQ(model.storeCount(), stores) << "another object still lives there";
    alsoRescued = CLobObjShadow();
    EXPECT_EQ(model.objectCount(temp), 1u) << "the object went with its last shadow";
    EXPECT_EQ(model.storeCount(), stores);
    host.idle().advanceTicks(60);
    EXPECT_EQ(model.storeCount(), stores - 1);
    EXPECT_EQ(factory()->tempLobDoc(), nullptr);
    EXPECT_EQ(factory()->size(), 1u) << "the keeper lives on";
}

TEST_F(Shadows, TheFactoryGoesWithTheLastShadowAndTakesItsRegistrationsAlong) {
    EXPECT_EQ(factory(), nullptr);
    {
        CLobObjShadow shadow(indirectString("x"));
        EXPECT_EQ(model.notificationCount(), 2u);
        EXPECT_EQ(host.idle().idleCount(), 1u);
        model.closeDocument(doc);
        EXPECT_EQ(model.storeCount(), 1u) << "only the temporary store";
    }
    EXPECT_EQ(factory(), nullptr);
    EXPECT_EQ(model.notificationCount(), 0u);
    EXPECT_EQ(host.idle().idleCount(), 0u);
    EXPECT_EQ(model.storeCount(), 0u);
}

TEST_F(Shadows, EmptyShadowsAndCopies) {
    CLobObjShadow empty;
    EXPECT_EQ(empty.getLobObj(), model.objNull());
    EXPECT_TRUE(empty.isEmpty());
    LobObj object = indirectString("a");
    CLobObjShadow shadow(object);
    CLobObjShadow copy(shadow);
    copy = copy;
    copy = shadow;
    // Shadowing its own object again keeps the data.
    shadow = shadow.getLobObj();
    EXPECT_EQ(factory()->size(), 1u);
    empty = shadow;
    EXPECT_EQ(empty.getLobObj(), object);
    shadow = indirectString("b");
    EXPECT_EQ(factory()->size(), 2u);
}

TEST_F(Shadows, AFailedRescueLeavesTheEntryAsItWas) {
    LobObj object = indirectString("lost");
    CLobObjShadow shadow(object);
    model.failCopies(true);
    model.closeDocument(doc);
    model.failCopies(false);
    EXPECT_EQ(shadow.getLobObj(), object);
    EXPECT_THROW(model.objGetString(shadow.getLobObj()), HostError) << "it died with its store";
    CAgg value(shadow);
    EXPECT_EQ(EStrGetLen(value.toEStr()), 0) << "read as a value, a dead object is nothing";
}

TEST_F(Shadows, ACallerCanHoldTheTemporaryStoreOpen) {
    CLobObjShadow shadow(indirectString("x"));
    LobDoc temp = shadow.acquireTempLobDoc();
    ASSERT_NE(temp, nullptr);
    host.idle().advanceTicks(120);
    EXPECT_EQ(factory()->tempLobDoc(), temp);
    shadow.releaseTempLobDoc();
    host.idle().advanceTicks(60);
    EXPECT_EQ(factory()->tempLobDoc(), nullptr);
}

TEST_F(Shadows, AShadowValueReadsThroughItsObjectAndCompareByIt) {
    LobObj object = indirectString("through");
    CAgg a(CLobObjShadow{object});
    CAgg b(CLobObjShadow{object});
    EXPECT_TRUE(a == b);
    EXPECT_FALSE(a == CAgg(CLobObjShadow{indirectString("other")}));
    model.closeDocument(doc);
    EXPECT_TRUE(a == b) << "both hold the same rescued copy";
    // Read as a string while it is the only shadow: the object lives until the read is done.
    b = CAgg();
    EXPECT_EQ(estrtest::bytesOf(a.toEStr()), "through");
}

} // namespace
