#include "vyrlua/utility/LuaObjectBlock.h"

#include <unordered_map>

namespace vyrlua::utility {

namespace {
// UI thread only, like every Lua call that reaches it.
std::unordered_map<const void*, const char*>& Blocks()
{
    static auto* blocks = new std::unordered_map<const void*, const char*>;
    return *blocks;
}
} // namespace

void RegisterObjectBlock(const void* block, const char* tname)
{
    Blocks()[block] = tname;
}

void UnregisterObjectBlock(const void* block)
{
    Blocks().erase(block);
}

bool IsObjectBlockOf(const void* block, const char* tname)
{
    auto it = Blocks().find(block);
    return it != Blocks().end() && it->second == tname;
}

} // namespace vyrlua::utility
