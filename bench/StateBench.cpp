// What a state costs to set up, and what a wrapped node costs to keep:
// requiring every module of the library (the control metatables made on
// the way) on a fresh state, and the memory of one node userdata.
#include "BenchHarness.h"

#include "support/LibraryInventory.h"
#include "vyrlua/ui/LuaControlWrapperFactory.h"
#include "vyrlua/utility/LuaModules.h"
#include "vyrui/ui/UI_Node.h"

#include <algorithm>
#include <cstdlib>
#include <malloc.h>
#include <new>
#include <string>
#include <vector>

namespace {

// C++ heap bytes held (usable size of each block) by what was allocated
// while counting; the whole program's operator new and delete go through
// here.
bool gCounting = false;
long long gHeapBytes = 0;

void Release(void* p) noexcept
{
    if (gCounting && p != nullptr)
        gHeapBytes -= static_cast<long long>(malloc_usable_size(p));
    std::free(p);
}

} // namespace

// Not inlined, nor the deletes: gcc would pair a new-expression it sees
// with the malloc and free inside and call them mismatched.
[[gnu::noinline]] void* operator new(std::size_t size)
{
    void* p = std::malloc(size == 0 ? 1 : size);
    if (p == nullptr)
        throw std::bad_alloc();
    if (gCounting)
        gHeapBytes += static_cast<long long>(malloc_usable_size(p));
    return p;
}

[[gnu::noinline]] void operator delete(void* p) noexcept
{
    Release(p);
}

[[gnu::noinline]] void operator delete(void* p, std::size_t) noexcept
{
    Release(p);
}

namespace {

using vyrbench::AddCase;
using vyrbench::Meter;
using vyrbench::Scenario;

// Every module of the library a script can require: its exported openers
// and the ones it preloads (not the host program's, nor the Lua's own).
std::vector<std::string> ModuleNames()
{
    std::vector<std::string> names;
    for (const vyrtest::Opener& opener : vyrtest::ExportedOpeners())
        names.push_back(opener.name);
    vyrhost::HostRuntime host;
    lua_State* L = host.State();
    lua_getglobal(L, "package");
    lua_getfield(L, -1, "preload");
    lua_pushnil(L);
    while (lua_next(L, -2) != 0) {
        lua_pop(L, 1);
        if (lua_type(L, -1) != LUA_TSTRING)
            continue;
        std::string name = lua_tostring(L, -1);
        if (name.rfind("vyrlua.", 0) == 0 && std::find(names.begin(), names.end(), name) == names.end())
            names.push_back(name);
    }
    return names;
}

class RequireAll : public Scenario {
public:
    RequireAll() : mModules(ModuleNames()) {}
    void Run(std::int64_t n, Meter& meter) override
    {
        for (std::int64_t i = 0; i < n; ++i) {
            meter.Pause();
            auto host = std::make_unique<vyrhost::HostRuntime>();
            lua_State* L = host->State();
            meter.Resume();
            for (const std::string& name : mModules)
                vyrlua::RequireLuaModule(L, name.c_str(), false);
            meter.Pause();
            host.reset();
            meter.Resume();
        }
    }
    std::map<std::string, double> Figures() override
    {
        return {{"modules", static_cast<double>(mModules.size())}};
    }

private:
    std::vector<std::string> mModules;
};

// Bytes a wrapped node keeps: many wrappers of one node held in a table
// sized beforehand; after full collections before and after (so garbage
// made on the way does not count), Lua's count and the C++ heap blocks
// still held.
class WrapperMemory : public Scenario {
public:
    static constexpr int kCount = 1000;

    WrapperMemory() : mHost(vyrbench::NewHost()), L(mHost->State()), mNode(new vyrui::ui::UI_Node("n"))
    {
        lua_createtable(L, kCount, 0);
        lua_gc(L, LUA_GCCOLLECT, 0);
        double luaBefore = LuaBytes();
        gHeapBytes = 0;
        gCounting = true;
        for (int i = 1; i <= kCount; ++i) {
            vyrlua::ui::LuaControlWrapperFactory(mNode, L);
            lua_rawseti(L, -2, i);
        }
        lua_gc(L, LUA_GCCOLLECT, 0);
        gCounting = false;
        mLuaBytes = (LuaBytes() - luaBefore) / kCount;
        mHeapBytes = static_cast<double>(gHeapBytes) / kCount;
        lua_pop(L, 1);
        lua_gc(L, LUA_GCCOLLECT, 0);
    }
    void Run(std::int64_t n, Meter&) override
    {
        for (std::int64_t i = 0; i < n; ++i) {
            vyrlua::ui::LuaControlWrapperFactory(mNode, L);
            lua_pop(L, 1);
        }
    }
    std::map<std::string, double> Figures() override
    {
        return {{"lua_bytes", mLuaBytes}, {"heap_bytes", mHeapBytes}};
    }

private:
    double LuaBytes() { return lua_gc(L, LUA_GCCOUNT, 0) * 1024.0 + lua_gc(L, LUA_GCCOUNTB, 0); }

    std::unique_ptr<vyrhost::HostRuntime> mHost;
    lua_State* L;
    boost::intrusive_ptr<vyrui::ui::UI_Node> mNode;
    double mLuaBytes = 0;
    double mHeapBytes = 0;
};

template <typename T>
vyrbench::ScenarioMaker Make()
{
    return [] { return std::unique_ptr<Scenario>(new T()); };
}

VYRBENCH_CASES
{
    AddCase({"require_all/library", 1, 3, Make<RequireAll>()});
    AddCase({"wrapper_memory/library", 1000, 0, Make<WrapperMemory>()});
}

} // namespace

int main(int argc, char** argv)
{
    return vyrbench::Main(argc, argv);
}
