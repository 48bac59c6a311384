#include "support/HostActions.h"

#include "vyrui/EventLoop.h"
#include "vyrui/gl/GLContext.h"
#include "vyrui/drawbot/DrawbotInterfaces.h"
#include "vyrui/ui/OS_Window.h"
#include "vyrui/ui/UI_Container.h"
#include "vyrui/ui/UI_NodeManager.h"

namespace vyrtest {

namespace {

using vyrui::ui::UI_Node;

// A node of some open window, chosen by `pick`: walks down from the window,
// each step taking a child or stopping there.
UI_Node::Ptr PickNode(unsigned pick)
{
    auto* manager = vyrui::ui::UI_NodeManager::Get(false);
    if (manager == nullptr)
        return nullptr;
    std::vector<UI_Node::Ptr> windows = manager->GetWindows();
    if (windows.empty())
        return nullptr;
    UI_Node::Ptr node = windows[pick % windows.size()];
    for (unsigned step = pick * 2654435761u; node; step = step * 1103515245u + 12345u) {
        const auto& children = node->UI_GetChildren();
        const size_t choice = (step >> 8) % (children.size() + 1);
        if (choice == children.size())
            break;
        node = children[choice];
    }
    return node;
}

vyrui::events::MouseEvent MouseEventFor(const UI_Node& node, unsigned pick)
{
    vyrui::events::MouseEvent event;
    event.type = static_cast<vyrui::events::MouseEventType>(pick % 7);
    const auto& rect = node.UI_GetLocalRectF();
    event.position = {rect.width * static_cast<float>(pick % 3) / 2,
                      rect.height * static_cast<float>(pick % 5) / 4};
    event.globalPosition = node.UI_LocalToGlobalPointF(event.position);
    event.button = pick & 3;
    event.buttons = pick & 7;
    event.clickCount = static_cast<int32_t>(pick % 3);
    return event;
}

std::vector<HostAction> MakeActions()
{
    return {
        {"fire the next timer",
         [](exo::app::App& app, unsigned) {
             app.GetEventLoop().SetClock(vyrui::EventLoop::Clock::Virtual);
             app.GetEventLoop().RunNext();
         }},
        {"run the event loop once", [](exo::app::App& app, unsigned) { app.GetEventLoop().RunOnce(); }},
        {"dispatch a mouse event",
         [](exo::app::App&, unsigned pick) {
             if (UI_Node::Ptr node = PickNode(pick))
                 node->UI_DoMouseEvent(MouseEventFor(*node, pick));
         }},
        {"dispatch a keyboard event",
         [](exo::app::App&, unsigned pick) {
             if (UI_Node::Ptr node = PickNode(pick)) {
                 vyrui::events::KeyboardEvent event;
                 event.type = static_cast<vyrui::events::KeyboardEventType>(pick % 3);
                 event.keyCode = static_cast<int32_t>(pick % 128);
                 event.text = std::string(1, static_cast<char>('a' + pick % 26));
                 node->UI_DoKeyboardEvent(event);
             }
         }},
        {"render every window",
         [](exo::app::App&, unsigned) {
             auto* manager = vyrui::ui::UI_NodeManager::Get(false);
             if (manager == nullptr)
                 return;
             for (const UI_Node::Ptr& window : manager->GetWindows())
                 if (auto* os = dynamic_cast<vyrui::ui::OS_Window*>(window.get()))
                     os->RenderToSurface();
         }},
        {"resize a node and draw its window now", // layout and draw hooks nest
         [](exo::app::App&, unsigned pick) {
             if (UI_Node::Ptr node = PickNode(pick)) {
                 const float side = static_cast<float>(pick % 97);
                 node->UI_SetLocalRectF({0, 0, side, side / 2});
                 node->UI_Invalidate();
                 node->UI_GetRootNode()->UI_UpdateNow();
             }
         }},
        {"destroy a node",
         [](exo::app::App&, unsigned pick) {
             if (UI_Node::Ptr node = PickNode(pick))
                 DestroyNodeHostSide(*node);
         }},
        // A panel rebuilding its rows: the children leave the tree and
        // live on only through what Lua holds (their handlers included).
        {"take a node's children out",
         [](exo::app::App&, unsigned pick) {
             if (UI_Node::Ptr node = PickNode(pick))
                 vyrui::ui::UI_Container::DeleteChildren(*node);
         }},
        // Out of its tree and back in elsewhere (or at the same place).
        {"move a node",
         [](exo::app::App&, unsigned pick) {
             UI_Node::Ptr node = PickNode(pick);
             UI_Node::Ptr to = PickNode(pick / 3 + 1);
             if (!node || !node->UI_GetParentNode() || !to || to == node ||
                 to->UI_IsChildOf(node.get()))
                 return;
             vyrui::ui::UI_Container::ChildRemove(*node->UI_GetParentNode(), *node);
             vyrui::ui::UI_Container::ChildPushBack(*to, node);
         }},
        {"close a window",
         [](exo::app::App&, unsigned pick) {
             auto* manager = vyrui::ui::UI_NodeManager::Get(false);
             std::vector<UI_Node::Ptr> windows;
             if (manager != nullptr)
                 windows = manager->GetWindows();
             if (!windows.empty())
                 if (auto* os = dynamic_cast<vyrui::ui::OS_Window*>(windows[pick % windows.size()].get()))
                     os->Close();
         }},
    };
}

} // namespace

const std::vector<HostAction>& HostActions()
{
    static const std::vector<HostAction> actions = MakeActions();
    return actions;
}

vyrlua::ui::NodePtr WrappedNode(lua_State* L, int index)
{
    if (lua_type(L, index) != LUA_TUSERDATA || lua_objlen(L, index) < sizeof(void*) ||
        !lua_getmetatable(L, index))
        return nullptr;
    lua_pushstring(L, vyrlua::ui::kControlWrapperIdentifier);
    lua_rawget(L, -2);
    const bool wrapper = lua_isfunction(L, -1);
    lua_pop(L, 2);
    if (!wrapper)
        return nullptr;
    auto* wrapped = *static_cast<vyrlua::ui::LuaControlWrapperBase**>(lua_touserdata(L, index));
    return wrapped ? wrapped->GetNode() : nullptr;
}

void DestroyNodeHostSide(UI_Node& node)
{
    UI_Node::Ptr keep(&node);
    if (UI_Node* parent = node.UI_GetParentNode())
        vyrui::ui::UI_Container::ChildRemove(*parent, node);
    vyrui::ui::UI_Container::DeleteChildren(node);
    node.UI_ReleaseHandlers();
}

GLContextKeeper::GLContextKeeper()
{
    try {
        mContext = std::make_unique<vyrui::gl::GLContext>();
        mContext->SetFramebufferSize(16, 16);
    } catch (const std::exception&) {
        mContext.reset();
    }
}

GLContextKeeper::~GLContextKeeper() = default;

void GLContextKeeper::Ensure()
{
    if (mContext && vyrui::gl::CurrentContext() == nullptr)
        mContext->MakeCurrent();
}

} // namespace vyrtest
