#include "vyrlua/gl/GLSupport.h"

#include "vyrui/gl/GLContext.h"

#define GL_GLEXT_PROTOTYPES 1
#include <GL/glext.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <unordered_map>
#include <vector>

namespace vyrlua::gl {

using utility::ArgumentError;
using utility::LuaError;

const Constant kConstants[] = {
#define VYR_GL_CONSTANT(name, value) {#name, static_cast<lua_Integer>(value)},
#include "vyrlua/gl/GLConstants.inc"
#undef VYR_GL_CONSTANT
    {"", 0},
};

namespace {

const std::unordered_map<std::string_view, lua_Integer>& NameTable()
{
    static const auto table = [] {
        std::unordered_map<std::string_view, lua_Integer> names;
        for (const Constant* c = kConstants; *c->name; ++c)
            names.emplace(c->name, c->value);
        return names;
    }();
    return table;
}

} // namespace

bool FindConstant(std::string_view name, lua_Integer& value)
{
    const auto& names = NameTable();
    auto found = names.find(name);
    if (found == names.end())
        return false;
    value = found->second;
    return true;
}

const char* ConstantName(lua_Integer value)
{
    for (const Constant* c = kConstants; *c->name; ++c) {
        if (c->value == value)
            return c->name;
    }
    return nullptr;
}

GLenum CheckEnum(lua_State* L, int narg)
{
    if (lua_type(L, narg) == LUA_TNUMBER) {
        // Taken exactly or refused: no value wraps onto another.
        lua_Integer value = utility::CheckInteger(L, narg);
        if (value < 0 || static_cast<unsigned long long>(value) > std::numeric_limits<GLenum>::max())
            throw ArgumentError(narg, "unknown or invalid enumeration");
        return static_cast<GLenum>(value);
    }
    std::string_view text = utility::CheckLString(L, narg);
    lua_Integer combined = 0;
    while (true) {
        size_t comma = text.find(',');
        lua_Integer value = 0;
        if (!FindConstant(text.substr(0, comma), value))
            throw ArgumentError(narg, "unknown or invalid enumeration");
        combined |= value;
        if (comma == std::string_view::npos)
            break;
        text.remove_prefix(comma + 1);
    }
    return static_cast<GLenum>(combined);
}

GLenum OptEnum(lua_State* L, int narg, GLenum def)
{
    return lua_isnoneornil(L, narg) ? def : CheckEnum(L, narg);
}

namespace {

// Every context this module draws into is the host's: its client memory
// lives there.
vyrui::gl::GLContext& CurrentHostContext()
{
    vyrui::gl::GLContext* context = vyrui::gl::GLContext::Current();
    if (context == nullptr)
        throw LuaError("no current OpenGL context (draw from an OpenGL view's hooks or "
                       "executeInViewContext)");
    return *context;
}

} // namespace

void RequireContext()
{
    CurrentHostContext();
}

GLfloat CheckFloat(lua_State* L, int narg)
{
    return utility::ToFloat(utility::CheckNumber(L, narg));
}

GLuint CheckUInt(lua_State* L, int narg)
{
    lua_Integer value = utility::CheckInteger(L, narg);
    if (value < 0 || static_cast<unsigned long long>(value) > std::numeric_limits<GLuint>::max())
        throw ArgumentError(narg, "number out of range");
    return static_cast<GLuint>(value);
}

GLboolean CheckBoolean(lua_State* L, int narg)
{
    if (lua_type(L, narg) == LUA_TNUMBER)
        return utility::CheckNumber(L, narg) != 0 ? GL_TRUE : GL_FALSE;
    utility::CheckType(L, narg, LUA_TBOOLEAN);
    return lua_toboolean(L, narg) ? GL_TRUE : GL_FALSE;
}

void* PushScratch(lua_State* L, size_t bytes)
{
    void* block = lua_newuserdata(L, bytes);
    if (bytes != 0)
        std::memset(block, 0, bytes);
    return block;
}

size_t CheckTable(lua_State* L, int narg)
{
    utility::CheckType(L, narg, LUA_TTABLE);
    return lua_objlen(L, narg);
}

void ThrowTableTooSmall(int narg, size_t needed)
{
    throw ArgumentError(narg, "invalid number of items in table (n<" + std::to_string(needed) + ").");
}

namespace {

template <typename T>
T Convert(lua_Number n)
{
    if constexpr (std::is_floating_point_v<T>) {
        return static_cast<T>(std::is_same_v<T, float> ? utility::ToFloat(n) : n);
    } else {
        if (std::isnan(n))
            return 0;
        if (n <= static_cast<lua_Number>(std::numeric_limits<T>::min()))
            return std::numeric_limits<T>::min();
        if (n >= static_cast<lua_Number>(std::numeric_limits<T>::max()))
            return std::numeric_limits<T>::max();
        return static_cast<T>(n);
    }
}

// The table item on top of the stack as a number, popped.
lua_Number PopItem(lua_State* L, int narg, size_t index)
{
    if (lua_type(L, -1) != LUA_TNUMBER) {
        lua_pop(L, 1);
        throw ArgumentError(narg, "table item " + std::to_string(index) + " is not a number");
    }
    lua_Number n = lua_tonumber(L, -1);
    lua_pop(L, 1);
    return n;
}

// Calls fn(pointer) with `out` as a pointer to the C type of `type`.
template <typename Fn>
void WithPixelType(GLenum type, void* out, Fn fn)
{
    switch (type) {
    case GL_BYTE: fn(static_cast<GLbyte*>(out)); break;
    case GL_UNSIGNED_BYTE: fn(static_cast<GLubyte*>(out)); break;
    case GL_SHORT: fn(static_cast<GLshort*>(out)); break;
    case GL_UNSIGNED_SHORT: fn(static_cast<GLushort*>(out)); break;
    case GL_INT: fn(static_cast<GLint*>(out)); break;
    case GL_UNSIGNED_INT: fn(static_cast<GLuint*>(out)); break;
    case GL_FLOAT: fn(static_cast<GLfloat*>(out)); break;
    default: throw LuaError("unsupported pixel type");
    }
}

} // namespace

template <typename T>
void ReadTable(lua_State* L, int narg, T* out, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        lua_rawgeti(L, narg, static_cast<int>(i + 1));
        out[i] = Convert<T>(PopItem(L, narg, i + 1));
    }
}

template void ReadTable<GLdouble>(lua_State*, int, GLdouble*, size_t);
template void ReadTable<GLfloat>(lua_State*, int, GLfloat*, size_t);
template void ReadTable<GLint>(lua_State*, int, GLint*, size_t);
template void ReadTable<GLuint>(lua_State*, int, GLuint*, size_t);
template void ReadTable<GLubyte>(lua_State*, int, GLubyte*, size_t);
template void ReadTable<GLushort>(lua_State*, int, GLushort*, size_t);

void ReadPixelTable(lua_State* L, int narg, GLenum type, void* out, size_t count)
{
    size_t length = CheckTable(L, narg);
    lua_rawgeti(L, narg, 1);
    const bool rows = lua_type(L, -1) == LUA_TTABLE;
    lua_pop(L, 1);
    WithPixelType(type, out, [&](auto* values) {
        using T = std::remove_pointer_t<decltype(values)>;
        if (!rows) {
            if (length < count)
                ThrowTableTooSmall(narg, count);
            ReadTable(L, narg, values, count);
            return;
        }
        size_t filled = 0;
        for (size_t r = 1; r <= length && filled < count; ++r) {
            lua_rawgeti(L, narg, static_cast<int>(r));
            if (lua_type(L, -1) != LUA_TTABLE) {
                lua_pop(L, 1);
                throw ArgumentError(narg, "must be a table of tables");
            }
            size_t n = lua_objlen(L, -1);
            for (size_t i = 1; i <= n && filled < count; ++i) {
                lua_rawgeti(L, -1, static_cast<int>(i));
                if (lua_type(L, -1) != LUA_TNUMBER) {
                    lua_pop(L, 2);
                    throw ArgumentError(narg, "table item " + std::to_string(r) + "." +
                                                  std::to_string(i) + " is not a number");
                }
                values[filled++] = Convert<T>(lua_tonumber(L, -1));
                lua_pop(L, 1);
            }
            lua_pop(L, 1);
        }
        if (filled < count)
            ThrowTableTooSmall(narg, count);
    });
}

void PushPixelTable(lua_State* L, GLenum type, const void* values, size_t count)
{
    lua_createtable(L, static_cast<int>(std::min<size_t>(count, INT_MAX)), 0);
    WithPixelType(type, const_cast<void*>(values), [&](auto* v) {
        for (size_t i = 0; i < count; ++i) {
            lua_pushnumber(L, static_cast<lua_Number>(v[i]));
            lua_rawseti(L, -2, static_cast<int>(i + 1));
        }
    });
}

int PushNumbers(lua_State* L, const GLdouble* values, int count)
{
    if (!lua_checkstack(L, count))
        throw LuaError("stack overflow");
    for (int i = 0; i < count; ++i)
        lua_pushnumber(L, values[i]);
    return count;
}

void PushNumberTable(lua_State* L, const GLdouble* values, size_t count)
{
    lua_createtable(L, static_cast<int>(std::min<size_t>(count, INT_MAX)), 0);
    for (size_t i = 0; i < count; ++i) {
        lua_pushnumber(L, values[i]);
        lua_rawseti(L, -2, static_cast<int>(i + 1));
    }
}

size_t PixelTypeSize(GLenum type)
{
    switch (type) {
    case GL_BYTE:
    case GL_UNSIGNED_BYTE: return 1;
    case GL_SHORT:
    case GL_UNSIGNED_SHORT: return 2;
    case GL_INT:
    case GL_UNSIGNED_INT:
    case GL_FLOAT: return 4;
    default: return 0;
    }
}

size_t FormatComponents(GLenum format, int narg)
{
    switch (format) {
    case GL_COLOR_INDEX:
    case GL_STENCIL_INDEX:
    case GL_DEPTH_COMPONENT:
    case GL_RED:
    case GL_GREEN:
    case GL_BLUE:
    case GL_ALPHA:
    case GL_LUMINANCE: return 1;
    case GL_LUMINANCE_ALPHA: return 2;
    case GL_RGB:
    case GL_BGR_EXT: return 3;
    case GL_RGBA:
    case GL_BGRA_EXT: return 4;
    default: throw ArgumentError(narg, "unknown format");
    }
}

namespace {

// Sides beyond this are refused before any size arithmetic, and images
// beyond kMaxImageBytes altogether.
constexpr int kMaxImageSide = 1 << 16;

void CheckImageSides(int width, int height)
{
    if (width < 0 || height < 0 || width > kMaxImageSide || height > kMaxImageSide)
        throw LuaError("image size out of range (0 to " + std::to_string(kMaxImageSide) +
                       " on each side)");
}

} // namespace

size_t TightImageBytes(int width, int height, GLenum format, GLenum type, int formatArg,
                       int typeArg)
{
    CheckImageSides(width, height);
    size_t components = FormatComponents(format, formatArg);
    size_t size = PixelTypeSize(type);
    if (size == 0)
        throw ArgumentError(typeArg, "unsupported pixel type");
    size_t bytes = size_t(width) * size_t(height) * components * size;
    if (bytes > kMaxImageBytes)
        throw LuaError("image too large (more than " + std::to_string(kMaxImageBytes) + " bytes)");
    return bytes;
}

size_t StoredImageBytes(int width, int height, GLenum format, GLenum type, bool pack,
                        int formatArg, int typeArg)
{
    CheckImageSides(width, height);
    size_t components = FormatComponents(format, formatArg);
    GLint alignment = 4, rowLength = 0, skipPixels = 0, skipRows = 0;
    glGetIntegerv(pack ? GL_PACK_ALIGNMENT : GL_UNPACK_ALIGNMENT, &alignment);
    glGetIntegerv(pack ? GL_PACK_ROW_LENGTH : GL_UNPACK_ROW_LENGTH, &rowLength);
    glGetIntegerv(pack ? GL_PACK_SKIP_PIXELS : GL_UNPACK_SKIP_PIXELS, &skipPixels);
    glGetIntegerv(pack ? GL_PACK_SKIP_ROWS : GL_UNPACK_SKIP_ROWS, &skipRows);
    if (width == 0 || height == 0)
        return 0;
    const size_t a = static_cast<size_t>(std::max(alignment, 1));
    const size_t groups = static_cast<size_t>(rowLength > 0 ? rowLength : width);
    const size_t sp = static_cast<size_t>(std::max(skipPixels, 0));
    const size_t sr = static_cast<size_t>(std::max(skipRows, 0));
    size_t rowBytes;
    size_t lastRow;
    if (type == GL_BITMAP) {
        if (components != 1)
            throw ArgumentError(formatArg, "unknown format");
        rowBytes = (groups + 7) / 8;
        lastRow = (sp + size_t(width) + 7) / 8;
    } else {
        size_t size = PixelTypeSize(type);
        if (size == 0)
            throw ArgumentError(typeArg, "unsupported pixel type");
        rowBytes = groups * components * size;
        lastRow = (sp + size_t(width)) * components * size;
    }
    rowBytes = (rowBytes + a - 1) / a * a;
    // Whole rows up to the last, then the last row's used part (which may be
    // longer than the stride when skipped pixels push it past a short row).
    // The pixel-store values come from the script: a size that does not fit
    // is one no block can hold.
    size_t rows = 0, whole = 0, total = 0;
    if (__builtin_add_overflow(sr, size_t(height) - 1, &rows) ||
        __builtin_mul_overflow(rows, rowBytes, &whole) ||
        __builtin_add_overflow(whole, lastRow, &total))
        return SIZE_MAX;
    return total;
}

TightPixelStore::TightPixelStore()
{
    glPushClientAttrib(GL_CLIENT_PIXEL_STORE_BIT);
    for (GLenum alignment : {GL_PACK_ALIGNMENT, GL_UNPACK_ALIGNMENT})
        glPixelStorei(alignment, 1);
    for (GLenum zero : {GL_PACK_ROW_LENGTH, GL_PACK_SKIP_PIXELS, GL_PACK_SKIP_ROWS,
                        GL_PACK_SWAP_BYTES, GL_PACK_LSB_FIRST, GL_UNPACK_ROW_LENGTH,
                        GL_UNPACK_SKIP_PIXELS, GL_UNPACK_SKIP_ROWS, GL_UNPACK_SWAP_BYTES,
                        GL_UNPACK_LSB_FIRST})
        glPixelStorei(zero, 0);
}

TightPixelStore::~TightPixelStore()
{
    glPopClientAttrib();
}

namespace {

struct ArraySnapshot {
    const void* context = nullptr;
    bool inBegin = false;  // between gl.Begin and gl.End on `context`
    bool valid = false;
    size_t limit = 0;
};

ArraySnapshot& Snapshot()
{
    static ArraySnapshot snapshot;
    return snapshot;
}

// The client arrays OpenGL may read when drawing from arrays: the six of
// OpenGL 1.1 and the two a compatibility context adds, which glEnable can
// switch on.
struct ClientArray {
    GLenum array;
    GLenum pointer;
    GLenum size;    // 0: fixed count below
    int fixedSize;
    GLenum type;    // 0: GLboolean
    GLenum stride;
    const char* name;
};
const ClientArray kClientArrays[] = {
    {GL_VERTEX_ARRAY, GL_VERTEX_ARRAY_POINTER, GL_VERTEX_ARRAY_SIZE, 0, GL_VERTEX_ARRAY_TYPE,
     GL_VERTEX_ARRAY_STRIDE, "VertexPointer"},
    {GL_NORMAL_ARRAY, GL_NORMAL_ARRAY_POINTER, 0, 3, GL_NORMAL_ARRAY_TYPE,
     GL_NORMAL_ARRAY_STRIDE, "NormalPointer"},
    {GL_COLOR_ARRAY, GL_COLOR_ARRAY_POINTER, GL_COLOR_ARRAY_SIZE, 0, GL_COLOR_ARRAY_TYPE,
     GL_COLOR_ARRAY_STRIDE, "ColorPointer"},
    {GL_INDEX_ARRAY, GL_INDEX_ARRAY_POINTER, 0, 1, GL_INDEX_ARRAY_TYPE, GL_INDEX_ARRAY_STRIDE,
     "IndexPointer"},
    {GL_TEXTURE_COORD_ARRAY, GL_TEXTURE_COORD_ARRAY_POINTER, GL_TEXTURE_COORD_ARRAY_SIZE, 0,
     GL_TEXTURE_COORD_ARRAY_TYPE, GL_TEXTURE_COORD_ARRAY_STRIDE, "TexCoordPointer"},
    {GL_EDGE_FLAG_ARRAY, GL_EDGE_FLAG_ARRAY_POINTER, 0, 1, 0, GL_EDGE_FLAG_ARRAY_STRIDE,
     "EdgeFlagPointer"},
    {GL_FOG_COORD_ARRAY, GL_FOG_COORD_ARRAY_POINTER, 0, 1, GL_FOG_COORD_ARRAY_TYPE,
     GL_FOG_COORD_ARRAY_STRIDE, nullptr},
    {GL_SECONDARY_COLOR_ARRAY, GL_SECONDARY_COLOR_ARRAY_POINTER, GL_SECONDARY_COLOR_ARRAY_SIZE,
     0, GL_SECONDARY_COLOR_ARRAY_TYPE, GL_SECONDARY_COLOR_ARRAY_STRIDE, nullptr},
};

size_t ValueSize(GLenum type)
{
    switch (type) {
    case GL_DOUBLE: return 8;
    case 0: return sizeof(GLboolean);
    default: return PixelTypeSize(type);
    }
}

// Whether state can be queried now: between Begin and End OpenGL refuses
// every query and leaves the result untouched.
bool Queryable()
{
    GLint mode = -1;
    glGetIntegerv(GL_MATRIX_MODE, &mode);
    return mode != -1;
}

size_t ComputeLimit()
{
    const vyrui::gl::GLContext& context = CurrentHostContext();
    size_t limit = SIZE_MAX;
    for (const ClientArray& a : kClientArrays) {
        if (!glIsEnabled(a.array))
            continue;
        GLvoid* pointer = nullptr;
        glGetPointerv(a.pointer, &pointer);
        const size_t bytes = context.ClientMemorySizeAt(pointer);
        if (bytes == 0) {
            std::string which = a.name ? std::string("gl.") + a.name : std::string("this module");
            throw LuaError("an enabled client array has no data (" +
                           std::string(ConstantName(a.array) ? ConstantName(a.array) : "array") +
                           "; set it with " + which + ")");
        }
        GLint size = a.fixedSize, type = 0, stride = 0;
        if (a.size != 0)
            glGetIntegerv(a.size, &size);
        if (a.type != 0)
            glGetIntegerv(a.type, &type);
        glGetIntegerv(a.stride, &stride);
        size_t element = static_cast<size_t>(std::max(size, 0)) * ValueSize(static_cast<GLenum>(type));
        size_t step = stride > 0 ? static_cast<size_t>(stride) : element;
        size_t count = 0;
        if (element != 0 && bytes >= element)
            count = step == 0 ? SIZE_MAX : (bytes - element) / step + 1;
        limit = std::min(limit, count);
    }
    return limit;
}

} // namespace

void* SetClientBuffer(GLenum kind, size_t bytes)
{
    InvalidateArraySnapshot();
    return CurrentHostContext().SetClientMemory(kind, bytes);
}

void* GetClientBuffer(GLenum kind, size_t* bytes)
{
    return CurrentHostContext().GetClientMemory(kind, bytes);
}

void FreeClientBuffer(GLenum kind)
{
    InvalidateArraySnapshot();
    CurrentHostContext().FreeClientMemory(kind);
}

size_t HeldClientBytes()
{
    return vyrui::gl::GLContext::HeldClientMemory();
}

size_t ArrayElementLimit()
{
    const auto& snapshot = Snapshot();
    const bool ours = snapshot.inBegin && snapshot.context == vyrui::gl::CurrentContext();
    // Probing is the fallback for a Begin that came from a display list; it
    // leaves an error flag set when it fails.
    if (!ours && Queryable())
        return ComputeLimit();
    if (!ours || !snapshot.valid)
        throw LuaError("client arrays changed between gl.Begin and gl.End");
    return snapshot.limit;
}

void SnapshotArrays()
{
    auto& snapshot = Snapshot();
    snapshot.valid = false;
    snapshot.inBegin = true;
    snapshot.context = vyrui::gl::CurrentContext();
    if (!Queryable())
        return;
    try {
        snapshot.limit = ComputeLimit();
    } catch (const LuaError&) {
        return; // ArrayElement will refuse until the arrays are set
    }
    snapshot.valid = true;
}

void EndArraySnapshot()
{
    Snapshot().inBegin = false;
}

void InvalidateArraySnapshot()
{
    Snapshot().valid = false;
}

} // namespace vyrlua::gl
