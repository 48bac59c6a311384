// Library entry: the master module, module loading from resources and from
// the library file, the host's call-into-Lua entry points, and the crash
// reporter module.
#include "support/LuaFixture.h"
#include "support/TestHelpers.h"

#include "vyrcore/config.h"
#include "vyrcore/InitializerRegistrar.h"
#include "vyrcore/debug.h"
#include "vyrcrashreporter/CrashReporter.h"
#include "vyrlua/exo/src/LuaAppPaths.h"
#include "vyrlua/utility/LuaModules.h"
#include "vyrlua/utility/LuaProtectedCall.h"

#include <cstdlib>
#include <filesystem>

using vyrtest::LuaTest;

TEST_F(LuaTest, MasterModuleValueIsTheStringTable)
{
    EXPECT_EQ(Eval("return require('vyrlua') == vyrString"), "true");
    EXPECT_EQ(Eval("return type(vyrlua.numeric.unmatrix)"), "function");
    // Opening it again re-sets functions into the same tables.
    EXPECT_EQ(Eval("local before = vyrString; local m = package.loaded.vyrlua;"
                   "package.loaded.vyrlua = nil; local again = require 'vyrlua';"
                   "return again == before and vyrString == before and m == before"),
              "true");
}

TEST_F(LuaTest, ModulesLoadFromResourcesWithUnderscoredNames)
{
    Resources().Add("a_b_c", "lua", "return { name = ..., where = 'a_b_c' }");
    Resources().Add("pkg_init", "lua", "return 'package ' .. ...");
    EXPECT_EQ(Run("local m = require 'a.b.c'; return m.name, m.where"),
              (std::vector<std::string>{"a.b.c", "a_b_c"}));
    EXPECT_EQ(Eval("return require 'pkg'"), "package pkg");

    // The loader itself: declines a missing module, returns a chunk otherwise.
    EXPECT_EQ(Eval("local load = require 'vyrlua.EmbeddedCodeLoader'; return select('#', load('nope'))"),
              "0");
    EXPECT_EQ(Eval("return type(require('vyrlua.EmbeddedCodeLoader')('a.b.c'))"), "function");
    EXPECT_EQ(Error("require 'vyrlua.EmbeddedCodeLoader' ()"),
              "test:1: bad argument #1 to '?' (string expected, got no value)");
}

TEST_F(LuaTest, ResourceCompileErrorsNameTheModule)
{
    Resources().Add("broken", "lua", "return (");
    std::string error = Error("require 'broken'");
    EXPECT_NE(error.find("[string \"broken\"]:1:"), std::string::npos) << error;
    // The chunk sees the globals table as its environment.
    Resources().Add("envcheck", "lua", "return getfenv(1) == _G");
    EXPECT_EQ(Eval("return require 'envcheck'"), "true");
}

TEST_F(LuaTest, EmbeddedLoaderPositionInSearchOrder)
{
    // The runtime inserted it once, first among the searchers.
    EXPECT_EQ(Eval("return #package.loaders"), "5");
    EXPECT_EQ(Eval("return package.loaders[2] == require 'vyrlua.EmbeddedCodeLoader'"), "true");
    vyrlua::InitEmbeddedCodeLoader(L(), false);
    EXPECT_EQ(Eval("return #package.loaders"), "6");
    // Position 3: after the first copy, ahead of the Lua-file searcher.
    EXPECT_EQ(Eval("local l = require 'vyrlua.EmbeddedCodeLoader';"
                   "return package.loaders[2] == l and package.loaders[3] == l"
                   " and package.loaders[4] ~= l"),
              "true");
    EXPECT_EQ(lua_gettop(L()), 0);
}

TEST_F(LuaTest, CPathEntriesAppend)
{
    const std::string entry = vyrcore::filesupport::Dir::AppDir().FullPathUTF8() + "/?.so";
    Run("package.cpath = ''");
    vyrlua::exo::AddAppDirToLuaCPath(L());
    EXPECT_EQ(Eval("return package.cpath"), entry);
    vyrlua::exo::AddAppDirToLuaCPath(L());
    EXPECT_EQ(Eval("return package.cpath"), entry + ";" + entry);
    EXPECT_EQ(lua_gettop(L()), 0);
}

TEST_F(LuaTest, ModulesResolveThroughTheLibraryFile)
{
    // Nothing preloaded: the C searcher finds vyrlua.so next to the program.
    EXPECT_EQ(Eval("return type(require 'vyrlua.CrashReporter'.addData)"), "function");
    // A module the library does not provide fails the ordinary way.
    std::string error = Error("require 'vyrlua.noSuchModule'");
    EXPECT_EQ(error.rfind("test:1: module 'vyrlua.noSuchModule' not found:", 0), 0u) << error;
    EXPECT_NE(error.find("no field package.preload['vyrlua.noSuchModule']"), std::string::npos);
}

TEST_F(LuaTest, PreloadedKeyboardUtilities)
{
    EXPECT_EQ(Eval("return package.preload['vyrlua.keyboardUtils'] ~= nil"), "true");
    EXPECT_EQ(Run("local k = require 'vyrlua.keyboardUtils';"
                  "return k.getKeyboardCodeValueFromFirstCharacter('a'),"
                  "k.getKeyboardCodeValueFromControlCode('Enter'),"
                  "k.getPrintableStringFromKeyboardCode(0x70),"
                  "k.getPrintableStringFromKeyboardCode(k.getKeyboardCodeValueFromFirstCharacter(';'))"),
              (std::vector<std::string>{"65", "13", "F1", ";"}));
    EXPECT_EQ(Run("local k = require 'vyrlua.keyboardUtils';"
                  "return select('#', k.getKeyboardCodeValueFromFirstCharacter('')),"
                  "select('#', k.getKeyboardCodeValueFromControlCode('F13')),"
                  "select('#', k.getPrintableStringFromKeyboardCode(2^40))"),
              (std::vector<std::string>{"0", "0", "0"}));
}

TEST_F(LuaTest, SetPreloadedModuleLeavesTheStackAsFound)
{
    lua_pushinteger(L(), 5);
    vyrlua::SetPreloadedModule(L(), "demo.mod", [](lua_State* S) {
        lua_pushliteral(S, "demo");
        return 1;
    });
    EXPECT_EQ(lua_gettop(L()), 1);
    lua_pop(L(), 1);
    EXPECT_EQ(Eval("return require 'demo.mod'"), "demo");
}

TEST_F(LuaTest, RequireAndPrepareCallFromNative)
{
    Resources().Add("calc", "lua", "return { twice = function(x) return 2 * x end }");
    vyrlua::RequireLuaModule(L(), "calc", false);
    EXPECT_EQ(lua_gettop(L()), 0);
    vyrlua::RequireLuaModule(L(), "calc", true);
    EXPECT_EQ(lua_type(L(), -1), LUA_TTABLE);
    lua_settop(L(), 0);

    vyrlua::PrepareLuaModuleCall(L(), "calc", "twice");
    ASSERT_EQ(lua_gettop(L()), 1);
    lua_pushinteger(L(), 21);
    vyrlua::utility::CallLuaFromCpp(L(), 1, 1);
    EXPECT_EQ(lua_tointeger(L(), -1), 42);
    lua_settop(L(), 0);

    vyrlua::PrepareLuaModuleCall(L(), "calc", "missing");
    EXPECT_EQ(lua_gettop(L()), 1);
    EXPECT_TRUE(lua_isnil(L(), -1));
    lua_settop(L(), 0);

    // A failing require is a host error; its message stays on the stack.
    try {
        vyrlua::RequireLuaModule(L(), "not.there", false);
        ADD_FAILURE() << "no host error";
    } catch (const vyrcore::config::HostException& e) {
        EXPECT_EQ(std::string(e.what()).rfind("module 'not.there' not found:", 0), 0u);
        EXPECT_STREQ(lua_tostring(L(), -1), e.what());
    }
}

TEST_F(LuaTest, CollectGarbageHonoursAReplacedFunction)
{
    Run("collected = 0; collectgarbage = function() collected = collected + 1 end");
    vyrlua::CollectLuaGarbage(L());
    EXPECT_EQ(Eval("return collected"), "1");
}

TEST_F(LuaTest, CallLuaFromCppReportsLuaErrors)
{
    using vyrlua::utility::CallLuaFromCpp;
    auto callWithError = [&](const char* raise) {
        luaL_loadstring(L(), raise);
        try {
            CallLuaFromCpp(L(), 0, 0);
        } catch (const vyrcore::config::HostException& e) {
            return std::string(e.what());
        }
        return std::string("no error");
    };
    EXPECT_EQ(callWithError("error('plain', 0)"), "plain");
    // The message stays on the stack for the caller.
    EXPECT_STREQ(lua_tostring(L(), -1), "plain");
    lua_settop(L(), 0);
    // No text (empty, or not a string at all): the host's generic text.
    EXPECT_EQ(callWithError("error('', 0)"), "Unknown error");
    EXPECT_EQ(callWithError("error({})"), "Unknown error");
    EXPECT_EQ(lua_type(L(), -1), LUA_TTABLE);
    lua_settop(L(), 0);

    luaL_loadstring(L(), "error('ignored', 0)");
    EXPECT_EQ(vyrlua::utility::CallLuaFromCppMaybeIgnoreErrors(L(), 0, 0), 0);
    EXPECT_EQ(reportedErrors, std::vector<std::string>{"ignored"});
    lua_settop(L(), 0);
    luaL_loadstring(L(), "return 1");
    EXPECT_EQ(vyrlua::utility::CallLuaFromCppMaybeIgnoreErrors(L(), 0, 1), 0);
    EXPECT_EQ(lua_tointeger(L(), -1), 1);
}

TEST_F(LuaTest, StackGuardRestoresTheTop)
{
    lua_pushinteger(L(), 1);
    {
        vyrlua::utility::ScPreserveLuaStack guard(L());
        for (int i = 0; i < 5; ++i)
            lua_pushinteger(L(), i);
    }
    EXPECT_EQ(lua_gettop(L()), 1);
}

TEST_F(LuaTest, ProtectedCallHookConvertsExceptions)
{
    // The runtime called InitLua, so the kernel's protected runs convert.
    auto throwing = [](lua_State*, void*) { throw vyrcore::config::HostException("in hook"); };
    EXPECT_NE(KzExceptions_runProtected(L(), throwing, nullptr), 0);
    EXPECT_EQ(reportedErrors, std::vector<std::string>{"in hook"});
    int ran = 0;
    auto counting = [](lua_State*, void* ud) { ++*static_cast<int*>(ud); };
    EXPECT_EQ(KzExceptions_runProtected(L(), counting, &ran), 0);
    EXPECT_EQ(ran, 1);
}

TEST_F(LuaTest, CrashReporterAddsDataAndTraces)
{
    Run("require 'vyrlua.CrashReporter'.addData('scene', 'intro')");
    auto data = vyrcrashreporter::CrashReporter::GetInstance().Data();
    EXPECT_NE(std::find(data.begin(), data.end(), std::make_pair(std::string("scene"), std::string("intro"))),
              data.end());
    EXPECT_EQ(Error("require 'vyrlua.CrashReporter'.addData('k')"),
              "test:1: bad argument #2 to 'addData' (string expected, got no value)");

    vyrtest::LogCapture log;
    vyrcore::debug::SetLevel("LuaCrashReporter", vyrcore::debug::Level::Trace);
    Run("require 'vyrlua.CrashReporter'.addData('take', 3)");
    vyrcore::debug::SetLevel("LuaCrashReporter", vyrcore::debug::Level::Warning);
    Run("require 'vyrlua.CrashReporter'.addData('quiet', 'x')");
    EXPECT_EQ(log.Text(), "[LuaCrashReporter] trace: lua_addData(key:take, value:3)\n");
}

TEST(CommonScriptsDirTest, OverrideSubfolderAndRecompute)
{
    namespace fs = std::filesystem;
    using vyrcore::filesupport::Dir;
    fs::path root = fs::path(::testing::TempDir()) / "scripts_root";
    fs::create_directories(root / "sub");

    // Without an override: the folder holding the library.
    Dir found = vyr::lua::utility::GetCommonLuaScriptsDir("", true);
    EXPECT_TRUE(found.Exists());
    EXPECT_TRUE(fs::exists(fs::path(found.FullPathUTF8()) / "vyrlua.so"));

    vyr::lua::utility::SetCommonLuaScriptsDirOverride(1, Dir::FromUTF8(root.string()));
    // Cached until asked to recompute.
    EXPECT_EQ(vyr::lua::utility::GetCommonLuaScriptsDir("sub", false).FullPathUTF8(),
              (fs::path(found.FullPathUTF8()) / "sub").string());
    EXPECT_EQ(vyr::lua::utility::GetCommonLuaScriptsDir("sub", true).FullPathUTF8(),
              (root / "sub").string());
    vyr::lua::utility::SetCommonLuaScriptsDirOverride(1, Dir());
    vyr::lua::utility::GetCommonLuaScriptsDir("", true);
}

TEST(InitializerRegistrarTest, WrapperStepTracesWithTheApplication)
{
    const std::vector<std::string> names = vyrcore::InitializerRegistrar::Names();
    EXPECT_NE(std::find(names.begin(), names.end(), "LuaControlWrapper"), names.end());
    vyrtest::LogCapture log;
    vyrcore::debug::SetLevel("vyrlua", vyrcore::debug::Level::Trace);
    static int late = 0;
    {
        exo::app::App app;
        // A step registered while the host runs is initialised at once and
        // terminated when it goes away.
        vyrcore::InitializerRegistrar lateStep("late", [] { late += 1; }, [] { late += 10; });
        EXPECT_EQ(late, 1);
    }
    EXPECT_EQ(late, 11);
    vyrcore::debug::SetLevel("vyrlua", vyrcore::debug::Level::Warning);
    { exo::app::App quiet; }
    EXPECT_EQ(log.Text(),
              "[vyrlua] trace: LuaControlWrapperInitializerRegistrar::LuaControlWrapperInitializerRegistrar\n"
              "[vyrlua] trace: LuaControlWrapperInitializerRegistrar::~LuaControlWrapperInitializerRegistrar\n");
}
