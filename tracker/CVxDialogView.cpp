#include "tracker/CVxDialogView.h"

IViewLayer* CVxDialogView::s_VxViewLayer = nullptr;

CVxDialogView::~CVxDialogView() {
    MaybeCleanUpRegistrations();
    MaybeCleanUpVxWindow();
}

QsBool CVxDialogView::NotifyOfEvent(int32_t) {
    return 1;
}

void CVxDialogView::InitializeView() {}

void CVxDialogView::ShutdownView() {}

void CVxDialogView::ensureWindow(const char* titleUtf8) {
    if (m_window || !s_VxViewLayer)
        return;
    VxWindow window = s_VxViewLayer->NewWindow("Dialog", titleUtf8 ? titleUtf8 : "");
    if (!window)
        return;
    SetVxWindow(window);
    m_ownsWindow = true;
}

int32_t CVxDialogView::Modal(const char* titleUtf8) {
    ensureWindow(titleUtf8);
    if (!m_window || !s_VxViewLayer)
        return -1;
    if (!m_initialized) {
        InitializeView();
        m_initialized = true;
    }
    int32_t result = s_VxViewLayer->RunModal(m_window);
    if (m_initialized) {
        ShutdownView();
        m_initialized = false;
    }
    return result;
}

void CVxDialogView::Modeless(const char* titleUtf8) {
    ensureWindow(titleUtf8);
    if (!m_window || !s_VxViewLayer)
        return;
    if (!m_initialized) {
        InitializeView();
        m_initialized = true;
    }
    s_VxViewLayer->ShowWindow(m_window, true, true);
}

void CVxDialogView::EndModal(int32_t result) {
    if (m_window && s_VxViewLayer)
        s_VxViewLayer->StopModal(m_window, result);
}

void CVxDialogView::EndModeless() {
    if (m_window && s_VxViewLayer)
        s_VxViewLayer->ShowWindow(m_window, false, false);
    if (m_initialized) {
        ShutdownView();
        m_initialized = false;
    }
}

void CVxDialogView::SetVxWindow(VxWindow window) {
    MaybeCleanUpRegistrations();
    m_window = window;
    m_ownsWindow = false;
    if (!window || !s_VxViewLayer)
        return;
    s_VxViewLayer->SetWindowEventProc(window, VxWindowEventCallback, this);
    SetMainVxView(s_VxViewLayer->GetWindowRootView(window));
}

void CVxDialogView::SetMainVxView(VxView mainView) {
    IVxBaseViewFTab* base = s_VxViewLayer ? s_VxViewLayer->baseView() : nullptr;
    if (m_mainView && base)
        base->RemoveDeathProc(m_mainView, VxViewEventCallback, this);
    m_mainView = mainView;
    if (m_mainView && base)
        base->AddDeathProc(m_mainView, VxViewEventCallback, this);
}

VxView CVxDialogView::GetViewByID(const char* name) {
    if (!m_mainView || !s_VxViewLayer || !name)
        return nullptr;
    return s_VxViewLayer->FindViewByName(m_mainView, name);
}

QsBool CVxDialogView::Validate() {
    return NotifyOfEvent(kVxDialogValidate) ? 1 : 0;
}

QsBool CVxDialogView::Save() {
    return NotifyOfEvent(kVxDialogSave) ? 1 : 0;
}

QsBool CVxDialogView::ValidateAndSave() {
    return Validate() && Save() ? 1 : 0;
}

void CVxDialogView::WindowWillBeDestroyed() {
    if (m_initialized) {
        ShutdownView();
        m_initialized = false;
    }
    MaybeCleanUpRegistrations();
    m_window = nullptr;
    m_ownsWindow = false;
}

void CVxDialogView::MaybeCleanUpVxWindow() {
    if (!m_window || !m_ownsWindow || !s_VxViewLayer)
        return;
    VxWindow window = m_window;
    MaybeCleanUpRegistrations();
    m_window = nullptr;
    m_ownsWindow = false;
    s_VxViewLayer->DestroyWindow(window);
}

void CVxDialogView::MaybeCleanUpRegistrations() {
    if (!s_VxViewLayer)
        return;
    if (m_window)
        s_VxViewLayer->SetWindowEventProc(m_window, nullptr, nullptr);
    if (m_mainView)
        s_VxViewLayer->baseView()->RemoveDeathProc(m_mainView, VxViewEventCallback, this);
    m_mainView = nullptr;
}

void CVxDialogView::VxViewEventCallback(VxView view, void* data) {
    auto* self = static_cast<CVxDialogView*>(data);
    if (!self || !view || view != self->m_mainView)
        return;
    if (s_VxViewLayer)
        s_VxViewLayer->baseView()->RemoveDeathProc(view, VxViewEventCallback, self);
    self->m_mainView = nullptr;
}

void CVxDialogView::VxWindowEventCallback(VxWindow window, int32_t event, void* data) {
    auto* self = static_cast<CVxDialogView*>(data);
    if (!self || window != self->m_window)
        return;
    self->NotifyOfEvent(event);
    if (event == kVxWinWillDestroy)
        self->WindowWillBeDestroyed();
}
