// Commands: integer IDs that menus, shortcuts and scripts post to the
// application, which hands each to the first handler that takes it.
// Synthetic IDs are reserved at run time for commands that only exist while
// the program runs (a script's menu items).
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace exo::app {

using CommandID = int32_t;

// Something that can carry out commands: a view, a document, a script's
// attachment. Asked newest first.
class CommandHandler {
public:
    virtual ~CommandHandler() = default;
    virtual bool HandlesCommand(CommandID id) const = 0;
    virtual bool IsCommandEnabled(CommandID) { return true; }
    // nullopt: the command has no check mark.
    virtual std::optional<bool> IsCommandChecked(CommandID) { return std::nullopt; }
    // Returns whether the command was carried out.
    virtual bool ExecuteCommand(CommandID id) = 0;
};

struct CommandState {
    bool handled = false;  // some handler takes it
    bool enabled = false;
    std::optional<bool> checked;
};

// The handlers of the application, newest first.
class CommandDispatcher {
public:
    void AddHandler(const std::shared_ptr<CommandHandler>& handler);
    void RemoveHandler(const CommandHandler* handler);
    size_t HandlerCount() const { return mHandlers.size(); }

    CommandState GetState(CommandID id);
    // Runs the command in the first handler that takes it, when enabled
    // there. Returns whether it ran. A handler may add or remove handlers
    // (itself included) while it runs.
    bool Dispatch(CommandID id);

private:
    std::shared_ptr<CommandHandler> Find(CommandID id) const;
    std::vector<std::shared_ptr<CommandHandler>> mHandlers;
};

// Hands out command IDs from a range of their own, above every fixed ID.
class SyntheticCmdMgr {
public:
    static constexpr CommandID kFirstSyntheticID = 0x40000000;

    static SyntheticCmdMgr* Get();

    // One new ID; throws HostException when the range is used up.
    CommandID ReserveCmd();
    // `count` consecutive new IDs (count >= 1); returns the first. Throws
    // HostException for a count below 1 or beyond what is left.
    CommandID ReserveCmdRange(int64_t count);
    bool IsSyntheticCmdID(int64_t id) const;

private:
    CommandID mNext = kFirstSyntheticID;
    bool mExhausted = false;  // mNext itself was handed out
};

// Keyboard shortcuts of commands, as the user sees them ("Ctrl+Shift+S").
class KeyMappings {
public:
    // True for modifiers (each of Ctrl, Shift, Alt, Cmd at most once, in
    // any order) and then one key, joined by '+': a key name ("F5",
    // "Delete") or one printable ASCII character ("S", "/").
    static bool IsShortcutText(std::string_view text);

    // An empty text removes the command's shortcut. Listeners are told of
    // every change.
    void SetShortcut(CommandID id, const std::string& text);
    // The shortcut text, or "" when the command has none.
    std::string GetShortcutString(CommandID id) const;

    using Listener = std::function<void()>;
    int AddChangedListener(Listener listener);
    void RemoveChangedListener(int handle);

private:
    std::map<CommandID, std::string> mShortcuts;
    std::map<int, Listener> mListeners;
    int mNextHandle = 1;
};

} // namespace exo::app
