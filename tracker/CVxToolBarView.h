// A row of tool buttons: the property button views made inside it.
#pragma once

#include "tracker/CVxBaseView.h"

#include <cstdint>
#include <string>
#include <vector>

/// A row of tool buttons: the property button views made inside it.
class CVxToolBarView : public CVxBaseView {
public:
    /// Wraps a view the host made; null makes an object that does nothing.
    explicit CVxToolBarView(VxView existing) : CVxBaseView(existing) {}
    /// Asks the host for a new view inside parent.
    CVxToolBarView(VxView parent, const char* name);

    /// The host's table for this class; set when the module acquires the tables.
    static IVxToolBarViewFTab* s_VxToolBarViewFTab;
};
