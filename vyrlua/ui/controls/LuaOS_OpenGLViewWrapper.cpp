#include "vyrlua/ui/controls/LuaOS_OpenGLViewWrapper.h"

#include "vyrlua/ui/LuaBindingTable.h"
#include "vyrlua/ui/LuaWrapperMethods.h"
#include "vyrlua/ui/VyrBinder.h"
#include "vyrlua/utility/LuaProtectedCall.h"

namespace vyrlua::ui {

using vyrcore::geom::MatrixF;
using vyrui::ui::OS_OpenGLView;
using vyrui::ui::OS_OpenGLViewBase;

namespace {

// The host's own steps, with the view's context current (created, and
// initialised, first when needed).
void HostPreDraw(OS_OpenGLView& view)
{
    if (view.MakeContextCurrent())
        view.OS_OpenGLView::PreDrawOpenGL();
}

void HostPostDraw(OS_OpenGLView& view)
{
    if (view.MakeContextCurrent())
        view.OS_OpenGLView::PostDrawOpenGL();
}

// The hooks themselves (a bound function, else the host's step).
void InitHook(OS_OpenGLView& view)
{
    if (view.MakeContextCurrent(false))
        view.InitOpenGL();
}

void EndHook(OS_OpenGLView& view)
{
    if (view.MakeContextCurrent(false))
        view.EndOpenGL();
}

int BindGLOperationBody(lua_State* L)
{
    if (!GetControlUserData(L, 1))
        return 0;
    std::string_view operation = utility::CheckLString(L, 2);
    utility::CheckType(L, 3, LUA_TFUNCTION);
    lua_pushvalue(L, 3);
    LuaFunctionRef function = utility::LuaReference<LUA_TFUNCTION>::Create(L);
    // Making the reference allocated: self is resolved again.
    vyrui::ui::UI_Node* node = NodeAt(L, 1);
    if (LuaBindingTable* table = node ? GetLuaBindingTable(*node, true) : nullptr)
        table->GetOrCreateBinder(*node).Bind(operation, std::move(function));
    return 0;
}

// executeInViewContext(f) -> everything f returns. The function is kept in
// the registry while the context is made current: that may run the view's
// "initOpenGL" function, which runs on a stack the dispatcher empties.
int ExecuteInViewContextBody(lua_State* L)
{
    if (SelfAs<OS_OpenGLView>(L) == nullptr)
        return 0;
    utility::CheckType(L, 2, LUA_TFUNCTION);
    lua_pushvalue(L, 2);
    const int ref = luaL_ref(L, LUA_REGISTRYINDEX);
    bool current = false;
    {
        vyrui::ui::UI_Node* node = nullptr;
        OS_OpenGLView* view = SelfAs<OS_OpenGLView>(L, &node);
        NodePtr held(node);
        try {
            current = view != nullptr && view->MakeContextCurrent();
        } catch (...) {
            luaL_unref(L, LUA_REGISTRYINDEX, ref);
            throw;
        }
    }
    const int base = lua_gettop(L);
    lua_rawgeti(L, LUA_REGISTRYINDEX, ref);
    luaL_unref(L, LUA_REGISTRYINDEX, ref);
    if (!current) {
        lua_settop(L, base);
        return 0;
    }
    utility::CallLuaFromCpp(L, 0, LUA_MULTRET);
    return lua_gettop(L) - base;
}

} // namespace

const luaL_Reg LuaOS_OpenGLViewWrapper::methods[] = {
    {"preDrawOpenGL", Method<OS_OpenGLView, HostPreDraw>},
    {"postDrawOpenGL", Method<OS_OpenGLView, HostPostDraw>},
    {"initOpenGL", Method<OS_OpenGLView, InitHook>},
    {"endOpenGL", Method<OS_OpenGLView, EndHook>},
    {"bindGLOperation", utility::LuaBoundary<BindGLOperationBody>},
    {"executeInViewContext", utility::LuaBoundary<ExecuteInViewContextBody>},
    {"enableHiDPIBackBuffer", Method<OS_OpenGLView, &OS_OpenGLView::EnableHiDPIBackBuffer>},
    {"setViewMatrix", Method<OS_OpenGLViewBase, &OS_OpenGLViewBase::SetViewMatrix, Matrix>},
    {"getViewMatrix", Method<OS_OpenGLViewBase, &OS_OpenGLViewBase::GetViewMatrix>},
    {"getLastDrawnTransformToScreenScale",
     Method<OS_OpenGLViewBase, &OS_OpenGLViewBase::GetLastDrawnTransformToScreenScale>},
    {nullptr, nullptr},
};

void LuaOS_OpenGLViewWrapper::PublishConstants(lua_State* L)
{
    for (const char* name : kOpenGLOperations) {
        lua_pushstring(L, name);
        lua_setfield(L, -2, name);
    }
}

} // namespace vyrlua::ui
