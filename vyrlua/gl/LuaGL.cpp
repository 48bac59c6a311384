#include "vyrlua/gl/LuaGL.h"

#include "vyrlua/gl/GLSupport.h"
#include "vyrlua/utility/LuaKind.h"
#include "vyrlua/utility/LuaModules.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace vyrlua::gl {

namespace {

using utility::ArgumentError;
using utility::CheckInt;
using utility::CheckNumber;
using utility::LuaBoundary;
using utility::LuaError;

// ---------------------------------------------------------------------------
// Shapes shared by many functions.

// Readers of one argument each, by what the OpenGL parameter is.
constexpr auto E = CheckEnum;           // GLenum, GLbitfield
constexpr auto F = CheckFloat;          // GLfloat, GLclampf
constexpr auto D = utility::CheckNumber; // GLdouble, GLclampd
constexpr auto I = utility::CheckInt;   // GLint, GLsizei
constexpr auto U = CheckUInt;           // GLuint

// GLushort: taken exactly or refused.
GLushort CheckUShort(lua_State* L, int narg)
{
    GLuint value = CheckUInt(L, narg);
    if (value > 0xFFFF)
        throw ArgumentError(narg, "number out of range");
    return static_cast<GLushort>(value);
}
constexpr auto B = CheckBoolean;        // GLboolean

template <auto Fn, auto... Read, size_t... I>
int CallWith(lua_State* L, std::index_sequence<I...>)
{
    RequireContext();
    (void)L; // unused by calls without arguments
    // Braced: read left to right.
    std::tuple args{Read(L, static_cast<int>(I) + 1)...};
    std::apply(Fn, args);
    return 0;
}

// The common shape: arguments read in order by `Read...`, then `Fn` called.
template <auto Fn, auto... Read>
int Call(lua_State* L)
{
    return CallWith<Fn, Read...>(L, std::index_sequence_for<decltype(Read)...>{});
}

template <GLboolean (*F)(GLuint)>
int IsObject(lua_State* L)
{
    RequireContext();
    GLuint v = CheckUInt(L, 1);
    lua_pushboolean(L, F(v));
    return 1;
}

// Too few numbers for Vertex: the one vector call that counts its arguments
// instead of naming the first one missing.
constexpr char kVertexTooFew[] = "invalid number of arguments";

// A vector given as numbers (as many as are passed, from `least` to `most`)
// or as one table (at least `least` items, else `tooFew`). Returns the count.
int ReadVector(lua_State* L, GLdouble* v, int least, int most, const char* tooFew)
{
    if (lua_type(L, 1) == LUA_TTABLE) {
        size_t n = lua_objlen(L, 1);
        if (n < static_cast<size_t>(least))
            throw ArgumentError(1, tooFew);
        int count = static_cast<int>(std::min<size_t>(n, most));
        ReadTable(L, 1, v, count);
        return count;
    }
    int count = std::min(lua_gettop(L), most);
    if (count < least && tooFew == kVertexTooFew)
        throw LuaError(tooFew);
    count = std::max(count, least);
    for (int i = 0; i < count; ++i)
        v[i] = CheckNumber(L, i + 1);
    return count;
}

// Truth of a table item on top of the stack: 0 counts as false.
bool IsSet(lua_State* L)
{
    return lua_toboolean(L, -1) && !(lua_type(L, -1) == LUA_TNUMBER && lua_tonumber(L, -1) == 0);
}

// Parameter setters: (target..., pname, value) where the value is a number,
// a constant name (for enumeration-valued parameters) or a table. Tables are
// copied into a buffer larger than any parameter, after a check that they
// hold as many items as the parameter takes.
struct ParamValue {
    bool vector = false;
    bool isEnum = false;
    GLint enumValue = 0;
    GLfloat values[16] = {};
};

ParamValue ReadParam(lua_State* L, int narg, int needed)
{
    ParamValue p;
    switch (lua_type(L, narg)) {
    case LUA_TTABLE: {
        size_t n = lua_objlen(L, narg);
        if (n < static_cast<size_t>(needed))
            ThrowTableTooSmall(narg, needed);
        p.vector = true;
        ReadTable(L, narg, p.values, std::min<size_t>(n, 16));
        break;
    }
    case LUA_TSTRING:
        p.isEnum = true;
        p.enumValue = static_cast<GLint>(CheckEnum(L, narg));
        p.values[0] = static_cast<GLfloat>(p.enumValue);
        break;
    default:
        p.values[0] = CheckFloat(L, narg);
    }
    return p;
}

// Items a vector parameter takes (1 for scalars).
int ParamCount(GLenum pname)
{
    switch (pname) {
    case GL_AMBIENT:
    case GL_DIFFUSE:
    case GL_SPECULAR:
    case GL_EMISSION:
    case GL_POSITION:
    case GL_AMBIENT_AND_DIFFUSE:
    case GL_FOG_COLOR:
    case GL_LIGHT_MODEL_AMBIENT:
    case GL_TEXTURE_ENV_COLOR:
    case GL_OBJECT_PLANE:
    case GL_EYE_PLANE:
    case GL_TEXTURE_BORDER_COLOR: return 4;
    case GL_SPOT_DIRECTION:
    case GL_COLOR_INDEXES: return 3;
    default: return 1;
    }
}

template <void (*Scalar)(GLenum, GLfloat), void (*Integer)(GLenum, GLint),
          void (*Vector)(GLenum, const GLfloat*)>
int Param1(lua_State* L)
{
    RequireContext();
    GLenum pname = CheckEnum(L, 1);
    ParamValue p = ReadParam(L, 2, ParamCount(pname));
    if (p.vector)
        Vector(pname, p.values);
    else if (p.isEnum)
        Integer(pname, p.enumValue);
    else
        Scalar(pname, p.values[0]);
    return 0;
}

template <void (*Scalar)(GLenum, GLenum, GLfloat), void (*Integer)(GLenum, GLenum, GLint),
          void (*Vector)(GLenum, GLenum, const GLfloat*)>
int Param2(lua_State* L)
{
    RequireContext();
    GLenum target = CheckEnum(L, 1);
    GLenum pname = CheckEnum(L, 2);
    ParamValue p = ReadParam(L, 3, ParamCount(pname));
    if (p.vector)
        Vector(target, pname, p.values);
    else if (p.isEnum)
        Integer(target, pname, p.enumValue);
    else
        Scalar(target, pname, p.values[0]);
    return 0;
}

// Getters of (target..., pname) into a buffer larger than any parameter,
// returning as many numbers as the parameter has.
template <void (*F)(GLenum, GLenum, GLfloat*)>
int GetParam2(lua_State* L)
{
    RequireContext();
    GLenum target = CheckEnum(L, 1);
    GLenum pname = CheckEnum(L, 2);
    GLfloat values[16] = {};
    F(target, pname, values);
    GLdouble out[16];
    std::copy(values, values + 16, out);
    return PushNumbers(L, out, ParamCount(pname));
}

// ---------------------------------------------------------------------------
// Vertex data.

int Begin(lua_State* L)
{
    RequireContext();
    GLenum mode = CheckEnum(L, 1);
    SnapshotArrays();
    glBegin(mode);
    return 0;
}

int End(lua_State*)
{
    RequireContext();
    EndArraySnapshot();
    glEnd();
    return 0;
}

// Vector calls: the OpenGL function taking as many values as were given
// (F[n - 1]; null for counts the call does not take).
using VectorFn = void (*)(const GLdouble*);

template <int Least, int Most, const char* TooFew, VectorFn F1, VectorFn F2, VectorFn F3,
          VectorFn F4>
int VectorCall(lua_State* L)
{
    RequireContext();
    GLdouble v[4] = {0, 0, 0, 1};
    int n = ReadVector(L, v, Least, Most, TooFew);
    const VectorFn call[] = {F1, F2, F3, F4};
    call[n - 1](v);
    return 0;
}

constexpr char kColorTooFew[] = "invalid number of items in table (n<3).";
constexpr char kNormalTooFew[] = "invalid number of elements in the table (n<3)";
constexpr char kOneTooFew[] = "invalid number of items in table (n<1).";
constexpr char kTwoTooFew[] = "invalid number of items in table (n<2).";

constexpr auto Color = VectorCall<3, 4, kColorTooFew, nullptr, nullptr, glColor3dv, glColor4dv>;
constexpr auto Vertex =
    VectorCall<2, 4, kVertexTooFew, nullptr, glVertex2dv, glVertex3dv, glVertex4dv>;
constexpr auto Normal = VectorCall<3, 3, kNormalTooFew, nullptr, nullptr, glNormal3dv, nullptr>;
constexpr auto TexCoord =
    VectorCall<1, 4, kOneTooFew, glTexCoord1dv, glTexCoord2dv, glTexCoord3dv, glTexCoord4dv>;
constexpr auto RasterPos =
    VectorCall<2, 4, kTwoTooFew, nullptr, glRasterPos2dv, glRasterPos3dv, glRasterPos4dv>;
constexpr auto EvalCoord = VectorCall<1, 2, kOneTooFew, glEvalCoord1dv, glEvalCoord2dv, nullptr, nullptr>;

int EvalPoint(lua_State* L)
{
    if (lua_isnoneornil(L, 2))
        return Call<glEvalPoint1, I>(L);
    return Call<glEvalPoint2, I, I>(L);
}

constexpr size_t kMaxMeshPoints = size_t(1) << 20;

int EvalMesh(lua_State* L)
{
    RequireContext();
    GLenum mode = CheckEnum(L, 1);
    GLint a = CheckInt(L, 2);
    GLint b = CheckInt(L, 3);
    // The mesh is evaluated point by point: bounded like an image.
    auto span = [](GLint from, GLint to) {
        return to >= from ? static_cast<size_t>(static_cast<long long>(to) - from) + 1 : 0;
    };
    if (lua_isnoneornil(L, 4)) {
        if (span(a, b) > kMaxMeshPoints)
            throw LuaError("EvalMesh: too many points");
        glEvalMesh1(mode, a, b);
    } else {
        GLint c = CheckInt(L, 4);
        GLint d = CheckInt(L, 5);
        if (span(a, b) > kMaxMeshPoints || span(c, d) > kMaxMeshPoints ||
            span(a, b) * span(c, d) > kMaxMeshPoints)
            throw LuaError("EvalMesh: too many points");
        glEvalMesh2(mode, a, b, c, d);
    }
    return 0;
}

int Rect(lua_State* L)
{
    RequireContext();
    GLdouble v[4];
    if (lua_type(L, 1) == LUA_TTABLE) {
        for (int i = 0; i < 2; ++i) {
            if (CheckTable(L, i + 1) < 2)
                ThrowTableTooSmall(i + 1, 2);
            ReadTable(L, i + 1, v + 2 * i, 2);
        }
    } else {
        for (int i = 0; i < 4; ++i)
            v[i] = CheckNumber(L, i + 1);
    }
    glRectd(v[0], v[1], v[2], v[3]);
    return 0;
}

// ---------------------------------------------------------------------------
// Vertex arrays. The data is copied into buffers this module owns; drawing
// checks every enabled array against what the call will read.

template <GLenum Kind>
GLfloat* SetArrayFromTable(lua_State* L, int narg, size_t count)
{
    // Read first into Lua-owned scratch (reading can fail half way), then
    // copy into the kept buffer.
    auto* scratch = static_cast<GLfloat*>(PushScratch(L, count * sizeof(GLfloat)));
    ReadTable(L, narg, scratch, count);
    auto* buffer = static_cast<GLfloat*>(SetClientBuffer(Kind, count * sizeof(GLfloat)));
    std::copy(scratch, scratch + count, buffer);
    return buffer;
}

// (size, table) with `size` components per element.
template <GLenum Kind, void (*F)(GLint, GLenum, GLsizei, const GLvoid*), int Least, int Most>
int SizedPointer(lua_State* L)
{
    RequireContext();
    int size = CheckInt(L, 1);
    if (size < Least || size > Most)
        throw ArgumentError(1, "size must be from " + std::to_string(Least) + " to " +
                                   std::to_string(Most));
    size_t n = CheckTable(L, 2);
    size_t count = n / size_t(size) * size_t(size);
    GLfloat* buffer = SetArrayFromTable<Kind>(L, 2, count);
    F(size, GL_FLOAT, 0, buffer);
    return 0;
}

template <GLenum Kind, void (*F)(GLenum, GLsizei, const GLvoid*), int Components>
int FixedPointer(lua_State* L)
{
    RequireContext();
    size_t n = CheckTable(L, 1);
    size_t count = n / Components * Components;
    GLfloat* buffer = SetArrayFromTable<Kind>(L, 1, count);
    F(GL_FLOAT, 0, buffer);
    return 0;
}

int EdgeFlagPointer(lua_State* L)
{
    RequireContext();
    size_t n = CheckTable(L, 1);
    auto* scratch = static_cast<GLboolean*>(PushScratch(L, n));
    for (size_t i = 0; i < n; ++i) {
        lua_rawgeti(L, 1, static_cast<int>(i + 1));
        scratch[i] = IsSet(L);
        lua_pop(L, 1);
    }
    auto* buffer = static_cast<GLboolean*>(SetClientBuffer(GL_EDGE_FLAG_ARRAY, n));
    std::copy(scratch, scratch + n, buffer);
    glEdgeFlagPointer(0, buffer);
    return 0;
}

// Calls that can switch client arrays (Enable, Disable, the client-state
// calls, display lists): what Begin found for ArrayElement no longer holds.
template <auto Fn, auto... Read>
int ChangingArrays(lua_State* L)
{
    InvalidateArraySnapshot();
    return Call<Fn, Read...>(L);
}

int ArrayElement(lua_State* L)
{
    RequireContext();
    GLint i = CheckInt(L, 1);
    if (i < 0 || static_cast<size_t>(i) >= ArrayElementLimit())
        throw ArgumentError(1, "element " + std::to_string(i) + " is past the end of an enabled array");
    glArrayElement(i);
    return 0;
}

// Vertices one draw call may take (whatever the arrays hold).
constexpr GLint kMaxDrawCount = 1 << 24;

int DrawArrays(lua_State* L)
{
    RequireContext();
    GLenum mode = CheckEnum(L, 1);
    GLint first = CheckInt(L, 2);
    GLint count = CheckInt(L, 3);
    if (first < 0 || count < 0 || count > kMaxDrawCount)
        throw LuaError("DrawArrays: first and count must be >= 0 (count at most 16777216)");
    if (count > 0 && size_t(first) + size_t(count) > ArrayElementLimit())
        throw ArgumentError(3, "elements " + std::to_string(first) + " to " +
                                   std::to_string(size_t(first) + size_t(count) - 1) +
                                   " go past the end of an enabled array");
    glDrawArrays(mode, first, count);
    return 0;
}

int DrawElements(lua_State* L)
{
    RequireContext();
    GLenum mode = CheckEnum(L, 1);
    size_t n = CheckTable(L, 2);
    if (n > size_t(kMaxDrawCount))
        throw ArgumentError(2, "too many indices");
    auto* indices = static_cast<GLuint*>(PushScratch(L, n * sizeof(GLuint)));
    ReadTable(L, 2, indices, n);
    GLuint most = 0;
    for (size_t i = 0; i < n; ++i)
        most = std::max(most, indices[i]);
    if (n > 0 && size_t(most) >= ArrayElementLimit())
        throw ArgumentError(2, "index " + std::to_string(most) + " is past the end of an enabled array");
    glDrawElements(mode, static_cast<GLsizei>(n), GL_UNSIGNED_INT, indices);
    return 0;
}

// ---------------------------------------------------------------------------
// Matrices, lists, names, textures and other state.

template <void (*F)(const GLdouble*)>
int MatrixCall(lua_State* L)
{
    RequireContext();
    if (CheckTable(L, 1) < 16)
        throw ArgumentError(1, "invalid number of elements in the matrix table (n<16).");
    GLdouble m[16];
    ReadTable(L, 1, m, 16);
    F(m);
    return 0;
}

int ClipPlane(lua_State* L)
{
    RequireContext();
    GLenum plane = CheckEnum(L, 1);
    if (CheckTable(L, 2) < 4)
        ThrowTableTooSmall(2, 4);
    GLdouble equation[4];
    ReadTable(L, 2, equation, 4);
    glClipPlane(plane, equation);
    return 0;
}

int GetClipPlane(lua_State* L)
{
    RequireContext();
    GLenum plane = CheckEnum(L, 1);
    GLdouble equation[4] = {};
    glGetClipPlane(plane, equation);
    return PushNumbers(L, equation, 4);
}

int IsEnabled(lua_State* L)
{
    RequireContext();
    GLenum cap = CheckEnum(L, 1);
    lua_pushboolean(L, glIsEnabled(cap));
    return 1;
}

int CallLists(lua_State* L)
{
    RequireContext();
    size_t n = CheckTable(L, 1);
    if (n > size_t(INT32_MAX))
        throw ArgumentError(1, "too many lists");
    auto* lists = static_cast<GLuint*>(PushScratch(L, n * sizeof(GLuint)));
    ReadTable(L, 1, lists, n);
    InvalidateArraySnapshot();
    glCallLists(static_cast<GLsizei>(n), GL_UNSIGNED_INT, lists);
    return 0;
}

// OpenGL walks every list of a range one by one: ranges are bounded so
// that one call cannot run for minutes.
GLsizei CheckListRange(lua_State* L, int narg)
{
    int range = CheckInt(L, narg);
    if (range > (1 << 16))
        throw ArgumentError(narg, "range out of range (at most 65536)");
    return range;
}

int DeleteLists(lua_State* L)
{
    RequireContext();
    GLuint list = CheckUInt(L, 1);
    GLsizei range = CheckListRange(L, 2);
    glDeleteLists(list, range);
    return 0;
}

int GenLists(lua_State* L)
{
    RequireContext();
    GLsizei range = CheckListRange(L, 1);
    lua_pushnumber(L, glGenLists(range));
    return 1;
}

// Texture names: at most this many per call.
constexpr size_t kMaxNames = 1 << 16;

// Reads a table of texture names into scratch; returns their count.
GLuint* ReadNames(lua_State* L, int narg, size_t& n)
{
    n = CheckTable(L, narg);
    if (n > kMaxNames)
        throw ArgumentError(narg, "too many names");
    auto* names = static_cast<GLuint*>(PushScratch(L, n * sizeof(GLuint)));
    ReadTable(L, narg, names, n);
    return names;
}

int GenTextures(lua_State* L)
{
    RequireContext();
    int n = CheckInt(L, 1);
    if (n < 0 || size_t(n) > kMaxNames)
        throw ArgumentError(1, "count out of range");
    auto* names = static_cast<GLuint*>(PushScratch(L, size_t(n) * sizeof(GLuint)));
    glGenTextures(n, names);
    PushPixelTable(L, GL_UNSIGNED_INT, names, size_t(n));
    return 1;
}

int DeleteTextures(lua_State* L)
{
    RequireContext();
    size_t n = 0;
    GLuint* names = ReadNames(L, 1, n);
    glDeleteTextures(static_cast<GLsizei>(n), names);
    return 0;
}

int AreTexturesResident(lua_State* L)
{
    RequireContext();
    size_t n = 0;
    GLuint* names = ReadNames(L, 1, n);
    auto* resident = static_cast<GLboolean*>(PushScratch(L, n));
    GLboolean all = glAreTexturesResident(static_cast<GLsizei>(n), names, resident);
    lua_pushboolean(L, all);
    lua_createtable(L, static_cast<int>(n), 0);
    for (size_t i = 0; i < n; ++i) {
        lua_pushboolean(L, all || resident[i]);
        lua_rawseti(L, -2, static_cast<int>(i + 1));
    }
    return 2;
}

int PrioritizeTextures(lua_State* L)
{
    RequireContext();
    size_t n = 0;
    GLuint* names = ReadNames(L, 1, n);
    if (CheckTable(L, 2) < n)
        ThrowTableTooSmall(2, n);
    auto* priorities = static_cast<GLclampf*>(PushScratch(L, n * sizeof(GLclampf)));
    ReadTable(L, 2, priorities, n);
    glPrioritizeTextures(static_cast<GLsizei>(n), names, priorities);
    return 0;
}

// (pname, value): a boolean, or a number.
template <void (*Integer)(GLenum, GLint), void (*Float)(GLenum, GLfloat)>
int PixelParameter(lua_State* L)
{
    RequireContext();
    GLenum pname = CheckEnum(L, 1);
    if (lua_type(L, 2) == LUA_TBOOLEAN) {
        Integer(pname, lua_toboolean(L, 2));
        return 0;
    }
    // Whole numbers go as integers: a float cannot carry every int.
    lua_Number n = CheckNumber(L, 2);
    if (n == std::floor(n) && n >= INT_MIN && n <= INT_MAX)
        Integer(pname, static_cast<GLint>(n));
    else
        Float(pname, utility::ToFloat(n));
    return 0;
}

bool Is1D(GLenum target)
{
    return target == GL_TEXTURE_1D || target == GL_PROXY_TEXTURE_1D;
}

// (target, level, internalformat, x, y, width, [height,] border): the
// height only for two-dimensional targets.
int CopyTexImage(lua_State* L)
{
    RequireContext();
    GLenum target = CheckEnum(L, 1);
    GLint level = CheckInt(L, 2);
    GLenum internalFormat = CheckEnum(L, 3);
    GLint x = CheckInt(L, 4);
    GLint y = CheckInt(L, 5);
    GLsizei width = CheckInt(L, 6);
    // OpenGL makes the texture's storage: bounded like an image of floats.
    if (Is1D(target)) {
        GLint border = CheckInt(L, 7);
        TightImageBytes(width, 1, GL_RGBA, GL_FLOAT, 3, 3);
        glCopyTexImage1D(target, level, internalFormat, x, y, width, border);
    } else {
        GLsizei height = CheckInt(L, 7);
        GLint border = CheckInt(L, 8);
        TightImageBytes(width, height, GL_RGBA, GL_FLOAT, 3, 3);
        glCopyTexImage2D(target, level, internalFormat, x, y, width, height, border);
    }
    return 0;
}

// (target, level, xoffset, [yoffset,] x, y, width[, height]).
int CopyTexSubImage(lua_State* L)
{
    RequireContext();
    GLenum target = CheckEnum(L, 1);
    if (Is1D(target)) {
        GLint v[4];
        for (int i = 0; i < 4; ++i)
            v[i] = CheckInt(L, i + 2);
        GLsizei width = CheckInt(L, 6);
        glCopyTexSubImage1D(target, v[0], v[1], v[2], v[3], width);
    } else {
        GLint v[7];
        for (int i = 0; i < 7; ++i)
            v[i] = CheckInt(L, i + 2);
        glCopyTexSubImage2D(target, v[0], v[1], v[2], v[3], v[4], v[5], v[6]);
    }
    return 0;
}

// ---------------------------------------------------------------------------
// Images from and to tables, and from and to native memory blocks.

// Native memory blocks (gl.NewData): bytes the library owns, handed to the
// "Raw" functions, which check them against what OpenGL will touch.
struct DataBlock {
    std::vector<std::uint8_t> bytes;
    bool released = false;
};

void MakeDataMetatable(lua_State* L);

struct DataKind {
    using Payload = DataBlock;
    static constexpr const char* kMetatable = kDataMetatable;
    static constexpr const char* kWord = "glData";
    static void MakeMetatable(lua_State* L) { MakeDataMetatable(L); }
    static const void* Identity(const DataBlock& block) { return block.released ? nullptr : &block; }
    static void Release(DataBlock& block)
    {
        block.released = true;
        std::vector<std::uint8_t>().swap(block.bytes);
    }
};
using LuaData = utility::LuaKind<DataKind>;

// The live block at `narg` (an argument error for a freed one).
DataBlock& CheckData(lua_State* L, int narg)
{
    DataBlock* block = LuaData::Check(L, narg);
    if (block == nullptr || block->released)
        throw ArgumentError(narg, "the data block was freed");
    return *block;
}

// The bytes of the block at `narg`, which must hold `needed` bytes.
void* CheckDataBytes(lua_State* L, int narg, size_t needed)
{
    DataBlock& block = CheckData(L, narg);
    if (block.bytes.size() < needed)
        throw ArgumentError(narg, "data block too small (" + std::to_string(block.bytes.size()) +
                                      " bytes, " + std::to_string(needed) + " needed)");
    return block.bytes.data();
}

// A table of the values in `bytes` bytes of memory the module keeps. They
// are copied into scratch first: building the table allocates, and a
// finalizer run by that could replace or free the memory.
void PushCopy(lua_State* L, GLenum type, const void* values, size_t bytes)
{
    void* copy = PushScratch(L, bytes);
    if (bytes > 0)
        std::memcpy(copy, values, bytes);
    PushPixelTable(L, type, copy, bytes / PixelTypeSize(type));
    // Only the table is the caller's result.
    lua_remove(L, -2);
}

// Pixels from a table (or null for a nil table where OpenGL allows it).
void* ReadImage(lua_State* L, int narg, int width, int height, GLenum format, GLenum type,
                int formatArg, int typeArg, bool nilAllowed)
{
    size_t bytes = TightImageBytes(width, height, format, type, formatArg, typeArg);
    if (nilAllowed && lua_isnoneornil(L, narg))
        return nullptr;
    CheckTable(L, narg);
    void* pixels = PushScratch(L, bytes);
    size_t count = bytes / PixelTypeSize(type);
    ReadPixelTable(L, narg, type, pixels, count);
    return pixels;
}

// An image's (width, height, format, type) from argument `first` on; the
// type may be optional (FLOAT).
struct ImageArgs {
    GLsizei width;
    GLsizei height;
    GLenum format;
    GLenum type;
};

ImageArgs ReadImageArgs(lua_State* L, int first, bool typeOptional)
{
    ImageArgs a;
    a.width = CheckInt(L, first);
    a.height = CheckInt(L, first + 1);
    a.format = CheckEnum(L, first + 2);
    a.type = typeOptional ? OptEnum(L, first + 3, GL_FLOAT) : CheckEnum(L, first + 3);
    return a;
}

// DrawPixels(width, height, format, type, pixels): a table, or for the Raw
// variant a data block sized against the unpack state.
template <bool Raw>
int DrawPixelsFrom(lua_State* L)
{
    RequireContext();
    ImageArgs a = ReadImageArgs(L, 1, false);
    if constexpr (Raw) {
        size_t needed = StoredImageBytes(a.width, a.height, a.format, a.type, false, 3, 4);
        glDrawPixels(a.width, a.height, a.format, a.type, CheckDataBytes(L, 5, needed));
    } else {
        void* pixels = ReadImage(L, 5, a.width, a.height, a.format, a.type, 3, 4, false);
        TightPixelStore tight;
        glDrawPixels(a.width, a.height, a.format, a.type, pixels);
    }
    return 0;
}

// ReadPixels(x, y, width, height, format[, type]) -> a table of the values;
// ReadPixelsRaw(x, y, width, height, format, type, block) fills the block,
// sized against the pack state.
template <bool Raw>
int ReadPixelsInto(lua_State* L)
{
    RequireContext();
    GLint x = CheckInt(L, 1);
    GLint y = CheckInt(L, 2);
    ImageArgs a = ReadImageArgs(L, 3, !Raw);
    if constexpr (Raw) {
        size_t needed = StoredImageBytes(a.width, a.height, a.format, a.type, true, 5, 6);
        glReadPixels(x, y, a.width, a.height, a.format, a.type, CheckDataBytes(L, 7, needed));
        return 0;
    } else {
        size_t bytes = TightImageBytes(a.width, a.height, a.format, a.type, 5, 6);
        void* pixels = PushScratch(L, bytes);
        {
            TightPixelStore tight;
            glReadPixels(x, y, a.width, a.height, a.format, a.type, pixels);
        }
        PushPixelTable(L, a.type, pixels, bytes / PixelTypeSize(a.type));
        return 1;
    }
}

// `rows` rows of `width` set-or-clear items from the table of tables at
// `narg`, packed most significant bit first, rows a whole byte apart, into
// scratch. A row that is not a table, or shorter than `width`, is `bad`.
GLubyte* PackBitRows(lua_State* L, int narg, size_t rows, size_t width, const char* bad)
{
    const size_t rowBytes = (width + 7) / 8;
    auto* bits = static_cast<GLubyte*>(PushScratch(L, rowBytes * rows));
    for (size_t r = 0; r < rows; ++r) {
        lua_rawgeti(L, narg, static_cast<int>(r + 1));
        if (lua_type(L, -1) != LUA_TTABLE || lua_objlen(L, -1) < width) {
            lua_pop(L, 1);
            throw ArgumentError(narg, bad);
        }
        for (size_t i = 0; i < width; ++i) {
            lua_rawgeti(L, -1, static_cast<int>(i + 1));
            if (IsSet(L))
                bits[r * rowBytes + i / 8] |= static_cast<GLubyte>(0x80u >> (i % 8));
            lua_pop(L, 1);
        }
        lua_pop(L, 1);
    }
    return bits;
}

// The bitmap as a table of rows of 0/1 values (non-zero is set), the first
// row at the bottom as OpenGL draws it.
int Bitmap(lua_State* L)
{
    RequireContext();
    GLfloat v[4];
    for (int i = 0; i < 4; ++i)
        v[i] = CheckFloat(L, i + 1);
    size_t rows = CheckTable(L, 5);
    lua_rawgeti(L, 5, 1);
    bool isRows = lua_type(L, -1) == LUA_TTABLE;
    size_t width = isRows ? lua_objlen(L, -1) : 0;
    lua_pop(L, 1);
    if (rows > 0 && !isRows)
        throw ArgumentError(5, "must be a table of tables");
    if (rows > 65536 || width > 65536)
        throw ArgumentError(5, "bitmap too large");
    GLubyte* bits = PackBitRows(L, 5, rows, width, "must be a table of tables");
    TightPixelStore tight;
    glBitmap(static_cast<GLsizei>(width), static_cast<GLsizei>(rows), v[0], v[1], v[2], v[3], bits);
    return 0;
}

int BitmapRaw(lua_State* L)
{
    RequireContext();
    GLsizei width = CheckInt(L, 1);
    GLsizei height = CheckInt(L, 2);
    GLfloat v[4];
    for (int i = 0; i < 4; ++i)
        v[i] = CheckFloat(L, i + 3);
    size_t needed = StoredImageBytes(width, height, GL_COLOR_INDEX, GL_BITMAP, false, 1, 1);
    void* bits = CheckDataBytes(L, 7, needed);
    glBitmap(width, height, v[0], v[1], v[2], v[3], static_cast<const GLubyte*>(bits));
    return 0;
}

// 32 rows of 32 values (non-zero is set).
int PolygonStipple(lua_State* L)
{
    RequireContext();
    const char* badSize = "invalid stipple size (width != 32 && height != 32)";
    if (CheckTable(L, 1) != 32)
        throw ArgumentError(1, badSize);
    GLubyte* mask = PackBitRows(L, 1, 32, 32, badSize);
    TightPixelStore tight;
    glPolygonStipple(mask);
    return 0;
}

int GetPolygonStipple(lua_State* L)
{
    RequireContext();
    auto* mask = static_cast<GLubyte*>(PushScratch(L, 128));
    {
        TightPixelStore tight;
        glGetPolygonStipple(mask);
    }
    lua_createtable(L, 32, 0);
    for (int r = 0; r < 32; ++r) {
        lua_createtable(L, 32, 0);
        for (int i = 0; i < 32; ++i) {
            lua_pushnumber(L, (mask[r * 4 + i / 8] >> (7 - i % 8)) & 1);
            lua_rawseti(L, -2, i + 1);
        }
        lua_rawseti(L, -2, r + 1);
    }
    return 1;
}

// (target, level, internalformat, width, [height,] border, format, type,
// pixels): `pixels` may be nil to allocate the texture only.
int TexImageAt(lua_State* L, bool twoD)
{
    GLenum target = CheckEnum(L, 1);
    GLint level = CheckInt(L, 2);
    GLint internalFormat = static_cast<GLint>(CheckEnum(L, 3));
    GLsizei width = CheckInt(L, 4);
    int next = 5;
    GLsizei height = 1;
    if (twoD)
        height = CheckInt(L, next++);
    GLint border = CheckInt(L, next++);
    GLenum format = CheckEnum(L, next);
    GLenum type = CheckEnum(L, next + 1);
    void* pixels = ReadImage(L, next + 2, width, height, format, type, next, next + 1, true);
    TightPixelStore tight;
    if (twoD)
        glTexImage2D(target, level, internalFormat, width, height, border, format, type, pixels);
    else
        glTexImage1D(target, level, internalFormat, width, border, format, type, pixels);
    return 0;
}

// A texture call in one or two dimensions (0: by the target argument).
template <int (*At)(lua_State*, bool), int Dimensions>
int ByDimensions(lua_State* L)
{
    RequireContext();
    bool twoD = Dimensions == 0 ? !Is1D(CheckEnum(L, 1)) : Dimensions == 2;
    return At(L, twoD);
}

// (target, level, xoffset, [yoffset,] width, [height,] format, type, pixels).
int TexSubImageAt(lua_State* L, bool twoD)
{
    GLenum target = CheckEnum(L, 1);
    GLint level = CheckInt(L, 2);
    GLint xoffset = CheckInt(L, 3);
    int next = 4;
    GLint yoffset = 0;
    if (twoD)
        yoffset = CheckInt(L, next++);
    GLsizei width = CheckInt(L, next++);
    GLsizei height = 1;
    if (twoD)
        height = CheckInt(L, next++);
    GLenum format = CheckEnum(L, next);
    GLenum type = CheckEnum(L, next + 1);
    void* pixels = ReadImage(L, next + 2, width, height, format, type, next, next + 1, false);
    TightPixelStore tight;
    if (twoD)
        glTexSubImage2D(target, level, xoffset, yoffset, width, height, format, type, pixels);
    else
        glTexSubImage1D(target, level, xoffset, width, format, type, pixels);
    return 0;
}

// The size of a texture level; only the two targets whose images
// GetTexImage can size are accepted.
void TextureLevelSize(GLenum target, GLint level, GLint& width, GLint& height)
{
    if (target != GL_TEXTURE_1D && target != GL_TEXTURE_2D)
        throw ArgumentError(1, "unknown or invalid enumeration");
    width = height = 0;
    glGetTexLevelParameteriv(target, level, GL_TEXTURE_WIDTH, &width);
    glGetTexLevelParameteriv(target, level, GL_TEXTURE_HEIGHT, &height);
    if (target == GL_TEXTURE_1D)
        height = 1;
}

// GetTexImage(target, level, format[, type]) -> a table of the pixel values;
// GetTexImageRaw(target, level, format, type, block) fills the block, sized
// against the pack state.
template <bool Raw>
int GetTexImageInto(lua_State* L)
{
    RequireContext();
    GLenum target = CheckEnum(L, 1);
    GLint level = CheckInt(L, 2);
    GLenum format = CheckEnum(L, 3);
    GLenum type = Raw ? CheckEnum(L, 4) : OptEnum(L, 4, GL_FLOAT);
    GLint width = 0;
    GLint height = 0;
    TextureLevelSize(target, level, width, height);
    if constexpr (Raw) {
        size_t needed = StoredImageBytes(width, height, format, type, true, 3, 4);
        void* pixels = CheckDataBytes(L, 5, needed);
        if (needed > 0)
            glGetTexImage(target, level, format, type, pixels);
        return 0;
    } else {
        size_t bytes = TightImageBytes(width, height, format, type, 3, 4);
        void* pixels = PushScratch(L, bytes);
        if (bytes > 0) {
            TightPixelStore tight;
            glGetTexImage(target, level, format, type, pixels);
        }
        PushPixelTable(L, type, pixels, bytes / PixelTypeSize(type));
        return 1;
    }
}

int GetTexLevelParameter(lua_State* L)
{
    RequireContext();
    GLenum target = CheckEnum(L, 1);
    GLint level = CheckInt(L, 2);
    GLenum pname = CheckEnum(L, 3);
    GLfloat values[16] = {};
    glGetTexLevelParameterfv(target, level, pname, values);
    lua_pushnumber(L, values[0]);
    return 1;
}

// ---------------------------------------------------------------------------
// Pixel maps and evaluators.

bool IsPixelMap(GLenum map)
{
    return map >= GL_PIXEL_MAP_I_TO_I && map <= GL_PIXEL_MAP_A_TO_A;
}

int PixelMap(lua_State* L)
{
    RequireContext();
    GLenum map = CheckEnum(L, 1);
    size_t n = CheckTable(L, 2);
    if (n > 65536)
        throw ArgumentError(2, "too many values");
    auto* values = static_cast<GLfloat*>(PushScratch(L, n * sizeof(GLfloat)));
    ReadTable(L, 2, values, n);
    glPixelMapfv(map, static_cast<GLsizei>(n), values);
    return 0;
}

int GetPixelMap(lua_State* L)
{
    RequireContext();
    GLenum map = CheckEnum(L, 1);
    if (!IsPixelMap(map))
        throw ArgumentError(1, "unknown enumeration.");
    GLint size = 0;
    glGetIntegerv(map - GL_PIXEL_MAP_I_TO_I + GL_PIXEL_MAP_I_TO_I_SIZE, &size);
    size = std::clamp(size, 0, 65536);
    auto* values = static_cast<GLfloat*>(PushScratch(L, size_t(size) * sizeof(GLfloat)));
    glGetPixelMapfv(map, values);
    PushPixelTable(L, GL_FLOAT, values, size_t(size));
    return 1;
}

// Components of an evaluator target, with whether it is two-dimensional;
// 0 for anything else.
int MapComponents(GLenum target, bool& twoD)
{
    twoD = target >= GL_MAP2_COLOR_4 && target <= GL_MAP2_VERTEX_4;
    GLenum base = twoD ? target - GL_MAP2_COLOR_4 + GL_MAP1_COLOR_4 : target;
    switch (base) {
    case GL_MAP1_INDEX:
    case GL_MAP1_TEXTURE_COORD_1: return 1;
    case GL_MAP1_TEXTURE_COORD_2: return 2;
    case GL_MAP1_NORMAL:
    case GL_MAP1_TEXTURE_COORD_3:
    case GL_MAP1_VERTEX_3: return 3;
    case GL_MAP1_COLOR_4:
    case GL_MAP1_TEXTURE_COORD_4:
    case GL_MAP1_VERTEX_4: return 4;
    default: return 0;
    }
}

// (target, u1, u2, points) or (target, u1, u2, v1, v2, rows): the control
// points as one flat table (order = items / components) for a curve, as a
// table of rows (one per u, each of vorder points) for a surface.
int Map(lua_State* L)
{
    RequireContext();
    GLenum target = CheckEnum(L, 1);
    bool twoD = false;
    const int k = MapComponents(target, twoD);
    if (k == 0)
        throw ArgumentError(1, "unknown or invalid enumeration");
    GLdouble u1 = CheckNumber(L, 2);
    GLdouble u2 = CheckNumber(L, 3);
    if (!twoD) {
        size_t n = CheckTable(L, 4);
        size_t order = std::min<size_t>(n / size_t(k), 64);
        auto* points = static_cast<GLdouble*>(PushScratch(L, order * size_t(k) * sizeof(GLdouble)));
        ReadTable(L, 4, points, order * size_t(k));
        glMap1d(target, u1, u2, k, static_cast<GLint>(order), points);
        return 0;
    }
    GLdouble v1 = CheckNumber(L, 4);
    GLdouble v2 = CheckNumber(L, 5);
    size_t uorder = std::min<size_t>(CheckTable(L, 6), 64);
    lua_rawgeti(L, 6, 1);
    size_t rowItems = lua_type(L, -1) == LUA_TTABLE ? lua_objlen(L, -1) : 0;
    lua_pop(L, 1);
    size_t vorder = std::min<size_t>(rowItems / size_t(k), 64);
    size_t count = uorder * vorder * size_t(k);
    auto* points = static_cast<GLdouble*>(PushScratch(L, count * sizeof(GLdouble)));
    for (size_t u = 0; u < uorder; ++u) {
        lua_rawgeti(L, 6, static_cast<int>(u + 1));
        if (lua_type(L, -1) != LUA_TTABLE || lua_objlen(L, -1) < vorder * size_t(k)) {
            lua_pop(L, 1);
            throw ArgumentError(6, "must be a table of tables");
        }
        ReadTable(L, lua_gettop(L), points + u * vorder * size_t(k), vorder * size_t(k));
        lua_pop(L, 1);
    }
    glMap2d(target, u1, u2, k * static_cast<GLint>(vorder), static_cast<GLint>(uorder), v1, v2, k,
            static_cast<GLint>(vorder), points);
    return 0;
}

int MapGrid(lua_State* L)
{
    RequireContext();
    GLint un = CheckInt(L, 1);
    GLdouble u1 = CheckNumber(L, 2);
    GLdouble u2 = CheckNumber(L, 3);
    if (lua_isnoneornil(L, 4)) {
        glMapGrid1d(un, u1, u2);
    } else {
        GLint vn = CheckInt(L, 4);
        GLdouble v1 = CheckNumber(L, 5);
        GLdouble v2 = CheckNumber(L, 6);
        glMapGrid2d(un, u1, u2, vn, v1, v2);
    }
    return 0;
}

int GetMap(lua_State* L)
{
    RequireContext();
    GLenum target = CheckEnum(L, 1);
    GLenum query = CheckEnum(L, 2);
    bool twoD = false;
    const int k = MapComponents(target, twoD);
    if (k == 0)
        throw ArgumentError(1, "unknown enumeration.");
    GLint order[2] = {1, 1};
    glGetMapiv(target, GL_ORDER, order);
    size_t count = 0;
    switch (query) {
    case GL_ORDER: count = twoD ? 2 : 1; break;
    case GL_DOMAIN: count = twoD ? 4 : 2; break;
    case GL_COEFF:
        count = size_t(std::clamp(order[0], 0, 64)) * size_t(twoD ? std::clamp(order[1], 0, 64) : 1) *
                size_t(k);
        break;
    default: throw ArgumentError(2, "unknown enumeration.");
    }
    auto* values = static_cast<GLdouble*>(PushScratch(L, std::max<size_t>(count, 4) * sizeof(GLdouble)));
    glGetMapdv(target, query, values);
    PushNumberTable(L, values, count);
    return 1;
}

// ---------------------------------------------------------------------------
// Selection and feedback: the buffers OpenGL writes into are kept here per
// context until replaced or freed, never while OpenGL is writing them.

GLint RenderModeNow()
{
    GLint mode = GL_RENDER;
    glGetIntegerv(GL_RENDER_MODE, &mode);
    return mode;
}

constexpr size_t kMaxRenderBuffer = 1 << 20;

int SelectBuffer(lua_State* L)
{
    RequireContext();
    int size = CheckInt(L, 1);
    if (size < 0 || size_t(size) > kMaxRenderBuffer)
        throw ArgumentError(1, "size out of range");
    if (RenderModeNow() == GL_SELECT)
        throw LuaError("SelectBuffer: not while in selection mode");
    void* buffer = SetClientBuffer(GL_SELECT, size_t(size) * sizeof(GLuint));
    glSelectBuffer(size, static_cast<GLuint*>(buffer));
    return 0;
}

// ([count]) -> a table of the first `count` values (all by default).
int GetSelectBuffer(lua_State* L)
{
    RequireContext();
    size_t bytes = 0;
    auto* values = static_cast<const GLuint*>(GetClientBuffer(GL_SELECT, &bytes));
    size_t size = bytes / sizeof(GLuint);
    lua_Integer count = utility::OptInteger(L, 1, static_cast<lua_Integer>(size));
    if (values == nullptr)
        return 0;
    size_t n = std::min<size_t>(size, static_cast<size_t>(std::max<lua_Integer>(count, 0)));
    PushCopy(L, GL_UNSIGNED_INT, values, n * sizeof(GLuint));
    return 1;
}

int FreeSelectBuffer(lua_State*)
{
    RequireContext();
    if (RenderModeNow() == GL_SELECT)
        throw LuaError("FreeSelectBuffer: not while in selection mode");
    glSelectBuffer(0, nullptr);
    FreeClientBuffer(GL_SELECT);
    return 0;
}

int FeedbackBuffer(lua_State* L)
{
    RequireContext();
    int size = CheckInt(L, 1);
    GLenum type = CheckEnum(L, 2);
    if (size < 0 || size_t(size) > kMaxRenderBuffer)
        throw ArgumentError(1, "size out of range");
    if (RenderModeNow() == GL_FEEDBACK)
        throw LuaError("FeedbackBuffer: not while in feedback mode");
    void* buffer = SetClientBuffer(GL_FEEDBACK, size_t(size) * sizeof(GLfloat));
    glFeedbackBuffer(size, type, static_cast<GLfloat*>(buffer));
    return 0;
}

// (mode) -> OpenGL's count; leaving feedback mode, also a table of the
// feedback values written.
int RenderMode(lua_State* L)
{
    RequireContext();
    GLenum mode = CheckEnum(L, 1);
    GLint previous = RenderModeNow();
    GLint count = glRenderMode(mode);
    lua_pushnumber(L, count);
    if (previous != GL_FEEDBACK)
        return 1;
    size_t bytes = 0;
    auto* values = static_cast<const GLfloat*>(GetClientBuffer(GL_FEEDBACK, &bytes));
    size_t n = values ? bytes / sizeof(GLfloat) : 0;
    if (count >= 0)
        n = std::min(n, size_t(count));
    PushCopy(L, GL_FLOAT, values, n * sizeof(GLfloat));
    return 2;
}

// ---------------------------------------------------------------------------
// Native memory blocks.

// (size in bytes) or (table[, type]) -> a block; a table's numbers are
// stored as `type` (default FLOAT).
int NewData(lua_State* L)
{
    size_t bytes = 0;
    GLenum type = GL_FLOAT;
    size_t items = 0;
    if (lua_type(L, 1) == LUA_TTABLE) {
        type = OptEnum(L, 2, GL_FLOAT);
        if (PixelTypeSize(type) == 0)
            throw ArgumentError(2, "unsupported pixel type");
        items = lua_objlen(L, 1);
        bytes = items * PixelTypeSize(type);
    } else {
        lua_Integer size = utility::CheckInteger(L, 1);
        if (size < 0 || size > lua_Integer(kMaxImageBytes))
            throw ArgumentError(1, "size out of range");
        bytes = static_cast<size_t>(size);
    }
    if (bytes > kMaxImageBytes)
        throw ArgumentError(1, "size out of range");
    // Read into Lua-owned scratch first: the reads may fail half way.
    void* values = PushScratch(L, bytes);
    if (items > 0)
        ReadPixelTable(L, 1, type, values, items);
    DataBlock* block = LuaData::Push(L);
    block->bytes.assign(static_cast<std::uint8_t*>(values), static_cast<std::uint8_t*>(values) + bytes);
    return 1;
}

// block:Size() -> bytes (0 once freed).
int DataSize(lua_State* L)
{
    DataBlock* block = LuaData::Check(L, 1);
    lua_pushnumber(L, block ? static_cast<lua_Number>(block->bytes.size()) : 0);
    return 1;
}

// block:Values([type]) -> a table of its contents read as `type` (FLOAT).
int DataValues(lua_State* L)
{
    GLenum type = OptEnum(L, 2, GL_FLOAT);
    size_t size = PixelTypeSize(type);
    if (size == 0)
        throw ArgumentError(2, "unsupported pixel type");
    DataBlock& block = CheckData(L, 1);
    PushCopy(L, type, block.bytes.data(), block.bytes.size() / size * size);
    return 1;
}

// ---------------------------------------------------------------------------
// Queries.

// Values per parameter of the OpenGL 1.1 state tables.
int GetCount(GLenum pname)
{
    switch (pname) {
    case GL_MODELVIEW_MATRIX:
    case GL_PROJECTION_MATRIX:
    case GL_TEXTURE_MATRIX: return 16;
    case GL_ACCUM_CLEAR_VALUE:
    case GL_COLOR_CLEAR_VALUE:
    case GL_COLOR_WRITEMASK:
    case GL_CURRENT_COLOR:
    case GL_CURRENT_RASTER_COLOR:
    case GL_CURRENT_RASTER_POSITION:
    case GL_CURRENT_RASTER_TEXTURE_COORDS:
    case GL_CURRENT_TEXTURE_COORDS:
    case GL_FOG_COLOR:
    case GL_LIGHT_MODEL_AMBIENT:
    case GL_MAP2_GRID_DOMAIN:
    case GL_SCISSOR_BOX:
    case GL_VIEWPORT: return 4;
    case GL_CURRENT_NORMAL: return 3;
    case GL_DEPTH_RANGE:
    case GL_LINE_WIDTH_RANGE:
    case GL_POINT_SIZE_RANGE:
    case GL_MAP1_GRID_DOMAIN:
    case GL_MAP2_GRID_SEGMENTS:
    case GL_MAX_VIEWPORT_DIMS:
    case GL_POLYGON_MODE: return 2;
    default: break;
    }
    // The single-valued parameters.
    static const GLenum kSingle[] = {
        GL_ACCUM_ALPHA_BITS, GL_ACCUM_BLUE_BITS, GL_ACCUM_GREEN_BITS, GL_ACCUM_RED_BITS,
        GL_ALPHA_BIAS, GL_ALPHA_BITS, GL_ALPHA_SCALE, GL_ALPHA_TEST, GL_ALPHA_TEST_FUNC,
        GL_ALPHA_TEST_REF, GL_ATTRIB_STACK_DEPTH, GL_AUTO_NORMAL, GL_AUX_BUFFERS, GL_BLEND,
        GL_BLEND_DST, GL_BLEND_SRC, GL_BLUE_BIAS, GL_BLUE_BITS, GL_BLUE_SCALE,
        GL_CLIENT_ATTRIB_STACK_DEPTH, GL_CLIP_PLANE0, GL_CLIP_PLANE1, GL_CLIP_PLANE2,
        GL_CLIP_PLANE3, GL_CLIP_PLANE4, GL_CLIP_PLANE5, GL_COLOR_ARRAY, GL_COLOR_ARRAY_SIZE,
        GL_COLOR_ARRAY_STRIDE, GL_COLOR_ARRAY_TYPE, GL_COLOR_LOGIC_OP, GL_COLOR_MATERIAL,
        GL_COLOR_MATERIAL_FACE, GL_COLOR_MATERIAL_PARAMETER, GL_CULL_FACE, GL_CULL_FACE_MODE,
        GL_CURRENT_INDEX, GL_CURRENT_RASTER_DISTANCE, GL_CURRENT_RASTER_INDEX,
        GL_CURRENT_RASTER_POSITION_VALID, GL_DEPTH_BIAS, GL_DEPTH_BITS, GL_DEPTH_CLEAR_VALUE,
        GL_DEPTH_FUNC, GL_DEPTH_SCALE, GL_DEPTH_TEST, GL_DEPTH_WRITEMASK, GL_DITHER,
        GL_DOUBLEBUFFER, GL_DRAW_BUFFER, GL_EDGE_FLAG, GL_EDGE_FLAG_ARRAY,
        GL_EDGE_FLAG_ARRAY_STRIDE, GL_FEEDBACK_BUFFER_SIZE, GL_FEEDBACK_BUFFER_TYPE, GL_FOG,
        GL_FOG_DENSITY, GL_FOG_END, GL_FOG_HINT, GL_FOG_INDEX, GL_FOG_MODE, GL_FOG_START,
        GL_FRONT_FACE, GL_GREEN_BIAS, GL_GREEN_BITS, GL_GREEN_SCALE, GL_INDEX_ARRAY,
        GL_INDEX_ARRAY_STRIDE, GL_INDEX_ARRAY_TYPE, GL_INDEX_BITS, GL_INDEX_CLEAR_VALUE,
        GL_INDEX_LOGIC_OP, GL_INDEX_MODE, GL_INDEX_OFFSET, GL_INDEX_SHIFT, GL_INDEX_WRITEMASK,
        GL_LIGHT0, GL_LIGHT1, GL_LIGHT2, GL_LIGHT3, GL_LIGHT4, GL_LIGHT5, GL_LIGHT6, GL_LIGHT7,
        GL_LIGHTING, GL_LIGHT_MODEL_LOCAL_VIEWER, GL_LIGHT_MODEL_TWO_SIDE, GL_LINE_SMOOTH,
        GL_LINE_SMOOTH_HINT, GL_LINE_STIPPLE, GL_LINE_STIPPLE_PATTERN, GL_LINE_STIPPLE_REPEAT,
        GL_LINE_WIDTH, GL_LINE_WIDTH_GRANULARITY, GL_LIST_BASE, GL_LIST_INDEX, GL_LIST_MODE,
        GL_LOGIC_OP_MODE, GL_MAP1_COLOR_4, GL_MAP1_GRID_SEGMENTS, GL_MAP1_INDEX, GL_MAP1_NORMAL,
        GL_MAP1_TEXTURE_COORD_1, GL_MAP1_TEXTURE_COORD_2, GL_MAP1_TEXTURE_COORD_3,
        GL_MAP1_TEXTURE_COORD_4, GL_MAP1_VERTEX_3, GL_MAP1_VERTEX_4, GL_MAP2_COLOR_4,
        GL_MAP2_INDEX, GL_MAP2_NORMAL, GL_MAP2_TEXTURE_COORD_1, GL_MAP2_TEXTURE_COORD_2,
        GL_MAP2_TEXTURE_COORD_3, GL_MAP2_TEXTURE_COORD_4, GL_MAP2_VERTEX_3, GL_MAP2_VERTEX_4,
        GL_MAP_COLOR, GL_MAP_STENCIL, GL_MATRIX_MODE, GL_MAX_ATTRIB_STACK_DEPTH,
        GL_MAX_CLIENT_ATTRIB_STACK_DEPTH, GL_MAX_CLIP_PLANES, GL_MAX_EVAL_ORDER, GL_MAX_LIGHTS,
        GL_MAX_LIST_NESTING, GL_MAX_MODELVIEW_STACK_DEPTH, GL_MAX_NAME_STACK_DEPTH,
        GL_MAX_PIXEL_MAP_TABLE, GL_MAX_PROJECTION_STACK_DEPTH, GL_MAX_TEXTURE_SIZE,
        GL_MAX_TEXTURE_STACK_DEPTH, GL_MODELVIEW_STACK_DEPTH, GL_NAME_STACK_DEPTH,
        GL_NORMAL_ARRAY, GL_NORMAL_ARRAY_STRIDE, GL_NORMAL_ARRAY_TYPE, GL_NORMALIZE,
        GL_PACK_ALIGNMENT, GL_PACK_LSB_FIRST, GL_PACK_ROW_LENGTH, GL_PACK_SKIP_PIXELS,
        GL_PACK_SKIP_ROWS, GL_PACK_SWAP_BYTES, GL_PERSPECTIVE_CORRECTION_HINT,
        GL_PIXEL_MAP_A_TO_A_SIZE, GL_PIXEL_MAP_B_TO_B_SIZE, GL_PIXEL_MAP_G_TO_G_SIZE,
        GL_PIXEL_MAP_I_TO_A_SIZE, GL_PIXEL_MAP_I_TO_B_SIZE, GL_PIXEL_MAP_I_TO_G_SIZE,
        GL_PIXEL_MAP_I_TO_I_SIZE, GL_PIXEL_MAP_I_TO_R_SIZE, GL_PIXEL_MAP_R_TO_R_SIZE,
        GL_PIXEL_MAP_S_TO_S_SIZE, GL_POINT_SIZE, GL_POINT_SIZE_GRANULARITY, GL_POINT_SMOOTH,
        GL_POINT_SMOOTH_HINT, GL_POLYGON_OFFSET_FACTOR, GL_POLYGON_OFFSET_UNITS,
        GL_POLYGON_OFFSET_FILL, GL_POLYGON_OFFSET_LINE, GL_POLYGON_OFFSET_POINT,
        GL_POLYGON_SMOOTH, GL_POLYGON_SMOOTH_HINT, GL_POLYGON_STIPPLE, GL_PROJECTION_STACK_DEPTH,
        GL_READ_BUFFER, GL_RED_BIAS, GL_RED_BITS, GL_RED_SCALE, GL_RENDER_MODE, GL_RGBA_MODE,
        GL_SCISSOR_TEST, GL_SELECTION_BUFFER_SIZE, GL_SHADE_MODEL, GL_STENCIL_BITS,
        GL_STENCIL_CLEAR_VALUE, GL_STENCIL_FAIL, GL_STENCIL_FUNC, GL_STENCIL_PASS_DEPTH_FAIL,
        GL_STENCIL_PASS_DEPTH_PASS, GL_STENCIL_REF, GL_STENCIL_TEST, GL_STENCIL_VALUE_MASK,
        GL_STENCIL_WRITEMASK, GL_STEREO, GL_SUBPIXEL_BITS, GL_TEXTURE_1D, GL_TEXTURE_2D,
        GL_TEXTURE_BINDING_1D, GL_TEXTURE_BINDING_2D, GL_TEXTURE_COORD_ARRAY,
        GL_TEXTURE_COORD_ARRAY_SIZE, GL_TEXTURE_COORD_ARRAY_STRIDE, GL_TEXTURE_COORD_ARRAY_TYPE,
        GL_TEXTURE_GEN_Q, GL_TEXTURE_GEN_R, GL_TEXTURE_GEN_S, GL_TEXTURE_GEN_T,
        GL_TEXTURE_STACK_DEPTH, GL_UNPACK_ALIGNMENT, GL_UNPACK_LSB_FIRST, GL_UNPACK_ROW_LENGTH,
        GL_UNPACK_SKIP_PIXELS, GL_UNPACK_SKIP_ROWS, GL_UNPACK_SWAP_BYTES, GL_VERTEX_ARRAY,
        GL_VERTEX_ARRAY_SIZE, GL_VERTEX_ARRAY_STRIDE, GL_VERTEX_ARRAY_TYPE, GL_ZOOM_X, GL_ZOOM_Y,
    };
    return std::find(std::begin(kSingle), std::end(kSingle), pname) != std::end(kSingle) ? 1 : 0;
}

// The parameter's values into `values` (16 wide); returns their count.
int ReadState(lua_State* L, GLdouble* values)
{
    GLenum pname = CheckEnum(L, 1);
    int count = GetCount(pname);
    if (count == 0)
        throw ArgumentError(1, "unknown enumeration.");
    glGetDoublev(pname, values);
    return count;
}

int Get(lua_State* L)
{
    RequireContext();
    GLdouble values[16] = {};
    int count = ReadState(L, values);
    return PushNumbers(L, values, count);
}

int GetArray(lua_State* L)
{
    RequireContext();
    GLdouble values[16] = {};
    int count = ReadState(L, values);
    PushNumberTable(L, values, size_t(count));
    return 1;
}

// (name or names) -> the value; (number) -> the first constant's name with
// that value, or nil.
int GetConst(lua_State* L)
{
    if (lua_type(L, 1) == LUA_TNUMBER) {
        const char* name = ConstantName(utility::CheckInteger(L, 1));
        if (name == nullptr)
            return 0;
        lua_pushstring(L, name);
        return 1;
    }
    lua_pushnumber(L, static_cast<lua_Number>(CheckEnum(L, 1)));
    return 1;
}

int GetError(lua_State* L)
{
    RequireContext();
    lua_pushnumber(L, glGetError());
    return 1;
}

int GetString(lua_State* L)
{
    RequireContext();
    GLenum name = CheckEnum(L, 1);
    const GLubyte* text = glGetString(name);
    if (text == nullptr)
        return 0;
    lua_pushstring(L, reinterpret_cast<const char*>(text));
    return 1;
}

int GetPointer(lua_State* L)
{
    RequireContext();
    GLenum pname = CheckEnum(L, 1);
    GLvoid* pointer = nullptr;
    glGetPointerv(pname, &pointer);
    lua_pushlightuserdata(L, pointer);
    return 1;
}

// Scalar setters with an integer form for enumeration values.
int Fog(lua_State* L) { return Param1<glFogf, glFogi, glFogfv>(L); }
int LightModel(lua_State* L) { return Param1<glLightModelf, glLightModeli, glLightModelfv>(L); }
int Light(lua_State* L) { return Param2<glLightf, glLighti, glLightfv>(L); }
int Material(lua_State* L) { return Param2<glMaterialf, glMateriali, glMaterialfv>(L); }
int TexEnv(lua_State* L) { return Param2<glTexEnvf, glTexEnvi, glTexEnvfv>(L); }
int TexParameter(lua_State* L) { return Param2<glTexParameterf, glTexParameteri, glTexParameterfv>(L); }

int TexGen(lua_State* L) { return Param2<glTexGenf, glTexGeni, glTexGenfv>(L); }

const luaL_Reg kFunctions[] = {
    {"Accum", LuaBoundary<Call<glAccum, E, F>>},
    {"AlphaFunc", LuaBoundary<Call<glAlphaFunc, E, F>>},
    {"AreTexturesResident", LuaBoundary<AreTexturesResident>},
    {"ArrayElement", LuaBoundary<ArrayElement>},
    {"Begin", LuaBoundary<Begin>},
    {"BindTexture", LuaBoundary<Call<glBindTexture, E, U>>},
    {"Bitmap", LuaBoundary<Bitmap>},
    {"BitmapRaw", LuaBoundary<BitmapRaw>},
    {"BlendFunc", LuaBoundary<Call<glBlendFunc, E, E>>},
    {"CallList", LuaBoundary<ChangingArrays<glCallList, U>>},
    {"CallLists", LuaBoundary<CallLists>},
    {"Clear", LuaBoundary<Call<glClear, E>>},
    {"ClearAccum", LuaBoundary<Call<glClearAccum, F, F, F, F>>},
    {"ClearColor", LuaBoundary<Call<glClearColor, F, F, F, F>>},
    {"ClearDepth", LuaBoundary<Call<glClearDepth, D>>},
    {"ClearIndex", LuaBoundary<Call<glClearIndex, F>>},
    {"ClearStencil", LuaBoundary<Call<glClearStencil, I>>},
    {"ClipPlane", LuaBoundary<ClipPlane>},
    {"Color", LuaBoundary<Color>},
    {"ColorMask", LuaBoundary<Call<glColorMask, B, B, B, B>>},
    {"ColorMaterial", LuaBoundary<Call<glColorMaterial, E, E>>},
    {"ColorPointer", LuaBoundary<SizedPointer<GL_COLOR_ARRAY, glColorPointer, 3, 4>>},
    {"CopyPixels", LuaBoundary<Call<glCopyPixels, I, I, I, I, E>>},
    {"CopyTexImage", LuaBoundary<CopyTexImage>},
    {"CopyTexSubImage", LuaBoundary<CopyTexSubImage>},
    {"CullFace", LuaBoundary<Call<glCullFace, E>>},
    {"DeleteLists", LuaBoundary<DeleteLists>},
    {"DeleteTextures", LuaBoundary<DeleteTextures>},
    {"DepthFunc", LuaBoundary<Call<glDepthFunc, E>>},
    {"DepthMask", LuaBoundary<Call<glDepthMask, B>>},
    {"DepthRange", LuaBoundary<Call<glDepthRange, D, D>>},
    {"Disable", LuaBoundary<ChangingArrays<glDisable, E>>},
    {"DisableClientState", LuaBoundary<ChangingArrays<glDisableClientState, E>>},
    {"DrawArrays", LuaBoundary<DrawArrays>},
    {"DrawBuffer", LuaBoundary<Call<glDrawBuffer, E>>},
    {"DrawElements", LuaBoundary<DrawElements>},
    {"DrawPixels", LuaBoundary<DrawPixelsFrom<false>>},
    {"DrawPixelsRaw", LuaBoundary<DrawPixelsFrom<true>>},
    {"EdgeFlag", LuaBoundary<Call<glEdgeFlag, B>>},
    {"EdgeFlagPointer", LuaBoundary<EdgeFlagPointer>},
    {"Enable", LuaBoundary<ChangingArrays<glEnable, E>>},
    {"EnableClientState", LuaBoundary<ChangingArrays<glEnableClientState, E>>},
    {"End", LuaBoundary<End>},
    {"EndList", LuaBoundary<Call<glEndList>>},
    {"EvalCoord", LuaBoundary<EvalCoord>},
    {"EvalMesh", LuaBoundary<EvalMesh>},
    {"EvalPoint", LuaBoundary<EvalPoint>},
    {"FeedbackBuffer", LuaBoundary<FeedbackBuffer>},
    {"Finish", LuaBoundary<Call<glFinish>>},
    {"Flush", LuaBoundary<Call<glFlush>>},
    {"Fog", LuaBoundary<Fog>},
    {"FrontFace", LuaBoundary<Call<glFrontFace, E>>},
    {"Frustum", LuaBoundary<Call<glFrustum, D, D, D, D, D, D>>},
    {"GenLists", LuaBoundary<GenLists>},
    {"GenTextures", LuaBoundary<GenTextures>},
    {"Get", LuaBoundary<Get>},
    {"GetArray", LuaBoundary<GetArray>},
    {"GetConst", LuaBoundary<GetConst>},
    {"GetClipPlane", LuaBoundary<GetClipPlane>},
    {"GetError", LuaBoundary<GetError>},
    {"GetLight", LuaBoundary<GetParam2<glGetLightfv>>},
    {"GetMap", LuaBoundary<GetMap>},
    {"GetMaterial", LuaBoundary<GetParam2<glGetMaterialfv>>},
    {"GetPixelMap", LuaBoundary<GetPixelMap>},
    {"GetPointer", LuaBoundary<GetPointer>},
    {"GetPolygonStipple", LuaBoundary<GetPolygonStipple>},
    {"GetString", LuaBoundary<GetString>},
    {"GetTexEnv", LuaBoundary<GetParam2<glGetTexEnvfv>>},
    {"GetTexGen", LuaBoundary<GetParam2<glGetTexGenfv>>},
    {"GetTexImage", LuaBoundary<GetTexImageInto<false>>},
    {"GetTexImageRaw", LuaBoundary<GetTexImageInto<true>>},
    {"GetTexLevelParameter", LuaBoundary<GetTexLevelParameter>},
    {"GetTexParameter", LuaBoundary<GetParam2<glGetTexParameterfv>>},
    {"Hint", LuaBoundary<Call<glHint, E, E>>},
    {"Index", LuaBoundary<Call<glIndexd, D>>},
    {"IndexMask", LuaBoundary<Call<glIndexMask, U>>},
    {"IndexPointer", LuaBoundary<FixedPointer<GL_INDEX_ARRAY, glIndexPointer, 1>>},
    {"InitNames", LuaBoundary<Call<glInitNames>>},
    {"IsEnabled", LuaBoundary<IsEnabled>},
    {"IsList", LuaBoundary<IsObject<glIsList>>},
    {"IsTexture", LuaBoundary<IsObject<glIsTexture>>},
    {"Light", LuaBoundary<Light>},
    {"LightModel", LuaBoundary<LightModel>},
    {"LineStipple", LuaBoundary<Call<glLineStipple, I, CheckUShort>>},
    {"LineWidth", LuaBoundary<Call<glLineWidth, F>>},
    {"ListBase", LuaBoundary<Call<glListBase, U>>},
    {"LoadIdentity", LuaBoundary<Call<glLoadIdentity>>},
    {"LoadMatrix", LuaBoundary<MatrixCall<glLoadMatrixd>>},
    {"LoadName", LuaBoundary<Call<glLoadName, U>>},
    {"LogicOp", LuaBoundary<Call<glLogicOp, E>>},
    {"Map", LuaBoundary<Map>},
    {"MapGrid", LuaBoundary<MapGrid>},
    {"Material", LuaBoundary<Material>},
    {"MatrixMode", LuaBoundary<Call<glMatrixMode, E>>},
    {"MultMatrix", LuaBoundary<MatrixCall<glMultMatrixd>>},
    {"NewList", LuaBoundary<Call<glNewList, U, E>>},
    {"Normal", LuaBoundary<Normal>},
    {"NormalPointer", LuaBoundary<FixedPointer<GL_NORMAL_ARRAY, glNormalPointer, 3>>},
    {"Ortho", LuaBoundary<Call<glOrtho, D, D, D, D, D, D>>},
    {"PassThrough", LuaBoundary<Call<glPassThrough, F>>},
    {"PixelMap", LuaBoundary<PixelMap>},
    {"PixelStore", LuaBoundary<PixelParameter<glPixelStorei, glPixelStoref>>},
    {"PixelTransfer", LuaBoundary<PixelParameter<glPixelTransferi, glPixelTransferf>>},
    {"PixelZoom", LuaBoundary<Call<glPixelZoom, F, F>>},
    {"PointSize", LuaBoundary<Call<glPointSize, F>>},
    {"PolygonMode", LuaBoundary<Call<glPolygonMode, E, E>>},
    {"PolygonOffset", LuaBoundary<Call<glPolygonOffset, F, F>>},
    {"PolygonStipple", LuaBoundary<PolygonStipple>},
    {"PopAttrib", LuaBoundary<Call<glPopAttrib>>},
    {"PopClientAttrib", LuaBoundary<ChangingArrays<glPopClientAttrib>>},
    {"PopMatrix", LuaBoundary<Call<glPopMatrix>>},
    {"PopName", LuaBoundary<Call<glPopName>>},
    {"PrioritizeTextures", LuaBoundary<PrioritizeTextures>},
    {"PushAttrib", LuaBoundary<Call<glPushAttrib, E>>},
    {"PushClientAttrib", LuaBoundary<Call<glPushClientAttrib, E>>},
    {"PushMatrix", LuaBoundary<Call<glPushMatrix>>},
    {"PushName", LuaBoundary<Call<glPushName, U>>},
    {"RasterPos", LuaBoundary<RasterPos>},
    {"ReadBuffer", LuaBoundary<Call<glReadBuffer, E>>},
    {"ReadPixels", LuaBoundary<ReadPixelsInto<false>>},
    {"ReadPixelsRaw", LuaBoundary<ReadPixelsInto<true>>},
    {"Rect", LuaBoundary<Rect>},
    {"RenderMode", LuaBoundary<RenderMode>},
    {"Rotate", LuaBoundary<Call<glRotated, D, D, D, D>>},
    {"Scale", LuaBoundary<Call<glScaled, D, D, D>>},
    {"Scissor", LuaBoundary<Call<glScissor, I, I, I, I>>},
    {"SelectBuffer", LuaBoundary<SelectBuffer>},
    {"GetSelectBuffer", LuaBoundary<GetSelectBuffer>},
    {"FreeSelectBuffer", LuaBoundary<FreeSelectBuffer>},
    {"NewData", LuaBoundary<NewData>},
    {"FreeData", LuaBoundary<LuaData::ReleaseMethod>},
    {"ShadeModel", LuaBoundary<Call<glShadeModel, E>>},
    {"StencilFunc", LuaBoundary<Call<glStencilFunc, E, I, U>>},
    {"StencilMask", LuaBoundary<Call<glStencilMask, U>>},
    {"StencilOp", LuaBoundary<Call<glStencilOp, E, E, E>>},
    {"TexCoord", LuaBoundary<TexCoord>},
    {"TexCoordPointer", LuaBoundary<SizedPointer<GL_TEXTURE_COORD_ARRAY, glTexCoordPointer, 1, 4>>},
    {"TexEnv", LuaBoundary<TexEnv>},
    {"TexGen", LuaBoundary<TexGen>},
    {"TexImage", LuaBoundary<ByDimensions<TexImageAt, 0>>},
    {"TexImage1D", LuaBoundary<ByDimensions<TexImageAt, 1>>},
    {"TexImage2D", LuaBoundary<ByDimensions<TexImageAt, 2>>},
    {"TexSubImage", LuaBoundary<ByDimensions<TexSubImageAt, 0>>},
    {"TexSubImage1D", LuaBoundary<ByDimensions<TexSubImageAt, 1>>},
    {"TexSubImage2D", LuaBoundary<ByDimensions<TexSubImageAt, 2>>},
    {"TexParameter", LuaBoundary<TexParameter>},
    {"Translate", LuaBoundary<Call<glTranslated, D, D, D>>},
    {"Vertex", LuaBoundary<Vertex>},
    {"VertexPointer", LuaBoundary<SizedPointer<GL_VERTEX_ARRAY, glVertexPointer, 2, 4>>},
    {"Viewport", LuaBoundary<Call<glViewport, I, I, I, I>>},
    {nullptr, nullptr},
};

const luaL_Reg kDataMethods[] = {
    {"Size", LuaBoundary<DataSize>},
    {"Values", LuaBoundary<DataValues>},
    {nullptr, nullptr},
};

void MakeDataMetatable(lua_State* L)
{
    RegisterMetatable(L, kDataMetatable, LuaData::kLifetime);
    RegisterMetatable(L, kDataMetatable, kDataMethods);
}

int OpenBody(lua_State* L)
{
    for (const Constant* c = kConstants; *c->name; ++c) {
        if (c->value == kEnumError)
            throw LuaError("WARNING: INVALID CONSTANT=ENUM_ERROR");
    }
    MakeDataMetatable(L);
    luaL_register(L, "gl", kFunctions);
    for (const Constant* c = kConstants; *c->name; ++c) {
        lua_pushnumber(L, static_cast<lua_Number>(c->value));
        lua_setfield(L, -2, c->name);
    }
    lua_pushstring(L, "1.8");
    lua_setfield(L, -2, "_VERSION");
    return 1;
}

} // namespace

} // namespace vyrlua::gl

extern "C" int luaopen_vyrlua_gl(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::gl::OpenBody>(L);
}
