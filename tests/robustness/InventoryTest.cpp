// The inventory is what every robustness tool walks: if it misses a module,
// nothing else notices, so its discovery is checked against what the library
// is known to export.
#include "support/LibraryInventory.h"

#include "app/HostRuntime.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using vyrtest::Callable;
using vyrtest::Inventory;
using vyrtest::SharedInventory;

const Callable* Find(const Inventory& inventory, const std::string& label)
{
    for (const Callable& c : inventory.callables)
        if (c.label == label)
            return &c;
    return nullptr;
}

TEST(Inventory, FindsEveryOpenerAndEachDistinctFunctionOnce)
{
    const Inventory& inventory = SharedInventory();
    auto opened = [&](const std::string& name) {
        return std::any_of(inventory.openers.begin(), inventory.openers.end(),
                           [&](const auto& o) { return o.opener.name == name; });
    };
    EXPECT_TRUE(opened("vyrlua"));
    EXPECT_TRUE(opened("vyrlua.EmbeddedCodeLoader"));
    // Preloaded only: it has no exported opener of its own.
    EXPECT_TRUE(opened("vyrlua.keyboardUtils"));
    // Each opens in a fresh state: one that cannot could not be required first.
    for (const auto& o : inventory.openers)
        EXPECT_EQ(o.error, "") << o.opener.name;

    // vyrString's functions are registered by two openers; the loader is a
    // module whose value is the function itself; numeric is a nested table.
    const Callable* trim = Find(inventory, "vyrlua.vyrString.Trim");
    if (trim == nullptr)
        trim = Find(inventory, "vyrlua.Trim");
    ASSERT_NE(trim, nullptr);
    EXPECT_GE(trim->locations.size(), 2u);
    EXPECT_NE(Find(inventory, "vyrlua.EmbeddedCodeLoader"), nullptr);
    EXPECT_NE(Find(inventory, "vyrlua.numeric.invertMatrix"), nullptr);
    EXPECT_NE(Find(inventory, "vyrlua.keyboardUtils.getPrintableStringFromKeyboardCode"),
              nullptr);
    for (size_t i = 0; i < inventory.callables.size(); ++i)
        for (size_t j = i + 1; j < inventory.callables.size(); ++j)
            EXPECT_FALSE(inventory.callables[i].function == inventory.callables[j].function &&
                         inventory.callables[i].method == inventory.callables[j].method)
                << inventory.callables[i].label << " and " << inventory.callables[j].label;
}

TEST(Inventory, EveryCallableCanBeFetchedAfterOpeningAll)
{
    const Inventory& inventory = SharedInventory();
    vyrhost::HostRuntime runtime;
    lua_State* L = runtime.State();
    EXPECT_TRUE(vyrtest::OpenAll(L, inventory).empty());
    for (const Callable& c : inventory.callables) {
        vyrtest::PushCallable(L, c);
        EXPECT_TRUE(lua_iscfunction(L, -1)) << c.label;
        lua_pop(L, 1);
    }
    EXPECT_EQ(lua_gettop(L), 0);
}

} // namespace
