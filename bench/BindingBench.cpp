// The binding's hot paths, each beside a raw Lua C API baseline doing the
// same work: Lua calling node methods, the host calling bound handlers and
// timers, value tables built through the constructor globals, and the
// wrapper factory.
#include "BenchHarness.h"

#include "vyrlua/ui/LuaBindingTable.h"
#include "vyrlua/ui/LuaControlWrapperFactory.h"
#include "vyrlua/utility/LuaValueTypes.h"
#include "vyrui/events/UIEvents.h"
#include "vyrui/ui/UI_Node.h"

#include <cstdio>
#include <cstdlib>

namespace {

using vyrbench::AddCase;
using vyrbench::Meter;
using vyrbench::Scenario;
using vyrcore::geom::RectF;
using vyrui::events::MouseEvent;
using vyrui::ui::UI_Node;
using NodePtr = boost::intrusive_ptr<UI_Node>;

// ---------------------------------------------------------------------------
// The raw baseline: what a binding written directly against the Lua C API
// does. Its userdata hold a bare node pointer (the scenario keeps the node
// alive), it checks self with luaL_checkudata and reads fields with
// lua_rawget. The metatable names are as long as the library's, so the
// registry look-up inside luaL_checkudata hashes as much text.

constexpr const char* kRawNode = "rawUINode";
constexpr const char* kRawMouseEvent = "rawMouseEvent";

UI_Node* RawSelf(lua_State* L)
{
    return *static_cast<UI_Node**>(luaL_checkudata(L, 1, kRawNode));
}

int RawIsShown(lua_State* L)
{
    lua_pushboolean(L, RawSelf(L)->UI_IsShown());
    return 1;
}

float RawField(lua_State* L, int table, const char* name, size_t length)
{
    lua_pushlstring(L, name, length);
    lua_rawget(L, table);
    float value = static_cast<float>(lua_tonumber(L, -1));
    lua_pop(L, 1);
    return value;
}

int RawSetLocalRectF(lua_State* L)
{
    UI_Node* node = RawSelf(L);
    RectF rect;
    rect.top = RawField(L, 2, "top", 3);
    rect.left = RawField(L, 2, "left", 4);
    rect.height = RawField(L, 2, "height", 6);
    rect.width = RawField(L, 2, "width", 5);
    node->UI_SetLocalRectF(rect);
    return 0;
}

void RegisterRawMetatables(lua_State* L)
{
    static const luaL_Reg kMethods[] = {
        {"UI_IsShown", RawIsShown},
        {"UI_SetLocalRectF", RawSetLocalRectF},
        {nullptr, nullptr},
    };
    luaL_newmetatable(L, kRawNode);
    lua_pushvalue(L, -1);
    lua_setfield(L, -2, "__index");
    luaL_register(L, nullptr, kMethods);
    lua_pop(L, 1);
    luaL_newmetatable(L, kRawMouseEvent);
    lua_pushvalue(L, -1);
    lua_setfield(L, -2, "__index");
    lua_pop(L, 1);
}

void PushRawNode(lua_State* L, UI_Node* node)
{
    *static_cast<UI_Node**>(lua_newuserdata(L, sizeof(UI_Node*))) = node;
    luaL_getmetatable(L, kRawNode);
    lua_setmetatable(L, -2);
}

void PushRawMouseEvent(lua_State* L, const MouseEvent& event)
{
    *static_cast<MouseEvent*>(lua_newuserdata(L, sizeof(MouseEvent))) = event;
    luaL_getmetatable(L, kRawMouseEvent);
    lua_setmetatable(L, -2);
}

// ---------------------------------------------------------------------------

// A host with one node, which Lua sees either through the library's wrapper
// or through the raw userdata.
class NodeScenario : public Scenario {
public:
    explicit NodeScenario(bool library)
        : mHost(vyrbench::NewHost()), L(mHost->State()),
          mNode(new UI_Node("cell", RectF{0, 0, 40, 20}))
    {
        RegisterRawMetatables(L);
        if (library)
            vyrlua::ui::LuaControlWrapperFactory(mNode, L);
        else
            PushRawNode(L, mNode.get());
    }
    void Settle() override
    {
        vyrbench::CompactRegistry(L);
        lua_gc(L, LUA_GCCOLLECT, 0);
    }

protected:
    std::unique_ptr<vyrhost::HostRuntime> mHost;
    lua_State* L;
    NodePtr mNode;
};

// A Lua loop calling a method of the node n times.
class MethodLoop : public NodeScenario {
public:
    MethodLoop(bool library, const char* loop) : NodeScenario(library)
    {
        lua_getglobal(L, "vyrlua_CreateNewRectF32");
        for (double v : {2.0, 3.0, 30.0, 12.0})
            lua_pushnumber(L, v);
        if (lua_pcall(L, 4, 1, 0) != 0)
            vyrbench::Fail(L, "making a rectangle");
        mLoop = vyrbench::MakeLoop(L, loop, 2);
    }
    void Run(std::int64_t n, Meter&) override { vyrbench::RunLoop(L, mLoop, n); }

private:
    int mLoop;
};

constexpr const char* kIsShownLoop = R"(
    local node, rect = ...
    return function(n)
        for i = 1, n do node:UI_IsShown() end
    end)";

constexpr const char* kSetRectLoop = R"(
    local node, rect = ...
    return function(n)
        for i = 1, n do node:UI_SetLocalRectF(rect) end
    end)";

MouseEvent Click()
{
    MouseEvent e;
    e.type = vyrui::events::MouseEventType::Down;
    e.position = {12, 7};
    e.globalPosition = {112, 57};
    e.button = e.buttons = vyrui::events::kMouseButton_Left;
    e.clickCount = 1;
    return e;
}

constexpr const char* kHandler = "return function(event, node) return true end";

// Keeps the raw dispatch's result read.
volatile int gHandled = 0;

// The host delivers a mouse event to the node's bound "OnDoMouseEvent".
class MouseDispatch : public NodeScenario {
public:
    MouseDispatch() : NodeScenario(true)
    {
        vyrbench::RunChunk(L, "local node = ... node:BindVyrOperation('OnDoMouseEvent', "
                              "function(event, node) return true end)",
                           1);
        lua_settop(L, 0);
    }
    void Run(std::int64_t n, Meter&) override
    {
        for (std::int64_t i = 0; i < n; ++i) {
            if (!mNode->UI_DoMouseEvent(mEvent))
                Unhandled();
        }
    }

private:
    [[noreturn]] static void Unhandled()
    {
        std::fprintf(stderr, "benchmark failed: the handler did not run\n");
        std::abort();
    }
    MouseEvent mEvent = Click();
};

// The same call made by hand: the function from the registry, a fresh
// userdata for the event and for the node, a protected call, the result's
// truth.
class RawMouseDispatch : public NodeScenario {
public:
    RawMouseDispatch() : NodeScenario(false)
    {
        lua_settop(L, 0);
        vyrbench::RunChunk(L, kHandler, 0);
        mHandler = luaL_ref(L, LUA_REGISTRYINDEX);
    }
    void Run(std::int64_t n, Meter&) override
    {
        for (std::int64_t i = 0; i < n; ++i) {
            lua_rawgeti(L, LUA_REGISTRYINDEX, mHandler);
            PushRawMouseEvent(L, mEvent);
            PushRawNode(L, mNode.get());
            if (lua_pcall(L, 2, 1, 0) != 0)
                vyrbench::Fail(L, "calling the handler");
            bool handled = lua_toboolean(L, -1) != 0;
            lua_pop(L, 1);
            gHandled = gHandled + handled;
        }
    }

private:
    int mHandler;
    MouseEvent mEvent = Click();
};

// A timer of the node fires: the host calls the notify function the
// library installed with the timer's ID.
class TimerFire : public NodeScenario {
public:
    TimerFire() : NodeScenario(true)
    {
        vyrbench::RunChunk(L, "local node = ... return node:UI_InstallTimer(3600, function() end)",
                           1);
        mID = static_cast<int>(lua_tointeger(L, -1));
        lua_settop(L, 0);
        auto* table = vyrlua::ui::GetLuaBindingTable(*mNode, false);
        if (table == nullptr || table->timers.count(mID) == 0) {
            std::fprintf(stderr, "benchmark failed: no timer installed\n");
            std::abort();
        }
        mNotify = table->timers.at(mID);
    }
    void Run(std::int64_t n, Meter&) override
    {
        for (std::int64_t i = 0; i < n; ++i)
            (*mNotify)(mID);
    }

private:
    int mID = 0;
    vyrui::ui::TimerNotifyFunction mNotify;
};

class RawTimerFire : public NodeScenario {
public:
    RawTimerFire() : NodeScenario(false)
    {
        lua_settop(L, 0);
        vyrbench::RunChunk(L, "return function() end", 0);
        mCallback = luaL_ref(L, LUA_REGISTRYINDEX);
    }
    void Run(std::int64_t n, Meter&) override
    {
        for (std::int64_t i = 0; i < n; ++i) {
            lua_rawgeti(L, LUA_REGISTRYINDEX, mCallback);
            if (lua_pcall(L, 0, 0, 0) != 0)
                vyrbench::Fail(L, "calling the timer callback");
        }
    }

private:
    int mCallback;
};

// A rectangle handed to Lua.
class PushRect : public NodeScenario {
public:
    explicit PushRect(bool library) : NodeScenario(library), mLibrary(library)
    {
        lua_settop(L, 0);
    }
    void Run(std::int64_t n, Meter&) override
    {
        const RectF rect{3, 4, 120, 28};
        for (std::int64_t i = 0; i < n; ++i) {
            if (mLibrary) {
                vyrlua::drawbot::PushRectF32ToLua(L, rect);
            } else {
                lua_createtable(L, 0, 4);
                lua_pushnumber(L, rect.left);
                lua_setfield(L, -2, "left");
                lua_pushnumber(L, rect.top);
                lua_setfield(L, -2, "top");
                lua_pushnumber(L, rect.width);
                lua_setfield(L, -2, "width");
                lua_pushnumber(L, rect.height);
                lua_setfield(L, -2, "height");
            }
            lua_pop(L, 1);
        }
    }

private:
    bool mLibrary;
};

// The factory's class list is tested in order; this class is in none of its
// entries, so a node of it falls through every test to the plain wrapper.
class UnlistedNode : public UI_Node {
public:
    using UI_Node::UI_Node;
};

// The factory pushing a node, of the first listed class or of one that
// falls through the whole list.
class FactoryPush : public NodeScenario {
public:
    explicit FactoryPush(bool last)
        : NodeScenario(true),
          mPushed(last ? NodePtr(new UnlistedNode("last")) : NodePtr(new UI_Node("first")))
    {
        lua_settop(L, 0);
    }
    void Run(std::int64_t n, Meter&) override
    {
        for (std::int64_t i = 0; i < n; ++i) {
            vyrlua::ui::LuaControlWrapperFactory(mPushed, L);
            lua_pop(L, 1);
        }
    }

private:
    NodePtr mPushed;
};

template <typename T, typename... Args>
vyrbench::ScenarioMaker Make(Args... args)
{
    return [=] { return std::unique_ptr<Scenario>(new T(args...)); };
}

VYRBENCH_CASES
{
    AddCase({"method_trivial/library", 1000, 20000, Make<MethodLoop>(true, kIsShownLoop)});
    AddCase({"method_trivial/raw", 1000, 20000, Make<MethodLoop>(false, kIsShownLoop)});
    AddCase({"setter_rect/library", 1000, 20000, Make<MethodLoop>(true, kSetRectLoop)});
    AddCase({"setter_rect/raw", 1000, 20000, Make<MethodLoop>(false, kSetRectLoop)});
    AddCase({"mouse_dispatch/library", 1000, 20000, Make<MouseDispatch>()});
    AddCase({"mouse_dispatch/raw", 1000, 20000, Make<RawMouseDispatch>()});
    AddCase({"timer_fire/library", 1000, 20000, Make<TimerFire>()});
    AddCase({"timer_fire/raw", 1000, 20000, Make<RawTimerFire>()});
    AddCase({"push_rect/library", 1000, 20000, Make<PushRect>(true)});
    AddCase({"push_rect/raw", 1000, 20000, Make<PushRect>(false)});
    AddCase({"factory_push/last", 1000, 20000, Make<FactoryPush>(true)});
    AddCase({"factory_push/first", 1000, 20000, Make<FactoryPush>(false)});
}

} // namespace

int main(int argc, char** argv)
{
    return vyrbench::Main(argc, argv);
}
