// vyrlua.numeric and the matrix form it reads.
#include "support/LuaFixture.h"

using vyrtest::LuaTest;

TEST_F(LuaTest, InvertMatrixGivesTheInverse)
{
    // M * inverse(M) is the identity for a general (projective) matrix.
    EXPECT_EQ(Eval(R"(
        local m = {2, 1, 0.5,  -1, 3, 0.25,  4, 5, 1}
        local r = vyrlua.numeric.invertMatrix(m)
        local worst = 0
        for i = 0, 2 do for j = 0, 2 do
          local s = 0
          for k = 0, 2 do s = s + m[i*3 + k + 1] * r[k*3 + j + 1] end
          local want = (i == j) and 1 or 0
          worst = math.max(worst, math.abs(s - want))
        end end
        return worst < 1e-5)"),
              "true");
    // The result is built by the script-defined constructor.
    EXPECT_EQ(Eval("return tostring(vyrlua.numeric.invertMatrix({{2,0,0},{0,4,0},{0,0,1}}))"),
              "MatrixF32(0.5, 0, 0, 0, 0.25, 0, 0, 0, 1)");
    EXPECT_EQ(Error("vyrlua.numeric.invertMatrix({1,2,3, 2,4,6, 0,0,1})"),
              "test:1: invertMatrix: matrix is singular");
    // Values beyond the float range saturate instead of overflowing.
    EXPECT_EQ(Error("vyrlua.numeric.invertMatrix({1e300,0,0, 0,1,0, 0,0,1})"),
              "test:1: invertMatrix: matrix is singular");
}

TEST_F(LuaTest, UnmatrixRecoversTheTransform)
{
    // Compose translate(10, -4) * rotate(30) * shear(0.5) * scale(2, 3) and take it apart.
    auto results = Run(R"(
        local r = math.rad(30)
        local c, s = math.cos(r), math.sin(r)
        local sx, sy, k = 2, 3, 0.5
        -- columns of the linear part: R * [[1,k],[0,1]] * diag(sx,sy)
        local a, b = c * sx, s * sx
        local cc, d = (c * k - s) * sy, (s * k + c) * sy
        local m = vyrlua_CreateNewTransformMatrix(a, b, cc, d, 10, -4)
        local tx, ty, gsx, gsy, rot, shear = vyrlua.numeric.unmatrix(m)
        local function r4(x) return math.floor(x * 1e4 + 0.5) / 1e4 end
        return r4(tx), r4(ty), r4(gsx), r4(gsy), r4(rot), r4(shear))");
    EXPECT_EQ(results, (std::vector<std::string>{"10", "-4", "2", "3", "30", "0.5"}));
    // A mirrored transform shows as a negative x scale.
    EXPECT_EQ(Run("local t = {vyrlua.numeric.unmatrix({-1,0,0, 0,1,0, 0,0,1})}; return t[3], t[4], t[5]"),
              (std::vector<std::string>{"-1", "1", "0"}));
    EXPECT_EQ(Error("vyrlua.numeric.unmatrix({0,0,0, 0,1,0, 0,0,1})"),
              "test:1: unmatrix: singular matrix cannot be decomposed");
    EXPECT_EQ(Error("vyrlua.numeric.unmatrix({1,0,1, 0,1,0, 0,0,1})"),
              "test:1: unmatrix: not an affine 2D transform");
}
