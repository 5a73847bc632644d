#include "tracker/RSSPanel.h"

namespace {

RSSPanel* gInboxPanel = nullptr;

} // namespace

void CVxInboxPanelInit() {
    gInboxPanel = new RSSPanel;
}

void CVxInboxPanelTerm() {
    delete gInboxPanel;
    gInboxPanel = nullptr;
}
