// The view classes over the recording view layer: forwarding, harmless null handles, the death
// of a host view, the tree's callbacks and dialogs.
#include "tests/tracker/TrackerTestSupport.h"
#include "tracker/CVxCheckBoxView.h"
#include "tracker/CVxComboBoxView.h"
#include "tracker/CVxDialogView.h"
#include "tracker/CVxListBoxView.h"
#include "tracker/CVxPlatformPushButtonView.h"
#include "tracker/CVxPopupButtonView.h"
#include "tracker/CVxSliderView.h"
#include "tracker/CVxStaticIconView.h"
#include "tracker/CVxStaticTextView.h"
#include "tracker/CVxTextEditView.h"

namespace {

using trackertest::TrackerTest;

class ViewClassesTest : public TrackerTest {
public:
    VxView root() {
        if (!m_window)
            m_window = layer.NewWindow("Test", "Test");
        return layer.GetWindowRootView(m_window);
    }
    void TearDown() override {
        if (m_window)
            layer.DestroyWindow(m_window);
        m_window = nullptr;
        TrackerTest::TearDown();
    }

private:
    VxWindow m_window = nullptr;
};

TEST_F(ViewClassesTest, ClassesForwardToTheirTables) {
    CVxContainerView container(root(), "box");
    CVxSplitterView splitter(container.getView(), "split", true);
    CVxStaticTextView label(container.getView(), "label");
    CVxCheckBoxView check(container.getView(), "check");
    CVxRadioButtonView radio(container.getView(), "radio");
    CVxSliderView slider(container.getView(), "slider");
    CVxProgressBarView progress(container.getView(), "progress");
    CVxPopupButtonView popup(container.getView(), "popup");
    CVxTextEditView edit(container.getView(), "edit");
    CVxListBoxView list(container.getView(), "list");
    CVxPlatformPushButtonView push(container.getView(), "push");
    splitter.SetHorizontalOpenToSize(120);
    label.SetText("Hello");
    check.SetState(1);
    radio.SetText("Pick me");
    slider.SetProperties({0, 10, 2});
    progress.SetPos(7);
    popup.Append("one");
    popup.Append("two");
    edit.SetText("typed");
    push.SetText("Go");
    int32_t firstRow = list.AddRow();
    int32_t secondRow = list.AddRow();
    const struct {
        const char* what;
        std::string got;
        std::string expected;
    } cases[] = {
        {"splitter size", std::to_string(splitter.GetHorizontalOpenToSize()), "120"},
        {"label text", label.GetText(), "Hello"},
        {"check state", std::to_string(check.GetState()), "1"},
        {"radio text", radio.GetText(), "Pick me"},
        {"radio state apart from the check box", std::to_string(radio.GetState()), "0"},
        {"slider maximum", std::to_string(slider.GetProperties().maximum), "10"},
        {"pop-up items", std::to_string(popup.GetNumItems()), "2"},
        {"text", edit.GetText(), "typed"},
        {"list rows", std::to_string(firstRow) + std::to_string(secondRow), "01"},
        {"push button", push.GetText(), "Go"},
        {"parent", std::to_string(splitter.GetParent() == container.getView()), "1"},
        {"children in order", std::to_string(layer.view(container.getView())->children.size()),
         "10"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.got, c.expected) << c.what;
    container.Show(false);
    EXPECT_FALSE(label.IsVisible()) << "hidden with its parent";
    EXPECT_TRUE(label.IsSetVisible());
    container.Enable(false);
    EXPECT_FALSE(label.IsEnabled());
}

TEST_F(ViewClassesTest, NullHandlesAreHarmless) {
    CVxTreeViewClass tree(nullptr);
    CVxSplitterView splitter(nullptr);
    CVxHTMLView html(nullptr);
    CVxPropertyButtonView button(nullptr);
    CVxTextEditView edit(nullptr);
    CVxDialogView dialog;
    tree.Suspend();
    tree.SetItemTextProc(nullptr);
    tree.InsertItem(nullptr, nullptr, 0);
    splitter.SetLeftView(nullptr);
    html.GoToFile("/nowhere");
    button.SetMenu(nullptr);
    edit.SetText("ignored");
    const struct {
        const char* what;
        long got;
    } answers[] = {
        {"tree item count", tree.GetItemCount(nullptr)},
        {"tree selection", static_cast<long>(tree.GetSelection().size())},
        {"tree item", reinterpret_cast<long>(tree.CreateItem(&tree))},
        {"splitter size", splitter.GetHorizontalOpenToSize()},
        {"visible", splitter.IsVisible()},
        {"rectangle", splitter.GetClientRect().right},
        {"separator", button.IsSeparator()},
        {"text", static_cast<long>(edit.GetText().size())},
        {"parent", reinterpret_cast<long>(html.GetParent())},
        {"dialog view", reinterpret_cast<long>(dialog.GetViewByID("x"))},
    };
    for (const auto& a : answers)
        EXPECT_EQ(a.got, 0) << a.what;
    // Before the tables are there, a made view is a null one.
    VxSetViewTables(nullptr);
    CVxContainerView orphan(root(), "orphan");
    EXPECT_EQ(orphan.getView(), nullptr);
    orphan.SetTopOffset(4);
    VxSetViewTables(&layer);
}

TEST_F(ViewClassesTest, AnObjectOutlivesItsHostView) {
    auto outer = std::make_unique<CVxContainerView>(root(), "outer");
    CVxStaticTextView inner(outer->getView(), "inner");
    CVxStaticTextView bystander(root(), "bystander");
    inner.SetText("before");
    // Another view's death changes nothing.
    CVxBaseView::MarkDeadCallback(bystander.getView(), &inner);
    EXPECT_NE(inner.getView(), nullptr);
    layer.baseView()->Destroy(outer->getView());
    EXPECT_EQ(outer->getView(), nullptr) << "its own view went";
    EXPECT_EQ(inner.getView(), nullptr) << "and the one inside it";
    EXPECT_NE(bystander.getView(), nullptr);
    inner.SetText("after");
    EXPECT_EQ(inner.GetText(), "");
    outer.reset();
    // An object gone before its view leaves nothing behind for the view's death.
    { CVxStaticTextView shortLived(bystander.getView(), "short"); }
    layer.baseView()->Destroy(bystander.getView());
    EXPECT_EQ(bystander.getView(), nullptr);
}

TEST_F(ViewClassesTest, TreeCallbacksAreStoredInTheHostsForm) {
    CVxTreeViewClass tree(root(), "tree");
    auto text = [](VxView, VxTreeItem, void* item, void*) -> std::string {
        return static_cast<const char*>(item);
    };
    auto style = [](VxView, VxTreeItem, void*, void*) -> int32_t { return kVxTreeStyleBold; };
    auto freed = [](VxView, VxTreeItem, void* item, void* data) {
        static_cast<std::vector<std::string>*>(data)->push_back(static_cast<const char*>(item));
    };
    std::vector<std::string> freedItems;
    tree.SetItemTextProc(text);
    tree.SetItemStyleProc(style);
    tree.SetFreeItemProc(freed);
    tree.SetProcData(&freedItems);
    EXPECT_EQ(tree.GetItemTextProc(), static_cast<VxTreeProcs::TextProc>(text));
    EXPECT_EQ(tree.GetItemStyleProc(), static_cast<VxTreeProcs::IntProc>(style));
    EXPECT_EQ(tree.GetProcData(), &freedItems);
    EXPECT_EQ(tree.GetContextMenuProc(), nullptr);
    char parentName[] = "parent";
    char childName[] = "child";
    VxTreeItem parent = tree.CreateItem(parentName);
    tree.InsertItem(parent, nullptr, kVxTreeInsertLast);
    VxTreeItem child = tree.CreateItem(childName);
    tree.InsertItem(child, parent, kVxTreeInsertLast);
    EXPECT_EQ(layer.dump(tree.getView()), "*parent\n  *child\n");
    tree.Suspend();
    tree.Suspend();
    tree.Resume();
    EXPECT_EQ(layer.view(tree.getView())->fullRedraws, 0) << "suspensions nest";
    tree.Resume();
    EXPECT_EQ(layer.view(tree.getView())->fullRedraws, 1);
    tree.RemoveItem(parent);
    EXPECT_EQ(freedItems, (std::vector<std::string>{"child", "parent"})) << "children first";
}

class CountingDialog : public CVxDialogView {
public:
    std::vector<std::string> events;
    bool valid = true;
    QsBool NotifyOfEvent(int32_t event) override {
        events.push_back(std::to_string(event));
        return event == kVxDialogValidate ? valid : 1;
    }
    void InitializeView() override {
        events.push_back("init");
        field = std::make_unique<CVxTextEditView>(GetMainVxView(), "field");
    }
    void ShutdownView() override { events.push_back("shutdown"); }
    std::unique_ptr<CVxTextEditView> field;
};

TEST_F(ViewClassesTest, DialogsRunModalAndFindTheirViews) {
    CountingDialog dialog;
    dialog.Modeless("Options");
    ASSERT_NE(dialog.GetVxWindow(), nullptr);
    FakeWindow* shown = layer.window(dialog.GetVxWindow());
    EXPECT_TRUE(shown->visible);
    EXPECT_EQ(shown->title, "Options");
    EXPECT_EQ(dialog.GetViewByID("field"), dialog.field->getView());
    EXPECT_EQ(dialog.GetViewByID("missing"), nullptr);
    dialog.valid = false;
    EXPECT_FALSE(dialog.ValidateAndSave());
    dialog.valid = true;
    EXPECT_TRUE(dialog.ValidateAndSave());
    dialog.EndModeless();
    EXPECT_FALSE(shown->visible);
    // The user presses a button that ends the dialog with 7.
    shown->whileModal = [](FakeWindow*, void* data) {
        static_cast<CountingDialog*>(data)->EndModal(7);
    };
    shown->whileModalData = &dialog;
    EXPECT_EQ(dialog.Modal("Options"), 7);
    EXPECT_EQ(dialog.events, (std::vector<std::string>{"init", "100", "100", "101", "shutdown",
                                                       "init", "shutdown"}));
    // The host destroying the window: the dialog lets go of it.
    layer.DestroyWindow(dialog.GetVxWindow());
    EXPECT_EQ(dialog.GetVxWindow(), nullptr);
    EXPECT_EQ(dialog.GetMainVxView(), nullptr);
    EXPECT_EQ(dialog.field->getView(), nullptr);
}

} // namespace
