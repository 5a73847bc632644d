#include "tracker/VxViewTables.h"

#include "frame/HostTables.h"
#include "frame/QsCore.h"
#include "frame/host/HostTableIds.h"
#include "tracker/CVxBaseView.h"
#include "tracker/CVxCheckBoxView.h"
#include "tracker/CVxComboBoxView.h"
#include "tracker/CVxContainerView.h"
#include "tracker/CVxDialogView.h"
#include "tracker/CVxFlipContainerView.h"
#include "tracker/CVxGapView.h"
#include "tracker/CVxHTMLView.h"
#include "tracker/CVxListBoxView.h"
#include "tracker/CVxPlatformPushButtonView.h"
#include "tracker/CVxPopupButtonView.h"
#include "tracker/CVxPropertyButtonView.h"
#include "tracker/CVxScrollView.h"
#include "tracker/CVxSliderView.h"
#include "tracker/CVxSplitterView.h"
#include "tracker/CVxStaticIconView.h"
#include "tracker/CVxStaticTextView.h"
#include "tracker/CVxTableContainerView.h"
#include "tracker/CVxTextEditView.h"
#include "tracker/CVxToolBarView.h"
#include "tracker/CVxTreeViewClass.h"

IViewLayer* VxFindViewLayer() {
    if (!gCoreHFT)
        return nullptr;
    // The table of that name is the view layer by contract.
    return static_cast<IViewLayer*>(gCoreHFT->extensionMgrGetHFT(
        QsAtomFromString(kVellViewLayerTable.name), kVellViewLayerTable.version));
}

void VxSetViewTables(IViewLayer* layer) {
    CVxBaseView::s_VxBaseViewFTab = layer ? layer->baseView() : nullptr;
    CVxContainerView::s_VxContainerViewFTab = layer ? layer->containerView() : nullptr;
    CVxFlipContainerView::s_VxFlipContainerViewFTab = layer ? layer->flipContainerView() : nullptr;
    CVxTableContainerView::s_VxTableContainerViewFTab =
        layer ? layer->tableContainerView() : nullptr;
    CVxScrollView::s_VxScrollViewFTab = layer ? layer->scrollView() : nullptr;
    CVxSplitterView::s_VxSplitterViewFTab = layer ? layer->splitterView() : nullptr;
    CVxTreeViewClass::s_VxTreeViewClassFTab = layer ? layer->treeView() : nullptr;
    CVxHTMLView::s_VxHTMLViewFTab = layer ? layer->htmlView() : nullptr;
    CVxToolBarView::s_VxToolBarViewFTab = layer ? layer->toolBarView() : nullptr;
    CVxGapView::s_VxGapViewFTab = layer ? layer->gapView() : nullptr;
    CVxPropertyButtonView::s_VxPropertyButtonViewFTab =
        layer ? layer->propertyButtonView() : nullptr;
    CVxStaticIconView::s_VxStaticIconViewFTab = layer ? layer->staticIconView() : nullptr;
    CVxStaticTextView::s_VxStaticTextViewFTab = layer ? layer->staticTextView() : nullptr;
    CVxTextEditView::s_VxTextEditViewFTab = layer ? layer->textEditView() : nullptr;
    CVxListBoxView::s_VxListViewFTab = layer ? layer->listView() : nullptr;
    CVxComboBoxView::s_VxComboBoxViewFTab = layer ? layer->comboBoxView() : nullptr;
    CVxPopupButtonView::s_VxPopupButtonViewFTab = layer ? layer->popupButtonView() : nullptr;
    CVxCheckBoxView::s_VxCheckBoxViewFTab = layer ? layer->checkBoxView() : nullptr;
    CVxRadioButtonView::s_VxRadioButtonViewFTab = layer ? layer->radioButtonView() : nullptr;
    CVxSliderView::s_VxSliderViewFTab = layer ? layer->sliderView() : nullptr;
    CVxProgressBarView::s_VxProgressBarViewFTab = layer ? layer->progressBarView() : nullptr;
    CVxPlatformPushButtonView::s_VxPlatformPushButtonViewFTab =
        layer ? layer->platformPushButtonView() : nullptr;
    CVxDialogView::s_VxViewLayer = layer;
}

IViewLayer* VxViewLayer() {
    return CVxDialogView::s_VxViewLayer;
}
