// Any bytes, labelled with any encoding, converted to any target: the record must stay whole
// (two zero bytes behind the text, a length within the capacity) and nothing may crash.
// Input: one byte of source encoding, one of target, then the text.

#include "fuzz/FuzzHost.h"
#include "values/EStr.h"

#include <cstdlib>

namespace {

void checkWhole(const _EStrRec* s) {
    if (s->length < 0 || s->length + 2 > s->capacity || s->bytes[s->length] != 0 ||
        s->bytes[s->length + 1] != 0)
        std::abort();
}

void setUp() {
    fuzzInstallCoreAndEncodings(true);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static bool ready = (setUp(), true);
    (void)ready;
    if (size < 2)
        return 0;
    int32_t source = data[0] % 20;
    int32_t target = data[1] % 21 - 1;
    const char* text = reinterpret_cast<const char*>(data + 2);
    long length = static_cast<long>(size - 2);

    CEStr s = CEStr::adopt(EStrNew(nullptr, kEStrPDFDoc));
    EStrSetBytesWithSize(s, text, length, source);
    EStrThisIsTheEncoding(s, source);
    checkWhole(s);
    CEStr original = CEStr::adopt(EStrCopy(s));
    EStrHash(s);
    EStrSetEncoding(s, target);
    checkWhole(s);
    if (target == kEStrAuto && EStrGetEncoding(s) != kEStrPDFDoc &&
        EStrGetEncoding(s) != kEStrUCS && EStrGetEncoding(s) != source)
        std::abort();

    EStrCmp(s, original);
    EStrICmp(s, original);
    EStrGetBestEncodingWithPref(s, data[0] % 18);
    CEStr iffy = CEStr::adopt(EStrIffyCharsToCharEntities(original));
    checkWhole(iffy);
    checkWhole(EntityEncode(s, data[1] & 1));
    CEStr delims(",;", kEStrPDFDoc);
    for (const CEStr& piece : EStrSplitNum(s, delims, data[0] % 4))
        checkWhole(piece);
    CEStr needle("ab", kEStrPDFDoc);
    EStrFindStr(s, needle, data[1] % 8);
    EStrReplace(s, needle, delims);
    checkWhole(s);
    EStrTrunc(s, data[0] % 16);
    EStrCatChar(s, static_cast<uint16_t>(data[1] << 8 | data[0]));
    EStrStrip(s);
    checkWhole(s);
    return 0;
}
