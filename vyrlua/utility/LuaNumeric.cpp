#include "vyrlua/utility/LuaNumeric.h"

#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaValueTypes.h"

#include <cmath>
#include <numbers>

namespace vyrlua::numeric {

namespace {

using Matrix = vyrcore::geom::MatrixF;

// The matrix as an affine map x' = a*x + c*y + e, y' = b*x + d*y + f.
struct Affine {
    double a, b, c, d, e, f;
};

// Reads argument 1 and brings it to affine form (dividing by the corner
// element). Projective matrices have no such form.
Affine ReadAffine(lua_State* L, const char* function)
{
    Matrix m;
    drawbot::GetMatrixF32FromLua(L, 1, m);
    const auto& v = m.m;
    if (v[2] != 0 || v[5] != 0 || v[8] == 0 || !std::isfinite(v[8]))
        throw utility::LuaError(std::string(function) + ": not an affine 2D transform");
    double w = v[8];
    return {v[0] / w, v[1] / w, v[3] / w, v[4] / w, v[6] / w, v[7] / w};
}

// unmatrix(m) -> translateX, translateY, scaleX, scaleY, rotation, shear
// Rotation is in degrees, counter-clockwise from the x axis in the
// matrix's own coordinates; shear is the x shear factor applied after
// scaling. A negative determinant shows as a negative scaleX.
int UnmatrixBody(lua_State* L)
{
    Affine t = ReadAffine(L, "unmatrix");
    double scaleX = std::hypot(t.a, t.b);
    if (!(scaleX > 0) || !std::isfinite(scaleX))
        throw utility::LuaError("unmatrix: singular matrix cannot be decomposed");
    double a = t.a / scaleX, b = t.b / scaleX;
    double shear = a * t.c + b * t.d;
    double c = t.c - a * shear, d = t.d - b * shear;
    double scaleY = std::hypot(c, d);
    if (!(scaleY > 0) || !std::isfinite(scaleY))
        throw utility::LuaError("unmatrix: singular matrix cannot be decomposed");
    shear /= scaleY;
    if (t.a * t.d - t.b * t.c < 0) {
        a = -a;
        b = -b;
        scaleX = -scaleX;
        shear = -shear;
    }
    // "+ 0.0" turns a negative zero (from a mirrored matrix) into zero.
    double rotation = std::atan2(b, a) * 180.0 / std::numbers::pi + 0.0;
    lua_pushnumber(L, t.e);
    lua_pushnumber(L, t.f);
    lua_pushnumber(L, scaleX);
    lua_pushnumber(L, scaleY);
    lua_pushnumber(L, rotation);
    lua_pushnumber(L, shear);
    return 6;
}

// invertMatrix(m) -> the inverse, built by vyrlua_CreateNewMatrixF32.
int InvertMatrixBody(lua_State* L)
{
    Matrix m;
    drawbot::GetMatrixF32FromLua(L, 1, m);
    const auto& v = m.m;
    double cof[9] = {
        double(v[4]) * v[8] - double(v[5]) * v[7], double(v[2]) * v[7] - double(v[1]) * v[8],
        double(v[1]) * v[5] - double(v[2]) * v[4], double(v[5]) * v[6] - double(v[3]) * v[8],
        double(v[0]) * v[8] - double(v[2]) * v[6], double(v[2]) * v[3] - double(v[0]) * v[5],
        double(v[3]) * v[7] - double(v[4]) * v[6], double(v[1]) * v[6] - double(v[0]) * v[7],
        double(v[0]) * v[4] - double(v[1]) * v[3]};
    double det = v[0] * cof[0] + v[1] * cof[3] + v[2] * cof[6];
    if (det == 0 || !std::isfinite(det))
        throw utility::LuaError("invertMatrix: matrix is singular");
    Matrix inverse;
    for (int i = 0; i < 9; ++i) {
        double x = cof[i] / det;
        if (!std::isfinite(x) || std::fabs(x) > 3.4e38)
            throw utility::LuaError("invertMatrix: matrix is singular");
        inverse.m[i] = static_cast<float>(x);
    }
    return drawbot::PushMatrixF32ToLua(L, inverse);
}

const luaL_Reg kNumericFunctions[] = {
    {"unmatrix", utility::LuaBoundary<UnmatrixBody>},
    {"invertMatrix", utility::LuaBoundary<InvertMatrixBody>},
    {nullptr, nullptr},
};

} // namespace

int OpenLuaNumeric(lua_State* L)
{
    lua_checkstack(L, 2);
    lua_createtable(L, 0, 2);
    luaL_register(L, nullptr, kNumericFunctions);
    lua_setfield(L, -2, "numeric");
    return 1;
}

} // namespace vyrlua::numeric
