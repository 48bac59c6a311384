// Property lists on disk: a JSON document (read and written by nlohmann's
// JSON library), and files replaced atomically.
//
// The document:
//
//     {
//       "format": "vyrlua property list",
//       "version": 1,
//       "values": {
//         "window": {"list": {"width": {"number": 640}, "title": {"string": "Main"}}},
//         "recent": {"array": [{"string": "a.mov"}, {"string": "b.mov"}]},
//         "snap": {"bool": true},
//         "gain": {"number": "-inf"}
//       }
//     }
//
// Every value is an object with one member naming its type: "bool",
// "number", "string", "list" (an object of keyed values) or "array" (a JSON
// array of values). Finite numbers are JSON numbers, written with the
// fewest digits that read back to the same double (so every bit survives,
// -0 included); the others are the strings "inf", "-inf", "nan" (the
// positive quiet NaN) or "nan(0x...)" (any other NaN, its 64 bits in hex).
// Keys and strings are JSON strings (UTF-8, "\u0000" for NUL).
#pragma once

#include "vyrcore/PropList.h"

#include <string>
#include <string_view>
#include <vector>

namespace vyrcore::proplist {

std::string ToJSON(const PropList& list);

// Reads a document. Entries that cannot be read (an unknown type, a value
// of the wrong JSON kind, a newer version's extras) are skipped and
// described in `problems` ("/window/width: ..."); the rest load. Returns
// null, describing why in `problems`, when the text is not such a document
// at all.
PropListPtr FromJSON(std::string_view text, std::vector<std::string>& problems);

// Replaces `path` with `bytes` so that a reader, or a process killed at any
// instant, sees the old file or the new one, never a mix: the bytes go to a
// new temporary file beside it ("<name>.tmp-<pid>-<n>"), are flushed to
// disk, and the temporary file is renamed over `path`. Returns false with a
// description in `error` when it could not (the old file is then untouched).
bool WriteFileAtomically(const std::string& path, std::string_view bytes, std::string& error);

// Removes temporary files that WriteFileAtomically left beside `path` when
// its process was killed mid-write. Returns how many it removed.
int RemoveStaleTemporaries(const std::string& path);

} // namespace vyrcore::proplist
