#include "rss/CRSSHandler.h"

#include "frame/HostError.h"
#include "rss/CRSSManager.h"
#include "rss/CRSSReader.h"
#include "soap/CHTTPRequest.h"
#include "soap/HTTPFunctions.h"
#include "values/CAggWalk.h"

namespace {

bool isSuccess(long status) {
    return status >= 200 && status <= 299;
}

} // namespace

ZStringID CRSSHandler::statusMessage(long status) {
    if (status == 301 || status == 302)
        return IDS_SERVICE_MOVED;
    if (status == 401)
        return IDS_UNAUTHORIZED;
    if (status == 404 || status == 410)
        return IDS_SERVICE_MISSING;
    // A 403 is a bad request here, not a demand for credentials.
    if (status >= 400 && status <= 499)
        return IDS_SERVICE_BAD_REQUEST;
    if (status >= 500 && status <= 599)
        return IDS_SERVICE_SERVER_ERROR;
    return IDS_NETWORK_GENERAL;
}

bool CRSSHandler::process(CHTTPRequest* request, const char* data, long length, long error) {
    try {
        status = static_cast<int32_t>(request ? request->getStatus() : 0);
        this->error = static_cast<int32_t>(error);
        if (length > 0) {
            received += length;
            tooLarge = tooLarge || received > CRSSManager::kMaxFeedBytes;
        }
        // Only a successful reply is a document; an error page is not parsed.
        if (!tooLarge && isSuccess(status))
            m_parser.parse(data, static_cast<int>(length), length == 0);
    } catch (const HostError&) {
        // The parser's state tells of the failure.
    }
    if (length != 0)
        return !tooLarge;
    if (m_manager && !dropIfCancelled() && done())
        m_manager->notifyDidUpdate(url);
    if (isAsync)
        finishAsync();
    return false;
}

bool CRSSHandler::done() {
    if (status == 0 && error == kNetErrUnauthorized)
        status = 401; // recheckAuthentication looks for it
    bool subscribed = m_manager->hasFeed(url);
    bool result = true;
    if (isSuccess(status)) {
        descriptor()["ResolvedURL"] =
            CAgg(resolvedURL.isNull() ? CEStr("", kEStrPDFDoc).get() : resolvedURL.get());
        if (subscribed) {
            descriptor()["Verified"].toQsBool() = 1;
            descriptor()["FailureCount"] = CAgg(0L);
        }
        takeValidators();
        CEStr parseError = m_parser.getErrorString();
        if (tooLarge) {
            setError(IDS_NETWORK_INVALID);
            status = -1;
        } else if (!parseError.isNull() && EStrGetLen(parseError) > 0) {
            if (!m_parser.hasUnknownEncoding())
                setError(IDS_SERVICE_BAD_XML);
            else if (!m_parser.ownErrorString().isNull())
                setErrorText(m_parser.ownErrorString());
            else
                setErrorText(parseError);
            status = -1;
        } else if (!takeRecord()) {
            setError(IDS_SERVICE_NOT_RSS);
            status = -1;
        }
    } else if (status == 304) {
        if (subscribed) {
            descriptor()["Verified"].toQsBool() = 1;
            descriptor()["FailureCount"] = CAgg(0L);
        }
        // The record stands, and nobody is told.
        descriptor()["State"] = CAgg(200L);
        return false;
    } else if (status >= 300 && status <= 599) {
        setError(statusMessage(status));
        if (subscribed)
            descriptor()["Verified"].toQsBool() = 1;
    } else {
        if (subscribed) {
            CAgg& feed = descriptor();
            long failures = feed.has("FailureCount") ? CAgg(feed["FailureCount"]).toQsInt32() : 0;
            feed["FailureCount"] = CAgg(failures + 1);
        }
        if (m_manager->isVerified(url)) {
            // A feed known to work fails quietly: its record, State and Error go on showing.
            stampLastAttempt();
            return false;
        }
        status = -1;
        setError(static_cast<ZStringID>(MapEFSError(error)));
    }
    descriptor()["State"] = CAgg(static_cast<long>(status));
    stampLastAttempt();
    return result;
}

bool CRSSHandler::takeRecord() {
    CRSSReader reader;
    CAgg record = reader.readMessage(m_parser.getRoot());
    if (record.getType() == CAgg::eVoid)
        return false;
    // The old sub-feeds go only after the new ones are in, so that one named in both versions
    // keeps its subscription.
    std::vector<CAgg> oldSubFeeds = m_manager->getSubFeeds(url);
    m_manager->setContents(url, std::move(record));
    CAgg& feed = descriptor();
    feed["TTL"] = CAgg(static_cast<long>(reader.ttl));
    feed["SkipDays"] = CAgg(static_cast<long>(reader.skipDays));
    feed["SkipHours"] = CAgg(static_cast<long>(reader.skipHours));
    m_manager->prefetch(url);
    for (CAgg& sub : oldSubFeeds) {
        CEStr subURL(CAggValueText(sub["URL"]));
        // A feed that names itself is not its own subscriber.
        if (EStrCmp(subURL, url) != 0)
            m_manager->removeFeed(subURL);
    }
    return true;
}
