// Foreign exceptions. Under LuaJIT a Lua error unwinds native frames as an
// exception that is not C++'s. It belongs to the Lua call that catches it
// further out: a handler that swallows it leaves that Lua state broken and
// the unwinder crashing. So every catch (...) either cleans up and rethrows,
// or calls RethrowForeignException before anything else.
#pragma once

namespace vyrcore::config {

// Inside a catch handler: whether the exception being handled is foreign.
bool IsForeignException() noexcept;
// Inside a catch handler: rethrows the exception being handled when it is
// foreign; returns for a C++ exception.
void RethrowForeignException();

} // namespace vyrcore::config
