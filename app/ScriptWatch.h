// What --watch watches: the script file and every module it required from
// disk (a name in package.loaded, or one `require` looked for, that
// package.path finds as a file), by modification time and content.
#pragma once

#include "vyrlua/utility/LuaApi.h"

#include <cstdint>
#include <map>
#include <string>

namespace vyrhost {

class ScriptWatch {
public:
    // Before the run in `L`: records the script as it is now, and makes
    // `require` note the names it looks for, so that a module which failed
    // to load is watched too (one more entry in package.loaders, first).
    void Prepare(lua_State* L, const std::string& script);
    // Records the files of the run in `L` (which may have stopped with an
    // error: what it required so far counts) as they are now; the script's
    // record from Prepare stays.
    void Collect(lua_State* L, const std::string& script);
    // Whether a recorded file changed, vanished or appeared since Collect.
    bool Changed() const;
    // After a change: returns once the files have stayed the same for a
    // tenth of a second (or after two seconds of changes).
    void WaitUntilSettled() const;
    size_t Count() const { return mFiles.size(); }

private:
    struct Stamp {
        int64_t time = -1; // -1: missing
        size_t content = 0; // a hash
        bool operator==(const Stamp&) const = default;
    };
    static Stamp StampOf(const std::string& path);

    std::map<std::string, Stamp> mFiles;
    bool mPrepared = false;
};

} // namespace vyrhost
