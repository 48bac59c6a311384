#include "support/LuaFixture.h"

#include "vyrcore/config.h"
#include "vyrcore/string.h"

namespace vyrtest {

TestResources::TestResources(std::string fallbackDir)
    : mFallback(vyrcore::filesupport::Dir::FromUTF8(fallbackDir))
{
}

void TestResources::Add(const std::string& name, const std::string& type, const std::string& bytes)
{
    mResources[name + "." + type] = bytes;
}

bool TestResources::ResourceExists(std::u16string_view name, std::u16string_view type) const
{
    std::string key = vyrcore::string::UTF16to8(name) + "." + vyrcore::string::UTF16to8(type);
    return mResources.count(key) != 0 || mFallback.ResourceExists(name, type);
}

bool TestResources::ReadResource(std::u16string_view name, std::u16string_view type,
                                 std::string& bytes) const
{
    std::string key = vyrcore::string::UTF16to8(name) + "." + vyrcore::string::UTF16to8(type);
    if (auto it = mResources.find(key); it != mResources.end()) {
        bytes = it->second;
        return true;
    }
    return mFallback.ReadResource(name, type, bytes);
}

void LuaTest::SetUp()
{
    vyrcore::config::SetErrorSink(
        [this](const std::string& message) { reportedErrors.push_back(message); });
    mRuntime = std::make_unique<vyrhost::HostRuntime>();
    auto resources = std::make_unique<TestResources>(vyrhost::HostOptions{}.resourceDir);
    mResources = resources.get();
    mRuntime->Application().SetResourceManager(std::move(resources));
}

void LuaTest::TearDown()
{
    mRuntime.reset();
    vyrcore::config::SetErrorSink(nullptr);
}

std::string ValueText(lua_State* L, int index)
{
    switch (lua_type(L, index)) {
    case LUA_TNIL: return "nil";
    case LUA_TBOOLEAN: return lua_toboolean(L, index) ? "true" : "false";
    case LUA_TNUMBER: {
        lua_pushvalue(L, index);
        std::string text = lua_tostring(L, -1);
        lua_pop(L, 1);
        return text;
    }
    case LUA_TSTRING: {
        size_t length = 0;
        const char* s = lua_tolstring(L, index, &length);
        return std::string(s, length);
    }
    default: return lua_typename(L, lua_type(L, index));
    }
}

bool LuaTest::Execute(const std::string& code, std::vector<std::string>& out, std::string& error)
{
    lua_State* S = L();
    int base = lua_gettop(S);
    if (luaL_loadbuffer(S, code.data(), code.size(), "=test") != 0 ||
        lua_pcall(S, 0, LUA_MULTRET, 0) != 0) {
        error = lua_isstring(S, -1) ? lua_tostring(S, -1) : ValueText(S, -1);
        lua_settop(S, base);
        return false;
    }
    for (int i = base + 1; i <= lua_gettop(S); ++i)
        out.push_back(ValueText(S, i));
    lua_settop(S, base);
    return true;
}

std::vector<std::string> LuaTest::Run(const std::string& code)
{
    std::vector<std::string> results;
    std::string error;
    if (!Execute(code, results, error))
        ADD_FAILURE() << "Lua error: " << error << "\nin:\n" << code;
    return results;
}

std::string LuaTest::Eval(const std::string& code)
{
    std::vector<std::string> results = Run(code);
    if (results.size() != 1) {
        ADD_FAILURE() << "expected one result, got " << results.size() << "\nin:\n" << code;
        return {};
    }
    return results[0];
}

std::string LuaTest::Error(const std::string& code)
{
    std::vector<std::string> results;
    std::string error;
    if (Execute(code, results, error)) {
        ADD_FAILURE() << "expected a Lua error\nin:\n" << code;
        return {};
    }
    return error;
}

} // namespace vyrtest
