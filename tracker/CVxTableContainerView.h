// A container that lays its children out in columns.
#pragma once

#include "tracker/CVxContainerView.h"

#include <cstdint>
#include <string>
#include <vector>

/// A container that lays its children out in columns.
class CVxTableContainerView : public CVxContainerView {
public:
    /// Wraps a view the host made; null makes an object that does nothing.
    explicit CVxTableContainerView(VxView existing) : CVxContainerView(existing) {}
    /// Asks the host for a new view inside parent.
    CVxTableContainerView(VxView parent, const char* name);

    /// The host's table for this class; set when the module acquires the tables.
    static IVxTableContainerViewFTab* s_VxTableContainerViewFTab;

    virtual void SetNumColumns(int32_t columns);
    virtual int32_t GetNumColumns();
    virtual void SetGutters(int32_t horizontal, int32_t vertical);
};
