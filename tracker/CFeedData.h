// A node of one feed.
#pragma once

#include "tracker/CInboxData.h"

class CFeedData final : public CInboxData {
public:
    /// Listens to the feed's updates through the panel until it goes.
    CFeedData(CVxInboxPanel* panel, EStr url);
    ~CFeedData() override;

    CEStr getTitle() override;
    CEStr getToolTip() override;
    InboxDataType getType() override { return kInboxFeed; }
    bool canExecute() override;
    void execute() override;
    bool canSelect() override;
    void willSelect(bool on) override;
    void didSelect(bool on) override;
    bool canRemove() override;
    void onRemove() override;
    VxMenu getContextMenu() override;
    long countUnread() override;
    VxIcon getIcon() override;
    bool isValid() override;
};
