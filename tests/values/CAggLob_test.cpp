// The rows of the conversion table that go through the document model: values made into
// objects of a document, objects read as values, documents, pages and annotations.
#include "values/CAgg.h"

#include "frame/HostError.h"
#include "frame/QsCore.h"
#include "tests/fakehost/FakeHost.h"
#include "tests/values/EStrTestSupport.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using estrtest::bytesOf;
using estrtest::ucs;
using estrtest::ucsBytes;

class CAggLob : public ::testing::Test {
protected:
    FakeHost host;
    FakeDocumentModel& model = host.documents();
    DkDoc doc = model.openDocument(3);
    LobDoc store = model.dkDocGetLobDoc(doc);

    /// What an object holds, as text: kind letter and content.
    std::string describe(LobObj object) {
        switch (model.objGetType(object)) {
        case LobObjType::Null:
            return "null";
        case LobObjType::Boolean:
            return model.objGetBoolean(object) ? "true" : "false";
        case LobObjType::Integer:
            return "i" + std::to_string(model.objGetInteger(object));
        case LobObjType::Fixed:
            return "f" + std::to_string(model.objGetFixed(object));
        case LobObjType::Name:
            return "/" + model.objGetName(object);
        case LobObjType::String:
            return "(" + model.objGetString(object) + ")";
        case LobObjType::Array: {
            std::string out = "[";
            for (long i = 0; i < model.arrayLength(object); ++i)
                out += (i ? " " : "") + describe(model.arrayGet(object, i));
            return out + "]";
        }
        case LobObjType::Dict: {
            std::string out = "<<";
            for (const std::string& key : model.dictKeys(object))
                out += " " + key + "=" + describe(model.dictGet(object, key.c_str()));
            return out + " >>";
        }
        }
        return "?";
    }
};

TEST_F(CAggLob, ValuesBecomeObjectsOfTheDocument) {
    CAgg atom;
    atom.toQsAtom() = QsAtomFromString("Name");
    CAgg flag;
    flag.toQsBool() = 1;
    CAgg map;
    map["b"] = CAgg(2L);
    map["a"][1] = CAgg("x");
    struct Case {
        CAgg value;
        std::string object;
    };
    const Case cases[] = {
        {CAgg("text"), "(text)"},
        {CAgg(ucs(u"\u4E2D").get()), "(" + ucsBytes(u"\u4E2D") + ")"},
        // A UCS text that fits PDFDocEncoding is stored in it.
        {CAgg(ucs(u"abc").get()), "(abc)"},
        {atom, "/Name"},
        {CAgg(-4L), "i-4"},
        {flag, "true"},
        {CAgg(1.5), "f98304"},
        {map, "<< a=[null (x)] b=i2 >>"},
        // Double to fixed adds one half and truncates, so -1.0 gives -65535.
        {CAgg(QsFixedPoint{kQsFixedOne, -kQsFixedOne}), "[f65536 f-65535]"},
        {CAgg(), "null"},
        {CAgg(DkColorValueRec{}), "null"},
    };
    for (const Case& c : cases) {
        CAgg value(c.value);
        LobObj object = value.toLobObj(store);
        EXPECT_EQ(describe(object), c.object);
        EXPECT_EQ(value.getType(), CAgg::eLobObj);
        if (model.objGetType(object) == LobObjType::String) {
            EXPECT_EQ(model.objGetLobDoc(object), store);
        }
    }
}

TEST_F(CAggLob, WithoutADocumentTheNullObjectIsTheAnswer) {
    CAgg text("text");
    EXPECT_EQ(text.toLobObj(), model.objNull());
    CAgg map;
    map["a"] = CAgg(1L);
    EXPECT_TRUE(map.toCLobObjShadow().isEmpty());
    EXPECT_EQ(map.getType(), CAgg::eCLobObjShadow);
}

TEST_F(CAggLob, AShadowIsMadeWhenOnlyAShadowIsAcceptable) {
    CAgg text("shadowed");
    CLobObjShadow& shadow = text.toCLobObjShadow(store);
    EXPECT_EQ(describe(shadow.getLobObj()), "(shadowed)");
    EXPECT_EQ(text.getType(), CAgg::eCLobObjShadow);
    EXPECT_EQ(bytesOf(text.toEStr()), "shadowed");
}

TEST_F(CAggLob, AFailureInAWalkEndsItWithWhatWasBuilt) {
    CAgg map;
    map["a"] = CAgg("x");
    map["b"] = CAgg("y");
    map["c"] = CAgg("z");
    // The dictionary and the first string are made; the second string fails.
    model.failNewObjectsAfter(2);
    LobObj object = map.toLobObj(store);
    model.failNewObjectsAfter(-1);
    EXPECT_EQ(describe(object), "<< a=(x) >>");

    CAgg single("alone");
    model.failNewObjectsAfter(0);
    EXPECT_THROW(single.toLobObj(store), HostError) << "outside a walk the host's error passes";
    model.failNewObjectsAfter(-1);
}

TEST_F(CAggLob, ObjectsReadAsValues) {
    LobObj dict = model.objNewDict(store, true, 0);
    model.dictPut(dict, "n", model.objNewInteger(store, 7));
    model.dictPut(dict, "s", model.objNewString(store, "hi", 2, false));
    LobObj array = model.objNewArray(store, false, 0);
    model.arrayAppend(array, model.objNewFixed(store, kQsFixedOne / 2));
    model.arrayAppend(array, model.objNewFixed(store, 3 * kQsFixedOne));
    struct Case {
        LobObj object;
        std::string text;
        QsInt32 integer;
        double number;
        bool boolean;
    };
    const Case cases[] = {
        {model.objNewString(store, "12", 2, false), "12", 12, 12.0, false},
        {model.objNewString(store, "true", 4, false), "true", 0, 0.0, true},
        {model.objNewName(store, "Page"), "Page", 0, 0.0, false},
        {model.objNewInteger(store, -3), "-3", -3, -3.0, true},
        {model.objNewFixed(store, kQsFixedOne * 5 / 2), "2.500000", 2, 2.5, true},
        {model.objNewBoolean(store, true), "true", 1, 1.0, true},
        {model.objNull(), "", 0, 0.0, false},
        {dict, "", 0, 0.0, true},
    };
    for (const Case& c : cases) {
        CAgg text(c.object), integer(c.object), number(c.object), boolean(c.object);
        EXPECT_EQ(bytesOf(text.toEStr()), c.text);
        EXPECT_EQ(integer.toQsInt32(), c.integer) << c.text;
        EXPECT_DOUBLE_EQ(number.todouble(), c.number) << c.text;
        EXPECT_EQ(boolean.toQsBool() != 0, c.boolean) << c.text;
    }
    // One level: the values of a dictionary stay objects.
    CAgg map(dict);
    CAgg::CAggMap& entries = map.toMap();
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(map["n"].getType(), CAgg::eLobObj);
    EXPECT_EQ(map["n"].toQsInt32(), 7);
    CAgg point(array);
    QsFixedPoint words = point.toFixedPoint();
    EXPECT_EQ(words.h, kQsFixedOne / 2);
    EXPECT_EQ(words.v, 3 * kQsFixedOne);
    CAgg list(array);
    EXPECT_EQ(list.toVector().size(), 2u);
    list.splitVector(1);
    EXPECT_EQ(list.toVector().size(), 2u);
}

TEST_F(CAggLob, AnObjectOfAnotherDocumentIsCopiedIntoTheAskingOne) {
    LobDoc other = model.docNewTemp();
    LobObj object = model.objNewString(other, "moved", 5, true);
    CAgg value(object);
    LobObj rebound = value.toLobObj(store);
    EXPECT_NE(rebound, object);
    EXPECT_EQ(model.objGetLobDoc(rebound), store);
    EXPECT_EQ(model.objGetString(rebound), "moved");
    // Objects of no store, and a toLobObj with no document, stay as they are.
    LobObj number = model.objNewInteger(store, 5);
    CAgg inlineValue(number);
    EXPECT_EQ(inlineValue.toLobObj(store), number);
    CAgg unbound(object);
    EXPECT_EQ(unbound.toLobObj(), object);

    CAgg shadow(object);
    shadow.toCLobObjShadow();
    LobObj copied = shadow.toCLobObjShadow(store).getLobObj();
    EXPECT_EQ(model.objGetLobDoc(copied), store);
    model.docClose(other);
}

TEST_F(CAggLob, DocumentsPagesAndAnnotations) {
    DkPage page = model.dkDocAcquirePage(doc, 2);
    DkAnnot annot = model.addAnnotation(doc, 1);
    EXPECT_EQ(CAgg(page).toQsInt32(), 2);
    EXPECT_EQ(CAgg(static_cast<DkPage>(nullptr)).toQsInt32(), -1);
    EXPECT_EQ(CAgg(page).toDkDoc(), doc);
    EXPECT_EQ(CAgg(page).toLobDoc(), store);
    EXPECT_EQ(CAgg(doc).toLobDoc(), store);
    EXPECT_EQ(CAgg(store).toDkDoc(), doc);
    EXPECT_EQ(CAgg(model.docNewTemp()).toDkDoc(), nullptr);
    EXPECT_TRUE(CAgg(store).toQsBool());

    CAgg pageObject(page);
    LobObj pageDict = pageObject.toLobObj(store);
    EXPECT_EQ(describe(model.dictGet(pageDict, "Type")), "/Page");
    CAgg backToPage(pageDict);
    DkPage found = backToPage.toDkPage();
    EXPECT_EQ(model.pageGetNumber(found), 2);

    CAgg held;
    held.toDkAnnot() = annot;
    EXPECT_EQ(CAgg(held).toLobDoc(), store);
    CAgg onPage(held);
    EXPECT_EQ(model.pageGetNumber(onPage.toDkPage()), 1);
    EXPECT_EQ(CAgg(held).toLobObj().bits, annot.bits);
    CAgg annotObject(model.annotGetLobObj(annot));
    EXPECT_TRUE(annotObject.toDkAnnot() == annot);
    onPage = CAgg();
    backToPage = CAgg();
    pageObject = CAgg();
    EXPECT_EQ(model.pageAcquireCount(page), 1) << "every page the values took is given back";
    model.pageRelease(page);
}

TEST_F(CAggLob, HandlesOfAClosedDocumentReadAsNothing) {
    LobObj object = model.objNewString(store, "gone", 4, false);
    DkPage page = model.dkDocAcquirePage(doc, 0);
    CAgg value(object), other(object), held(page);
    model.closeDocument(doc);
    EXPECT_EQ(bytesOf(value.toEStr()), "");
    EXPECT_EQ(other.toQsInt32(), 0);
    EXPECT_EQ(CAgg(held).toQsInt32(), -1);
    EXPECT_TRUE(CAgg(object) == CAgg(object));
}

} // namespace
