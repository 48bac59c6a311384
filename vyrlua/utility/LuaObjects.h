// What the library hands to Lua as objects, and how it knows them again.
//
// Every library object is a full userdata one pointer wide that holds the
// address of a heap object, its payload. The library records each payload it
// makes with its kind, and takes a value as an object of a kind only when its
// block holds a payload recorded with that kind. A script cannot forge one:
// whatever metatable it gives a userdata (scripts edit metatables, and the
// debug library swaps them), a block the library did not make is never read
// past its first pointer, and that pointer is only compared, never followed.
// A block whose payload was freed behind the library's back (its metatable
// swapped away so __gc never ran) leaves a record of a payload that is never
// freed, so no other object can take its address.
#pragma once

#include "vyrlua/utility/LuaArgs.h"

#include <new>

namespace vyrlua::utility {

// The identity of an object kind: one static instance per kind.
struct LuaKindTag {
    // The registry name of the kind's metatable.
    const char* metatable;
};

void RecordPayload(const void* payload, const LuaKindTag& kind);
void ForgetPayload(const void* payload);
// The kind a payload was recorded with; null for anything else.
const LuaKindTag* PayloadKind(const void* payload);

// How a value relates to a kind.
enum class ObjectState {
    Other,    // not an object of the kind
    Emptied,  // the kind's metatable over an empty block (collected early by
              // a script calling __gc): an object with nothing left in it
    Live,     // a block holding a payload of the kind
};

// The block at `narg` when it is a full userdata exactly one pointer wide,
// else null.
void** PointerBlockAt(lua_State* L, int narg);

// What the value at `narg` is for `kind`; for Live, `*payload` is set. Runs
// no Lua code and allocates nothing (the metatable is compared only for an
// empty block).
ObjectState FindObject(lua_State* L, int narg, const LuaKindTag& kind, void** payload);

// Pushes a new empty block with the kind's metatable (made by `makeMetatable`
// when the state lacks it), then makes the payload with `make()` and records
// it. The block is made first, so running out of Lua memory strands nothing;
// `make` runs with no Lua call after it. May raise Lua's memory error: call it
// while no object with a destructor is alive in the calling frame.
void PushEmptyBlock(lua_State* L, const LuaKindTag& kind, void (*makeMetatable)(lua_State*));
void FillBlock(lua_State* L, int index, void* payload, const LuaKindTag& kind);

// The block's payload and its record forgotten; the block left empty. Null
// when the value holds no payload of `kind`.
void* TakePayload(lua_State* L, int narg, const LuaKindTag& kind);

} // namespace vyrlua::utility
