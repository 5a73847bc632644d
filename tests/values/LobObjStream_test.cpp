// The stream form of objects: written and read back, and read from files that show good and
// bad byte forms.
#include "values/LobObjStream.h"

#include "frame/HostError.h"
#include "tests/fakehost/FakeHost.h"
#include "tests/values/EStrTestSupport.h"
#include "values/QsStm.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace {

class LobObjStream : public ::testing::Test {
protected:
    FakeHost host;
    FakeDocumentModel& model = host.documents();
    LobDoc target = model.dkDocGetLobDoc(model.openDocument(1));

    /// An object's content, following references at most depth levels deep.
    std::string describe(LobObj object, int depth = 3) {
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
        case LobObjType::Array:
        case LobObjType::Dict:
            break;
        }
        if (depth == 0)
            return "...";
        std::string out;
        if (model.objGetType(object) == LobObjType::Array) {
            for (long i = 0; i < model.arrayLength(object); ++i)
                out += (i ? " " : "") + describe(model.arrayGet(object, i), depth - 1);
            return "[" + out + "]";
        }
        for (const std::string& key : model.dictKeys(object))
            out += " " + key + "=" + describe(model.dictGet(object, key.c_str()), depth - 1);
        return "<<" + out + " >>";
    }
};

TEST_F(LobObjStream, AnObjectTravelsAsBytesWithItsDescendants) {
    LobDoc source = model.docNewTemp();
    LobObj dict = model.objNewDict(source, true, 0);
    LobObj list = model.objNewArray(source, false, 0);
    model.arrayAppend(list, model.objNewString(source, std::string("a\0b", 3).c_str(), 3, false));
    model.arrayAppend(list, model.objNewBoolean(source, false));
    model.dictPut(dict, "List", list);
    model.dictPut(dict, "Self", dict);
    QsStm out = QsMemStmWrOpen();
    LobObjWriteLSO(dict, out);
    std::string bytes = *QsMemStmGetData(out);
    QsStmClose(out);
    EXPECT_EQ(bytes.rfind("%LSO-1.0\n", 0), 0u);
    EXPECT_EQ(model.storeCount(), 2u) << "the store written from is closed again";

    QsStm in = QsMemStmRdOpen(bytes.data(), bytes.size());
    LobObj back = LobObjReadLSO(in, target);
    QsStmClose(in);
    EXPECT_EQ(model.objGetLobDoc(back), target);
    EXPECT_EQ(describe(back, 2), describe(dict, 2));
    EXPECT_EQ(model.dictGet(back, "Self"), back) << "a cycle stays a cycle";
    EXPECT_EQ(model.storeCount(), 2u);
    model.docClose(source);
}

TEST_F(LobObjStream, FilesOfGoodAndBadForms) {
    struct Case {
        const char* file;
        std::optional<std::string> object; // none: the bytes are refused
    };
    const Case cases[] = {
        {"lso-dictionary-holding-itself.lso",
         "<< Items=[i1 f32768 /Name] Self=<< Items=... Self=... Title=(hello) >> Title=(hello) >>"},
        {"lso-string-with-zero-and-newline.lso", std::string("(a\0b\nc\xff)", 8)},
        {"lso-without-object.lso", "null"},
        {"lso-reference-to-missing-node.lso", "null"},
        {"lso-wrong-header.lso", std::nullopt},
        {"lso-string-cut-short.lso", std::nullopt},
        {"lso-count-past-the-end.lso", std::nullopt},
        {"lso-root-not-a-dictionary.lso", std::nullopt},
        {"lso-node-twice.lso", std::nullopt},
        {"lso-integer-out-of-range.lso", std::nullopt},
        {"lso-header-only.lso", std::nullopt},
    };
    for (const Case& c : cases) {
        std::string bytes = estrtest::readData(c.file);
        ASSERT_FALSE(bytes.empty()) << c.file;
        size_t stores = model.storeCount();
        QsStm in = QsMemStmRdOpen(bytes.data(), bytes.size());
        try {
            LobObj object = LobObjReadLSO(in, target);
            EXPECT_EQ(c.object, describe(object, 2)) << c.file;
        } catch (const HostError& error) {
            EXPECT_FALSE(c.object.has_value()) << c.file;
            EXPECT_EQ(error.code, kHostErrBadByteForm) << c.file;
        }
        QsStmClose(in);
        EXPECT_EQ(model.storeCount(), stores) << c.file << ": no store is left behind";
    }
}

TEST_F(LobObjStream, EveryCutOfAGoodFormIsRefused) {
    std::string bytes = estrtest::readData("lso-dictionary-holding-itself.lso");
    for (size_t length = 0; length < bytes.size(); ++length) {
        QsStm in = QsMemStmRdOpen(bytes.data(), length);
        EXPECT_THROW(LobObjReadLSO(in, target), HostError) << "cut at " << length;
        QsStmClose(in);
    }
}

} // namespace
