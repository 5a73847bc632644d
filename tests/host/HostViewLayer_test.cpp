// The host's view layer: its tables as the plug-in calls them, and what a person's clicks and
// keys make of the plug-in's procedures, over the sample panel and over views made by hand.
#include "host/view/CHostViewLayer.h"
#include "host/view/ViewState.h"
#include "tests/support/CSamplePanel.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <functional>

#include <string>
#include <vector>

namespace {

VxView bogus() {
    static int notAView;
    return reinterpret_cast<VxView>(&notAView);
}

TEST(HostViewLayer, HandlesThatAreNoViewsOfTheClassAreIgnored) {
    CHostViewLayer layer;
    VxView tree = layer.treeView()->Create(nullptr, "tree");
    VxView html = layer.htmlView()->Create(nullptr, "html");
    // Each handle is either null, no view at all, or a view of another class.
    for (VxView wrong : {static_cast<VxView>(nullptr), bogus(), html}) {
        IVxTreeViewClassFTab* trees = layer.treeView();
        EXPECT_EQ(trees->CreateItem(wrong, nullptr), nullptr);
        EXPECT_EQ(trees->GetRootTreeItemView(wrong), nullptr);
        EXPECT_EQ(trees->GetItemCount(wrong, nullptr), 0);
        EXPECT_EQ(trees->GetFirstSelected(wrong), nullptr);
        EXPECT_TRUE(trees->GetSelection(wrong).empty());
        trees->RemoveAllItems(wrong);
        trees->Suspend(wrong);
        EXPECT_EQ(layer.splitterView()->GetHorizontalOpenToSize(wrong), 0);
        layer.splitterView()->SetLeftView(wrong, tree);
        EXPECT_FALSE(layer.propertyButtonView()->GetShouldEnable(wrong));
        EXPECT_EQ(layer.staticTextView()->GetText(wrong), "");
        EXPECT_EQ(layer.popupButtonView()->GetSelection(wrong), -1);
        EXPECT_EQ(layer.sliderView()->GetProperties(wrong), (VxRangeProperties{0, 0, 0}));
    }
    for (VxView gone : {static_cast<VxView>(nullptr), bogus()}) {
        EXPECT_EQ(layer.baseView()->ClassName(gone), "");
        EXPECT_FALSE(layer.baseView()->IsVisible(gone));
        EXPECT_EQ(layer.baseView()->GetParent(gone), nullptr);
        EXPECT_EQ(layer.baseView()->GetClientRect(gone), VxRect{});
        layer.baseView()->Destroy(gone);
        layer.baseView()->Reparent(gone, tree);
        layer.htmlView()->GoToFile(gone, "/nonexistent");
    }
    // Items of another tree, or none at all, are ignored as well.
    VxView other = layer.treeView()->Create(nullptr, "other");
    VxTreeItem foreign = layer.treeView()->CreateItem(other, nullptr);
    layer.treeView()->InsertItem(tree, foreign, nullptr, kVxTreeInsertLast);
    EXPECT_EQ(layer.treeView()->GetItemCount(tree, nullptr), 0);
    EXPECT_EQ(layer.treeView()->GetItem(tree, reinterpret_cast<VxTreeItem>(bogus())), nullptr);
    EXPECT_EQ(layer.baseView()->ClassName(tree), "Tree");
}

struct DeathRecord {
    std::vector<std::string> seen;
    CHostViewLayer* layer = nullptr;
};

void recordDeath(VxView view, void* data) {
    auto* record = static_cast<DeathRecord*>(data);
    record->seen.push_back(record->layer->baseView()->GetName(view));
}

void recordDeathOnce(VxView view, void* data) {
    auto* record = static_cast<DeathRecord*>(data);
    record->seen.push_back("once " + record->layer->baseView()->GetName(view));
    record->layer->baseView()->RemoveDeathProc(view, recordDeathOnce, data);
}

TEST(HostViewLayer, DeathProceduresRunChildrenFirstWithTheViewThatGoes) {
    CHostViewLayer layer;
    DeathRecord record{{}, &layer};
    VxWindow window = layer.NewWindow("w", "Window");
    VxView root = layer.GetWindowRootView(window);
    VxView split = layer.splitterView()->Create(root, "split", true);
    VxView tree = layer.treeView()->Create(split, "tree");
    VxView html = layer.htmlView()->Create(split, "html");
    VxView bar = layer.toolBarView()->Create(root, "bar");
    for (VxView view : {split, tree, html, bar})
        layer.baseView()->AddDeathProc(view, recordDeath, &record);
    // The same pair registered again is one registration.
    layer.baseView()->AddDeathProc(tree, recordDeath, &record);
    layer.baseView()->AddDeathProc(html, recordDeathOnce, &record);

    layer.baseView()->Destroy(split);
    EXPECT_EQ(record.seen, (std::vector<std::string>{"tree", "html", "once html", "split"}));
    EXPECT_EQ(layer.baseView()->ClassName(tree), "");
    EXPECT_EQ(layer.baseView()->ClassName(bar), "ToolBar");

    record.seen.clear();
    layer.DestroyWindow(window);
    EXPECT_EQ(record.seen, std::vector<std::string>{"bar"});
    EXPECT_EQ(layer.baseView()->ClassName(root), "");
}

// A tree whose procedures record what the host asked of them.
struct TreeRecord {
    std::vector<std::string> calls;
    bool allowSelect = true;
    bool handleKeys = false;
};

std::string labelOf(void* itemData) {
    return itemData ? static_cast<const char*>(itemData) : "(none)";
}

VxTreeProcs recordingProcs(TreeRecord& record) {
    VxTreeProcs procs;
    procs.data = &record;
    procs.selectItem = [](VxView, VxTreeItem, void* item, bool on, void* data) {
        static_cast<TreeRecord*>(data)->calls.push_back((on ? "select " : "deselect ") +
                                                        labelOf(item));
    };
    procs.canSelectItem = [](VxView, VxTreeItem, void*, void* data) {
        return static_cast<TreeRecord*>(data)->allowSelect;
    };
    procs.openItem = [](VxView, VxTreeItem, void* item, bool on, void* data) {
        static_cast<TreeRecord*>(data)->calls.push_back((on ? "open " : "close ") + labelOf(item));
    };
    procs.itemAction = [](VxView, VxTreeItem, void* item, void* data) {
        static_cast<TreeRecord*>(data)->calls.push_back("action " + labelOf(item));
    };
    procs.freeItem = [](VxView, VxTreeItem, void* item, void* data) {
        static_cast<TreeRecord*>(data)->calls.push_back("free " + labelOf(item));
    };
    procs.keyDown = [](VxView, VxTreeItem, int32_t key, void* data) {
        auto* record = static_cast<TreeRecord*>(data);
        record->calls.push_back("key " + std::to_string(key));
        return record->handleKeys;
    };
    return procs;
}

TEST(HostViewLayer, ATreeTellsItsProceduresWhatAPersonDoes) {
    CHostViewLayer layer;
    TreeRecord record;
    IVxTreeViewClassFTab* trees = layer.treeView();
    VxView tree = trees->Create(nullptr, "tree");
    HostView* held = layer.view(tree);
    trees->SetProcs(tree, recordingProcs(record));
    char a[] = "a", a1[] = "a1", a2[] = "a2", b[] = "b";
    VxTreeItem itemA = trees->CreateItem(tree, a);
    VxTreeItem itemB = trees->CreateItem(tree, b);
    VxTreeItem itemA2 = trees->CreateItem(tree, a2);
    VxTreeItem itemA1 = trees->CreateItem(tree, a1);
    trees->InsertItem(tree, itemB, nullptr, kVxTreeInsertLast);
    trees->InsertItem(tree, itemA, nullptr, 0);
    trees->InsertItem(tree, itemA2, itemA, kVxTreeInsertLast);
    trees->InsertItem(tree, itemA1, itemA, 0);
    // An item never goes under its own child.
    trees->InsertItem(tree, itemA, itemA1, kVxTreeInsertLast);
    EXPECT_EQ(trees->GetItemParent(tree, itemA), nullptr);
    EXPECT_EQ(trees->GetItemIndex(tree, itemA1), 0);
    EXPECT_EQ(trees->NumOpenItems(tree), 2);
    auto id = [&](VxTreeItem item) { return layer.treeItem(held, item)->id; };

    struct Step {
        const char* what;
        std::function<bool()> act;
        bool done;
        std::vector<std::string> calls;
        const char* selected; // the label selected afterwards, or null for none
    };
    const Step steps[] = {
        {"click a", [&] { return layer.clickItem(held->id, id(itemA)); }, true, {"select a"}, "a"},
        {"click a again", [&] { return layer.clickItem(held->id, id(itemA)); }, true, {}, "a"},
        {"Right opens",
         [&] { return layer.keyDown(held->id, kVxKeyRight); },
         true,
         {"key 260", "open a"},
         "a"},
        {"Down goes to a1",
         [&] { return layer.keyDown(held->id, kVxKeyDown); },
         true,
         {"key 258", "deselect a", "select a1"},
         "a1"},
        {"Down, Down to b",
         [&] { return layer.keyDown(held->id, kVxKeyDown) && layer.keyDown(held->id, kVxKeyDown); },
         true,
         {"key 258", "deselect a1", "select a2", "key 258", "deselect a2", "select b"},
         "b"},
        {"Down at the end stays",
         [&] { return layer.keyDown(held->id, kVxKeyDown); },
         false,
         {"key 258"},
         "b"},
        {"Enter runs the action",
         [&] { return layer.keyDown(held->id, kVxKeyEnter); },
         true,
         {"key 13", "action b"},
         "b"},
        {"Up, Left goes to the parent",
         [&] { return layer.keyDown(held->id, kVxKeyUp) && layer.keyDown(held->id, kVxKeyLeft); },
         true,
         {"key 257", "deselect b", "select a2", "key 259", "deselect a2", "select a"},
         "a"},
        {"Left closes",
         [&] { return layer.keyDown(held->id, kVxKeyLeft); },
         true,
         {"key 259", "close a"},
         "a"},
        {"a refused selection keeps the old one",
         [&] {
             record.allowSelect = false;
             bool clicked = layer.clickItem(held->id, id(itemB));
             record.allowSelect = true;
             return clicked;
         },
         false,
         {},
         "a"},
        {"a key the plug-in takes does nothing more",
         [&] {
             record.handleKeys = true;
             bool handled = layer.keyDown(held->id, kVxKeyDown);
             record.handleKeys = false;
             return handled;
         },
         true,
         {"key 258"},
         "a"},
        {"Delete without procedures does nothing",
         [&] { return layer.keyDown(held->id, kVxKeyDelete); },
         false,
         {"key 127"},
         "a"},
        {"removing frees children first",
         [&] {
             trees->RemoveItem(tree, itemA);
             return trees->GetItemCount(tree, nullptr) == 1;
         },
         true,
         {"free a1", "free a2", "free a"},
         nullptr},
    };
    for (const Step& step : steps) {
        record.calls.clear();
        EXPECT_EQ(step.act(), step.done) << step.what;
        EXPECT_EQ(record.calls, step.calls) << step.what;
        VxTreeItem selected = trees->GetFirstSelected(tree);
        EXPECT_EQ(selected ? labelOf(trees->GetItem(tree, selected)) : "(none)",
                  step.selected ? step.selected : "(none)")
            << step.what;
    }
    // A freed item's handle is no item any more.
    EXPECT_EQ(trees->GetItem(tree, itemA1), nullptr);
}

TEST(HostViewLayer, SuspendHoldsRedrawsUntilTheOutermostResume) {
    CHostViewLayer layer;
    int redraws = 0;
    layer.setChangeListener([&redraws] { ++redraws; });
    VxView tree = layer.treeView()->Create(nullptr, "tree");
    redraws = 0;
    layer.treeView()->Suspend(tree);
    layer.treeView()->Suspend(tree);
    for (int i = 0; i < 5; ++i)
        layer.treeView()->InsertItem(tree, layer.treeView()->CreateItem(tree, nullptr), nullptr,
                                     kVxTreeInsertLast);
    layer.treeView()->Resume(tree);
    EXPECT_EQ(redraws, 0);
    layer.treeView()->Resume(tree);
    EXPECT_EQ(redraws, 1);
    // A Resume too many changes nothing.
    layer.treeView()->Resume(tree);
    EXPECT_EQ(redraws, 1);
}

TEST(HostViewLayer, MenusRunOnlyWhatIsEnabled) {
    CHostViewLayer layer;
    std::vector<std::string> ran;
    VxMenu menu = layer.NewMenu("m", "Menu");
    VxMenu sub = layer.NewMenu("sub", "&More");
    auto run = [](void* data) { static_cast<std::vector<std::string>*>(data)->push_back("run"); };
    layer.AppendMenuItem(menu, "go", "&Go", run, nullptr, nullptr, &ran);
    layer.AppendMenuItem(
        menu, "no", "&No", run, [](void*) { return false; }, nullptr, &ran);
    layer.AppendMenuSeparator(menu);
    layer.AppendMenuItem(
        sub, "deep", "Deep", run, nullptr, [](void*) { return true; }, &ran);
    layer.AppendSubMenu(menu, sub);
    // A menu never holds itself or its own owner.
    layer.AppendSubMenu(sub, menu);
    layer.AppendSubMenu(menu, menu);
    EXPECT_EQ(layer.MenuItemNames(menu), (std::vector<std::string>{"go", "no", "-", "sub"}));
    EXPECT_EQ(layer.MenuItemNames(sub), std::vector<std::string>{"deep"});

    const struct {
        VxMenu menu;
        const char* name;
        bool runs;
    } choices[] = {{menu, "go", true},    {menu, "no", false}, {menu, "-", false},
                   {menu, "sub", false},  {sub, "deep", true}, {menu, "missing", false},
                   {nullptr, "go", false}};
    for (const auto& choice : choices) {
        ran.clear();
        EXPECT_EQ(layer.ExecuteMenuItem(choice.menu, choice.name), choice.runs) << choice.name;
        EXPECT_EQ(ran.size(), choice.runs ? 1u : 0u) << choice.name;
    }
    std::string json = MenuJSON(layer, layer.menu(menu));
    EXPECT_NE(
        json.find("\"name\":\"no\",\"title\":\"\\u0026No\",\"separator\":false,\"enabled\":false"),
        std::string::npos)
        << json;
    EXPECT_NE(json.find("\"name\":\"deep\",\"title\":\"Deep\",\"separator\":false,"
                        "\"enabled\":true,\"marked\":true"),
              std::string::npos)
        << json;
    // Destroying a menu takes its sub-menus; a button that showed it forgets it.
    VxView button = layer.propertyButtonView()->Create(nullptr, "b");
    layer.propertyButtonView()->SetMenu(button, menu);
    layer.DestroyMenu(menu);
    EXPECT_EQ(layer.propertyButtonView()->GetMenu(button), nullptr);
    EXPECT_FALSE(layer.ExecuteMenuItem(sub, "deep"));
}

TEST(HostViewLayer, TheSamplePanelDrawsItsTreeAsText) {
    CHostViewLayer layer;
    CSamplePanel panel(layer, nullptr);
    panel.addFeed("Gazette", {"Ferry <times>", "Storm"});
    panel.addFeed("Notes", {"Geese"});
    EXPECT_EQ(ViewTreesAsText(layer), "") << "nothing is drawn before the panel is shown";
    ASSERT_TRUE(layer.showPanel("Tracker", false));
    EXPECT_FALSE(layer.showPanel("Elsewhere", false));
    HostView* tree = layer.view(panel.tree());
    HostTreeItem* storm = layer.treeItem(tree, panel.feeds()[0]->items[1]->node);
    ASSERT_TRUE(layer.clickItem(tree->id, storm->id));
    ASSERT_TRUE(layer.openItem(tree->id, layer.treeItem(tree, panel.feeds()[1]->node)->id, false));
    EXPECT_EQ(ViewTreesAsText(layer), "Tracker\n"
                                      "  * Gazette\n"
                                      "    * Ferry <times>\n"
                                      "      Storm\n"
                                      "  * Notes\n"
                                      "    * Geese\n");
    // Selecting shows the item's page in the HTML view.
    HostView* html = layer.view(panel.html());
    EXPECT_EQ(html->html, CSamplePanel::pageOf("Storm"));
    EXPECT_EQ(html->htmlVersion, 1u);
    // Marking the last unread item read takes the feed's bold.
    ASSERT_TRUE(
        layer.clickItem(tree->id, layer.treeItem(tree, panel.feeds()[0]->items[0]->node)->id));
    EXPECT_EQ(ViewTreesAsText(layer).substr(0, 30), "Tracker\n    Gazette\n      Ferr");
}

TEST(HostViewLayer, TheStateShowsTextAsTextWhateverItHolds) {
    CHostViewLayer layer;
    CSamplePanel panel(layer, nullptr);
    panel.addFeed("<script>alert(1)</script> & \"quotes\"\n\x01", {"\xff\xfe broken"});
    layer.showPanel("Tracker", false);
    std::string json = ViewStateJSON(layer, {});
    EXPECT_NE(json.find("\"text\":\"\\u003cscript\\u003ealert(1)\\u003c/script\\u003e \\u0026 "
                        "\\\"quotes\\\"\\n\\u0001\""),
              std::string::npos)
        << json;
    EXPECT_NE(json.find("\"text\":\"\\ufffd\\ufffd broken\""), std::string::npos) << json;
    EXPECT_EQ(json.find("<script>"), std::string::npos);
    EXPECT_NE(json.find("\"class\":\"Splitter\",\"name\":\"split\",\"visible\":true,"
                        "\"enabled\":true,\"vertical\":true,\"size\":260"),
              std::string::npos)
        << json;
    EXPECT_NE(json.find("\"panels\":[{\"name\":\"Tracker\",\"title\":\"Tracker\"}]"),
              std::string::npos);
}

TEST(HostViewLayer, ForgettingThePlugInCallsNothingOfIt) {
    CHostViewLayer layer;
    TreeRecord record;
    VxWindow window = layer.NewWindow("w", "W");
    VxView tree = layer.treeView()->Create(layer.GetWindowRootView(window), "tree");
    layer.treeView()->SetProcs(tree, recordingProcs(record));
    layer.treeView()->InsertItem(tree, layer.treeView()->CreateItem(tree, nullptr), nullptr, 0);
    DeathRecord deaths{{}, &layer};
    layer.baseView()->AddDeathProc(tree, recordDeath, &deaths);
    layer.forgetPlugin();
    EXPECT_TRUE(record.calls.empty());
    EXPECT_TRUE(deaths.seen.empty());
    EXPECT_TRUE(layer.windows().empty());
    EXPECT_EQ(layer.baseView()->ClassName(tree), "");
}

struct ModalCase {
    CHostViewLayer* layer;
    VxWindow window;
    std::function<void()> whileRunning;
};

TEST(HostViewLayer, AModalWindowRunsUntilItsResultOrItsPageGoes) {
    CHostViewLayer layer;
    VxWindow window = layer.NewWindow("dialog", "Dialog");
    EXPECT_EQ(layer.RunModal(window), -1) << "no page to show it on";
    bool pageOpen = true;
    layer.setModalPresenter([&pageOpen] { return pageOpen; });
    HostWindow* held = layer.windowById(layer.view(layer.GetWindowRootView(window))->window->id);
    const struct {
        const char* what;
        std::function<void()> whileRunning;
        int32_t result;
    } cases[] = {
        {"StopModal", [&] { layer.StopModal(window, 7); }, 7},
        {"the close box", [&] { layer.closeWindow(held->id); }, -1},
        {"the page goes", [&] { pageOpen = false; }, -1},
    };
    for (const auto& c : cases) {
        pageOpen = true;
        bool sawModal = false;
        ModalCase running{&layer, window, [&] {
                              sawModal = held->modal && held->visible;
                              c.whileRunning();
                          }};
        g_idle_add(
            [](gpointer data) {
                static_cast<ModalCase*>(data)->whileRunning();
                return G_SOURCE_REMOVE;
            },
            &running);
        EXPECT_EQ(layer.RunModal(window), c.result) << c.what;
        EXPECT_TRUE(sawModal) << c.what;
        EXPECT_FALSE(held->modal || held->visible) << c.what;
    }
    EXPECT_EQ(layer.RunModal(nullptr), -1);
    layer.StopModal(window, 3); // not running: nothing to stop
    EXPECT_FALSE(held->modalResult);
}

TEST(HostViewLayer, FindsAViewByNameDepthFirst) {
    CHostViewLayer layer;
    VxView root = layer.containerView()->Create(nullptr, "root");
    VxView left = layer.containerView()->Create(root, "left");
    VxView deep = layer.staticTextView()->Create(left, "name");
    layer.staticTextView()->Create(root, "name");
    EXPECT_EQ(layer.FindViewByName(root, "name"), deep);
    EXPECT_EQ(layer.FindViewByName(root, "root"), root);
    EXPECT_EQ(layer.FindViewByName(left, "missing"), nullptr);
    EXPECT_EQ(layer.FindViewByName(bogus(), "name"), nullptr);
    EXPECT_EQ(layer.FindViewByName(root, nullptr), nullptr);
}

} // namespace
