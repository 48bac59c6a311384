#include "vyrlua/utility/LuaValueTypes.h"

#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaException.h"
#include "vyrlua/utility/LuaFieldReaders.h"
#include "vyrlua/utility/LuaProtectedCall.h"
#include "vyrlua/utility/LuaStack.h"

#include <type_traits>

namespace vyrlua::drawbot {

namespace {

// The constructor globals, looked up on every push (a script may replace
// them): by interned name.
const utility::InternedName kPointConstructor("vyrlua_CreateNewPointF32");
const utility::InternedName kRectConstructor("vyrlua_CreateNewRectF32");
const utility::InternedName kColorConstructor("vyrlua_CreateNewRGBA");
const utility::InternedName kMatrixConstructor("vyrlua_CreateNewMatrixF32");

// Finds the constructor global `name` and makes room for its arguments. The
// look-up honours a metatable on the globals table (a "strict" script may
// raise there) without unwinding through the caller.
void PushConstructor(lua_State* L, const utility::InternedName& name, int nargs)
{
    if (!utility::EnsureStack(L, nargs + 1))
        throw utility::LuaException("stack overflow (no room to build a value)");
    utility::PushField(L, LUA_GLOBALSINDEX, name);
}

// Calls the constructor global `name` with the values as numbers.
template <typename... Numbers>
int Construct(lua_State* L, const utility::InternedName& name, Numbers... values)
{
    PushConstructor(L, name, sizeof...(values));
    (lua_pushnumber(L, static_cast<lua_Number>(values)), ...);
    utility::detail::CallLuaFromCppInline(L, sizeof...(values), 1);
    return 1;
}

template <typename... Ints>
int ConstructIntegers(lua_State* L, const utility::InternedName& name, Ints... values)
{
    PushConstructor(L, name, sizeof...(values));
    (lua_pushinteger(L, static_cast<lua_Integer>(values)), ...);
    utility::detail::CallLuaFromCppInline(L, sizeof...(values), 1);
    return 1;
}

// The fields read from every point, rectangle and colour: interned, so a
// read hashes no text.
const utility::InternedName kX("x");
const utility::InternedName kY("y");
const utility::InternedName kTop("top");
const utility::InternedName kLeft("left");
const utility::InternedName kHeight("height");
const utility::InternedName kWidth("width");
const utility::InternedName kRed("red");
const utility::InternedName kGreen("green");
const utility::InternedName kBlue("blue");
const utility::InternedName kAlpha("alpha");

// Reads one numeric field of the table at `index` (absolute, checked to be
// a table).
lua_Number NumberField(lua_State* L, int index, const utility::InternedName& name)
{
    // A number held by the table itself is what PushField and CheckNumber
    // would give; anything else (a missing field that __index may supply, a
    // numeric string, a wrong type) takes that full path.
    utility::PushName(L, name);
    lua_rawget(L, index);
    lua_Number n = lua_tonumber(L, -1);
    if (n == 0 && lua_type(L, -1) != LUA_TNUMBER) {
        lua_pop(L, 1);
        utility::PushField(L, index, name);
        n = utility::CheckNumber(L, -1);
    }
    lua_pop(L, 1);
    return n;
}

// A numeric field narrowed to the host type: floats saturate to infinity,
// ints must fit. An error names the field and the table's argument:
// "bad argument #2 to 'NewButton' (field 'height': number expected, got nil)".
template <typename T>
T Field(lua_State* L, int index, const utility::InternedName& name)
{
    try {
        lua_Number n = NumberField(L, index, name);
        if constexpr (std::is_same_v<T, float>)
            return utility::ToFloat(n);
        else
            return utility::ToInt(n, index);
    } catch (const utility::ArgumentError& e) {
        throw utility::ArgumentError(index, "field '" + std::string(name.CStr()) + "': " + e.what());
    }
}

template <typename T>
void ReadPoint(lua_State* L, int index, PointT<T>& point)
{
    index = utility::AbsoluteIndex(L, index);
    utility::CheckType(L, index, LUA_TTABLE);
    point.x = Field<T>(L, index, kX);
    point.y = Field<T>(L, index, kY);
}

template <typename T>
void ReadRect(lua_State* L, int index, RectT<T>& rect)
{
    index = utility::AbsoluteIndex(L, index);
    utility::CheckType(L, index, LUA_TTABLE);
    rect.top = Field<T>(L, index, kTop);
    rect.left = Field<T>(L, index, kLeft);
    rect.height = Field<T>(L, index, kHeight);
    rect.width = Field<T>(L, index, kWidth);
}

} // namespace

int PushPointF32ToLua(lua_State* L, const PointT<float>& point)
{
    return Construct(L, kPointConstructor, point.x, point.y);
}

int PushPoint32ToLua(lua_State* L, const PointT<int>& point)
{
    return ConstructIntegers(L, kPointConstructor, point.x, point.y);
}

int PushRectF32ToLua(lua_State* L, const RectT<float>& rect)
{
    return Construct(L, kRectConstructor, rect.left, rect.top, rect.width, rect.height);
}

int PushRect32ToLua(lua_State* L, const RectT<int>& rect)
{
    return ConstructIntegers(L, kRectConstructor, rect.left, rect.top, rect.width,
                             rect.height);
}

int PushColorRGBAToLua(lua_State* L, const vyrui::drawbot::ColorRGBA& color)
{
    return Construct(L, kColorConstructor, color.red, color.green, color.blue, color.alpha);
}

int PushMatrixF32ToLua(lua_State* L, const MatrixT<float>& matrix)
{
    const auto& m = matrix.m;
    return Construct(L, kMatrixConstructor, m[0], m[1], m[2], m[3], m[4], m[5], m[6],
                     m[7], m[8]);
}

void GetPointF32FromLua(lua_State* L, int index, PointT<float>& point)
{
    ReadPoint(L, index, point);
}

void GetPoint32FromLua(lua_State* L, int index, PointT<int>& point)
{
    ReadPoint(L, index, point);
}

void GetRectF32FromLua(lua_State* L, int index, RectT<float>& rect)
{
    ReadRect(L, index, rect);
}

void GetRect32FromLua(lua_State* L, int index, RectT<int>& rect)
{
    ReadRect(L, index, rect);
}

void GetColorRGBAFromLua(lua_State* L, int index, vyrui::drawbot::ColorRGBA& color)
{
    index = utility::AbsoluteIndex(L, index);
    utility::CheckType(L, index, LUA_TTABLE);
    color.red = Field<float>(L, index, kRed);
    color.green = Field<float>(L, index, kGreen);
    color.blue = Field<float>(L, index, kBlue);
    color.alpha = Field<float>(L, index, kAlpha);
}

void GetMatrixF32FromLua(lua_State* L, int index, MatrixT<float>& matrix)
{
    index = utility::AbsoluteIndex(L, index);
    utility::CheckType(L, index, LUA_TTABLE);
    float values[9] = {};
    int count = 0;
    auto collect = [&](int at) {
        if (lua_type(L, at) == LUA_TNUMBER) {
            if (count < 9)
                values[count] = utility::ToFloat(lua_tonumber(L, at));
            ++count;
        }
    };
    lua_pushnil(L);
    while (lua_next(L, index) != 0) {
        if (lua_type(L, -1) == LUA_TTABLE) {
            int row = lua_gettop(L);
            lua_pushnil(L);
            while (lua_next(L, row) != 0) {
                collect(-1);
                lua_pop(L, 1);
            }
        } else {
            collect(-1);
        }
        lua_pop(L, 1);
    }
    if (count != 9)
        throw utility::LuaError("incorrect number of values for MatrixF32");
    for (int i = 0; i < 9; ++i)
        matrix.m[i] = values[i];
}

} // namespace vyrlua::drawbot
