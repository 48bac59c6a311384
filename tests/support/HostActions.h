// What the host does on its own to a script's objects, as steps robustness
// tools can take in any order: fire timers, dispatch input events, render,
// tear nodes down. Each action takes the application and a number to choose
// with (a fuzz byte, a loop counter); none of them raises or throws for
// anything a script can have set up.
#pragma once

#include "exo/app/App.h"
#include "vyrlua/ui/LuaControlWrapperBase.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vyrui::gl {
class GLContext;
}

namespace vyrtest {

struct HostAction {
    std::string name;
    std::function<void(exo::app::App&, unsigned)> run;
};

// The actions, in a fixed order.
const std::vector<HostAction>& HostActions();

// The node held by the wrapper userdata at `index`, read without raising;
// null for anything else (a released wrapper included).
vyrlua::ui::NodePtr WrappedNode(lua_State* L, int index);

// What the host does when it destroys a node: takes it out of its parent,
// drops its children, its binder and the binding table in its property slot
// (and with them its timers and bound Lua functions). A wrapper that still
// holds the node keeps only the husk.
void DestroyNodeHostSide(vyrui::ui::UI_Node& node);

// An offscreen OpenGL context for the "gl" functions, so that robustness
// tools call them against real OpenGL: Ensure() makes it current whenever
// no context is (a view's context current before may have been dropped).
// Does nothing where no OpenGL can be had.
class GLContextKeeper {
public:
    GLContextKeeper();
    ~GLContextKeeper();
    void Ensure();

private:
    std::unique_ptr<vyrui::gl::GLContext> mContext;
};

} // namespace vyrtest
