#include "app/ErrorReport.h"

#include "vyrlua/utility/LuaProtectedCall.h"

#include <ostream>

namespace vyrhost {

void ErrorReport::Report(const std::string& message, std::string traceback)
{
    ++mCount;
    if (traceback.empty())
        traceback = vyrlua::utility::TakeCallTraceback(message);
    if (!mSeen.insert(message).second)
        return;
    mOut << "vyrlua-host: error: " << message << "\n";
    if (!traceback.empty())
        mOut << traceback << "\n";
    mOut << std::flush;
}

} // namespace vyrhost
