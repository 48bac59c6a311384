// Points, rectangles, colours and matrices as they cross into and out of
// Lua: built by the script-defined constructor globals, read back by field
// name. The readers throw (ArgumentError, LuaError) and belong in bodies
// behind the error boundary; the pushers call Lua and throw on its errors.
#pragma once

#include "vyrcore/geom.h"
#include "vyrlua/utility/LuaApi.h"
#include "vyrui/drawbot/ColorRGBA.h"

namespace vyrlua::drawbot {

using vyrcore::geom::MatrixT;
using vyrcore::geom::PointT;
using vyrcore::geom::RectT;

int PushPointF32ToLua(lua_State* L, const PointT<float>& point);
// Integer points use the float constructor too, with integer arguments.
int PushPoint32ToLua(lua_State* L, const PointT<int>& point);
int PushRectF32ToLua(lua_State* L, const RectT<float>& rect);
int PushRect32ToLua(lua_State* L, const RectT<int>& rect);
int PushColorRGBAToLua(lua_State* L, const vyrui::drawbot::ColorRGBA& color);
int PushMatrixF32ToLua(lua_State* L, const MatrixT<float>& matrix);

void GetPointF32FromLua(lua_State* L, int index, PointT<float>& point);
void GetPoint32FromLua(lua_State* L, int index, PointT<int>& point);
void GetRectF32FromLua(lua_State* L, int index, RectT<float>& rect);
void GetRect32FromLua(lua_State* L, int index, RectT<int>& rect);
void GetColorRGBAFromLua(lua_State* L, int index, vyrui::drawbot::ColorRGBA& color);
// Nine numbers, flat or as rows (one level of nesting); any other count
// fails with "incorrect number of values for MatrixF32".
void GetMatrixF32FromLua(lua_State* L, int index, MatrixT<float>& matrix);

} // namespace vyrlua::drawbot
