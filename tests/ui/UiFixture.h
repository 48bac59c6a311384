// The UI tests' fixture: the host booted with the UI modules required, a
// virtual clock on the application's event loop, and helpers that move
// nodes between C++ and Lua globals.
#pragma once

#include "support/LuaFixture.h"

#include "vyrlua/ui/LuaControlWrapperBase.h"
#include "vyrlua/ui/LuaControlWrapperFactory.h"
#include "vyrui/EventLoop.h"

#include <string>

namespace vyrtest {

class UiTest : public LuaTest {
protected:
    void SetUp() override
    {
        LuaTest::SetUp();
        Loop().SetClock(vyrui::EventLoop::Clock::Virtual);
        Run("require 'vyrlua.vyrcontrols'; require 'vyrlua.UINodeManager'\n"
            "vyrUINode = require 'vyrlua.vyrUINode'\n"
            "require 'vyrlua.InputCapture'; require 'vyrlua.TouchCapture'\n"
            "function Rect(l, t, w, h) return vyrlua_CreateNewRectF32(l, t, w, h) end");
    }

    vyrui::EventLoop& Loop() { return Runtime().Application().GetEventLoop(); }

    // Pushes `node` through the factory into the global `name`.
    void SetGlobalNode(const char* name, const vyrlua::ui::NodePtr& node)
    {
        vyrlua::ui::LuaControlWrapperFactory(node, L());
        lua_setglobal(L(), name);
    }

    // The node of the wrapper in the global `name` (null when none).
    vyrlua::ui::NodePtr GlobalNode(const char* name)
    {
        lua_getglobal(L(), name);
        vyrlua::ui::NodePtr node;
        if (auto** block = static_cast<vyrlua::ui::LuaControlWrapperBase**>(lua_touserdata(L(), -1));
            block && *block)
            node = (*block)->GetNode();
        lua_pop(L(), 1);
        return node;
    }
};

} // namespace vyrtest
