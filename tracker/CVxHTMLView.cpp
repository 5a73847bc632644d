#include "tracker/CVxHTMLView.h"

IVxHTMLViewFTab* CVxHTMLView::s_VxHTMLViewFTab = nullptr;

CVxHTMLView::CVxHTMLView(VxView parent, const char* name)
    : CVxBaseView(s_VxHTMLViewFTab ? s_VxHTMLViewFTab->Create(parent, name) : nullptr) {}

void CVxHTMLView::SetHandleHTMLLink(VxHTMLLinkProc proc, void* data) {
    if (view && s_VxHTMLViewFTab)
        s_VxHTMLViewFTab->SetHandleHTMLLink(view, proc, data);
}

void CVxHTMLView::GoToURL(const char* urlUtf8) {
    if (view && s_VxHTMLViewFTab)
        s_VxHTMLViewFTab->GoToURL(view, urlUtf8);
}

void CVxHTMLView::GoToFile(const char* path) {
    if (view && s_VxHTMLViewFTab)
        s_VxHTMLViewFTab->GoToFile(view, path);
}

void CVxHTMLView::GoToStream(QsStm stream) {
    if (view && s_VxHTMLViewFTab)
        s_VxHTMLViewFTab->GoToStream(view, stream);
}
