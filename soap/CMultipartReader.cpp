#include "soap/CMultipartReader.h"

#include "frame/HostTables.h"
#include "frame/host/IFileSystem.h"
#include "values/CAggWalk.h"
#include "values/QsStm.h"

#include <algorithm>
#include <string_view>
#include <strings.h>

namespace {

constexpr long kReadBlock = 4096;

std::string trimmed(std::string_view text) {
    const char* blanks = " \t\r\n";
    size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return std::string();
    size_t last = text.find_last_not_of(blanks);
    return std::string(text.substr(first, last - first + 1));
}

bool sameName(const std::string& a, const char* b) {
    return strcasecmp(a.c_str(), b) == 0;
}

// A parameter value without its surrounding double quotes.
std::string unquoted(std::string text) {
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"')
        return text.substr(1, text.size() - 2);
    return text;
}

// The bytes of a line's end: 2 for CR LF, 1 for a lone LF, 0 for none.
int lineEndLength(std::string_view line) {
    if (line.size() >= 2 && line.substr(line.size() - 2) == "\r\n")
        return 2;
    return !line.empty() && line.back() == '\n' ? 1 : 0;
}

} // namespace

CMultipartReader::CMultipartReader() = default;

CMultipartReader::~CMultipartReader() = default;

void CMultipartReader::reset() {
    m_parts = CAgg();
    m_boundary = CEStr("", kEStrPDFDoc);
    m_rootPartID = CEStr("", kEStrPDFDoc);
    m_partNames.clear();
    m_spool.reset();
    m_pending.clear();
    m_pendingOffset = 0;
}

bool CMultipartReader::processContentType(CAgg& headers) {
    if (headers.getType() != CAgg::eVector)
        return false;
    for (CAgg& header : headers.toVector()) {
        if (!CAggIsMap(header) || !header.has("key") || !header.has("value"))
            continue;
        if (!sameName(EStrToUTF8(CAggValueText(header["key"])), "Content-Type"))
            continue;
        std::string value = EStrToUTF8(CAggValueText(header["value"]));
        std::string_view rest(value);
        while (!rest.empty()) {
            size_t semicolon = rest.find(';');
            std::string_view item = rest.substr(0, semicolon);
            rest = semicolon == std::string_view::npos ? std::string_view()
                                                       : rest.substr(semicolon + 1);
            size_t equals = item.find('=');
            if (equals == std::string_view::npos)
                continue;
            std::string name = trimmed(item.substr(0, equals));
            std::string parameter = unquoted(trimmed(item.substr(equals + 1)));
            if (sameName(name, "boundary"))
                m_boundary = EStrFromUTF8("--" + parameter);
            else if (sameName(name, "start"))
                m_rootPartID = EStrFromUTF8(parameter);
        }
        break;
    }
    return EStrGetCharLen(m_boundary) > 0;
}

void CMultipartReader::process(CAgg& headers, QsStm stream) {
    reset();
    if (!processContentType(headers))
        return;
    m_spool = CTempFileStm::CFile::create();
    IFileSystem* files = HostFiles();
    QsStm spool = m_spool && files ? files->open(m_spool->path(), kQsFileWrite) : nullptr;
    if (!spool)
        return;
    const std::string boundary = EStrToUTF8(m_boundary);
    enum { kPreamble, kHeaders, kData } state = kPreamble;
    std::string line(static_cast<size_t>(kMaxLineLength), '\0');
    CAgg part;
    CEStr partName;
    int64_t offset = 0;
    int64_t dataStart = 0;
    bool atLineStart = true;
    int previousLineEnd = 0;
    for (;;) {
        long count = readLine(stream, line.data(), kMaxLineLength);
        if (count <= 0 || QsStmWrite(spool, line.data(), count) != count)
            break;
        std::string_view text(line.data(), static_cast<size_t>(count));
        int64_t lineOffset = offset;
        offset += count;
        bool startsLine = atLineStart;
        atLineStart = text.back() == '\n';
        int lineEnd = lineEndLength(text);
        if (state == kHeaders) {
            if (text == "\r\n" || text == "\n") {
                dataStart = offset;
                state = kData;
            } else {
                addHeader(part, partName, std::string(text));
            }
        } else if (startsLine && text.substr(0, boundary.size()) == boundary) {
            if (state == kData) {
                // The line end in front of a boundary belongs to the boundary, not to the data.
                int64_t dataEnd = std::max(dataStart, lineOffset - previousLineEnd);
                addPart(part, partName, dataStart, dataEnd - dataStart);
            }
            if (text.substr(boundary.size(), 2) == "--")
                break;
            part = CAgg();
            partName = CEStr("", kEStrPDFDoc);
            state = kHeaders;
        }
        previousLineEnd = lineEnd;
    }
    QsStmClose(spool);
    if (EStrGetCharLen(m_rootPartID) == 0 && !m_partNames.empty())
        m_rootPartID = m_partNames.front();
}

void CMultipartReader::addHeader(CAgg& part, CEStr& partName, std::string line) {
    // A line splits at ":" into exactly two pieces, or it is no header: a value with a colon
    // of its own ("<uuid:...>") is passed over with the line.
    if (std::count(line.begin(), line.end(), ':') != 1)
        return;
    size_t colon = line.find(':');
    std::string name = trimmed(std::string_view(line).substr(0, colon));
    std::string value = trimmed(std::string_view(line).substr(colon + 1));
    for (const char* known : {"Content-Id", "Content-Type", "Content-Transfer-Encoding"}) {
        if (sameName(name, known))
            name = known;
    }
    CEStr text = EStrFromUTF8(value);
    if (name == "Content-Id")
        partName = text;
    part[EStrFromUTF8(name)] = CAgg(text.get());
}

void CMultipartReader::addPart(CAgg& part, const CEStr& partName, int64_t offset, int64_t length) {
    part["Data"] = CAgg(static_cast<QsStm>(new CTempFileStm(m_spool, offset, length)), 1);
    CEStr name = partName.isNull() ? CEStr("", kEStrPDFDoc) : partName;
    if (!m_parts.has(name.get()))
        m_partNames.push_back(name);
    m_parts[name] = std::move(part);
}

QsStm CMultipartReader::getPart(const _EStrRec* name) {
    CAgg* record = getPartRecord(name);
    if (!record || !record->has("Data"))
        return nullptr;
    auto* data = dynamic_cast<CTempFileStm*>((*record)["Data"].toQsStm());
    return data ? data->clone() : nullptr;
}

bool CMultipartReader::hasPart(const _EStrRec* name) {
    return name && m_parts.has(name);
}

const std::vector<CEStr>& CMultipartReader::getPartNames() {
    return m_partNames;
}

CAgg* CMultipartReader::getPartRecord(const _EStrRec* name) {
    if (!hasPart(name))
        return nullptr;
    return &m_parts[name];
}

long CMultipartReader::readLine(QsStm stream, char* buffer, long size) {
    long count = 0;
    while (count < size) {
        if (m_pendingOffset >= m_pending.size()) {
            m_pending.resize(kReadBlock);
            long got = QsStmRead(stream, m_pending.data(), kReadBlock);
            m_pending.resize(got > 0 ? static_cast<size_t>(got) : 0);
            m_pendingOffset = 0;
            if (got <= 0)
                break;
        }
        char c = m_pending[m_pendingOffset++];
        buffer[count++] = c;
        if (c == '\n')
            break;
    }
    return count;
}
