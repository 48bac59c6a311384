// The interactive path with SDL's dummy video driver: SDL events become the
// host's events and reach a script's handlers; and what --watch watches.
#include "support/LuaFixture.h"

#include "app/InputModule.h"
#include "app/ScriptWatch.h"
#include "app/WindowMode.h"
#include "vyrui/ui/OS_Window.h"
#include "vyrui/ui/UI_NodeManager.h"

#include <SDL.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace {

using vyrhost::WindowMode;

class WindowModeTest : public vyrtest::LuaTest {
protected:
    void SetUp() override
    {
        setenv("SDL_VIDEODRIVER", "dummy", 1);
        LuaTest::SetUp();
    }
};

void Push(SDL_Event e)
{
    ASSERT_EQ(SDL_PushEvent(&e), 1) << SDL_GetError();
}

TEST_F(WindowModeTest, SDLInputReachesHandlersThroughTheNodeManager)
{
    Run(R"(
        require "vyrlua.vyrcontrols"
        log = {}
        win = vyrcontrols.NewWindow("w", vyrlua_CreateNewRectF32(0, 0, 160, 90), "Typing")
        field = vyrcontrols.NewNode("field", vyrlua_CreateNewRectF32(20, 10, 100, 30))
        win:ChildPushBack(field)
        field:UI_SetWantsKeyboardFocus(true)
        field:BindVyrOperation("OnDoMouseEvent", function(e, self)
          if e.type == "down" then
            log[#log + 1] = "down " .. e.x .. "," .. e.y .. " x" .. e.clickCount
            self:UI_GainKeyboardFocus(1)
          end
          return true
        end)
        field:BindVyrOperation("OnDoKeyboardEvent", function(e)
          if e.type == "char" then log[#log + 1] = "char " .. e.text end
          if e.type == "keyDown" then log[#log + 1] = "key " .. e.keyCode .. " mods " .. e.modifiers end
          if e.text == "!" then require("vyrhost.app").quit() end
          return true
        end))");
    WindowMode mode(Runtime(), 2);
    ASSERT_EQ(mode.Sync(), 1);
    auto windows = vyrui::ui::UI_NodeManager::Get(false)->GetWindows();
    ASSERT_EQ(windows.size(), 1u);
    // The window's own view scale follows the display (times the extra 2).
    EXPECT_EQ(windows[0]->GetViewScaleFactor(), 2.0f);
    Uint32 id = mode.SDLWindowID(*windows[0]);
    ASSERT_NE(id, 0u);

    SDL_Event e{};
    e.type = SDL_MOUSEBUTTONDOWN;
    e.button.windowID = id;
    e.button.button = SDL_BUTTON_LEFT;
    e.button.x = 60; // window pixels at scale 2: (30, 15) in the window
    e.button.y = 30;
    Push(e);
    e.type = SDL_MOUSEBUTTONUP;
    Push(e);
    SDL_Event key{};
    key.type = SDL_KEYDOWN;
    key.key.windowID = id;
    key.key.keysym.sym = SDLK_RETURN;
    key.key.keysym.mod = KMOD_LSHIFT;
    Push(key);
    SDL_Event text{};
    text.type = SDL_TEXTINPUT;
    text.text.windowID = id;
    std::strcpy(text.text.text, "hé");
    Push(text);
    // Focus leaving and coming back reaches the application's callbacks.
    Run("require 'vyrlua.exo.app' App.AddAppActivationCallback(function(e) log[#log + 1] = e end)");
    SDL_Event focus{};
    focus.type = SDL_WINDOWEVENT;
    focus.window.windowID = id;
    for (auto event : {SDL_WINDOWEVENT_FOCUS_LOST, SDL_WINDOWEVENT_FOCUS_GAINED}) {
        focus.window.event = event;
        Push(focus);
    }
    std::strcpy(text.text.text, "!");
    Push(text);

    EXPECT_EQ(mode.Run(30), WindowMode::End::Quit);
    EXPECT_EQ(Eval("return table.concat(log, '; ')"),
              "down 10,5 x1; key 13 mods 1; char hé; appDeactivated; appActivated; char !");

    // Closing the SDL window hides the node window, and the run ends.
    vyrhost::ClearQuitRequest();
    SDL_Event close{};
    close.type = SDL_WINDOWEVENT;
    close.window.windowID = id;
    close.window.event = SDL_WINDOWEVENT_CLOSE;
    Push(close);
    EXPECT_EQ(mode.Run(30), WindowMode::End::WindowsClosed);
    EXPECT_EQ(Eval("return win:UI_IsShown()"), "false");
}

TEST_F(WindowModeTest, ADialogRunsInANestedLoopOfRealInput)
{
    Run(R"(
        require "vyrlua.vyrcontrols"
        local R = vyrlua_CreateNewRectF32
        win = vyrcontrols.NewWindow("w", R(0, 0, 160, 90), "Main")
        d = vyrcontrols.NewDialog("d", R(0, 0, 120, 60), "Ask")
        local ok = vyrcontrols.NewButton("ok", R(10, 20, 50, 24), "OK")
        local no = vyrcontrols.NewButton("no", R(60, 20, 50, 24), "No")
        d:ChildPushBack(ok) d:ChildPushBack(no)
        d:SetDefaultButton(ok, 1) d:SetCancelButton(no, 2))");
    WindowMode mode(Runtime(), 1);
    // A dialog shows only while it runs.
    ASSERT_EQ(mode.Sync(), 1);
    // The keys wait in SDL's queue until the dialog's loop reads them.
    for (SDL_Keycode sym : {SDLK_RETURN, SDLK_ESCAPE}) {
        SDL_Event key{};
        key.type = SDL_KEYDOWN;
        key.key.keysym.sym = sym;
        Push(key);
        EXPECT_EQ(Eval("return d:RunModal()"), sym == SDLK_RETURN ? "1" : "2");
        EXPECT_EQ(Eval("return d:UI_IsShown()"), "false");
        // Answered, the dialog is hidden and loses its SDL window.
        EXPECT_EQ(mode.Sync(), 1);
    }
    EXPECT_TRUE(reportedErrors.empty());
}

TEST_F(WindowModeTest, WatchSeesTheScriptAndModulesRequiredFromDisk)
{
    namespace fs = std::filesystem;
    fs::path dir = fs::path(::testing::TempDir()) / "watched";
    fs::create_directories(dir / "lib");
    std::ofstream(dir / "lib" / "helper.lua") << "return 1\n";
    std::ofstream(dir / "main.lua") << "return 2\n";
    Run("package.path = '" + dir.string() + "/?.lua;' .. package.path\n"
        "require 'lib.helper'");
    vyrhost::ScriptWatch watch;
    watch.Collect(L(), (dir / "main.lua").string());
    EXPECT_EQ(watch.Count(), 2u);
    EXPECT_FALSE(watch.Changed());
    std::ofstream(dir / "lib" / "helper.lua") << "return 'a longer module'\n";
    EXPECT_TRUE(watch.Changed());
    watch.Collect(L(), (dir / "main.lua").string());
    EXPECT_FALSE(watch.Changed());
    fs::remove(dir / "main.lua");
    EXPECT_TRUE(watch.Changed());
}

} // namespace
