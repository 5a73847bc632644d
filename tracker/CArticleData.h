// A node of one item of a feed.
#pragma once

#include "tracker/CInboxData.h"

class CArticleData final : public CInboxData {
public:
    /// The item at index of the feed at url, shown through driverURL's presentation.
    CArticleData(CVxInboxPanel* panel, EStr url, long index, EStr driverURL);
    ~CArticleData() override;

    CEStr getTitle() override;
    CEStr getToolTip() override;
    InboxDataType getType() override { return kInboxArticle; }
    bool canExecute() override;
    void execute() override;
    bool canSelect() override;
    /// Selecting an item marks it read, unless its feed keeps no read state.
    void didSelect(bool on) override;
    void didUpdate(EStr url) override;
    bool canRemove() override;
    void onRemove() override;
    bool isRead() override;
    VxMenu getContextMenu() override;
    /// 1 when unread.
    long countUnread() override;
    VxIcon getIcon() override;
    bool canOpen() override;
    void open() override;
    bool isValid() override;
    CRSSFeedUI* getFeedUI() override;

    long getIndex() const { return index; }

private:
    long index;
};
