// A list of rows in columns whose cells the plug-in supplies.
#pragma once

#include "tracker/CVxBaseView.h"

#include <cstdint>
#include <string>
#include <vector>

/// A list of rows in columns whose cells the plug-in supplies.
class CVxListBoxView : public CVxBaseView {
public:
    /// Wraps a view the host made; null makes an object that does nothing.
    explicit CVxListBoxView(VxView existing) : CVxBaseView(existing) {}
    /// Asks the host for a new view inside parent.
    CVxListBoxView(VxView parent, const char* name);

    /// The host's table for this class; set when the module acquires the tables.
    static IVxListViewFTab* s_VxListViewFTab;

    virtual int32_t CreateLabelColumn(const char* titleUtf8, int32_t width);
    virtual int32_t AddColumnBefore(int32_t column, const char* titleUtf8, int32_t width);
    virtual int32_t AddColumnAfter(int32_t column, const char* titleUtf8, int32_t width);
    virtual int32_t AddRow();
    virtual void RemoveRow(int32_t row);
    virtual void RedrawRow(int32_t row);
    virtual std::vector<int32_t> GetSelectedRows();
    virtual void SetGetTextProc(VxListTextProc proc, void* data);
    virtual void SetGetIconProc(VxListIconProc proc, void* data);
    virtual void SetSelectionChangedProc(VxListRowProc proc, void* data);
    virtual void SetRowDoubleClickProc(VxListRowProc proc, void* data);
};
