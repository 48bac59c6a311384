// A window of 120 host controls: drawing the whole window beside redrawing
// what one button's press made dirty (the window's retained surface), so the
// result reads as the ratio that dirty-only rendering buys.
#include "BenchHarness.h"

#include "vyrui/controls/UI_Button.h"
#include "vyrui/controls/UI_Checkbox.h"
#include "vyrui/drawbot/DrawbotInterfaces.h"
#include "vyrui/ui/OS_Window.h"
#include "vyrui/ui/UI_Container.h"

namespace {

using vyrbench::AddCase;
using vyrbench::Meter;
using vyrbench::Scenario;
using namespace vyrui::controls;
using vyrui::ui::OS_Window;
using vyrui::ui::RectF;

class ControlWindow : public Scenario {
public:
    static constexpr int kColumns = 6;
    static constexpr int kRows = 20;

    explicit ControlWindow(bool dirtyOnly)
        : mDirtyOnly(dirtyOnly), mWindow(new OS_Window("bench", {0, 0, kColumns * 130, kRows * 30}))
    {
        for (int i = 0; i < kColumns * kRows; ++i) {
            RectF rect{static_cast<float>(i % kColumns * 130 + 5),
                       static_cast<float>(i / kColumns * 30 + 2), 120, 26};
            if (i % 2 == 0) {
                auto* button = new UI_Button("b", rect, u"Button");
                vyrui::ui::UI_Container::ChildPushBack(*mWindow, button);
                if (!mButton)
                    mButton = button;
            } else {
                vyrui::ui::UI_Container::ChildPushBack(*mWindow, new UI_Checkbox("c", rect, u"Option"));
            }
        }
        mWindow->UI_UpdateNow(); // the first frame draws everything
    }
    void Run(std::int64_t n, Meter&) override
    {
        for (std::int64_t i = 0; i < n; ++i) {
            mButton->SetDownState(i % 2 == 0);
            if (mDirtyOnly)
                mWindow->UI_UpdateNow();
            else
                mWindow->RenderToSurface();
        }
    }

private:
    bool mDirtyOnly;
    boost::intrusive_ptr<OS_Window> mWindow;
    UI_Button* mButton = nullptr;
};

VYRBENCH_CASES
{
    AddCase({"press_redraw/whole_window", 1, 5, [] { return std::make_unique<ControlWindow>(false); }});
    AddCase({"press_redraw/dirty_only", 20, 100, [] { return std::make_unique<ControlWindow>(true); }});
}

} // namespace

int main(int argc, char** argv)
{
    return vyrbench::Main(argc, argv);
}
