#include "rss/CFeedHandler.h"

#include "frame/HostTables.h"
#include "rss/CJSHandler.h"
#include "rss/CPNGHandler.h"
#include "rss/CRSSHandler.h"
#include "rss/CRSSManager.h"
#include "soap/CHTTPRequest.h"
#include "values/miTime.h"

#include <cstring>

CFeedHandler::CFeedHandler(CRSSManager* manager, const _EStrRec* url, bool isAsync)
    : CAsyncHandler(manager), isAsync(isAsync), url(url) {}

CFeedHandler* CFeedHandler::create(CRSSManager& manager, const char* type, const _EStrRec* url,
                                   bool isAsync) {
    const char* name = type ? type : "";
    if (std::strcmp(name, "PNG") == 0)
        return new CPNGHandler(&manager, url, isAsync);
    if (std::strcmp(name, "Code") == 0 || std::strcmp(name, "UI") == 0)
        return new CJSHandler(&manager, url, isAsync);
    return new CRSSHandler(&manager, url, isAsync);
}

unsigned short CFeedHandler::Process(void* request, void* data, long length, void* userData, long) {
    auto* self = static_cast<CFeedHandler*>(userData);
    auto* http = static_cast<CHTTPRequest*>(request);
    self->request = http;
    // An asynchronous handler is gone after its final call; nothing of it is touched then.
    bool final = length == 0;
    bool goOn = self->process(http, static_cast<const char*>(data), length, http->getError());
    if (!final)
        self->request = nullptr;
    return goOn ? 1 : 0;
}

std::optional<std::string> CFeedHandler::header(const char* name) const {
    return request ? request->getResponseHeader(name) : std::nullopt;
}

CAgg& CFeedHandler::descriptor() {
    return m_manager->getFeedDescriptor(url);
}

void CFeedHandler::takeValidators() {
    std::optional<std::string> modified = header("Last-Modified");
    if (!modified)
        return;
    m_manager->setLastModified(url, CEStr(modified->c_str(), kEStrPDFDoc));
    // An ETag is kept only beside a Last-Modified: a reply with an ETag alone keeps neither.
    if (std::optional<std::string> tag = header("ETag"))
        m_manager->setETag(url, CEStr(tag->c_str(), kEStrPDFDoc));
}

void CFeedHandler::setError(ZStringID message) {
    setErrorText(EStrFromUTF8(miGetMessageUTF8(miGetZStringTagName(message))));
}

void CFeedHandler::setErrorText(const _EStrRec* text) {
    descriptor()["Error"] = CAgg(text);
}

void CFeedHandler::stampLastAttempt() {
    QsTimeRec now{};
    miTimeGetTime(&now, 0);
    descriptor()["lastAttempt"] = CAgg(now);
}

bool CFeedHandler::dropIfCancelled() {
    if (!isAsync)
        return false;
    CRSSAsyncUpdate* front = m_manager->pendingFront();
    if (!front || !front->cancelled)
        return false;
    front->done = 1;
    return true;
}

void CFeedHandler::finishAsync() {
    if (m_manager)
        m_manager->notifyDidComplete(this);
    delete this;
}
