// The handler of a feed document: the reply is parsed as it comes, read as a feed, and merged
// into the store; a failed reply becomes the feed's State and Error, except that a feed that
// has answered before keeps showing its record through a network failure.
#pragma once

#include "rss/CFeedHandler.h"
#include "xml/CXML2CAgg.h"

class CRSSHandler final : public CFeedHandler {
public:
    using CFeedHandler::CFeedHandler;

    int32_t getType() override { return kFeedType; }
    bool done() override;
    bool process(CHTTPRequest* request, const char* data, long length, long error) override;

    /// The message of an HTTP status from 300 to 599.
    static ZStringID statusMessage(long status);

private:
    /// Reads the parsed document into the store; false when it is no feed.
    bool takeRecord();

    CXML2CAgg m_parser;
};
