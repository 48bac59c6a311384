#include "vyrlua/utility/LuaPropList.h"

#include "vyrcore/PropListFile.h"
#include "vyrlua/utility/LuaBoundary.h"
#include "vyrlua/utility/LuaModules.h"
#include "vyrlua/utility/LuaObjectBlock.h"

#include <string>
#include <vector>

namespace vyrlua::utility {

namespace {

using vyrcore::proplist::PropArray;
using vyrcore::proplist::PropList;
using vyrcore::proplist::PropListPtr;
using vyrcore::proplist::PropType;
using vyrcore::proplist::PropValue;

struct PropListKind : HeldKind<PropList> {
    static constexpr const char* kMetatable = kPropListMetatable;
    static constexpr const char* kWord = "PropList";
    static void MakeMetatable(lua_State* L);
};
using Kind = ObjectKind<PropListKind>;

// ---- Lua values to property values -------------------------------------
// Raw reads only (lua_next, lua_rawgeti): no metamethod runs and nothing
// allocates, so the C++ values being built are never skipped by a longjmp.

// Stack slots one level of ReadValue needs.
constexpr int kSlotsPerLevel = 3;

void ReadValue(lua_State* L, int index, int depth, PropValue& out);

// A table is an array when its keys are exactly 1..n, a list when they are
// all strings; the empty table is an empty array.
void ReadTable(lua_State* L, int index, int depth, PropValue& out)
{
    if (depth > vyrcore::proplist::kMaxDepth)
        throw LuaError("PropList: lists and arrays nest at most " +
                       std::to_string(vyrcore::proplist::kMaxDepth) +
                       " deep (does the table contain itself?)");
    size_t count = 0;
    bool strings = false, numbers = false;
    lua_pushnil(L);
    while (lua_next(L, index) != 0) {
        lua_pop(L, 1);
        ++count;
        if (lua_type(L, -1) == LUA_TSTRING)
            strings = true;
        else
            numbers = true;
    }
    if (strings && numbers)
        throw LuaError("PropList: a table must have only string keys (a list) or only the "
                       "keys 1 to n (an array)");
    if (strings) {
        PropListPtr list = PropList::Create();
        lua_pushnil(L);
        while (lua_next(L, index) != 0) {
            PropValue value;
            ReadValue(L, lua_gettop(L), depth + 1, value);
            size_t length = 0;
            const char* key = lua_tolstring(L, -2, &length);
            list->SetValue(std::string_view(key, length), value);
            lua_pop(L, 1);
        }
        out = list;
        return;
    }
    auto array = std::make_shared<PropArray>();
    array->items.resize(count);
    for (size_t i = 1; i <= count; ++i) {
        lua_rawgeti(L, index, static_cast<int>(i));
        if (lua_isnil(L, -1))
            throw LuaError("PropList: a table must have only string keys (a list) or only the "
                           "keys 1 to n (an array)");
        ReadValue(L, lua_gettop(L), depth + 1, array->items[i - 1]);
        lua_pop(L, 1);
    }
    out = array;
}

void ReadValue(lua_State* L, int index, int depth, PropValue& out)
{
    switch (lua_type(L, index)) {
    case LUA_TBOOLEAN: out = lua_toboolean(L, index) != 0; return;
    case LUA_TNUMBER: out = static_cast<double>(lua_tonumber(L, index)); return;
    case LUA_TSTRING: {
        size_t length = 0;
        const char* text = lua_tolstring(L, index, &length);
        out = std::string(text, length);
        return;
    }
    case LUA_TTABLE: ReadTable(L, index, depth, out); return;
    case LUA_TUSERDATA:
        if (Kind::Is(L, index)) {
            PropList* list = Kind::TestObject(L, index);
            if (list == nullptr)
                throw LuaError("PropList: the list was released");
            out = PropListPtr(list);
            return;
        }
        break;
    default: break;
    }
    throw LuaError(std::string("PropList: cannot store a ") + luaL_typename(L, index) +
                   " (booleans, numbers, strings, property lists and tables of them)");
}

// The value argument at `narg`, converted.
PropValue ValueArg(lua_State* L, int narg)
{
    CheckAny(L, narg);
    if (!lua_checkstack(L, kSlotsPerLevel * (vyrcore::proplist::kMaxDepth + 2)))
        throw LuaError("PropList: no room on the Lua stack");
    PropValue value;
    ReadValue(L, narg, 1, value);
    return value;
}

// ---- property values to Lua ---------------------------------------------
// Runs inside PushFromProtectedCall: Lua may raise here, so these frames
// own nothing with a destructor; the values they read belong to the caller.

void PushValue(lua_State* L, const PropValue& value);

void PushArray(lua_State* L, const PropArray* array)
{
    const int count = array ? static_cast<int>(array->items.size()) : 0;
    lua_createtable(L, count, 0);
    for (int i = 0; i < count; ++i) {
        PushValue(L, array->items[static_cast<size_t>(i)]);
        lua_rawseti(L, -2, i + 1);
    }
}

void PushValue(lua_State* L, const PropValue& value)
{
    luaL_checkstack(L, kSlotsPerLevel, "PropList: no room on the Lua stack");
    switch (vyrcore::proplist::TypeOf(value)) {
    case PropType::Bool: lua_pushboolean(L, std::get<bool>(value)); return;
    case PropType::Number: lua_pushnumber(L, std::get<double>(value)); return;
    case PropType::String: {
        const std::string& text = std::get<std::string>(value);
        lua_pushlstring(L, text.data(), text.size());
        return;
    }
    case PropType::List: {
        Kind::PushObject(L, std::get<PropListPtr>(value).get());
        return;
    }
    case PropType::Array: PushArray(L, std::get<vyrcore::proplist::PropArrayPtr>(value).get()); return;
    }
    lua_pushnil(L);
}

int PushValueProtected(lua_State* L)
{
    PushValue(L, *static_cast<const PropValue*>(lua_touserdata(L, 1)));
    return 1;
}

// Pushes `value` (a copy the caller owns, so nothing a collection runs can
// free it meanwhile); a Lua failure comes back as a C++ exception.
int PushValueSafely(lua_State* L, const PropValue& value)
{
    PushFromProtectedCall(L, PushValueProtected, const_cast<PropValue*>(&value));
    return 1;
}

// ---- the kind's functions -----------------------------------------------
// Bodies check the receiver first (its error comes first), read the other
// arguments, and then take the receiver's object again: converting a number
// argument to a string allocates, and a collection step may run a finalizer
// that releases the list.

std::string_view KeyArg(lua_State* L, int narg)
{
    return CheckLString(L, narg);
}

int NewBody(lua_State* L)
{
    return Kind::PushMade(L, [] { return PropList::Create(); });
}

int FromJSONBody(lua_State* L)
{
    std::string_view text = CheckLString(L, 1);
    std::vector<std::string> problems;
    PropListPtr list = vyrcore::proplist::FromJSON(text, problems);
    std::string message;
    for (const std::string& problem : problems)
        message += (message.empty() ? "" : "; ") + problem;
    // Nothing with a destructor may be alive across the pushes below that
    // can raise: the results go out through protected pushes.
    PropList* raw = list.detach();
    try {
        if (raw) {
            Kind::PushMade(L, [&] { return PropListPtr(raw, false); });
            raw = nullptr;
        } else {
            lua_pushnil(L);
        }
        PushLString(L, message);
    } catch (...) {
        if (raw)
            raw->ReleaseUseCount();
        throw;
    }
    return 2;
}

// Typed reads: (key [, default]) -> the value when it has the type, else
// the default (nil when none is given).
template <typename Read, typename Push>
int TypedGet(lua_State* L, Read read, Push push)
{
    Kind::CheckObject(L, 1);
    std::string_view key = KeyArg(L, 2);
    PropList* list = Kind::CheckObject(L, 1);
    if (!list)
        return 0;
    auto value = read(*list, key);
    if (!value) {
        lua_settop(L, 3);
        return 1;
    }
    return push(*value);
}

int GetBoolBody(lua_State* L)
{
    return TypedGet(L, [](PropList& l, std::string_view k) { return l.GetBool(k); },
                    [L](bool b) { lua_pushboolean(L, b); return 1; });
}

int GetNumberBody(lua_State* L)
{
    return TypedGet(L, [](PropList& l, std::string_view k) { return l.GetNumber(k); },
                    [L](double d) { lua_pushnumber(L, d); return 1; });
}

int GetStringBody(lua_State* L)
{
    return TypedGet(L, [](PropList& l, std::string_view k) { return l.GetString(k); },
                    [L](const std::string& s) { PushLString(L, s); return 1; });
}

// Typed writes: (key, value), the value of exactly that Lua type.
template <int LuaType, typename Store>
int TypedSet(lua_State* L, Store store)
{
    Kind::CheckObject(L, 1);
    std::string_view key = KeyArg(L, 2);
    CheckType(L, 3, LuaType);
    if (PropList* list = Kind::CheckObject(L, 1))
        store(*list, key);
    return 0;
}

int SetBoolBody(lua_State* L)
{
    return TypedSet<LUA_TBOOLEAN>(
        L, [L](PropList& l, std::string_view k) { l.SetBool(k, lua_toboolean(L, 3) != 0); });
}

int SetNumberBody(lua_State* L)
{
    return TypedSet<LUA_TNUMBER>(
        L, [L](PropList& l, std::string_view k) { l.SetNumber(k, lua_tonumber(L, 3)); });
}

int SetStringBody(lua_State* L)
{
    return TypedSet<LUA_TSTRING>(
        L, [L](PropList& l, std::string_view k) { l.SetString(k, CheckLString(L, 3)); });
}

int GetValueBody(lua_State* L)
{
    Kind::CheckObject(L, 1);
    std::string_view key = KeyArg(L, 2);
    PropList* list = Kind::CheckObject(L, 1);
    if (!list)
        return 0;
    const PropValue* found = list->Find(key);
    if (!found) {
        lua_pushnil(L);
        return 1;
    }
    PropValue copy = *found;
    return PushValueSafely(L, copy);
}

int SetValueBody(lua_State* L)
{
    Kind::CheckObject(L, 1);
    std::string_view key = KeyArg(L, 2);
    PropValue value = ValueArg(L, 3);
    PropList* list = Kind::CheckObject(L, 1);
    if (list)
        list->SetValue(key, value);
    return 0;
}

int GetTypeBody(lua_State* L)
{
    Kind::CheckObject(L, 1);
    std::string_view key = KeyArg(L, 2);
    PropList* list = Kind::CheckObject(L, 1);
    if (!list)
        return 0;
    const PropValue* found = list->Find(key);
    if (!found)
        lua_pushnil(L);
    else
        lua_pushstring(L, vyrcore::proplist::TypeName(vyrcore::proplist::TypeOf(*found)));
    return 1;
}

int HasBody(lua_State* L)
{
    Kind::CheckObject(L, 1);
    std::string_view key = KeyArg(L, 2);
    PropList* list = Kind::CheckObject(L, 1);
    lua_pushboolean(L, list && list->Has(key));
    return 1;
}

int RemoveValueBody(lua_State* L)
{
    Kind::CheckObject(L, 1);
    std::string_view key = KeyArg(L, 2);
    PropList* list = Kind::CheckObject(L, 1);
    lua_pushboolean(L, list && list->RemoveValue(key));
    return 1;
}

int ClearBody(lua_State* L)
{
    if (PropList* list = Kind::CheckObject(L, 1))
        list->Clear();
    return 0;
}

int CountBody(lua_State* L)
{
    PropList* list = Kind::CheckObject(L, 1);
    if (!list)
        return 0;
    lua_pushnumber(L, static_cast<lua_Number>(list->Count()));
    return 1;
}

int GetSubListBody(lua_State* L)
{
    if (!Kind::CheckObject(L, 1))
        return 0;
    std::string_view key = KeyArg(L, 2);
    // The receiver is read again after the userdata is made: a collection
    // step may have run a finalizer that released it.
    return Kind::PushMade(L, [&]() -> PropListPtr {
        PropList* list = Kind::CheckObject(L, 1);
        return list ? list->GetSubList(key) : nullptr;
    });
}

int GetOrCreateSubListBody(lua_State* L)
{
    if (!Kind::CheckObject(L, 1))
        return 0;
    std::string_view key = KeyArg(L, 2);
    return Kind::PushMade(L, [&]() -> PropListPtr {
        PropList* list = Kind::CheckObject(L, 1);
        return list ? list->GetOrCreateSubList(key) : nullptr;
    });
}

int CloneBody(lua_State* L)
{
    if (!Kind::CheckObject(L, 1))
        return 0;
    return Kind::PushMade(L, [&]() -> PropListPtr {
        PropList* list = Kind::CheckObject(L, 1);
        return list ? list->Clone() : nullptr;
    });
}

int KeysBody(lua_State* L)
{
    PropList* list = Kind::CheckObject(L, 1);
    if (!list)
        return 0;
    auto array = std::make_shared<PropArray>();
    for (const auto& entry : list->Values())
        array->items.emplace_back(entry.first);
    PropValue keys = array;
    return PushValueSafely(L, keys);
}

// The iterator of Pairs: upvalues are the list and a table of its keys at
// the time Pairs was called; the control value is the last key's position.
int PairsStepBody(lua_State* L)
{
    lua_Integer position = lua_tointeger(L, lua_upvalueindex(3));
    for (;;) {
        ++position;
        lua_pushinteger(L, position);
        lua_replace(L, lua_upvalueindex(3));
        lua_rawgeti(L, lua_upvalueindex(2), static_cast<int>(position));
        if (lua_isnil(L, -1))
            return 1;
        PropList* list = Kind::TestObject(L, lua_upvalueindex(1));
        if (!list)
            return 0;
        size_t length = 0;
        const char* key = lua_tolstring(L, -1, &length);
        // Keys removed since Pairs was called are skipped.
        if (const PropValue* found = list->Find(std::string_view(key, length))) {
            PropValue copy = *found;
            PushValueSafely(L, copy);
            return 2;
        }
        lua_pop(L, 1);
    }
}

int PairsBody(lua_State* L)
{
    if (!Kind::CheckObject(L, 1))
        return 0;
    lua_settop(L, 1);
    KeysBody(L);
    lua_pushinteger(L, 0);
    lua_pushcclosure(L, LuaBoundary<PairsStepBody>, 3);
    return 1;
}

int ToJSONBody(lua_State* L)
{
    PropList* list = Kind::CheckObject(L, 1);
    if (!list)
        return 0;
    std::string text = vyrcore::proplist::ToJSON(*list);
    PushLString(L, text);
    return 1;
}

const luaL_Reg kMethods[] = {
    {"GetBool", LuaBoundary<GetBoolBody>},
    {"GetNumber", LuaBoundary<GetNumberBody>},
    {"GetString", LuaBoundary<GetStringBody>},
    {"GetValue", LuaBoundary<GetValueBody>},
    {"GetType", LuaBoundary<GetTypeBody>},
    {"SetBool", LuaBoundary<HostRefusals<SetBoolBody>>},
    {"SetNumber", LuaBoundary<HostRefusals<SetNumberBody>>},
    {"SetString", LuaBoundary<HostRefusals<SetStringBody>>},
    {"SetValue", LuaBoundary<HostRefusals<SetValueBody>>},
    {"Has", LuaBoundary<HasBody>},
    {"RemoveValue", LuaBoundary<RemoveValueBody>},
    {"Clear", LuaBoundary<ClearBody>},
    {"Count", LuaBoundary<CountBody>},
    {"Keys", LuaBoundary<KeysBody>},
    {"Pairs", LuaBoundary<PairsBody>},
    {"GetSubList", LuaBoundary<GetSubListBody>},
    {"GetOrCreateSubList", LuaBoundary<HostRefusals<GetOrCreateSubListBody>>},
    {"Clone", LuaBoundary<CloneBody>},
    {"ToJSON", LuaBoundary<ToJSONBody>},
    {nullptr, nullptr},
};

const luaL_Reg kFunctions[] = {
    {"New", LuaBoundary<NewBody>},
    {"FromJSON", LuaBoundary<FromJSONBody>},
    {nullptr, nullptr},
};

int OpenBody(lua_State* L)
{
    PropListKind::MakeMetatable(L);
    luaL_register(L, "PropList", kFunctions);
    return 1;
}

void PropListKind::MakeMetatable(lua_State* L)
{
    Kind::RegisterMetatable(L, kMethods);
}

} // namespace

int PushPropList(lua_State* L, const std::function<PropListPtr()>& make)
{
    return Kind::PushMade(L, make);
}

} // namespace vyrlua::utility

extern "C" int luaopen_vyrlua_proplist(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::utility::OpenBody>(L);
}
