#include "exo/app/Commands.h"

#include "vyrcore/config.h"
#include "vyrui/events/KeyCodes.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <utility>

namespace exo::app {

void CommandDispatcher::AddHandler(const std::shared_ptr<CommandHandler>& handler)
{
    if (handler)
        mHandlers.insert(mHandlers.begin(), handler);
}

void CommandDispatcher::RemoveHandler(const CommandHandler* handler)
{
    std::erase_if(mHandlers, [&](const auto& h) { return h.get() == handler; });
}

std::shared_ptr<CommandHandler> CommandDispatcher::Find(CommandID id) const
{
    for (const auto& handler : mHandlers)
        if (handler->HandlesCommand(id))
            return handler;
    return nullptr;
}

CommandState CommandDispatcher::GetState(CommandID id)
{
    CommandState state;
    // Held for the calls: a handler may remove itself while asked.
    if (std::shared_ptr<CommandHandler> handler = Find(id)) {
        state.handled = true;
        state.enabled = handler->IsCommandEnabled(id);
        state.checked = handler->IsCommandChecked(id);
    }
    return state;
}

bool CommandDispatcher::Dispatch(CommandID id)
{
    std::shared_ptr<CommandHandler> handler = Find(id);
    if (!handler || !handler->IsCommandEnabled(id))
        return false;
    return handler->ExecuteCommand(id);
}

SyntheticCmdMgr* SyntheticCmdMgr::Get()
{
    static SyntheticCmdMgr manager;
    return &manager;
}

CommandID SyntheticCmdMgr::ReserveCmd()
{
    return ReserveCmdRange(1);
}

CommandID SyntheticCmdMgr::ReserveCmdRange(int64_t count)
{
    if (count < 1)
        throw vyrcore::config::HostException("ReserveCmdRange: the count must be at least 1");
    const int64_t left =
        mExhausted ? 0 : int64_t{std::numeric_limits<CommandID>::max()} - mNext + 1;
    if (count > left)
        throw vyrcore::config::HostException("ReserveCmdRange: only " + std::to_string(left) +
                                             " synthetic command IDs are left");
    CommandID first = mNext;
    // The last ID of the range may be the largest there is: count up in
    // 64 bits.
    mNext = static_cast<CommandID>(std::min<int64_t>(
        int64_t{first} + count, std::numeric_limits<CommandID>::max()));
    if (count == left)
        mExhausted = true;
    return first;
}

bool SyntheticCmdMgr::IsSyntheticCmdID(int64_t id) const
{
    return id >= kFirstSyntheticID && (mExhausted || id < mNext);
}

bool KeyMappings::IsShortcutText(std::string_view text)
{
    using namespace vyrui::events;
    size_t split = text.rfind('+');
    std::string_view key = split == std::string_view::npos ? text : text.substr(split + 1);
    std::optional<KeyCode> code = key.size() == 1 && key[0] > ' ' ? KeyCodeFromCharacter(key[0])
                                                                  : KeyCodeFromName(key);
    if (!code || *code == kKey_Shift || *code == kKey_Control || *code == kKey_Alt)
        return false;
    constexpr std::string_view kModifiers[] = {"Ctrl", "Shift", "Alt", "Cmd"};
    bool seen[std::size(kModifiers)] = {};
    for (size_t at = 0; split != std::string_view::npos && at <= split;) {
        size_t end = text.find('+', at);
        auto found = std::find(std::begin(kModifiers), std::end(kModifiers), text.substr(at, end - at));
        if (found == std::end(kModifiers) || std::exchange(seen[found - kModifiers], true))
            return false;
        at = end + 1;
    }
    return true;
}

void KeyMappings::SetShortcut(CommandID id, const std::string& text)
{
    auto it = mShortcuts.find(id);
    if (text.empty() ? it == mShortcuts.end() : (it != mShortcuts.end() && it->second == text))
        return;
    if (text.empty())
        mShortcuts.erase(it);
    else
        mShortcuts[id] = text;
    // A copy: a listener may add or remove listeners.
    std::vector<Listener> listeners;
    for (const auto& entry : mListeners)
        listeners.push_back(entry.second);
    for (const Listener& listener : listeners)
        listener();
}

std::string KeyMappings::GetShortcutString(CommandID id) const
{
    auto it = mShortcuts.find(id);
    return it == mShortcuts.end() ? std::string() : it->second;
}

int KeyMappings::AddChangedListener(Listener listener)
{
    int handle = mNextHandle++;
    mListeners.emplace(handle, std::move(listener));
    return handle;
}

void KeyMappings::RemoveChangedListener(int handle)
{
    mListeners.erase(handle);
}

} // namespace exo::app
