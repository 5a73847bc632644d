#include "values/Filters.h"

#include "tests/fakehost/FakeHost.h"
#include "tests/values/CaseTable.h"
#include "values/QsStm.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <random>
#include <string>

namespace {

std::string bytesOf(const CEStr& s) {
    return std::string(EStrGetBytes(s), static_cast<size_t>(EStrGetLen(s)));
}

CEStr estrOf(const std::string& bytes) {
    CEStr s = CEStr::adopt(EStrNewSize(0, kEStrPDFDoc));
    EStrSetBytesWithSize(s, bytes.data(), static_cast<long>(bytes.size()), kEStrPDFDoc);
    return s;
}

std::string randomBytes(size_t length, unsigned seed) {
    std::mt19937 random(seed);
    std::string bytes(length, '\0');
    for (char& c : bytes)
        c = static_cast<char>(random());
    return bytes;
}

// Reads a stream to its end in reads of the given size, and closes it.
std::string drain(QsStm stream, long readSize) {
    std::string all = QsStmReadAll(stream, readSize);
    QsStmClose(stream);
    return all;
}

void writeInChunks(QsStm stream, const std::string& bytes, long chunk) {
    for (size_t at = 0; at < bytes.size(); at += static_cast<size_t>(chunk)) {
        long n = std::min<long>(chunk, static_cast<long>(bytes.size() - at));
        EXPECT_EQ(QsStmWrite(stream, bytes.data() + at, n), n);
    }
}

// A stream that records whether it was closed, for the closeStream flag.
struct Watched {
    bool closed = false;
    static long read(char*, long, void*) { return 0; }
    static long write(const char*, long count, void*) { return count; }
    static void close(void* data) { static_cast<Watched*>(data)->closed = true; }
};

// The filter a letter names: E/D base64 encoder/decoder, e/d hex, anything else the plain base.
std::unique_ptr<CFilter> makeFilter(char kind) {
    switch (kind) {
    case 'E':
        return std::make_unique<CBase64Encoder>();
    case 'D':
        return std::make_unique<CBase64Decoder>();
    case 'e':
        return std::make_unique<CHexEncoder>();
    case 'd':
        return std::make_unique<CHexDecoder>();
    default:
        return std::make_unique<CFilter>();
    }
}

TEST(Filters, FragmentSizesFollowEachCoding) {
    const long rooms[] = {0, 1, 2, 3, 4, 5, 6, 10, 12, 8192};
    const std::map<char, std::vector<long>> expected = {
        {'E', {0, 1, 2, 3, 0, 0, 3, 3, 6, 4095}},   {'e', {0, 1, 1, 1, 2, 2, 3, 5, 6, 4096}},
        {'D', {0, 1, 2, 3, 4, 5, 6, 10, 12, 8192}}, {'d', {0, 1, 2, 3, 4, 5, 6, 10, 12, 8192}},
        {'-', {0, 1, 2, 3, 4, 5, 6, 10, 12, 8192}},
    };
    for (const auto& [kind, sizes] : expected) {
        std::vector<long> got;
        for (long room : rooms)
            got.push_back(makeFilter(kind)->getFragmentSize(room));
        EXPECT_EQ(got, sizes) << kind;
    }
}

// Each step hands one fragment to the filter ("" is the flush) and expects its output and
// whether bytes are then held over.
TEST(Filters, FragmentsCarryShortGroupsUntilTheFlush) {
    struct Step {
        std::string in, out;
        bool held;
    };
    const std::vector<std::pair<char, std::vector<Step>>> cases = {
        {'E', {{"Man", "TWFu", false}, {"M", "", true}, {"a", "", true}, {"n", "TWFu", false}}},
        {'E', {{"ManM", "TWFu", true}, {"", "TQ==", false}, {"Ma", "", true}, {"", "TWE=", false}}},
        {'D', {{"TW", "", true}, {"Fu", "Man", false}, {"TWE", "", true}, {"", "Ma", false}}},
        {'D', {{"T\r\nW", "", true}, {"F\nuTQ", "Man", true}, {"==", "M", false}}},
        {'e', {{"\x01\xAB", "01AB", false}, {"", "", false}}},
        {'d', {{"4a4", "J", true}, {"1", "A", false}, {"7", "", true}, {"", "p", false}}},
    };
    for (const auto& [kind, steps] : cases) {
        std::unique_ptr<CFilter> filter = makeFilter(kind);
        for (const Step& step : steps) {
            std::string in = step.in, out = "stale";
            filter->processFragment(in, out);
            EXPECT_EQ(out, step.out) << kind << " after " << step.in;
            EXPECT_EQ(filter->shouldFlush(), step.held) << kind << " after " << step.in;
        }
    }
}

TEST(Filters, StringsCodeBase64AndHex) {
    FakeHost host;
    const struct {
        std::string plain, base64, hex;
    } cases[] = {
        {"", "", ""},
        {"f", "Zg==", "66"},
        {"fo", "Zm8=", "666F"},
        {"foo", "Zm9v", "666F6F"},
        {"foob", "Zm9vYg==", "666F6F62"},
        {"fooba", "Zm9vYmE=", "666F6F6261"},
        {"Man", "TWFu", "4D616E"},
        {std::string("\x00\xFF\xFB", 3), "AP/7", "00FFFB"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.plain);
        CEStr base64 = EncodeString(estrOf(c.plain), kFilterBase64);
        EXPECT_EQ(bytesOf(base64), c.base64);
        EXPECT_EQ(EStrGetEncoding(base64), kEStrPDFDoc);
        EXPECT_EQ(bytesOf(EncodeString(estrOf(c.plain), kFilterHex)), c.hex);
        EXPECT_EQ(bytesOf(DecodeString(estrOf(c.base64), kFilterBase64)), c.plain);
        EXPECT_EQ(bytesOf(DecodeString(estrOf(c.hex), kFilterHex)), c.plain);
    }
    // Every value but hexadecimal means base64.
    EXPECT_EQ(bytesOf(EncodeString(estrOf("Man"), kFilterNone)), "TWFu");
    EXPECT_EQ(bytesOf(EncodeString(estrOf("Man"), static_cast<FilterEncoding>(-7))), "TWFu");
}

TEST(Filters, BadDigitsDecodeWithoutFailing) {
    FakeHost host;
    const struct {
        std::string coded;
        FilterEncoding encoding;
        std::string plain;
    } cases[] = {
        {"4A4", kFilterHex, std::string("\x4A\x40", 2)},
        {"zz4g", kFilterHex, std::string("\x00\x40", 2)},
        {"4\n1", kFilterHex, std::string("\x40\x10", 2)}, // a line end reads as a 0 digit
        {"TWE", kFilterBase64, "Ma"},                     // a short last group on the flush
        {"TQ", kFilterBase64, "M"},
        {"T", kFilterBase64, ""},
        {"TQ==TWFu", kFilterBase64, "MMan"},
        {"==TWFu", kFilterBase64, "\x16"}, // "==TW" gives nothing, "Fu" one byte
        {"TQ=u", kFilterBase64, "M"},
        {"T\tW\x1D\r\nFu", kFilterBase64, "Man"},
        // A space is not below 30: it is a bad digit and takes part as one.
        {"TW Fu", kFilterBase64, std::string("M`\x05", 3)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.coded);
        EXPECT_EQ(bytesOf(DecodeString(estrOf(c.coded), c.encoding)), c.plain);
    }
}

TEST(Filters, Base64WithLineEndsDecodesAsIfTheyWereAbsent) {
    FakeHost host;
    std::string wrapped = readValuesData("base64-bytes-0-255-crlf-lines.txt");
    std::string all;
    for (int c = 0; c < 256; ++c)
        all += static_cast<char>(c);
    EXPECT_EQ(bytesOf(DecodeString(estrOf(wrapped), kFilterBase64)), all);
    // No line ends are written.
    std::string unwrapped = wrapped;
    std::erase_if(unwrapped, [](char c) { return c == '\r' || c == '\n'; });
    EXPECT_EQ(bytesOf(EncodeString(estrOf(all), kFilterBase64)), unwrapped);
}

// Streams give the same bytes as the string forms, whatever the sizes of the reads and writes.
TEST(Filters, StreamsCodeInAnyReadOrWriteSize) {
    FakeHost host;
    const size_t lengths[] = {0, 1, 2, 3, 4095, 4096, 4097, 20000};
    const long chunks[] = {1, 3, 4, 7, 4096, 100000};
    for (FilterEncoding encoding : {kFilterBase64, kFilterHex}) {
        for (size_t length : lengths) {
            std::string plain = randomBytes(length, static_cast<unsigned>(length));
            std::string coded = bytesOf(EncodeString(estrOf(plain), encoding));
            for (long chunk : chunks) {
                SCOPED_TRACE(testing::Message() << "encoding " << encoding << " length " << length
                                                << " chunk " << chunk);
                EXPECT_EQ(
                    drain(EncodeQsStmRd(QsMemStmRdOpen(plain.data(), plain.size()), encoding, 1),
                          chunk),
                    coded);
                EXPECT_EQ(
                    drain(DecodeQsStmRd(QsMemStmRdOpen(coded.data(), coded.size()), encoding, 1),
                          chunk),
                    plain);

                QsStm codedSink = QsMemStmWrOpen(), plainSink = QsMemStmWrOpen();
                QsStm encoder = EncodeQsStmWr(codedSink, encoding, 0);
                QsStm decoder = DecodeQsStmWr(plainSink, encoding, 0);
                writeInChunks(encoder, plain, chunk);
                writeInChunks(decoder, coded, chunk);
                QsStmClose(encoder);
                QsStmClose(decoder);
                EXPECT_EQ(*QsMemStmGetData(codedSink), coded);
                EXPECT_EQ(*QsMemStmGetData(plainSink), plain);
                QsStmClose(codedSink);
                QsStmClose(plainSink);
            }
        }
    }
}

TEST(Filters, WriteStreamsFlushOnCloseAndCloseWhatTheyWrap) {
    FakeHost host;
    QsStm sink = QsMemStmWrOpen();
    QsStm encoder = EncodeQsStmWr(sink, kFilterBase64, 0);
    EXPECT_EQ(QsStmWrite(encoder, "Ma", 2), 2);
    EXPECT_EQ(*QsMemStmGetData(sink), ""); // nothing is written until the close
    QsStmClose(encoder);
    EXPECT_EQ(*QsMemStmGetData(sink), "TWE=");
    QsStmClose(sink);

    sink = QsMemStmWrOpen();
    QsStm decoder = DecodeQsStmWr(sink, kFilterHex, 0);
    QsStmWrite(decoder, "4A4", 3);
    EXPECT_EQ(*QsMemStmGetData(sink), "J");
    QsStmClose(decoder);
    EXPECT_EQ(*QsMemStmGetData(sink), "J@");
    QsStmClose(sink);

    using Open = QsStm (*)(QsStm, FilterEncoding, unsigned short);
    const struct {
        const char* name;
        Open open;
        bool writes;
    } forms[] = {
        {"EncodeQsStmRd", EncodeQsStmRd, false},
        {"EncodeQsStmWr", EncodeQsStmWr, true},
        {"DecodeQsStmRd", DecodeQsStmRd, false},
        {"DecodeQsStmWr", DecodeQsStmWr, true},
    };
    for (const auto& form : forms) {
        for (unsigned short closeStream : {0, 1}) {
            SCOPED_TRACE(testing::Message() << form.name << " closeStream " << closeStream);
            Watched watched;
            QsStm wrapped = form.writes ? QsProcStmWrOpen(Watched::write, Watched::close, &watched)
                                        : QsProcStmRdOpen(Watched::read, Watched::close, &watched);
            QsStm filtered = form.open(wrapped, kFilterBase64, closeStream);
            ASSERT_NE(filtered, nullptr);
            QsStmClose(filtered);
            EXPECT_EQ(watched.closed, closeStream == 1);
            if (!closeStream)
                QsStmClose(wrapped);
            EXPECT_EQ(form.open(nullptr, kFilterHex, 1), nullptr);
        }
    }
}

TEST(Filters, FailingStreamsEndOrFailTheFilter) {
    auto failingRead = [](char*, long, void*) -> long { return -1; };
    auto failingWrite = [](const char*, long, void*) -> long { return -1; };
    QsStm reader = EncodeQsStmRd(QsProcStmRdOpen(failingRead, nullptr, nullptr), kFilterHex, 1);
    char buffer[16];
    EXPECT_EQ(QsStmRead(reader, buffer, sizeof buffer), 0);
    QsStmClose(reader);

    QsStm writer = EncodeQsStmWr(QsProcStmWrOpen(failingWrite, nullptr, nullptr), kFilterHex, 1);
    EXPECT_LT(QsStmWrite(writer, "abc", 3), 0);
    QsStmClose(writer);
}

} // namespace
