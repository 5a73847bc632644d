// The client data of a node of the Tracker's tree: what the node shows and does, answered through
// its feed's presentation.
#pragma once

#include "frame/host/IViewLayer.h"
#include "values/EStr.h"

#include <cstdint>
#include <vector>

class CRSSFeedUI;
class CVxBaseView;
class CVxInboxPanel;

/// The kinds of node.
enum InboxDataType : int32_t {
    kInboxFeed = 0,
    kInboxGroup = 1,
    kInboxArticle = 2,
};

class CInboxData {
public:
    /// A node of a feed (url) whose presentation is that of driverURL.
    CInboxData(CVxInboxPanel* panel, EStr url, EStr driverURL);

    virtual CEStr getTitle() = 0;
    virtual CEStr getToolTip();
    virtual ~CInboxData();
    CInboxData(const CInboxData&) = delete;
    CInboxData& operator=(const CInboxData&) = delete;
    /// 0: plain. The panel draws bold from the unread count and the read state.
    virtual int32_t getStyle();
    virtual InboxDataType getType() = 0;
    virtual bool canExecute();
    virtual void execute();
    virtual bool canSelect();
    virtual void willSelect(bool on);
    virtual void didSelect(bool on);
    virtual EStr getURL();
    virtual EStr getDriverURL();
    virtual void didUpdate(EStr url);
    virtual void setOpenState(bool open);
    virtual bool canRemove();
    virtual void onRemove();
    virtual bool canExpand();
    virtual void onExpand();
    virtual bool canCollapse();
    virtual void onCollapse();
    /// A context menu made new, or null.
    virtual VxMenu getContextMenu();
    virtual long countUnread() = 0;
    virtual CRSSFeedUI* getFeedUI();
    virtual void showToolbarView(CVxBaseView* toolbar);
    virtual void showContextView(VxView view);
    virtual CVxInboxPanel* inbox();
    virtual VxIcon getIcon();
    /// The data of the parent node, or null at the top.
    virtual CInboxData* getParent();
    virtual bool canOpen();
    virtual void open();
    /// The names of the groups the node sits in, innermost first.
    virtual std::vector<CEStr> getNodeGroups();
    virtual bool isRead();
    /// Whether what the node shows is still there.
    virtual bool isValid();

    /// The tree node that carries this data; set when the node is made.
    VxTreeItem node = nullptr;

protected:
    CVxInboxPanel* panel;
    CEStr url;
    CEStr driverURL;
};
