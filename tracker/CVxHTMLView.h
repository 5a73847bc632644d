// A view that shows a web page.
#pragma once

#include "tracker/CVxBaseView.h"

#include <cstdint>
#include <string>
#include <vector>

/// A view that shows a web page.
class CVxHTMLView : public CVxBaseView {
public:
    /// Wraps a view the host made; null makes an object that does nothing.
    explicit CVxHTMLView(VxView existing) : CVxBaseView(existing) {}
    /// Asks the host for a new view inside parent.
    CVxHTMLView(VxView parent, const char* name);

    /// The host's table for this class; set when the module acquires the tables.
    static IVxHTMLViewFTab* s_VxHTMLViewFTab;

    virtual void SetHandleHTMLLink(VxHTMLLinkProc proc, void* data);
    virtual void GoToURL(const char* urlUtf8);
    virtual void GoToFile(const char* path);
    virtual void GoToStream(QsStm stream);
};
