#include "tracker/RSSPanel.h"

#include "frame/HostTables.h"
#include "frame/host/IIdle.h"
#include "tracker/CRSSFeedUIManager.h"
#include "tracker/CVxInboxPanel.h"
#include "tracker/FeedRecords.h"
#include "tracker/VxViewTables.h"

namespace {

RSSPanel* gInboxPanel = nullptr;
VxWindow gInboxWindow = nullptr;

void showPanel(bool activate, void*) {
    ShowInboxWindow(activate);
}

} // namespace

bool RSSPanel::init() {
    IViewLayer* layer = VxFindViewLayer();
    VxSetViewTables(layer);
    CRSSFeedUIManager::instance();
    if (layer)
        layer->RegisterPanel("Tracker", MessageText("IDS_RSS_INBOX_PANEL_NAME").c_str(), showPanel,
                             nullptr);
    return true;
}

bool RSSPanel::term() {
    DestroyInboxPanel();
    if (IViewLayer* layer = VxViewLayer())
        layer->UnregisterPanel("Tracker");
    CRSSFeedUIManager::destroyInstance();
    VxSetViewTables(nullptr);
    return true;
}

void CVxInboxPanelInit() {
    gInboxPanel = new RSSPanel;
}

void CVxInboxPanelTerm() {
    delete gInboxPanel;
    gInboxPanel = nullptr;
}

VxWindow CreateInboxPanel() {
    IViewLayer* layer = VxViewLayer();
    if (!layer)
        return nullptr;
    if (CVxInboxPanel::sm_instance && gInboxWindow)
        return gInboxWindow;
    gInboxWindow = layer->NewWindow("Tracker", MessageText("IDS_RSS_INBOX_PANEL_NAME").c_str());
    if (!gInboxWindow)
        return nullptr;
    layer->SetWindowEventProc(gInboxWindow, WindowEvent, nullptr);
    if (!CVxInboxPanel::sm_instance)
        CVxInboxPanel::sm_instance = new CVxInboxPanel;
    CVxInboxPanel::sm_instance->bindToWindow(gInboxWindow);
    return gInboxWindow;
}

void DestroyInboxPanel() {
    if (IIdle* idle = HostIdle())
        idle->cancelDelayed(ShowInboxWindowDoIt, nullptr);
    delete CVxInboxPanel::sm_instance;
    CVxInboxPanel::sm_instance = nullptr;
    VxWindow window = gInboxWindow;
    gInboxWindow = nullptr;
    if (IViewLayer* layer = VxViewLayer(); layer && window) {
        layer->SetWindowEventProc(window, nullptr, nullptr);
        layer->DestroyWindow(window);
    }
}

void ShowInboxWindow(bool activate) {
    IViewLayer* layer = VxViewLayer();
    VxWindow window = CreateInboxPanel();
    if (!layer || !window)
        return;
    layer->ShowWindow(window, true, false);
    if (!activate)
        return;
    if (IIdle* idle = HostIdle())
        idle->scheduleDelayed(ShowInboxWindowDoIt, nullptr, 0);
    else
        ShowInboxWindowDoIt(nullptr);
}

void ShowInboxWindowDoIt(void*) {
    IViewLayer* layer = VxViewLayer();
    if (layer && gInboxWindow)
        layer->ShowWindow(gInboxWindow, true, true);
}

void ShowInboxFeeds(bool activate) {
    ShowInboxWindow(activate);
}

VxWindow GetInboxWindow() {
    return gInboxWindow;
}

void RSSPanelShow() {
    ShowInboxWindow(true);
}

void SetInboxVisible(bool visible) {
    if (visible) {
        ShowInboxWindow(false);
        return;
    }
    if (IViewLayer* layer = VxViewLayer(); layer && gInboxWindow)
        layer->ShowWindow(gInboxWindow, false, false);
}

bool GetInboxVisible() {
    IViewLayer* layer = VxViewLayer();
    return layer && gInboxWindow && layer->IsWindowVisible(gInboxWindow);
}

void WindowEvent(VxWindow window, int32_t event, void*) {
    if (window != gInboxWindow)
        return;
    if (event == kVxWinDidClose) {
        VxWinDidClose(window);
        return;
    }
    if (event == kVxWinWillDestroy) {
        // The host is taking the window: the panel goes with it, keeping its state.
        gInboxWindow = nullptr;
        delete CVxInboxPanel::sm_instance;
        CVxInboxPanel::sm_instance = nullptr;
    }
}

void VxWinDidClose(VxWindow window) {
    if (IViewLayer* layer = VxViewLayer(); layer && window)
        layer->ShowWindow(window, false, false);
}
