#include "vyrworkspace/sharedui/ConsolePanel.h"

namespace vyrworkspace::sharedui {

ConsolePanel& ConsolePanel::GetInstance()
{
    static ConsolePanel instance;
    return instance;
}

void ConsolePanel::PostBuffer(std::string_view utf8)
{
    Listener listener;
    {
        std::lock_guard lock(mMutex);
        mText.append(utf8);
        listener = mListener;
    }
    if (listener)
        listener(utf8);
}

std::string ConsolePanel::Text() const
{
    std::lock_guard lock(mMutex);
    return mText;
}

std::string ConsolePanel::Take()
{
    std::lock_guard lock(mMutex);
    std::string text;
    text.swap(mText);
    return text;
}

void ConsolePanel::Clear()
{
    std::lock_guard lock(mMutex);
    mText.clear();
}

void ConsolePanel::SetListener(Listener listener)
{
    std::lock_guard lock(mMutex);
    mListener = std::move(listener);
}

} // namespace vyrworkspace::sharedui
