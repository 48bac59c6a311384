// What --watch watches: the script file and every module it required from
// disk (a name in package.loaded that package.path finds as a file), by
// modification time and size.
#pragma once

#include "vyrlua/utility/LuaApi.h"

#include <cstdint>
#include <map>
#include <string>

namespace vyrhost {

class ScriptWatch {
public:
    // Records the files of the run in `L` (which may have stopped with an
    // error: what it required so far counts) as they are now.
    void Collect(lua_State* L, const std::string& script);
    // Whether a recorded file changed, vanished or appeared since Collect.
    bool Changed() const;
    size_t Count() const { return mFiles.size(); }

private:
    struct Stamp {
        int64_t time = -1; // -1: missing
        uintmax_t size = 0;
        bool operator==(const Stamp&) const = default;
    };
    static Stamp StampOf(const std::string& path);

    std::map<std::string, Stamp> mFiles;
};

} // namespace vyrhost
