#include "vyrcore/PropList.h"

#include "vyrcore/config.h"
#include "vyrcore/string.h"

#include <algorithm>
#include <cstring>

namespace vyrcore::proplist {

PropType TypeOf(const PropValue& value)
{
    return static_cast<PropType>(value.index());
}

const char* TypeName(PropType type)
{
    switch (type) {
    case PropType::Bool: return "bool";
    case PropType::Number: return "number";
    case PropType::String: return "string";
    case PropType::List: return "list";
    case PropType::Array: return "array";
    }
    return "?";
}

void RequireUTF8(std::string_view text, const char* what)
{
    if (!string::IsValidUTF8CharacterString(text))
        throw config::HostException(std::string("PropList: the ") + what +
                                    " is not valid UTF-8");
}

namespace {

void RequireUTF8Within(const PropValue& value)
{
    if (const auto* text = std::get_if<std::string>(&value))
        RequireUTF8(*text, "string");
    else if (const auto* array = std::get_if<PropArrayPtr>(&value)) {
        if (*array)
            for (const PropValue& item : (*array)->items)
                RequireUTF8Within(item);
    }
    // Lists check their keys and strings as they are filled.
}

} // namespace

PropValue CopyValue(const PropValue& value, const std::shared_ptr<ChangeNotifier>& notifier,
                    int depth)
{
    if (const auto* list = std::get_if<PropListPtr>(&value))
        return (*list ? **list : *PropList::Create()).Clone(notifier, depth);
    if (const auto* array = std::get_if<PropArrayPtr>(&value)) {
        auto copy = std::make_shared<PropArray>();
        if (*array) {
            copy->items.reserve((*array)->items.size());
            for (const PropValue& item : (*array)->items)
                copy->items.push_back(CopyValue(item, notifier, depth + 1));
        }
        return copy;
    }
    return value;
}

int Height(const PropValue& value)
{
    int height = 0;
    if (const auto* list = std::get_if<PropListPtr>(&value)) {
        if (*list)
            for (const auto& entry : (*list)->Values())
                height = std::max(height, Height(entry.second));
        return height + 1;
    }
    if (const auto* array = std::get_if<PropArrayPtr>(&value)) {
        if (*array)
            for (const PropValue& item : (*array)->items)
                height = std::max(height, Height(item));
        return height + 1;
    }
    return 0;
}

bool SameValue(const PropValue& a, const PropValue& b)
{
    if (a.index() != b.index())
        return false;
    switch (TypeOf(a)) {
    case PropType::Bool: return std::get<bool>(a) == std::get<bool>(b);
    case PropType::Number: {
        double x = std::get<double>(a), y = std::get<double>(b);
        return std::memcmp(&x, &y, sizeof x) == 0;
    }
    case PropType::String: return std::get<std::string>(a) == std::get<std::string>(b);
    case PropType::List: {
        const PropListPtr& x = std::get<PropListPtr>(a);
        const PropListPtr& y = std::get<PropListPtr>(b);
        if (!x || !y)
            return !x && !y;
        if (x->Count() != y->Count())
            return false;
        auto i = x->Values().begin();
        for (auto j = y->Values().begin(); j != y->Values().end(); ++i, ++j)
            if (i->first != j->first || !SameValue(i->second, j->second))
                return false;
        return true;
    }
    case PropType::Array: {
        const PropArrayPtr& x = std::get<PropArrayPtr>(a);
        const PropArrayPtr& y = std::get<PropArrayPtr>(b);
        size_t nx = x ? x->items.size() : 0, ny = y ? y->items.size() : 0;
        if (nx != ny)
            return false;
        for (size_t i = 0; i < nx; ++i)
            if (!SameValue(x->items[i], y->items[i]))
                return false;
        return true;
    }
    }
    return false;
}

PropList::PropList() : mNotifier(std::make_shared<ChangeNotifier>()) {}

PropListPtr PropList::Create()
{
    return PropListPtr(new PropList);
}

const PropValue* PropList::Find(std::string_view key) const
{
    auto it = mValues.find(key);
    return it == mValues.end() ? nullptr : &it->second;
}

namespace {
template <typename T>
std::optional<T> Typed(const PropValue* value)
{
    if (value)
        if (const T* v = std::get_if<T>(value))
            return *v;
    return std::nullopt;
}
} // namespace

std::optional<bool> PropList::GetBool(std::string_view key) const
{
    return Typed<bool>(Find(key));
}

std::optional<double> PropList::GetNumber(std::string_view key) const
{
    return Typed<double>(Find(key));
}

std::optional<std::string> PropList::GetString(std::string_view key) const
{
    return Typed<std::string>(Find(key));
}

PropListPtr PropList::GetSubList(std::string_view key) const
{
    return Typed<PropListPtr>(Find(key)).value_or(nullptr);
}

void PropList::Store(std::string_view key, PropValue value)
{
    RequireUTF8(key, "key");
    auto it = mValues.find(key);
    if (it == mValues.end())
        mValues.emplace(std::string(key), std::move(value));
    else if (!SameValue(it->second, value))
        it->second = std::move(value);
    else
        return;
    mNotifier->Changed();
}

void PropList::SetBool(std::string_view key, bool value)
{
    Store(key, value);
}

void PropList::SetNumber(std::string_view key, double value)
{
    Store(key, value);
}

void PropList::SetString(std::string_view key, std::string_view value)
{
    RequireUTF8(value, "string");
    Store(key, std::string(value));
}

void PropList::SetValue(std::string_view key, const PropValue& value)
{
    RequireUTF8Within(value);
    if (mDepth + Height(value) > kMaxDepth)
        throw config::HostException("PropList: lists and arrays nest at most " +
                                    std::to_string(kMaxDepth) + " deep");
    Store(key, CopyValue(value, mNotifier, mDepth + 1));
}

PropListPtr PropList::GetOrCreateSubList(std::string_view key)
{
    if (PropListPtr existing = GetSubList(key))
        return existing;
    RequireUTF8(key, "key");
    if (mDepth + 1 > kMaxDepth)
        throw config::HostException("PropList: lists and arrays nest at most " +
                                    std::to_string(kMaxDepth) + " deep");
    PropListPtr list(new PropList);
    list->mNotifier = mNotifier;
    list->mDepth = mDepth + 1;
    mValues.insert_or_assign(std::string(key), list);
    mNotifier->Changed();
    return list;
}

bool PropList::RemoveValue(std::string_view key)
{
    auto it = mValues.find(key);
    if (it == mValues.end())
        return false;
    mValues.erase(it);
    mNotifier->Changed();
    return true;
}

void PropList::Clear()
{
    if (mValues.empty())
        return;
    mValues.clear();
    mNotifier->Changed();
}

std::vector<std::string> PropList::Keys() const
{
    std::vector<std::string> keys;
    keys.reserve(mValues.size());
    for (const auto& entry : mValues)
        keys.push_back(entry.first);
    return keys;
}

PropListPtr PropList::Clone() const
{
    return Clone(std::make_shared<ChangeNotifier>(), 0);
}

PropListPtr PropList::Clone(const std::shared_ptr<ChangeNotifier>& notifier, int depth) const
{
    PropListPtr copy(new PropList);
    copy->mNotifier = notifier;
    copy->mDepth = depth;
    for (const auto& [key, value] : mValues)
        copy->mValues.emplace(key, CopyValue(value, notifier, depth + 1));
    return copy;
}

} // namespace vyrcore::proplist
