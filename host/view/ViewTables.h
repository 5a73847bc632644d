// The tables of the host's view layer, one per view class, each over the layer's plain objects.
#pragma once

#include "host/view/CHostViewLayer.h"

#include <memory>

struct CHostViewLayer::Tables {
    explicit Tables(CHostViewLayer& layer);

    std::unique_ptr<IVxBaseViewFTab> base;
    std::unique_ptr<IVxContainerViewFTab> container;
    std::unique_ptr<IVxFlipContainerViewFTab> flipContainer;
    std::unique_ptr<IVxTableContainerViewFTab> tableContainer;
    std::unique_ptr<IVxScrollViewFTab> scroll;
    std::unique_ptr<IVxSplitterViewFTab> splitter;
    std::unique_ptr<IVxTreeViewClassFTab> tree;
    std::unique_ptr<IVxHTMLViewFTab> html;
    std::unique_ptr<IVxToolBarViewFTab> toolBar;
    std::unique_ptr<IVxGapViewFTab> gap;
    std::unique_ptr<IVxPropertyButtonViewFTab> propertyButton;
    std::unique_ptr<IVxStaticIconViewFTab> staticIcon;
    std::unique_ptr<IVxStaticTextViewFTab> staticText;
    std::unique_ptr<IVxTextEditViewFTab> textEdit;
    std::unique_ptr<IVxListViewFTab> list;
    std::unique_ptr<IVxComboBoxViewFTab> comboBox;
    std::unique_ptr<IVxPopupButtonViewFTab> popupButton;
    std::unique_ptr<IVxCheckBoxViewFTab> checkBox;
    std::unique_ptr<IVxCheckBoxViewFTab> radioButton;
    std::unique_ptr<IVxSliderViewFTab> slider;
    std::unique_ptr<IVxSliderViewFTab> progressBar;
    std::unique_ptr<IVxPlatformPushButtonViewFTab> pushButton;
};

// Made in the sources that implement them.
std::unique_ptr<IVxBaseViewFTab> MakeBaseViewTable(CHostViewLayer& layer);
std::unique_ptr<IVxContainerViewFTab> MakeContainerViewTable(CHostViewLayer& layer);
std::unique_ptr<IVxFlipContainerViewFTab> MakeFlipContainerViewTable(CHostViewLayer& layer);
std::unique_ptr<IVxTableContainerViewFTab> MakeTableContainerViewTable(CHostViewLayer& layer);
std::unique_ptr<IVxScrollViewFTab> MakeScrollViewTable(CHostViewLayer& layer);
std::unique_ptr<IVxSplitterViewFTab> MakeSplitterViewTable(CHostViewLayer& layer);
std::unique_ptr<IVxTreeViewClassFTab> MakeTreeViewTable(CHostViewLayer& layer);
std::unique_ptr<IVxHTMLViewFTab> MakeHTMLViewTable(CHostViewLayer& layer);
std::unique_ptr<IVxToolBarViewFTab> MakeToolBarViewTable(CHostViewLayer& layer);
std::unique_ptr<IVxGapViewFTab> MakeGapViewTable(CHostViewLayer& layer);
std::unique_ptr<IVxPropertyButtonViewFTab> MakePropertyButtonViewTable(CHostViewLayer& layer);
std::unique_ptr<IVxStaticIconViewFTab> MakeStaticIconViewTable(CHostViewLayer& layer);
std::unique_ptr<IVxStaticTextViewFTab> MakeStaticTextViewTable(CHostViewLayer& layer);
std::unique_ptr<IVxTextEditViewFTab> MakeTextEditViewTable(CHostViewLayer& layer);
std::unique_ptr<IVxListViewFTab> MakeListViewTable(CHostViewLayer& layer);
std::unique_ptr<IVxComboBoxViewFTab> MakeComboBoxViewTable(CHostViewLayer& layer);
std::unique_ptr<IVxPopupButtonViewFTab> MakePopupButtonViewTable(CHostViewLayer& layer);
/// Check boxes and radio buttons share a shape; className tells them apart.
std::unique_ptr<IVxCheckBoxViewFTab> MakeCheckBoxViewTable(CHostViewLayer& layer,
                                                           const char* className);
/// Sliders and progress bars share a shape; className tells them apart.
std::unique_ptr<IVxSliderViewFTab> MakeSliderViewTable(CHostViewLayer& layer,
                                                       const char* className);
std::unique_ptr<IVxPlatformPushButtonViewFTab> MakePushButtonViewTable(CHostViewLayer& layer);
