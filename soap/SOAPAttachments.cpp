#include "soap/SOAPAttachments.h"

#include "frame/QsCore.h"
#include "soap/CSOAPWriter.h"
#include "values/CAggWalk.h"
#include "values/QsStm.h"

namespace {

constexpr const char* kAttachmentKey = "soapAttachment";
constexpr const char* kValueKey = "soapValue";
constexpr const char* kHREFKey = "soapHREF";

bool isAttachment(CAgg& value) {
    if (!CAggIsMap(value) || !value.has(kAttachmentKey))
        return false;
    CAgg flag(value[kAttachmentKey]);
    return flag.toQsBool() != 0;
}

// A part's bytes come through a stream of its own, which the writer closes with itself. It holds
// the stream value taken out of the request, so the stream is closed then if the value owned it,
// and left to its owner (a script object) if not.
struct PartSource {
    CAgg value;
};

long readPart(char* buffer, long count, void* data) {
    return QsStmRead(static_cast<PartSource*>(data)->value.toQsStm(), buffer, count);
}

void closePart(void* data) {
    delete static_cast<PartSource*>(data);
}

bool attach(CAgg& map, const CEStr& name, CMultipartWriter& writer, CAgg& attachments) {
    if (!map.has(kValueKey) || map[kValueKey].getType() != CAgg::eQsStm)
        return false;
    auto* source = new PartSource{std::move(map[kValueKey])};
    QsStm part = QsProcStmRdOpen(readPart, closePart, source);
    CEStr id = writer.addPart(name, "application/octet-stream", "binary", part);
    CEStr href("cid:", kEStrPDFDoc);
    href += id;
    CAggRemoveKey(map, kValueKey);
    CAggRemoveKey(map, kAttachmentKey);
    map[kHREFKey] = CAgg(href.get());
    attachments[id] = CAgg(name.get());
    return true;
}

bool scan(CAgg& value, const CEStr& name, CMultipartWriter& writer, CAgg& attachments, long depth,
          bool& found) {
    // The writer refuses a request nested this deep; the walk stops there as well.
    if (depth > CSOAPWriter::kMaxDepth)
        return true;
    if (isAttachment(value)) {
        found = true;
        return attach(value, name, writer, attachments);
    }
    bool ok = true;
    if (value.getType() == CAgg::eVector) {
        CEStr none("", kEStrPDFDoc);
        for (CAgg& item : value.toVector())
            ok = ok && scan(item, none, writer, attachments, depth + 1, found);
    } else if (CAggIsMap(value)) {
        CAggForEachEntry(value, [&](const CEStr& key, CAgg& item) {
            ok = ok && scan(item, key, writer, attachments, depth + 1, found);
        });
    }
    return ok;
}

// Whether any map below holds an attachment. Names play no part here, so none is made: this
// runs on every request, and most hold none.
bool holdsAttachment(CAgg& value, long depth) {
    if (depth > CSOAPWriter::kMaxDepth)
        return false;
    if (isAttachment(value))
        return true;
    bool found = false;
    if (value.getType() == CAgg::eVector) {
        for (CAgg& item : value.toVector()) {
            if (holdsAttachment(item, depth + 1))
                return true;
        }
    } else if (CAggIsMap(value)) {
        CAggForEachChild(value,
                         [&](CAgg& item) { found = found || holdsAttachment(item, depth + 1); });
    }
    return found;
}

} // namespace

bool SOAPHasAttachments(CAgg& value) {
    return holdsAttachment(value, 0);
}

bool SOAPScanAttachments(CAgg& request, CMultipartWriter& writer, CAgg& attachments) {
    bool found = false;
    attachments.toMap();
    return scan(request, CEStr("", kEStrPDFDoc), writer, attachments, 0, found);
}
