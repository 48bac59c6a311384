// Property lists: typed values (booleans, numbers, UTF-8 strings, sub-lists
// and arrays) under UTF-8 keys. The application keeps its settings in one;
// scripts keep their own.
//
// Keys and strings are any valid UTF-8, embedded NULs included; text that
// is not UTF-8 is refused (HostException), so whatever a list holds can be
// written out and read back. Numbers are doubles and keep every bit, NaN and
// infinities included.
//
// A list is use-counted (boost::intrusive_ptr). A sub-list is shared with
// its parent: changing it changes the parent. Every list of one tree shares
// its root's change counter, so the owner of the root can tell that
// something anywhere in the tree changed. UI thread only.
#pragma once

#include "vyrcore/RefCounted.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vyrcore::proplist {

class PropList;
using PropListPtr = boost::intrusive_ptr<PropList>;

struct PropArray;
using PropArrayPtr = std::shared_ptr<PropArray>;

// One value. Arrays are held by pointer so that the variant can nest.
using PropValue = std::variant<bool, double, std::string, PropListPtr, PropArrayPtr>;

enum class PropType { Bool, Number, String, List, Array };
PropType TypeOf(const PropValue& value);
const char* TypeName(PropType type);

struct PropArray {
    std::vector<PropValue> items;
};

// Counts changes to a tree of lists and tells the owner about them.
struct ChangeNotifier {
    uint64_t changes = 0;
    std::function<void()> onChange;
    void Changed()
    {
        ++changes;
        if (onChange)
            onChange();
    }
};

// How deep lists and arrays may nest (a root list's values are at depth 1):
// deeper writes are refused, so no tree is too deep to copy, compare or
// write out.
constexpr int kMaxDepth = 64;

class PropList : public utility::RefCountedObject {
public:
    static PropListPtr Create();

    // Typed reads: nullopt when the key is missing or holds another type.
    std::optional<bool> GetBool(std::string_view key) const;
    std::optional<double> GetNumber(std::string_view key) const;
    std::optional<std::string> GetString(std::string_view key) const;
    // The sub-list under `key` (shared), or null.
    PropListPtr GetSubList(std::string_view key) const;
    // The value of any type, or null.
    const PropValue* Find(std::string_view key) const;

    // Writes replace any value under `key`, of whatever type. Keys and
    // strings must be valid UTF-8 (HostException otherwise, list unchanged).
    void SetBool(std::string_view key, bool value);
    void SetNumber(std::string_view key, double value);
    void SetString(std::string_view key, std::string_view value);
    // Stores a deep copy of `value` (lists and arrays included), so a list
    // never ends up inside itself and two trees never share a sub-list.
    void SetValue(std::string_view key, const PropValue& value);
    // The sub-list under `key`; a new empty one replaces any value of
    // another type there. Refused (HostException) beyond kMaxDepth.
    PropListPtr GetOrCreateSubList(std::string_view key);
    // True when something was removed.
    bool RemoveValue(std::string_view key);
    void Clear();

    bool Has(std::string_view key) const { return Find(key) != nullptr; }
    size_t Count() const { return mValues.size(); }
    // Keys in byte order.
    std::vector<std::string> Keys() const;
    const std::map<std::string, PropValue, std::less<>>& Values() const { return mValues; }

    // A deep copy with a change counter of its own.
    PropListPtr Clone() const;
    // A deep copy at nesting `depth` whose lists all count their changes
    // in `notifier`.
    PropListPtr Clone(const std::shared_ptr<ChangeNotifier>& notifier, int depth) const;
    // 0 for a root list, its parent's depth + 1 for a sub-list.
    int Depth() const { return mDepth; }

    // The counter this list's tree shares.
    const std::shared_ptr<ChangeNotifier>& Notifier() const { return mNotifier; }

private:
    PropList();
    void Store(std::string_view key, PropValue value);

    std::map<std::string, PropValue, std::less<>> mValues;
    std::shared_ptr<ChangeNotifier> mNotifier;
    int mDepth = 0;
};

// Throws HostException naming `what` ("key", "string") unless valid.
void RequireUTF8(std::string_view text, const char* what);

// Deep copy of a value placed at nesting `depth`; lists in it get `notifier`.
PropValue CopyValue(const PropValue& value, const std::shared_ptr<ChangeNotifier>& notifier,
                    int depth);
// Levels of lists and arrays in a value: 0 for a bool, number or string.
int Height(const PropValue& value);
// Deep, bitwise equality (NaN equals a NaN of the same bits).
bool SameValue(const PropValue& a, const PropValue& b);

} // namespace vyrcore::proplist
