// The pages of a feed: the context pane's page, written to a file the HTML view shows, and the
// whole-feed rendition handed to the web capture.
#include "frame/HostTables.h"
#include "frame/QsCore.h"
#include "frame/host/HostTableIds.h"
#include "frame/host/ICabinets.h"
#include "frame/host/IFileSystem.h"
#include "frame/host/IWebCapture.h"
#include "frame/mdAlert.h"
#include "tracker/CRSSFeedUI.h"
#include "tracker/FeedRecords.h"
#include "values/CAggWalk.h"
#include "values/QsStm.h"
#include "values/miTime.h"

#include <string>

namespace {

std::string utf8(const _EStrRec* s) {
    return s ? EStrToUTF8(s) : std::string();
}

/// Text through EntityEncode, keeping markup.
std::string encoded(const _EStrRec* s) {
    if (!s)
        return {};
    CEStr out = EntityEncode(s, true);
    return std::string(EStrGetBytes(out), static_cast<size_t>(EStrGetLen(out)));
}

std::string encodedMessage(const char* key) {
    return encoded(MessageEStr(key));
}

/// A string value as it stands, for links and addresses.
std::string raw(CAgg& level, const char* key) {
    return utf8(TextOf(level, key));
}

/// ModDate as the display form of its time record; empty when absent.
std::string dateOf(CAgg& level) {
    CAgg* date = ValueOf(level, "ModDate");
    if (!date || date->getType() == CAgg::eVoid)
        return {};
    CAgg copy(*date);
    QsTimeRec rec = copy.toQsTimeRec();
    CEStr text = CEStr::adopt(EStrNewFromTimeRec(&rec, 2));
    return encoded(text);
}

/// The author and date line under a title.
std::string byline(CAgg& level) {
    std::string date = dateOf(level);
    bool hasDate = ValueOf(level, "ModDate") != nullptr;
    if (HasText(level, "Author")) {
        std::string out = "<br><span style=\"font-size:70%\">" +
                          encodedMessage("IDS_INBOX_WRITTEN_BY") + encoded(TextOf(level, "Author"));
        if (hasDate)
            out += " " + date;
        return out + "</span>";
    }
    if (hasDate)
        return "<br><span style=\"font-size:70%\">" + date + "</span>";
    return {};
}

/// The address against which the page's links resolve.
std::string baseOf(EStr url) {
    CAgg* descriptor = FeedDescriptor(url);
    if (descriptor && HasText(*descriptor, "ResolvedURL"))
        return raw(*descriptor, "ResolvedURL");
    return utf8(url);
}

bool writeFile(const std::string& path, const std::string& page) {
    IFileSystem* files = HostFiles();
    QsStm out = files ? files->open(path, kQsFileWrite | kQsFileCreate) : nullptr;
    if (!out)
        return false;
    long written = QsStmWrite(out, page.data(), static_cast<long>(page.size()));
    QsStmClose(out);
    return written == static_cast<long>(page.size());
}

} // namespace

void CRSSFeedUI::setContextHTML(EStr url, EStr group, long index) {
    CAgg* level = !group && index != -1 ? FeedItem(url, index) : FeedRecord(url);
    if (!level)
        return;
    if (m_tempFile.empty()) {
        IFileSystem* files = HostFiles();
        std::optional<std::string> path = files ? files->newTempFilePath() : std::nullopt;
        if (!path)
            return;
        m_tempFile = *path;
    }
    std::string page = "<HTML>";
    page += "<HEAD><STYLE TYPE=\"text/css\">";
    page += "<!-- .headStyle { font-family:sans-serif; font-size:120%; padding: 5px; border: 1px "
            "solid #000000; } -->";
    page += "</STYLE></HEAD>";
    page += "<BODY><BASE href=\"" + baseOf(url) + "\">";
    if (isError(url)) {
        page += "<div CLASS=\"headStyle\" ><b>" + encodedMessage("IDS_INBOX_ERROR_TITLE") +
                "</b></div><br>";
        CAgg* descriptor = FeedDescriptor(url);
        std::string detail = descriptor && FeedIsListed(url) ? raw(*descriptor, "Error") : "";
        page +=
            MessageText("IDS_INBOX_ERROR_MSG", {{"{URL}", utf8(url)}, {"{DETAIL_MSG}", detail}});
        long state = descriptor ? LongOf(*descriptor, "State") : -1;
        if (state != -1)
            page += MessageText("IDS_INBOX_ERROR_CODE", {{"{CODE}", std::to_string(state)}});
        page += "<br><br>";
        page += MessageText("IDS_INBOX_ERROR_REMOVE",
                            {{"{URL}", "vellum:Inbox?removeFeed=" + utf8(url)}});
    } else {
        if (HasText(*level, "Title")) {
            page += "<a STYLE=\"color: #000000; text-decoration: none\" href=\"" +
                    raw(*level, "Link") + "\"><div CLASS=\"headStyle\" ><b>" +
                    encoded(TextOf(*level, "Title")) + "</b>";
            page += byline(*level);
            page += "</div></a><br>";
        }
        page += encoded(TextOf(*level, "Description"));
        if (HasText(*level, "Comments"))
            page += "<HR><a href=\"" + raw(*level, "Comments") + "\">" +
                    encodedMessage("IDS_RSS_COMMENT_TEXT") + "</a>";
    }
    page += "</BODY></HTML>";
    // A file that cannot be written leaves the pane as it was.
    if (!writeFile(m_tempFile, page))
        return;
    viewLoaded = 1;
    if (htmlView)
        htmlView->GoToFile(m_tempFile.c_str());
}

CEStr CRSSFeedUI::getPDFRendition(EStr url, long index) {
    CAgg* record = FeedRecord(url);
    if (!record || isError(url))
        return CEStr("", kEStrPDFDoc);
    std::string page = "<HTML>";
    page += "<HEAD><STYLE TYPE=\"text/css\">";
    page += "<!-- .feedStyle { font-family:sans-serif; font-size:140%; padding: 5px; text-align: "
            "center; } .headStyle { font-family:sans-serif; font-size:120%; padding: 5px; "
            "background-color: #EDF3FE } -->";
    page += "</STYLE><TITLE>" + encoded(TextOf(*record, "Title")) + "</TITLE></HEAD>";
    page += "<BODY><BASE href=\"" + baseOf(url) + "\">";
    if (HasText(*record, "Title"))
        page += "<div CLASS=\"feedStyle\"><a STYLE=\"color: #000000; text-decoration: none;\" "
                "href=\"" +
                raw(*record, "Link") + "\"><b>" + encoded(TextOf(*record, "Title")) +
                "</b></a></div>";
    std::vector<CAgg>* items = RecordItems(*record);
    long count = items ? static_cast<long>(items->size()) : 0;
    for (long i = 0; i < count; ++i) {
        if (index != -1 && i != index)
            continue;
        CAgg& item = (*items)[static_cast<size_t>(i)];
        if (!CAggIsMap(item))
            continue;
        page += "<TABLE><TR><TD><div STYLE=\"padding: 5px; border: 1px solid #000000;\">";
        if (HasText(item, "Title"))
            page += "<a STYLE=\"color: #000000; text-decoration: none;\" href=\"" +
                    raw(item, "Link") + "\"><div CLASS=\"headStyle\" ><b>" +
                    encoded(TextOf(item, "Title")) + "</b>" + byline(item) + "</div></a><br>";
        page += "<left><div align=left>" + encoded(TextOf(item, "Description")) + "</div>";
        if (HasText(item, "Comments"))
            page += "<div align=left><a href=\"" + raw(item, "Comments") + "\">" +
                    encodedMessage("IDS_RSS_COMMENT_TEXT") + "</a></div>";
        page += "</div><br clear=\"all\"></TD></TR></TABLE>";
    }
    page += "</BODY></HTML>";
    return CEStr(page.c_str(), kEStrPDFDoc);
}

void CRSSFeedUI::convertToPDF(EStr url, long index) {
    CEStr rendition = getPDFRendition(url, index);
    if (EStrGetLen(rendition) == 0)
        return;
    HFT table = gCoreHFT ? gCoreHFT->extensionMgrGetHFT(QsAtomFromString(kWebCaptureTable.name),
                                                        kWebCaptureTable.version)
                         : nullptr;
    // The table of that name is the web capture by contract.
    auto* capture = static_cast<IWebCapture*>(table);
    ICabinets* cabinets = HostCabinets();
    if (!capture || !cabinets)
        return;
    if (!capture->available()) {
        mdAlertText(0, 0, kAlertButtonsOK, capture->unavailableReason().c_str());
        return;
    }
    EStrSetEncoding(rendition, kEStrHost);
    QsStm stream =
        QsMemStmRdOpen(EStrGetBytes(rendition), static_cast<size_t>(EStrGetLen(rendition)));
    QsCab settings = cabinets->newCabinet();
    CEStr address(url);
    EStrSetEncoding(address, kEStrHost);
    cabinets->putString(settings, "url", EStrGetBytes(address),
                        static_cast<size_t>(EStrGetLen(address)));
    DkDoc document = capture->convert("text/html", stream, settings);
    QsStmClose(stream);
    cabinets->destroyCabinet(settings);
    if (document)
        capture->openDocument(document);
}
