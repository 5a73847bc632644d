// Script objects over streams and streams over script objects, and the stream form of objects
// in temporary files, against the real engine.
#include "tests/values/CESTestSupport.h"
#include "tests/values/CaseTable.h"

#include "frame/HostTables.h"
#include "values/CESConvert.h"
#include "values/CESStreams.h"
#include "values/LobObjStream.h"
#include "values/QsStm.h"

namespace {

using namespace CES;

/// How many CountedStreams were closed.
int closes = 0;

/// A stream of endless "x" bytes that counts its closing.
struct CountedStream : _t_QsStm {
    ~CountedStream() override { ++closes; }
    long read(char* buffer, long count) override {
        if (count > 0)
            buffer[0] = 'x';
        return count > 0 ? 1 : 0;
    }
};

class CESStreams : public CESTest {
protected:
    /// A script object over the stream, as the global s.
    void expose(QsStm stream, bool close = true) {
        setGlobal("s", Val(QsStmToESObject(context, stream, close)));
    }

    static std::string hexOf(const std::string& bytes) {
        static const char kDigits[] = "0123456789abcdef";
        std::string hex;
        for (unsigned char byte : bytes) {
            hex += kDigits[byte >> 4];
            hex += kDigits[byte & 15];
        }
        return hex;
    }

    /// Collects garbage so that finalisers run.
    void collect() {
        engine.dropLooseRoots();
        engine.collectGarbage();
    }
};

TEST_F(CESStreams, ReadGivesLowerCaseHexInPiecesOfAtMostTheCountAsked) {
    std::string bytes;
    for (int i = 0; i < 5000; ++i)
        bytes += static_cast<char>(i * 7);
    expose(QsMemStmRdOpen(bytes.data(), bytes.size()));
    EXPECT_EQ(textOf("s.read()"), hexOf(bytes.substr(0, 4096)));
    EXPECT_EQ(textOf("s.read(3)"), hexOf(bytes.substr(4096, 3)));
    EXPECT_EQ(textOf("s.read({nBytes: 2})"), hexOf(bytes.substr(4099, 2)));
    EXPECT_EQ(textOf("s.read(1000000)"), hexOf(bytes.substr(4101)));
    EXPECT_EQ(textOf("s.read()"), "");
    EXPECT_EQ(textOf("s.read(-5)"), "");
}

TEST_F(CESStreams, WriteDecodesHexSkippingWhatIsNoDigit) {
    for (const auto& row : readCaseTable("stream-write-hex.tsv")) {
        ASSERT_EQ(row.size(), 3u);
        QsStm sink = QsMemStmWrOpen();
        expose(sink);
        EXPECT_EQ(textOf("s.write(\"" + row[0] + "\")"), row[2]) << row[0];
        EXPECT_EQ(hexOf(*QsMemStmGetData(sink)), row[1]) << row[0];
    }
    EXPECT_EQ(textOf("try { s.write(); } catch (e) { e.name }"), "ArgumentError");
}

TEST_F(CESStreams, AScriptObjectIsReadAndWrittenThroughItsMethods) {
    Val source = run("var parts = ['4142', '', 'zz']; var written = [];"
                     "({read: function (n) { return parts.shift(); },"
                     "  write: function (h) { written.push(h); return 1; }})");
    bool shouldClose = false;
    QsStm in = ESObjectToRdQsStm(source.object(), &shouldClose);
    EXPECT_TRUE(shouldClose);
    EXPECT_TRUE(ESObjectStreamShouldClose(source.object()));
    EXPECT_EQ(QsStmReadAll(in), "AB");
    QsStmClose(in);

    QsStm out = ESObjectToWrQsStm(source.object(), &shouldClose);
    EXPECT_EQ(QsStmWrite(out, "\x01\xFF", 2), 1);
    QsStmClose(out);
    EXPECT_EQ(textOf("written.join()"), "01ff");
}

TEST_F(CESStreams, AScriptReadThatThrowsFailsTheStreamAndKeepsTheError) {
    Val source = run(script("../host/stream-read-throws.js"));
    Context scope(context);
    bool shouldClose = false;
    QsStm in = ESObjectToRdQsStm(source.object(), &shouldClose);
    char buffer[16];
    EXPECT_LT(QsStmRead(in, buffer, sizeof buffer), 0);
    EXPECT_LT(QsStmRead(in, buffer, sizeof buffer), 0);
    QsStmClose(in);
    ASSERT_TRUE(scope.hasException());
    EXPECT_EQ(describeException(scope.popException()), "Error: the disk is gone");
    // Read as a value, the object is a stream all the same; its failure comes when it is read.
    CAgg value;
    ESValToCAgg(value, source.slot(), 1);
    EXPECT_EQ(value.getType(), CAgg::eQsStm);
    EXPECT_LT(QsStmRead(value.toQsStm(), buffer, sizeof buffer), 0);
}

TEST_F(CESStreams, AnObjectsOwnStreamIsLentAndLeftAloneOnceClosedElsewhere) {
    closes = 0;
    auto* stream = new CountedStream;
    ESObject object = QsStmToESObject(context, stream, true);
    setGlobal("s", Val(object));
    bool shouldClose = true;
    EXPECT_EQ(ESObjectToRdQsStm(object, &shouldClose), stream);
    EXPECT_FALSE(shouldClose);
    EXPECT_FALSE(ESObjectStreamShouldClose(object));
    EXPECT_EQ(textOf("s.read(1)"), "78");

    // Somebody closes the stream and says so: the object reads nothing and closes nothing.
    delete stream;
    ESObjectQsStmGotClosed(object);
    EXPECT_EQ(textOf("s.read(1)"), "");
    EXPECT_EQ(textOf("s.write('00')"), "0");
    run("s = undefined");
    collect();
    EXPECT_EQ(closes, 1);
}

TEST_F(CESStreams, TheStreamFormOfAnObjectTravelsThroughScriptAndItsFileGoes) {
    FakeDocumentModel& model = host.documents();
    LobDoc doc = model.dkDocGetLobDoc(model.openDocument(1));
    LobObj dict = model.objNewDict(doc, true, 0);
    model.dictPut(dict, "Answer", model.objNewInteger(doc, 42));

    ESObject stream = LobObjToStreamESObject(context, dict);
    setGlobal("s", Val(stream));
    std::string hex = textOf("s.read(8)");
    EXPECT_EQ(hex, hexOf(kLSOHeader));
    EXPECT_EQ(host.files().isFile("/tmp/vellum-1"), true);

    // All of it, read through the object, back into a document.
    Val again(LobObjToStreamESObject(context, dict));
    LobObj copy = StreamESObjectToLobObj(again.object(), doc);
    EXPECT_EQ(model.objGetInteger(model.dictGet(copy, "Answer")), 42);

    // The reverse road: bytes written by script, read back as an object.
    QsStm form = QsMemStmWrOpen();
    LobObjWriteLSO(dict, form);
    std::string bytes = *QsMemStmGetData(form);
    QsStmClose(form);
    setGlobal("w", Val(WrStreamToLobObjESObjectCreate(context)));
    run("w.write('" + hexOf(bytes) + "')");
    Val shadow = run("var o = w.getLobObj(); o");
    EXPECT_EQ(textOf("Object.prototype.toString.call(o)"), "[object LobObjShadow]");
    CAgg value;
    ESValToCAgg(value, shadow.slot(), 1);
    ASSERT_EQ(value.getType(), CAgg::eCLobObjShadow);
    LobObj held = value.toCLobObjShadow().getLobObj();
    EXPECT_EQ(model.objGetInteger(model.dictGet(held, "Answer")), 42);

    run("s = w = o = undefined");
    again = Val(context);
    shadow = Val(context);
    collect();
    for (int i = 1; i <= 4; ++i)
        EXPECT_FALSE(host.files().isFile("/tmp/vellum-" + std::to_string(i))) << i;
}

TEST_F(CESStreams, BytesThatAreNoStreamFormRaiseTheModelsError) {
    FakeDocumentModel& model = host.documents();
    LobDoc doc = model.dkDocGetLobDoc(model.openDocument(1));
    Val garbage = run("var sent = false;"
                      "({read: function () { if (sent) return ''; sent = true;"
                      " return '6e6f7420612073746f7265'; }})");
    int32_t code = 0;
    try {
        StreamESObjectToLobObj(garbage.object(), doc);
    } catch (const HostError& error) {
        code = error.code;
    }
    EXPECT_EQ(code, kHostErrBadByteForm);
}

TEST_F(CESStreams, AStreamSharedByValueCopiesAndAScriptObjectIsClosedOnceInAnyOrder) {
    enum Step { kOriginal, kCopy, kObject };
    const std::vector<std::vector<Step>> orders = {
        {kOriginal, kCopy, kObject}, {kOriginal, kObject, kCopy}, {kCopy, kOriginal, kObject},
        {kCopy, kObject, kOriginal}, {kObject, kOriginal, kCopy}, {kObject, kCopy, kOriginal},
    };
    for (const std::vector<Step>& order : orders) {
        closes = 0;
        auto original = std::make_unique<CAgg>(new CountedStream, 1);
        auto copy = std::make_unique<CAgg>(*original);
        // The copy goes to script: the object takes the stream over from the copy only.
        {
            Val object(context);
            CAggToESVal(object.slot(), *copy);
            setGlobal("s", object);
        }
        EXPECT_EQ(textOf("s.read(1)"), "78");
        bool objectGone = false;
        for (Step step : order) {
            if (step == kOriginal)
                original.reset();
            else if (step == kCopy)
                copy.reset();
            else {
                run("s = undefined");
                collect();
                objectGone = true;
            }
            EXPECT_LE(closes, 1);
            if (!objectGone && closes == 1) {
                // Closed under the object: a read raises the engine's error, touching nothing.
                EXPECT_EQ(textOf("try { s.read(1); 'read' } catch (e) { e.name }"),
                          "DeadObjectError");
            } else if (!objectGone) {
                EXPECT_EQ(textOf("s.read(1)"), "78");
            }
        }
        EXPECT_EQ(closes, 1);
    }
}

} // namespace
