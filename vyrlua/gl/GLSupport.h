// What the "gl" module's functions share: the constant table and the
// enumeration reading rule, argument readers that convert Lua values to GL
// types, scratch memory that Lua owns, pixel-data sizing, and the guard that
// keeps OpenGL from reading client memory the module did not hand it.
#pragma once

#include "vyrlua/utility/LuaArgs.h"

#include <GL/gl.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vyrlua::gl {

struct Constant {
    const char* name;  // without "GL_"; the table ends with an empty name
    lua_Integer value;
};
// The OpenGL 1.1 constants, in table order, ending with {"", 0}.
extern const Constant kConstants[];
// The value a table entry holds when its constant could not be defined.
inline constexpr lua_Integer kEnumError = -2;

// The value of a constant name, or false.
bool FindConstant(std::string_view name, lua_Integer& value);
// The first name in table order with this value, or null.
const char* ConstantName(lua_Integer value);

// An enumeration or bit-field argument: a number, a constant name, or
// names joined by "," whose values are OR-ed. An unknown name is the
// argument error "unknown or invalid enumeration".
GLenum CheckEnum(lua_State* L, int narg);
GLenum OptEnum(lua_State* L, int narg, GLenum def);

// Refuses (LuaError) when no OpenGL context is current on this thread.
void RequireContext();

GLfloat CheckFloat(lua_State* L, int narg);
GLuint CheckUInt(lua_State* L, int narg);
// A boolean, or a number (non-zero is true).
GLboolean CheckBoolean(lua_State* L, int narg);

// Pushes a userdata of `bytes` bytes that Lua owns (and frees), zeroed, and
// returns its block. It may raise a memory error, so no object with a
// destructor may be alive in the caller.
void* PushScratch(lua_State* L, size_t bytes);

// Length of the table at `narg` (a type error for anything else).
size_t CheckTable(lua_State* L, int narg);
// Reads `count` numbers of the table at `narg` into `out` (items 1..count),
// converted to T (integers saturate, NaN gives 0). An item that is not a
// number is an argument error.
template <typename T>
void ReadTable(lua_State* L, int narg, T* out, size_t count);
// Reads the table at `narg` as pixel values of GL type `type` into `out`:
// a flat table, or a table of rows (tables) read row after row. The total
// must be at least `count` items ("invalid number of items in table (n<N).").
void ReadPixelTable(lua_State* L, int narg, GLenum type, void* out, size_t count);
// Converts `count` values of GL type `type` to a new Lua table (pushed).
void PushPixelTable(lua_State* L, GLenum type, const void* values, size_t count);
// Pushes the values as results; returns their count.
int PushNumbers(lua_State* L, const GLdouble* values, int count);
// Pushes a table of the values.
void PushNumberTable(lua_State* L, const GLdouble* values, size_t count);

// The "invalid number of items in table (n<N)." argument error.
[[noreturn]] void ThrowTableTooSmall(int narg, size_t needed);

// The most memory one call makes for pixels, a data block or a buffer.
inline constexpr size_t kMaxImageBytes = size_t(1) << 26;

// Bytes per value of a pixel type (0 for GL_BITMAP and for types this module
// does not size); components per pixel of a format ("unknown format" for a
// format it cannot size).
size_t PixelTypeSize(GLenum type);
size_t FormatComponents(GLenum format, int narg);
// Bytes a tightly packed image of this size needs (argument errors for
// negative or absurd sizes and unsupported types).
size_t TightImageBytes(int width, int height, GLenum format, GLenum type, int formatArg,
                       int typeArg);
// Bytes OpenGL touches for an image under the current pack (or unpack)
// pixel-store state.
size_t StoredImageBytes(int width, int height, GLenum format, GLenum type, bool pack,
                        int formatArg, int typeArg);

// Sets tight pixel packing for table transfers and restores the script's
// pixel-store state afterwards.
class TightPixelStore {
public:
    TightPixelStore();
    ~TightPixelStore();
    TightPixelStore(const TightPixelStore&) = delete;
    TightPixelStore& operator=(const TightPixelStore&) = delete;
};

// Client memory that OpenGL keeps pointers to (vertex arrays, the selection
// and feedback buffers): held by the current context, per kind, and freed
// with it, so a pointer is never left to Lua's collector.
void* SetClientBuffer(GLenum kind, size_t bytes);
void* GetClientBuffer(GLenum kind, size_t* bytes);
void FreeClientBuffer(GLenum kind);
// Bytes of client memory held for all contexts.
size_t HeldClientBytes();

// The number of vertex-array elements every enabled client array can supply
// (SIZE_MAX when none is enabled). Refuses (LuaError) when an enabled array
// has no data set through this module.
size_t ArrayElementLimit();
// Called by gl.Begin: remembers the limit for ArrayElement between Begin and
// End, where OpenGL cannot be asked.
void SnapshotArrays();
// Called by gl.End.
void EndArraySnapshot();
// Called by every change to client-array state.
void InvalidateArraySnapshot();

} // namespace vyrlua::gl
