#include "soap/CHTTPRequest.h"

#include "frame/HostTables.h"
#include "frame/host/IFileSystem.h"
#include "soap/AuthCallbacks.h"
#include "soap/CRequestWriter.h"
#include "soap/WireDump.h"
#include "values/QsStm.h"

#include <cstring>
#include <strings.h>

namespace {

std::string strip(std::string_view text) {
    const char* blanks = " \t\r\n";
    size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    size_t last = text.find_last_not_of(blanks);
    return std::string(text.substr(first, last - first + 1));
}

/// The text of a header record's entry.
std::string recordText(CAgg& record, const char* key) {
    if (!record.has(key))
        return {};
    CQsText text;
    QsTextFromEStr(record[key].toEStr(), text.get());
    return text.getString();
}

bool startsWithNoCase(const std::string& text, const char* prefix) {
    return strncasecmp(text.c_str(), prefix, std::strlen(prefix)) == 0;
}

} // namespace

CHTTPRequest::CHTTPRequest(const HTTPClientIds& ids, const char* url)
    : m_ids(ids), m_url(url ? url : "") {}

CHTTPRequest::~CHTTPRequest() {
    if (m_deleted)
        *m_deleted = true;
    closeHandle();
    QsStmClose(m_postStream);
    removeSwATemp(m_spool);
}

void CHTTPRequest::setSOAPAction(const char* action) {
    m_soapAction = action && *action ? CEStr(action, kEStrPDFDoc) : CEStr();
}

void CHTTPRequest::setAuthenticate(const CAgg* authenticate) {
    // A map without both a user name and a password leaves the interactive callback in force.
    m_authenticate = authenticate && hasOwnCredentials(*authenticate) ? authenticate : nullptr;
}

void CHTTPRequest::initAsync() {
    m_async = true;
    m_firstData = true;
}

void CHTTPRequest::closeHandle() {
    if (!m_handle)
        return;
    if (gNetSpanHFT)
        gNetSpanHFT->close(m_handle);
    m_handle = nullptr;
}

bool CHTTPRequest::start(int32_t mode,
                         const std::vector<std::pair<std::string, std::string>>& headers) {
    INetwork* net = gNetSpanHFT;
    // A request is for one use: once started, it never starts again.
    if (m_started || !net) {
        m_failed = true;
        return false;
    }
    m_started = true;
    m_handle = m_async ? net->openURLAsync(m_url.c_str(), mode, &CHTTPRequest::asyncProc, this)
                       : net->openURL(m_url.c_str(), mode);
    if (!m_handle) {
        m_failed = true;
        m_error = kNetErrGeneral;
        return false;
    }
    net->setTimeoutsAndFlags(m_handle, m_ids.client, m_ids.flags);
    if (m_authenticate)
        net->setAuthenticationData(m_handle, const_cast<CAgg*>(m_authenticate));
    for (const auto& [name, value] : headers)
        net->setHeader(m_handle, name.c_str(), value.c_str());
    wireDumpRequest(mode == kNetOpenReadWrite ? "POST" : "GET", m_url.c_str(), headers);
    return true;
}

long CHTTPRequest::open(HTTPConsumerProc consumer, void* userData, const CAgg* headers) {
    m_consumer = consumer;
    m_userData = userData;
    std::vector<std::pair<std::string, std::string>> list;
    if (headers && headers->getType() == CAgg::eVector) {
        CAgg copy(*headers);
        for (CAgg& record : copy.toVector()) {
            if (record.getType() == CAgg::eMap && record.has("key"))
                list.emplace_back(recordText(record, "key"), recordText(record, "value"));
        }
    }
    if (gNetSpanHFT) {
        if (std::optional<std::string> language = gNetSpanHFT->acceptLanguage())
            list.emplace_back("Accept-Language", *language);
    }
    if (!start(kNetOpenRead, list))
        return 0;
    return m_async ? 1 : processSync();
}

long CHTTPRequest::post(const char* contentType, QsStm body, HTTPConsumerProc consumer,
                        void* userData) {
    m_consumer = consumer;
    m_userData = userData;
    QsStmClose(m_postStream);
    m_postStream = body;
    // The action is always sent: without one the value is just the two quotes.
    std::vector<std::pair<std::string, std::string>> list = {
        {"Content-Type", contentType ? contentType : ""},
        {"SOAPAction", "\"" + std::string(m_soapAction.c_str()) + "\""},
    };
    if (!start(kNetOpenReadWrite, list))
        return 0;
    // From here the layer pulls the body and closes the stream through postCloseProc.
    if (!gNetSpanHFT->post(m_handle, &CHTTPRequest::postWriteProc, &CHTTPRequest::postCloseProc,
                           this)) {
        closeHandle();
        m_failed = true;
        m_error = kNetErrGeneral;
        return 0;
    }
    return m_async ? 1 : processSync();
}

long CHTTPRequest::doPost(CRequestWriter* writer, HTTPConsumerProc consumer, void* userData) {
    if (!writer) {
        m_failed = true;
        return 0;
    }
    CEStr contentType = writer->getContentType();
    return post(contentType.c_str(), writer->getStream(), consumer, userData);
}

long CHTTPRequest::postWriteProc(char* buffer, long count, void* data) {
    auto* self = static_cast<CHTTPRequest*>(data);
    long got = QsStmRead(self->m_postStream, buffer, count);
    if (got > 0)
        wireDumpBytes(buffer, got);
    return got;
}

void CHTTPRequest::postCloseProc(void* data) {
    auto* self = static_cast<CHTTPRequest*>(data);
    QsStmClose(self->m_postStream);
    self->m_postStream = nullptr;
}

CAgg CHTTPRequest::parseHeaders(NetRequest handle) {
    CAgg headers;
    headers.toVector();
    if (!gNetSpanHFT || !handle)
        return headers;
    std::optional<std::string> type = gNetSpanHFT->responseHeader(handle, "Content-Type");
    if (!type)
        return headers;
    CAgg record;
    record["key"] = CAgg(CEStr("Content-Type", kEStrPDFDoc).get());
    record["value"] = CAgg(CEStr(strip(*type).c_str(), kEStrPDFDoc).get());
    headers.toVector().push_back(std::move(record));
    return headers;
}

void CHTTPRequest::takeReplyHeaders() {
    m_headers = parseHeaders(m_handle);
    m_contentType = CEStr("", kEStrPDFDoc);
    for (CAgg& record : m_headers.toVector()) {
        if (recordText(record, "key") == "Content-Type")
            m_contentType = CEStr(recordText(record, "value").c_str(), kEStrPDFDoc);
    }
    m_multipart = startsWithNoCase(m_contentType.c_str(), "multipart/related");
}

long CHTTPRequest::handleReadProc(char* buffer, long count, void* data) {
    auto* self = static_cast<CHTTPRequest*>(data);
    long got = gNetSpanHFT ? gNetSpanHFT->read(self->m_handle, buffer, count) : kNetErrGeneral;
    if (got >= 0)
        return self->countReply(got) ? got : 0;
    self->m_error = got;
    return 0;
}

void CHTTPRequest::deliverRootPart() {
    // The consumer may delete this request from within a call; then nothing of it is touched.
    bool* deleted = m_deleted;
    const CEStr& root = m_parts.getRootPartName();
    CAgg* record = m_parts.getPartRecord(root);
    if (!record || !startsWithNoCase(recordText(*record, "Content-Type"), "text/xml"))
        return;
    QsStm part = m_parts.getPart(root);
    bool started = false;
    for (;;) {
        long got = QsStmRead(part, m_buffer, kBlockSize);
        if (got < 1)
            break;
        const char* data = m_buffer;
        if (!started) {
            // What stands in front of the first "<" is skipped, so that a stray line at the
            // head of the part does not reach the parser.
            const void* open = std::memchr(data, '<', static_cast<size_t>(got));
            if (!open)
                continue;
            got -= static_cast<const char*>(open) - data;
            data = static_cast<const char*>(open);
            started = true;
        }
        bool goOn = deliver(data, got);
        if (deleted && *deleted)
            break;
        if (!goOn)
            break;
    }
    QsStmClose(part);
}

bool CHTTPRequest::makeSwATemp() {
    IFileSystem* files = HostFiles();
    std::optional<std::string> path = files ? files->newTempFilePath() : std::nullopt;
    if (!path)
        return false;
    m_spool.path = *path;
    m_spool.stream = files->open(*path, kQsFileWrite | kQsFileCreate);
    return m_spool.stream != nullptr;
}

QsStm CHTTPRequest::resetSwATemp(SwATemp& file) {
    QsStmClose(file.stream);
    file.stream = nullptr;
    IFileSystem* files = HostFiles();
    return files && !file.path.empty() ? files->open(file.path, kQsFileRead) : nullptr;
}

void CHTTPRequest::removeSwATemp(SwATemp& file) {
    QsStmClose(file.stream);
    file.stream = nullptr;
    if (IFileSystem* files = HostFiles(); files && !file.path.empty())
        files->remove(file.path);
    file.path.clear();
}

std::optional<std::string> CHTTPRequest::getResponseHeader(const char* name) const {
    if (!m_handle || !gNetSpanHFT)
        return std::nullopt;
    return gNetSpanHFT->responseHeader(m_handle, name);
}

bool CHTTPRequest::countReply(long length) {
    m_replyBytes += length;
    if (m_replyLimit > 0 && m_replyBytes > m_replyLimit)
        m_replyTooLarge = true;
    return !m_replyTooLarge;
}

bool CHTTPRequest::deliver(const char* data, long length) {
    wireDumpBytes(data, length);
    if (!m_consumer)
        return true;
    return m_consumer(this, const_cast<char*>(data), length, m_userData, consumerStatus()) != 0;
}

void CHTTPRequest::finish() {
    if (m_consumer)
        m_consumer(this, nullptr, 0, m_userData, consumerStatus());
}

long CHTTPRequest::processSync() {
    INetwork* net = gNetSpanHFT;
    if (m_failed || m_async || !m_handle || !net)
        return 0;
    bool sent = net->sendAndWait(m_handle);
    takeReplyHeaders();
    long status = net->status(m_handle);
    if (status > 0)
        m_status = status;
    else
        m_error = status < 0 ? status : kNetErrGeneral;
    if (sent && m_multipart) {
        QsStm reply = QsProcStmRdOpen(&CHTTPRequest::handleReadProc, nullptr, this);
        m_parts.process(m_headers, reply);
        QsStmClose(reply);
        if (!m_replyTooLarge)
            deliverRootPart();
    } else if (sent) {
        for (;;) {
            long got = net->read(m_handle, m_buffer, kBlockSize);
            if (got < 1) {
                if (got < 0)
                    m_error = got;
                break;
            }
            if (!countReply(got) || !deliver(m_buffer, got))
                break;
        }
    }
    finish();
    closeHandle();
    return m_status;
}

int32_t CHTTPRequest::asyncProc(NetRequest, const char* data, long length, long status, long error,
                                void* self) {
    return static_cast<CHTTPRequest*>(self)->processAsync(data, length, status, error);
}

unsigned short CHTTPRequest::processAsync(const char* data, long length, long status, long error) {
    if (m_firstData) {
        m_firstData = false;
        takeReplyHeaders();
        if (m_multipart && !makeSwATemp())
            m_error = kNetErrGeneral;
    }
    if (status > 0)
        m_status = status;
    if (error != 0)
        m_error = error;
    if (data && length > 0 && !countReply(length))
        return 0; // the final call follows
    if (m_multipart && data && length > 0) {
        // A multipart reply is spooled whole and taken apart at its end.
        if (m_spool.stream && QsStmWrite(m_spool.stream, data, length) == length)
            return 1;
        m_error = kNetErrGeneral;
        return 0;
    }
    bool deleted = false;
    m_deleted = &deleted;
    if (m_multipart) {
        QsStm spooled = resetSwATemp(m_spool);
        // A reply cut short at the limit is not taken apart: the consumer learns nothing of it.
        if (!m_replyTooLarge)
            m_parts.process(m_headers, spooled);
        QsStmClose(spooled);
        removeSwATemp(m_spool);
        if (!m_replyTooLarge)
            deliverRootPart();
        if (deleted)
            return 0;
    }
    if (data && length > 0) {
        bool goOn = deliver(data, length);
        if (deleted)
            return 0;
        m_deleted = nullptr;
        return goOn ? 1 : 0;
    }
    if (m_status == 0 && m_error == 0)
        m_error = kNetErrGeneral;
    bool deleteSelf = m_deleteWhenDone;
    finish();
    if (deleted)
        return 0;
    m_deleted = nullptr;
    closeHandle();
    if (deleteSelf)
        delete this;
    return 0;
}
