// The module of the Tracker panel, and the viewer's operations on the panel's window.
#pragma once

#include "frame/CModule.h"
#include "frame/host/IViewLayer.h"

class RSSPanel final : public CModule {
public:
    /// Takes the view layer's tables, makes the presentations' manager with the default
    /// presentation, and offers the Tracker to the host as a panel.
    bool init() override;
    /// Stores the panel's state and lets the panel, the presentations and the tables go.
    bool term() override;
};

/// Creates the module, which puts it on the registry.
void CVxInboxPanelInit();
/// Frees the module.
void CVxInboxPanelTerm();

/// Makes the panel and its window on first need; the window, or null without a view layer.
VxWindow CreateInboxPanel();
/// Stores the splitter's position and destroys the panel and its window.
void DestroyInboxPanel();
/// Shows the Tracker's window; activate brings it forward, by a delayed call.
void ShowInboxWindow(bool activate);
/// Shows the Tracker for the feeds.
void ShowInboxFeeds(bool activate);
/// The Tracker's window, or null.
VxWindow GetInboxWindow();
/// Shows the Tracker, brought forward.
void RSSPanelShow();
void SetInboxVisible(bool visible);
bool GetInboxVisible();
/// The window's event procedure.
void WindowEvent(VxWindow window, int32_t event, void* data);
/// The user closed the window: it is hidden, the panel stays.
void VxWinDidClose(VxWindow window);
/// The delayed call that brings the window forward.
void ShowInboxWindowDoIt(void* data);
