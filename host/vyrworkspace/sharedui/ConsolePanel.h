// The developer console's output panel: commands post UTF-8 text to it, and
// the host program shows it.
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <string_view>

namespace vyrworkspace::sharedui {

class ConsolePanel {
public:
    static ConsolePanel& GetInstance();

    // Appends text as it is (no line break is added).
    void PostBuffer(std::string_view utf8);

    // What was posted since the last Clear or Take.
    std::string Text() const;
    // Returns what was posted and clears the panel.
    std::string Take();
    void Clear();

    // Called with every posted buffer as it arrives (null: nobody listens).
    // Runs on the posting thread, with no lock held.
    using Listener = std::function<void(std::string_view utf8)>;
    void SetListener(Listener listener);

private:
    ConsolePanel() = default;

    mutable std::mutex mMutex;
    std::string mText;
    Listener mListener;
};

} // namespace vyrworkspace::sharedui
