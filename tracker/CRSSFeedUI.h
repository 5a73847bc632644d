// The default presentation of a feed in the Tracker: the titles, tips and menus of its nodes, how
// its items group and sort, and the page of the context pane.
//
// A presentation answers for every node of its feed; the panel asks it and never reads the
// record itself. A feed with no presentation of its own is shown through the manager's default
// object, which serves every such feed.
#pragma once

#include "frame/host/IViewLayer.h"
#include "tracker/CVxHTMLView.h"
#include "tracker/CVxTableContainerView.h"
#include "values/CAgg.h"
#include "values/EStr.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

class CVxBaseView;

class CRSSFeedUI {
public:
    CRSSFeedUI();
    virtual ~CRSSFeedUI();
    CRSSFeedUI(const CRSSFeedUI&) = delete;
    CRSSFeedUI& operator=(const CRSSFeedUI&) = delete;

    // The node under a context menu.
    virtual void startContextMenu(EStr url, long index);
    virtual void startContextMenu(EStr url, EStr group);
    virtual EStr getContextURL();
    virtual EStr getContextGroup();
    virtual long getContextItem();

    // Menus, made new for each context click; the caller destroys them.
    virtual VxMenu getFeedMenu();
    virtual VxMenu getGroupMenu();
    virtual VxMenu getItemMenu();
    virtual VxMenu getInitiateMenu();
    virtual CEStr getInitiateName();

    // Selection and deletion of a feed, an item and a group.
    virtual bool canSelect(EStr url);
    virtual void willSelect(EStr url, bool on);
    virtual void didSelect(EStr url, bool on);
    virtual bool canSelect(EStr url, long index);
    virtual void didSelect(EStr url, long index, bool on);
    virtual bool canSelect(EStr url, EStr group);
    virtual void didSelect(EStr url, EStr group, bool on);
    virtual bool canDelete(EStr url);
    virtual void didDelete(EStr url);
    virtual bool canDelete(EStr url, long index);
    virtual void didDelete(EStr url, long index);
    virtual bool canDelete(EStr url, EStr group);
    virtual void didDelete(EStr url, EStr group);
    virtual void didDoubleClick(EStr url, long index);
    virtual void didDoubleClick(EStr url);
    virtual void didDoubleClick(EStr url, EStr group);
    virtual bool canDoubleClick(EStr url, long index);
    virtual bool canDoubleClick(EStr url);

    // Titles and tips.
    virtual CEStr getTitle(EStr url);
    virtual CEStr getTitle(EStr url, long index);
    virtual CEStr getTitle(EStr url, EStr group);
    virtual CEStr getTip(EStr url);
    virtual CEStr getTip(EStr url, long index);
    virtual CEStr getTip(EStr url, EStr group);

    // Views.
    virtual void showToolbarView(CVxBaseView* toolbar);
    /// Makes the pane's views inside parent on first use and shows them.
    virtual void showContextView(VxView parent);

    // Grouping, sorting and filtering of a feed record's items.
    virtual std::vector<CEStr> groupBy(CAgg& feed, CAgg& item);
    virtual bool shouldGroupBy(CAgg& feed);
    virtual bool canModifyGroups(EStr url);
    virtual bool canModifyItemGroup(EStr url, long index, CAgg& groups, CAgg& allGroups);
    virtual void modifyItemGroup(EStr url, long index, CAgg& groups, CAgg& allGroups);
    /// The indices of the items in display order.
    virtual std::vector<long> sortBy(CAgg& feed, CAgg& items);
    virtual bool shouldFilter(CAgg& feed, CAgg& item);
    virtual bool shouldFilter(CAgg& feed);
    virtual bool shouldMarkUnread(CAgg& feed);

    // Life.
    virtual void didLoad();
    virtual void willUnload();
    virtual void didReleaseViews();
    virtual void willLoseContextFocus();
    virtual bool canConvertToPDF();
    /// A whole page of the item (or of all items at -1) for conversion; empty for an unset
    /// record or a feed in error.
    virtual CEStr getPDFRendition(EStr url, long index);

    /// Hands the rendition to the viewer's web capture and opens the document it makes.
    void convertToPDF(EStr url, long index);
    /// Writes the pane's page for a feed, group or item into the temporary file and reloads it.
    void setContextHTML(EStr url, EStr group, long index);
    /// Shows the pane's view and takes the manager's context focus.
    void setContextView();
    /// Hides the pane's view, when another presentation takes the pane.
    void hideContextView();
    /// What the pane shows: its feed, and its item (-1 for the feed).
    EStr getCurrentURL() const { return currentURL; }
    long getCurrentItem() const { return currentItem; }
    /// The temporary file that holds the pane's page; empty before the first page.
    const std::string& contextFile() const { return m_tempFile; }
    bool isViewLoaded() const { return viewLoaded != 0; }
    /// The HTML view of the pane, null before it is shown.
    VxView getHTMLView() const;

    /// A feed is in error when its State is -1 and it is not Verified, or when its State is not
    /// 200 and it is Verified. So a verified feed made stale counts as in error until its next
    /// reply.
    static bool isError(EStr url);
    /// The number of unread items; 0 for a hidden or local feed.
    static long countUnreadItems(EStr url);
    /// The text cut after min bytes at the next space (up to max characters), with "...".
    static CEStr shorten(EStr text, long min, long max);
    /// The text without its tags, trimmed; entities stay as they are.
    static CEStr stripTags(EStr text);
    /// The HTML view's link procedure: "mailto:" is left to the view, any other link opens.
    static bool HandleLink(VxView view, const char* url, void* data);

    // Menu actions, with the presentation as data.
    static void doOpenItem(void* data);
    static void doRemoveFeedExec(void* data);
    static void doRefresh(void* data);
    static void doCopyURL(void* data);
    static void doCopySubscriptionURL(void* data);
    static void doSubscribe(void* data);
    static void doMarkAllAsRead(void* data);
    static void doMarkAllAsUnread(void* data);
    static void doMarkAsRead(void* data);
    static void doMarkAsUnread(void* data);
    static void doConvertToPDF(void* data);
    static bool hasLink(void* data);
    static bool hasNoError(void* data);

    /// The alert that asks before removing the context feed; removes it on OK.
    void onRemove();

protected:
    CEStr contextURL;
    CEStr contextGroup;
    long contextItem = -1;
    VxView contextView = nullptr;
    std::unique_ptr<CVxHTMLView> htmlView;
    CEStr currentURL;
    long currentItem = -1;
    std::unique_ptr<CVxTableContainerView> container;
    QsBool viewLoaded = 0;

private:
    void markContextItem(bool isRead);
    void copyLink(bool subscription);
    std::string m_tempFile;
};
