// Node wrappers: ownership, the wrapper test, the factory, the method
// table, and the node methods whose rules are easy to get wrong.
#include "UiFixture.h"

#include "vyrlua/ui/LuaUI_NodeWrapper.h"
#include "vyrlua/ui/LuaWrapperMethods.h"
#include "vyrui/ui/OS_ScaledView.h"
#include "vyrui/ui/OS_Window.h"
#include "vyrui/ui/UI_Container.h"
#include "vyrui/ui/UI_NodeManager.h"

#include <vector>

using namespace vyrui::ui;
using vyrcore::geom::RectI;
using vyrlua::ui::NodePtr;
using vyrtest::UiTest;

namespace {

// Counts live instances, to see when the tree lets go of a node.
struct Counted : UI_Node {
    static inline int live = 0;
    Counted() { ++live; }
    ~Counted() override { --live; }
};

// A node class of some other library, with its own wrapper.
struct ForeignNode : UI_Node {};
struct ForeignWrapper : vyrlua::ui::LuaUI_NodeWrapper {
    using LuaUI_NodeWrapper::LuaUI_NodeWrapper;
};

// Another library's control, given a wrapper class of its own through the
// same list-free path.
struct PluginNode : UI_Node {
    int pings = 0;
    int Ping() { return ++pings; }
};
struct LuaPluginWrapper
    : vyrlua::ui::LuaWrapperClass<LuaPluginWrapper, PluginNode, vyrlua::ui::LuaUI_NodeWrapper> {
    using LuaWrapperClass::LuaWrapperClass;
    static constexpr const char* kMetatableName = "test.PluginNode";
    static const luaL_Reg methods[];
};
const luaL_Reg LuaPluginWrapper::methods[] = {
    {"Ping", vyrlua::ui::Method<PluginNode, &PluginNode::Ping>},
    {nullptr, nullptr},
};

} // namespace

TEST_F(UiTest, AWrapperKeepsItsNodeAliveUntilCollectedOrReleased)
{
    SetGlobalNode("n", NodePtr(new Counted));
    EXPECT_EQ(Counted::live, 1);
    Run("n2 = n:UI_GetRootNode()");
    Run("n = nil; collectgarbage()");
    EXPECT_EQ(Counted::live, 1); // n2 still holds it
    Run("n2:Release(); collectgarbage()");
    EXPECT_EQ(Counted::live, 0);
    // A released wrapper is not an error: it answers nothing.
    EXPECT_EQ(Run("return n2:ChildSize()").size(), 0u);
    EXPECT_EQ(Run("return n2:UI_GetNodeID()").size(), 0u);
    EXPECT_EQ(Run("return n2:UI_InstallTimer(1, function() end)").size(), 0u);
    EXPECT_EQ(Eval("return tostring(n2):match('^vyrUINode%[  %]')"), "vyrUINode[  ]");
}

TEST_F(UiTest, PushingANodeTwiceGivesTwoObjectsThatAreEqual)
{
    Run("a = vyrcontrols.NewNode('a'); b = a:UI_GetRootNode(); c = vyrcontrols.NewNode('a')");
    EXPECT_EQ(Eval("return a == b"), "false");
    EXPECT_EQ(Eval("return a:Equals(b)"), "true");
    EXPECT_EQ(Eval("return a:Equals(c)"), "false");
    EXPECT_EQ(Eval("return a:Equals(nil)"), "false");
    Run("a:Release(); c:Release()");
    EXPECT_EQ(Eval("return a:Equals(c)"), "true"); // both hold no node
    EXPECT_EQ(Eval("return b:UI_GetNodeID()"), "a");
}

TEST_F(UiTest, OnlyWrappersPassAsNodes)
{
    Run("n = vyrcontrols.NewNode('n')");
    for (const char* bad : {"{}", "'text'", "nil", "io.stdout", "newproxy(true)", "42"}) {
        EXPECT_EQ(Error(std::string("vyrcontrols.NewNode():ChildPushBack(") + bad + ")"),
                  "test:1: Bad user data")
            << bad;
        EXPECT_EQ(Error(std::string("n.ChildSize(") + bad + ")"), "test:1: Bad user data") << bad;
    }
    EXPECT_EQ(Error("n:Equals({})"), "test:1: Bad user data");
    // The type mark alone does not make a wrapper of a block of another size.
    EXPECT_EQ(Error("local u = newproxy(true) getmetatable(u).ControlWrapperIdentifier = print "
                    "n:Equals(u)"),
              "test:1: Bad user data");
    EXPECT_EQ(Error("n:UI_IsChildOf('x')"), "test:1: Bad user data");
    EXPECT_EQ(Eval("return n:UI_IsChildOf(nil)"), "false");
}

TEST_F(UiTest, AnInstalledFactoryFunctionComesBeforeTheBuiltInClasses)
{
    Run("require 'vyrlua.vyrcontrols'"); // idempotent
    static bool installed = false;
    if (!installed) {
        installed = true;
        vyrlua::ui::InstallLuaControlWrapperFactoryFunction(
            [](const NodePtr& node, lua_State* L) -> vyrlua::ui::LuaControlWrapperBase* {
                if (!dynamic_cast<ForeignNode*>(node.get()))
                    return nullptr;
                auto* w = vyrlua::ui::PushControlWrapper<ForeignWrapper>(node, L);
                lua_pushstring(L, "foreign");
                lua_setfield(L, LUA_REGISTRYINDEX, "lastFactory");
                return w;
            });
    }
    SetGlobalNode("f", NodePtr(new ForeignNode));
    lua_getfield(L(), LUA_REGISTRYINDEX, "lastFactory");
    EXPECT_STREQ(lua_tostring(L(), -1), "foreign");
    lua_pop(L(), 1);
    // Other nodes still get the node wrapper; a null node pushes nothing.
    int top = lua_gettop(L());
    EXPECT_EQ(vyrlua::ui::LuaControlWrapperFactory(NodePtr(), L()), nullptr);
    EXPECT_EQ(lua_gettop(L()), top);
    EXPECT_EQ(Eval("return tostring(vyrcontrols.NewNode('p')):match('^vyrUINode%[ p %]') ~= nil"),
              "true");
}

TEST_F(UiTest, AnotherLibrarysWrapperClassGetsItsOwnFlattenedMetatable)
{
    static bool installed = false;
    if (!installed) {
        installed = true;
        vyrlua::ui::InstallLuaWrapperClass<LuaPluginWrapper>();
    }
    SetGlobalNode("p", NodePtr(new PluginNode));
    EXPECT_EQ(Eval("return getmetatable(p) == debug.getregistry()['test.PluginNode']"), "true");
    EXPECT_EQ(Eval("p:UI_SetNodeID('plug') return p:Ping() + p:Ping() .. p:UI_GetNodeID()"), "3plug");
    EXPECT_EQ(Error("p.Ping(vyrcontrols.NewNode())"), "Invalid type conversion.");
}

TEST_F(UiTest, ChildGetIsOneBasedWhileSwapAndMoveAreZeroBased)
{
    Run(R"(
        p = vyrcontrols.NewNode('p')
        for _, id in ipairs{'a', 'b', 'c'} do p:ChildPushBack(vyrcontrols.NewNode(id)) end
        function ids()
          local s = ''
          for i = 1, p:ChildSize() do s = s .. p:ChildGet(i):UI_GetNodeID() end
          return s
        end)");
    EXPECT_EQ(Eval("return p:ChildGet(1):UI_GetNodeID()"), "a");
    EXPECT_EQ(Run("return p:ChildGet(4)").size(), 0u);
    EXPECT_EQ(Run("return p:ChildGet(0)").size(), 0u);
    EXPECT_EQ(Run("return p:ChildGet(-2^62)").size(), 0u);
    EXPECT_EQ(Error("p:ChildGet(0/0)"),
              "test:1: bad argument #1 to 'ChildGet' (number has no integer representation)");
    Run("p:ChildSwapOrder(0, 1)");
    EXPECT_EQ(Eval("return ids()"), "bac");
    Run("p:ChildMove(0, 2)");
    EXPECT_EQ(Eval("return ids()"), "acb");
    Run("p:ChildSwapOrder(0, 99); p:ChildMove(-5, 1); p:ChildMove(9, 0)");
    EXPECT_EQ(Eval("return ids()"), "acb");
    Run("p:ChildMove(0, 1000)"); // the destination is clamped
    EXPECT_EQ(Eval("return ids()"), "cba");
    Run("p:ChildMove(2, 0)");
    EXPECT_EQ(Eval("return p:ChildGet(3):UI_GetIndex()"), "2");

    Run("p:ChildGet(1):SetViewIndexToFront()");
    EXPECT_EQ(Eval("return ids()"), "cba");
    Run("p:ChildGet(3):SetViewIndexToFront(); p:ChildGet(3):SetViewIndexToBack()");
    EXPECT_EQ(Eval("return ids()"), "acb");
    Run("p:ChildGet(1):SetViewIndex(1); vyrcontrols.NewNode():SetViewIndexToBack()");
    EXPECT_EQ(Eval("return ids()"), "cab");
    Run("p:ChildRemove(p:ChildGet(2))");
    EXPECT_EQ(Eval("return ids()"), "cb");
    Run("p:DeleteChildren()");
    EXPECT_EQ(Eval("return p:ChildSize()"), "0");
    EXPECT_EQ(Error("local c = vyrcontrols.NewNode(); p:ChildPushBack(c); c:ChildPushBack(p)"),
              "ChildPushBack: a node cannot become a child of itself or of its own descendant");
}

TEST_F(UiTest, DescendentSearchIsPreOrderAndTreeQueries)
{
    Run(R"(
        root = vyrcontrols.NewNode('x')
        first = vyrcontrols.NewNode('first'); second = vyrcontrols.NewNode('x')
        deep = vyrcontrols.NewNode('x')
        root:ChildPushBack(first); root:ChildPushBack(second); first:ChildPushBack(deep))");
    EXPECT_EQ(Eval("return root:GetDescendentByID('x'):Equals(deep)"), "true");
    EXPECT_EQ(Eval("return select('#', deep:GetDescendentByID('x')) + "
                   "select('#', root:GetDescendentByID('X'))"),
              "0");
    EXPECT_EQ(Eval("return deep:UI_GetRootNode():Equals(root)"), "true");
    EXPECT_EQ(Eval("return deep:UI_IsChildOf(root)"), "true");
    EXPECT_EQ(Eval("return root:UI_IsChildOf(deep)"), "false");
    EXPECT_EQ(Eval("return root:HasNonNullParentNode()"), "false");
    EXPECT_EQ(Eval("return deep:HasWindowRootNode()"), "false");

    boost::intrusive_ptr<OS_PopupWindow> popup(new OS_PopupWindow("popup", {0, 0, 10, 10}));
    SetGlobalNode("popup", popup);
    Run("popup:ChildPushBack(root)");
    EXPECT_EQ(Eval("return deep:HasWindowRootNode()"), "true");
    Run("w = vyrcontrols.NewWindow('w', Rect(0, 0, 10, 10), 'Title')");
    EXPECT_EQ(Eval("return w:HasWindowRootNode()"), "false"); // a plain window is not one of those
}

TEST_F(UiTest, InvalidateRoundsOutwardToWholeUnits)
{
    NodePtr root(new UI_Node("root", {0, 0, 100, 100}));
    SetGlobalNode("root", root);
    root->UI_ClearDirtyRegion();
    Run("root:UI_Invalidate(Rect(0.5, 0.5, 1, 1))");
    EXPECT_EQ(root->UI_GetDirtyRegion(), (RectI{0, 0, 2, 2}));
    root->UI_ClearDirtyRegion();
    Run("root:UI_Invalidate(Rect(-1.5, 3, 2, 0.25))");
    EXPECT_EQ(root->UI_GetDirtyRegion(), (RectI{-2, 3, 3, 1}));
    root->UI_ClearDirtyRegion();
    Run("root:UI_Invalidate()");
    EXPECT_EQ(root->UI_GetDirtyRegion(), (RectI{0, 0, 100, 100}));
    EXPECT_EQ(Error("root:UI_Invalidate(Rect(0, 0, 1/0, 1))"),
              "test:1: bad argument #1 to 'UI_Invalidate' (number has no integer representation)");
    EXPECT_EQ(Error("root:UI_Invalidate(Rect(3e9, 0, 1, 1))"),
              "test:1: bad argument #1 to 'UI_Invalidate' (number has no integer representation)");
}

TEST_F(UiTest, DrawCachePolicyNamesAreExact)
{
    NodePtr node(new UI_Node);
    SetGlobalNode("n", node);
    const std::pair<const char*, int> cases[] = {
        {"never", 1}, {"always", 2}, {"always_as_bitmap", 3}, {"Never", 0}, {"", 0}, {"sometimes", 0}};
    for (auto [name, value] : cases) {
        node->UI_SetDrawCachePolicy(-1);
        Run(std::string("n:UI_SetDrawCachePolicy('") + name + "')");
        EXPECT_EQ(node->UI_GetDrawCachePolicy(), value) << name;
    }
    EXPECT_EQ(Error("n:UI_SetDrawCachePolicy()"),
              "test:1: bad argument #1 to 'UI_SetDrawCachePolicy' (string expected, got no value)");
}

TEST_F(UiTest, GeometryVisibilityToolTipsAndTheme)
{
    NodePtr root(new UI_Node("root", {100, 200, 300, 300}));
    SetGlobalNode("root", root);
    Run("child = vyrcontrols.NewNode('child', Rect(10, 20, 30, 40)); root:ChildPushBack(child)");
    EXPECT_EQ(Eval("return tostring(child:UI_GetLocalRectF())"),
              "RectF32(left 10, top 20, width 30, height 40)");
    EXPECT_EQ(Eval("return tostring(child:UI_LocalToGlobalPointF(vyrlua_CreateNewPointF32(1, 2)))"),
              "PointF32(111, 222)");
    EXPECT_EQ(Eval("return tostring(child:UI_GlobalToLocalRectF(Rect(111, 222, 5, 5)))"),
              "RectF32(left 1, top 2, width 5, height 5)");
    Run("child:UI_SetToParentRectF()");
    EXPECT_EQ(Eval("return tostring(child:UI_GetLocalRectF())"),
              "RectF32(left 0, top 0, width 300, height 300)");
    for (const char* bad : {"Rect(0, 0, -1, 1)", "Rect(1/0, 0, 1, 1)", "Rect(0, 0/0, 1, 1)"})
        EXPECT_EQ(Error(std::string("child:UI_SetLocalRectF(") + bad + ")"),
                  "UI_SetLocalRectF: the rectangle must be finite, with width and height >= 0");
    EXPECT_EQ(Eval("return tostring(child:UI_GetLocalRectF())"),
              "RectF32(left 0, top 0, width 300, height 300)");

    Run("child:UI_Show(false)");
    EXPECT_EQ(Run("return child:UI_IsShown(), child:UI_AreAllParentsVisible()"),
              (std::vector<std::string>{"false", "true"}));
    Run("child:UI_Show(); root:UI_Show(false)");
    EXPECT_EQ(Run("return child:UI_IsShown(), child:UI_AreAllParentsVisible()"),
              (std::vector<std::string>{"true", "false"}));

    Run("child:UI_SetToolTip('Ünïcode tip'); child:UI_SetToolTipAvoidsBounds(false)");
    UI_Node::Ptr child = UI_Container::ChildGet(*root, 0);
    EXPECT_EQ(child->UI_GetToolTipText(), u"Ünïcode tip");
    EXPECT_EQ(child->UI_GetToolTipDelay(), 400);
    Run("child:UI_SetToolTip('t', 50); child:UI_SetToolTipAvoidsBounds()");
    EXPECT_EQ(child->UI_GetToolTipDelay(), 50);
    EXPECT_EQ(Eval("return child:UI_GetToolTipAvoidsBounds()"), "true");

    Run("child:SetThemeName('dark'); child:SetCustomThemeColor(3); "
        "child:SetCustomThemeColor(4, vyrlua_CreateNewRGBA(1, 0.5, 0, 0.25))");
    const UI_ThemeComponent* theme = child->UI_FindThemeComponent();
    ASSERT_NE(theme, nullptr);
    EXPECT_EQ(theme->GetThemeName(), "dark");
    EXPECT_EQ(*theme->GetCustomColor(3), (vyrui::drawbot::ColorRGBA{0, 0, 0, 1}));
    EXPECT_EQ(*theme->GetCustomColor(4), (vyrui::drawbot::ColorRGBA{1, 0.5f, 0, 0.25f}));
}

TEST_F(UiTest, ScaleMethodsNeedAScaledView)
{
    boost::intrusive_ptr<OS_ScaledView> scaled(new OS_ScaledView("s", {0, 0, 100, 100}));
    scaled->UI_SetScale({2, 4});
    scaled->UI_SetOffset({1, 0});
    SetGlobalNode("s", scaled);
    EXPECT_EQ(Eval("return tostring(s:UI_GetScale())"), "PointF32(2, 4)");
    EXPECT_EQ(Eval("return tostring(s:UI_GetInverseScale())"), "PointF32(0.5, 0.25)");
    EXPECT_EQ(Eval("return tostring(s:UI_GetScaleRect(Rect(1, 1, 2, 2)))"),
              "RectF32(left 3, top 4, width 4, height 8)");
    EXPECT_EQ(Eval("return tostring(s:UI_GetInverseScaleRect(Rect(3, 4, 4, 8)))"),
              "RectF32(left 1, top 1, width 2, height 2)");
    Run("c = vyrcontrols.NewNode(); s:ChildPushBack(c); c:UI_SetToParentRectF()");
    EXPECT_EQ(Eval("return tostring(c:UI_GetLocalRectF())"),
              "RectF32(left 1, top 0, width 200, height 400)");
    EXPECT_EQ(Error("c:UI_GetScale()"), "Invalid type conversion.");
}

TEST_F(UiTest, FocusThroughScriptsAndTheNodeModule)
{
    Run(R"(
        root = vyrcontrols.NewNode('root')
        a = vyrcontrols.NewNode('a'); b = vyrcontrols.NewNode('b')
        root:ChildPushBack(a); root:ChildPushBack(b))");
    EXPECT_EQ(Eval("return a:UI_GainKeyboardFocus(0)"), "false");
    Run("a:UI_SetWantsKeyboardFocus(true); b:UI_SetWantsKeyboardFocus(true)");
    EXPECT_EQ(Eval("return a:UI_WantsKeyboardFocus() and a:UI_GainKeyboardFocus(1)"), "true");
    EXPECT_EQ(Eval("return b:UI_GainKeyboardFocus(2)"), "true");
    EXPECT_EQ(Eval("return vyrUINode.UI_GetKeyboardFocusLeafNode():Equals(b)"), "true");
    EXPECT_EQ(Eval("return vyrUINode.UI_GetPreviousKeyboardFocusNode():Equals(a)"), "true");
    EXPECT_EQ(Eval("return vyrUINode.UI_TextEditControlHasFocus()"), "false");
    EXPECT_EQ(Eval("return vyrUINode.UI_IsRunningV7OrBeyond()"), "true");
    Run("b:UI_LoseKeyboardFocus()");
    EXPECT_EQ(Run("return vyrUINode.UI_GetKeyboardFocusLeafNode()").size(), 0u);
    EXPECT_EQ(Eval("return b:UI_HasKeyboardFocus()"), "false");
}

TEST_F(UiTest, RecommendedSizeComesFromASupplierAndTheNode)
{
    Run("n = vyrcontrols.NewNode('n', Rect(0, 0, 30, 12))");
    EXPECT_EQ(Eval("return tostring(n:UI_GetRecommendedSize())"), "PointF32(30, 12)");
    EXPECT_EQ(Eval("return tostring(n:UI_GetDrawSupplier()):match('^vyrSupplierInterface%(0x') ~= nil"),
              "true");
    EXPECT_EQ(Eval("return tostring(n:UI_GetRecommendedSize(n:UI_GetDrawSupplier()))"),
              "PointF32(30, 12)");
    EXPECT_EQ(Error("n:UI_GetRecommendedSize(5)"),
              "test:1: bad argument #1 to 'UI_GetRecommendedSize' "
              "(vyrlua.drawbot.vyrSupplierInterface expected, got number)");
}
