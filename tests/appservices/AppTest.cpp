// The App module: preferences by type, its exact errors, callbacks,
// commands and the main menu.
#include "support/LuaFixture.h"

#include "exo/app/App.h"
#include "vyrlua/exo/src/LuaApp.h"
#include "vyrui/EventLoop.h"

#include <gmock/gmock.h>

namespace {

using vyrtest::LuaTest;

class AppTest : public LuaTest {
protected:
    void SetUp() override
    {
        LuaTest::SetUp();
        Run("require 'vyrlua.exo.app' require 'vyrlua.proplist' require 'vyrlua.OSMenu' "
            "require 'vyrlua.vyrCmdAttachment' app = App.GetApp()");
    }
    exo::app::App& Host() { return Runtime().Application(); }
    void Pump() { Host().GetEventLoop().RunOnce(); }
};

TEST_F(AppTest, DefaultDecidesThePreferenceType)
{
    EXPECT_EQ(Run("return type(app:GetPref('s', 'k', false)), type(app:GetPref('s', 'k', 0)), "
                  "type(app:GetPref('s', 'k', ''))"),
              (std::vector<std::string>{"boolean", "number", "string"}));
    Run("app:SetPref('s', 'k', 12.5)");
    // A stored number is not a string or a boolean: those read their default.
    EXPECT_EQ(Run("return app:GetPref('s', 'k', 0), app:GetPref('s', 'k', 'd'), "
                  "app:GetPref('s', 'k', true)"),
              (std::vector<std::string>{"12.5", "d", "true"}));
    Run("app:SetPref('s', 'k', 'text') app:SetPref('s', 'b', false)");
    EXPECT_EQ(Run("return app:GetPref('s', 'k', ''), app:GetPref('s', 'b', true)"),
              (std::vector<std::string>{"text", "false"}));
    EXPECT_EQ(Error("app:GetPref('s', 'k')"),
              "test:1: lua_GetPref(): default is missing or an unsupported type (app prefs).");
    EXPECT_EQ(Error("app:GetPref('s', 'k', {})"),
              "test:1: lua_GetPref(): default is missing or an unsupported type (app prefs).");
    EXPECT_EQ(Error("app:SetPref('s', 'k', {})"),
              "test:1: lua_SetPref(): value is missing or an unsupported type (debug database).");
    EXPECT_EQ(Error("app:SetPref('s', nil, 1)"),
              "test:1: bad argument #2 to 'SetPref' (string expected, got nil)");
    EXPECT_EQ(Error("App.GetApp().GetPref({}, 's', 'k', 1)"),
              "test:1: bad argument #1 to 'GetPref' (vyrlua.exo.App expected, got table)");
    EXPECT_EQ(Error("app:SetPref('s', '\\255', 1)"), "test:1: PropList: the key is not valid UTF-8");
}

TEST_F(AppTest, PreferencesLiveInTheApplicationSettings)
{
    Run("app:SetPref('view', 'zoom', 2) app:SetPref('view', 'grid', true)");
    auto view = Host().GetAppSettings()->GetSubList("view");
    ASSERT_TRUE(view);
    EXPECT_EQ(view->GetNumber("zoom"), 2);
    EXPECT_EQ(Run("local s = app:GetAppSettings() return s:GetSubList('view'):GetNumber('zoom'), "
                  "s:GetType('view')"),
              (std::vector<std::string>{"2", "list"}));
    Run("app:ClearPrefSection('view', 'zoom')");
    EXPECT_FALSE(view->Has("zoom"));
    EXPECT_TRUE(view->Has("grid"));
    Run("app:ClearPrefSection('view')");
    EXPECT_FALSE(Host().GetAppSettings()->Has("view"));
}

TEST_F(AppTest, AHandleWithoutApplicationRaisesTheAssertion)
{
    vyrlua::exo::PushAppToLua(L(), nullptr);
    lua_setglobal(L(), "none");
    EXPECT_EQ(Error("none:GetPref('s', 'k', 1)"),
              "test:1: Assertion failed in vyrlua::exo::lua_GetPref (LuaApp:120)");
    EXPECT_EQ(Error("none:SetPref('s', 'k', 1)"),
              "test:1: Assertion failed in vyrlua::exo::lua_SetPref (LuaApp:167)");
    EXPECT_EQ(Run("return select('#', none:ReserveCmd()), select('#', none:GetAppSettings())"),
              (std::vector<std::string>{"0", "0"}));
    EXPECT_EQ(Eval("return tostring(app):match('^eXoApp%(0x%x+%)$') ~= nil"), "true");
}

TEST_F(AppTest, ActivationCallbacksHearEachChangeUntilRemoved)
{
    // Called from C with extra values on the stack: only the handle is left.
    lua_settop(L(), 0);
    lua_getglobal(L(), "App");
    lua_getfield(L(), -1, "AddAppActivationCallback");
    lua_pushnil(L());
    lua_pushnil(L());
    lua_pushvalue(L(), -3);
    Run("heard = {}");
    lua_settop(L(), 0);
    Run("h1 = App.AddAppActivationCallback(function(e) heard[#heard + 1] = 'one ' .. e end) "
        "h2 = App.AddAppActivationCallback(function(e) heard[#heard + 1] = 'two ' .. e end)");
    lua_getglobal(L(), "App");
    lua_getfield(L(), -1, "AddAppActivationCallback");
    lua_pushcfunction(L(), [](lua_State*) { return 0; });
    lua_pushstring(L(), "extra");
    lua_call(L(), 2, LUA_MULTRET);
    EXPECT_EQ(lua_gettop(L()), 2);  // App, and the handle alone
    EXPECT_EQ(lua_type(L(), -1), LUA_TNUMBER);
    lua_settop(L(), 0);

    Host().SetApplicationActive(false);
    Host().SetApplicationActive(false);
    EXPECT_EQ(Eval("return App.IsApplicationFrontmost()"), "false");
    Run("App.RemoveAppActivationCallback(h1)");
    Host().SetApplicationActive(true);
    EXPECT_EQ(Eval("return table.concat(heard, ',')"),
              "one appDeactivated,two appDeactivated,two appActivated");
    Run("App.AddAppActivationCallback(function() error('boom') end)");
    Host().SetApplicationActive(false);
    ASSERT_EQ(reportedErrors.size(), 1u);
    EXPECT_NE(reportedErrors[0].find("boom"), std::string::npos);
}

TEST_F(AppTest, CommandsAreReservedPostedAndRunByTheirHandlers)
{
    EXPECT_EQ(Run("local a = app:ReserveCmd() local b = app:ReserveCmdRange(3) "
                  "local c = app:ReserveCmd() return b - a, c - b, app:IsSyntheticCmdID(b + 2), "
                  "app:IsSyntheticCmdID(c + 1), app:IsSyntheticCmdID(1)"),
              (std::vector<std::string>{"1", "3", "true", "false", "false"}));
    EXPECT_EQ(Error("app:ReserveCmdRange(0)"),
              "test:1: ReserveCmdRange: the count must be at least 1");
    EXPECT_THAT(Error("app:ReserveCmdRange(2^40)"),
                ::testing::MatchesRegex("test:1: ReserveCmdRange: only [0-9]+ synthetic "
                                        "command IDs are left"));

    struct Counter : exo::app::CommandHandler {
        int runs = 0;
        bool HandlesCommand(exo::app::CommandID id) const override { return id == 42; }
        bool ExecuteCommand(exo::app::CommandID) override { return ++runs > 0; }
    };
    auto counter = std::make_shared<Counter>();
    Host().GetCommandDispatcher().AddHandler(counter);
    Run("app:PostCommand(42) app:PostCommand(43)");
    EXPECT_EQ(counter->runs, 0);  // posted, not yet run
    Pump();
    EXPECT_EQ(counter->runs, 1);
    EXPECT_EQ(Error("app:PostCommand(2^31)"),
              "test:1: bad argument #1 to 'PostCommand' (number has no integer representation)");

    Host().GetEventLoop().CallAfter(0, [this] { Run("app:EndEventLoop()"); });
    Host().GetEventLoop().CallAfter(10, [] { FAIL() << "the loop went on"; });
    Host().GetEventLoop().Run();
}

TEST_F(AppTest, MenuItemsPostTheirCommandsAndShowTheirShortcuts)
{
    struct Toggle : exo::app::CommandHandler {
        bool on = false;
        bool HandlesCommand(exo::app::CommandID id) const override { return id == 7; }
        std::optional<bool> IsCommandChecked(exo::app::CommandID) override { return on; }
        bool ExecuteCommand(exo::app::CommandID) override { return on = !on, true; }
    };
    auto toggle = std::make_shared<Toggle>();
    Host().GetCommandDispatcher().AddHandler(toggle);
    Run("shortcuts = 0 App.AddKeyMappingsChangedCallback(function() shortcuts = shortcuts + 1 end) "
        "local view = app:GetMainMenu():GetItem(3).submenu "
        "view:AppendItem('Grid', 7, 'Ctrl+G') view:AppendSeparator() "
        "view:AppendItem('Orphan', 99) sub = view:AppendSubmenu('More')");
    auto view = Host().GetMainMenu()->GetItem(2)->submenu;
    ASSERT_EQ(view->ItemCount(), 4u);
    EXPECT_EQ(Eval("return App.GetShortcutString(7)"), "Ctrl+G");
    EXPECT_EQ(Eval("return shortcuts"), "1");
    EXPECT_EQ(Run("local m = app:GetMainMenu():GetItem(3).submenu local i = m:GetItem(1) "
                  "return i.title, i.command, i.shortcut, m:GetItem(2).separator, m:Choose(2)"),
              (std::vector<std::string>{"Grid", "7", "Ctrl+G", "true", "false"}));
    Run("local m = app:GetMainMenu():GetItem(3).submenu m:Update() assert(m:Choose(1))");
    Pump();
    EXPECT_TRUE(toggle->on);
    Run("app:GetMainMenu():GetItem(3).submenu:Update()");
    EXPECT_TRUE(view->GetItem(0)->checked);
    EXPECT_FALSE(view->GetItem(2)->enabled);  // no handler takes command 99
    EXPECT_EQ(Error("sub:AppendSubmenu('loop', app:GetMainMenu())"),
              "test:1: a menu cannot contain itself");
    EXPECT_EQ(Error("sub:GetItem(1)"),
              "test:1: bad argument #1 to 'GetItem' (position out of range (1 to 0))");
}

// Titles are shown by the platform's menus, which take only UTF-8; a
// shortcut is the text of modifiers and one key.
TEST_F(AppTest, MenusRefuseTitlesThatAreNotUTF8AndShortcutsThatAreNoKeys)
{
    Run("menu = OSMenu.New('Script') menu:AppendItem('Run', 7)");
    const char* kNotUTF8 = "(title is not valid UTF-8)";
    EXPECT_EQ(Error("OSMenu.New('\\255')"), std::string("test:1: bad argument #1 to 'New' ") + kNotUTF8);
    EXPECT_EQ(Error("menu:SetTitle('a\\192\\128')"),
              std::string("test:1: bad argument #1 to 'SetTitle' ") + kNotUTF8);
    EXPECT_EQ(Error("menu:AppendItem('\\237\\160\\128', 8)"),
              std::string("test:1: bad argument #1 to 'AppendItem' ") + kNotUTF8);
    EXPECT_EQ(Error("menu:InsertItem(1, '\\255', 8)"),
              std::string("test:1: bad argument #2 to 'InsertItem' ") + kNotUTF8);
    EXPECT_EQ(Error("menu:AppendSubmenu('\\254')"),
              std::string("test:1: bad argument #1 to 'AppendSubmenu' ") + kNotUTF8);
    EXPECT_EQ(Error("menu:SetItemTitle(1, '\\255')"),
              std::string("test:1: bad argument #2 to 'SetItemTitle' ") + kNotUTF8);
    const char* kNoKey = "(shortcut must be modifiers (Ctrl, Shift, Alt, Cmd) and one key joined "
                         "by '+', as in \"Ctrl+Shift+S\")";
    for (const char* shortcut : {"string.rep('Ctrl+', 1000) .. 'S'", "'Ctrl+'", "'Ctrl+Foo'",
                                 "'Shift+Shift+A'", "'S+Ctrl'", "'\\255'", "' '"})
        EXPECT_EQ(Error(std::string("menu:AppendItem('Go', 9, ") + shortcut + ")"),
                  std::string("test:1: bad argument #3 to 'AppendItem' ") + kNoKey)
            << shortcut;
    EXPECT_EQ(Eval("return menu:GetItemCount()"), "1");
    Run("menu:AppendItem('A', 10, 'Ctrl+Shift+S') menu:AppendItem('B', 11, 'F5') "
        "menu:InsertItem(1, 'C', 12, 'Alt+Delete') menu:AppendItem('D', 13, 'Cmd+/') "
        "menu:AppendItem('E', 10, '')");
    EXPECT_EQ(Run("return App.GetShortcutString(10), App.GetShortcutString(11), "
                  "App.GetShortcutString(12), App.GetShortcutString(13), menu:GetItem(1).title"),
              (std::vector<std::string>{"", "F5", "Alt+Delete", "Cmd+/", "C"}));
}

TEST_F(AppTest, AttachedLuaHandlersRunEnableAndCheckTheirCommands)
{
    Run("ran, enabled, checked = {}, true, nil cmd = app:ReserveCmd() "
        "a = vyrCmdAttachment.New(cmd, function(id) ran[#ran + 1] = id - cmd end, "
        "  function() return enabled end, function() return checked end) "
        "menu = OSMenu.New('Script') menu:AppendItem('Run', cmd) "
        "app:PostCommand(cmd)");
    Pump();
    EXPECT_EQ(Eval("return table.concat(ran, ',')"), "0");
    Run("enabled, checked = false, true menu:Update() app:PostCommand(cmd)");
    Pump();
    EXPECT_EQ(Run("local i = menu:GetItem(1) return #ran, i.enabled, i.checked, menu:Choose(1)"),
              (std::vector<std::string>{"1", "false", "true", "false"}));
    // The newest handler of a command is asked first; a detached one no more.
    Run("enabled = true b = vyrCmdAttachment.New(cmd, function() ran[#ran + 1] = 'b' end) "
        "app:PostCommand(cmd)");
    Pump();
    Run("b:Detach() app:PostCommand(cmd)");
    Pump();
    EXPECT_EQ(Run("return table.concat(ran, ','), b:IsAttached(), a:IsAttached(), "
                  "a:GetCommandID() == cmd"),
              (std::vector<std::string>{"0,b,0", "false", "true", "true"}));
    Run("a:Release() app:PostCommand(cmd) "
        "c = vyrCmdAttachment.New(cmd, function() error('handler failed') end)");
    Pump();
    EXPECT_EQ(Run("return #ran, a:IsAttached(), tostring(a)"),
              (std::vector<std::string>{"3", "false", "vyrCmdAttachment(released)"}));
    ASSERT_EQ(reportedErrors.size(), 1u);
    EXPECT_NE(reportedErrors[0].find("handler failed"), std::string::npos);
    EXPECT_EQ(Error("vyrCmdAttachment.New(cmd, 'run')"),
              "test:1: bad argument #2 to 'New' (function expected, got string)");
}

} // namespace

namespace {

TEST_F(AppTest, CallbacksAddedInACoroutineRunOnTheMainThread)
{
    Run("heard = '' co = coroutine.create(function() "
        "App.AddAppActivationCallback(function(e) heard = heard .. e end) "
        "coroutine.yield() end) coroutine.resume(co)");
    // The coroutine is suspended: the callback must not run on it.
    Host().SetApplicationActive(false);
    EXPECT_EQ(Eval("return heard .. ' ' .. coroutine.status(co)"), "appDeactivated suspended");
}

} // namespace
