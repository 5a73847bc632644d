// A dialog: a window with one main view, shown modal or modeless.
//
// A subclass builds its views in InitializeView, under the main view, and reads them back in
// NotifyOfEvent when asked to validate or save. The dialog makes its window when it has none
// and destroys the window it made at its end.
#pragma once

#include "frame/host/IViewLayer.h"
#include "values/CAgg.h"

#include <cstdint>

/// Events a dialog hears through NotifyOfEvent besides the window events (kVxWin...).
enum : int32_t {
    /// Are the fields acceptable? Answer false to keep the dialog open.
    kVxDialogValidate = 100,
    /// Store the fields.
    kVxDialogSave = 101,
};

class CVxDialogView {
public:
    CVxDialogView() = default;
    /// Cleans up the registrations, then the window if the dialog made it.
    virtual ~CVxDialogView();
    CVxDialogView(const CVxDialogView&) = delete;
    CVxDialogView& operator=(const CVxDialogView&) = delete;

    /// An event of the window or of the dialog; true when it is accepted (the default).
    virtual QsBool NotifyOfEvent(int32_t event);
    /// Builds the dialog's views under the main view; the default builds nothing.
    virtual void InitializeView();
    /// Lets the views go; the default does nothing.
    virtual void ShutdownView();

    /// Shows the dialog modally under a title and answers the result given to EndModal; -1 when
    /// the host cannot run a modal dialog.
    int32_t Modal(const char* titleUtf8);
    /// Shows the dialog and returns at once.
    void Modeless(const char* titleUtf8);
    /// Ends a modal run with a result.
    void EndModal(int32_t result);
    /// Hides a modeless dialog and lets its views go.
    void EndModeless();
    /// Uses a window the host made; its root view becomes the main view.
    void SetVxWindow(VxWindow window);
    void SetMainVxView(VxView mainView);
    VxWindow GetVxWindow() const { return m_window; }
    VxView GetMainVxView() const { return m_mainView; }
    /// The view of that name under the main view, or null.
    VxView GetViewByID(const char* name);
    QsBool Validate();
    QsBool Save();
    /// Validate, and when that passes Save.
    QsBool ValidateAndSave();
    /// The window is going: the views go with it.
    void WindowWillBeDestroyed();
    /// Destroys the window when the dialog made it.
    void MaybeCleanUpVxWindow();
    /// Removes the dialog's procedures from its window and main view.
    void MaybeCleanUpRegistrations();
    /// The main view's death procedure.
    static void VxViewEventCallback(VxView view, void* data);
    /// The window's event procedure.
    static void VxWindowEventCallback(VxWindow window, int32_t event, void* data);

    /// The host's view layer, for windows; set when the module acquires the tables.
    static IViewLayer* s_VxViewLayer;

private:
    void ensureWindow(const char* titleUtf8);

    VxWindow m_window = nullptr;
    VxView m_mainView = nullptr;
    bool m_ownsWindow = false;
    bool m_initialized = false;
};
