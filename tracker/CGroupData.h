// A node of a group of a feed's items, or a root ("Subscription Errors", "Document
// Subscriptions" and a document's group beneath it).
#pragma once

#include "tracker/CInboxData.h"

class CGroupData final : public CInboxData {
public:
    /// A group of the feed's items named group; title and tip, when given, stand in for the
    /// presentation's (roots).
    CGroupData(CVxInboxPanel* panel, EStr url, EStr group, EStr title = nullptr,
               EStr tip = nullptr);

    CEStr getTitle() override;
    CEStr getToolTip() override;
    InboxDataType getType() override { return kInboxGroup; }
    void execute() override;
    bool canSelect() override;
    void didSelect(bool on) override;
    void setOpenState(bool open) override;
    bool canRemove() override;
    void onRemove() override;
    VxMenu getContextMenu() override;
    /// The sum over the children.
    long countUnread() override;
    VxIcon getIcon() override;
    std::vector<CEStr> getNodeGroups() override;

    EStr getGroup() const { return group; }
    /// A root of the tree rather than a group of a feed.
    bool isRoot() const { return !title.isNull(); }

private:
    CEStr group;
    CEStr title;
    CEStr tip;
};
