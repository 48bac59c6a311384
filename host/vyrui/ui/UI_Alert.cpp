#include "vyrui/ui/UI_Alert.h"

#include "vyrcore/config.h"
#include "vyrui/controls/UI_Button.h"
#include "vyrui/controls/UI_StaticText.h"
#include "vyrui/drawbot/Drawbot.h"
#include "vyrui/drawbot/DrawbotInterfaces.h"
#include "vyrui/drawbot/Painter.h"
#include "vyrui/theme/Theme.h"
#include "vyrui/ui/UI_Container.h"
#include "vyrui/ui/UI_NodeManager.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace vyrui::ui {

namespace {

constexpr float kWidth = 380;
constexpr float kMargin = 20;
constexpr float kIconSize = 32;
constexpr float kButtonWidth = 84;
constexpr float kButtonHeight = 26;
constexpr float kButtonGap = 10;
constexpr float kMinMessageHeight = 32;
constexpr float kMaxMessageHeight = 400;

// The sign beside the message: a disc in the theme's accent (information),
// warning or error colour with its mark in the accent text colour.
class AlertIconView : public UI_Node {
public:
    AlertIconView(int icon, const RectF& rect) : UI_Node("icon", rect), mIcon(icon) {}

    void UI_DrawSelf(drawbot::Drawbot& drawbot) override
    {
        ResolvedTheme theme(*this);
        drawbot::Painter painter(drawbot);
        const RectF box = UI_GetBoundsF();
        const drawbot::ColorRGBA ink = theme.Color(kThemeColor_AccentText);
        drawbot::FontSpec font = theme.Font(kThemeFont_Title);
        font.bold = true;
        font.size = box.height * 0.55f;
        if (mIcon == kAlertIcon_Warning) {
            painter.FillTriangle({box.left + 1, box.top + 1, box.width - 2, box.height - 3},
                                 theme.Color(kThemeColor_Warning));
            RectF lower{box.left, box.top + box.height * 0.3f, box.width, box.height * 0.65f};
            painter.Label(u"!", lower, font, ink, drawbot::TextAlignment::Center);
            return;
        }
        const int slot = mIcon == kAlertIcon_Error ? kThemeColor_Error : kThemeColor_Accent;
        painter.FillRounded(box, theme.Color(slot), box.width / 2);
        if (mIcon == kAlertIcon_Error) {
            const float inset = box.width * 0.32f;
            painter.Cross({box.left + inset, box.top + inset, box.width - 2 * inset,
                           box.height - 2 * inset},
                          ink, std::max(2.0f, box.width * 0.1f));
        } else {
            painter.Label(u"i", box, font, ink, drawbot::TextAlignment::Center);
        }
    }

private:
    int mIcon;
};

struct Answer {
    const char* id;
    const char16_t* title;
    int result;
};

// Left to right; the last is the affirmative, default button.
std::vector<Answer> AnswersOf(int type)
{
    const Answer ok{"ok", u"OK", kAlertButton_OK};
    const Answer cancel{"cancel", u"Cancel", kAlertButton_Cancel};
    const Answer yes{"yes", u"Yes", kAlertButton_Yes};
    const Answer no{"no", u"No", kAlertButton_No};
    switch (type) {
    case kAlertType_OKCancel: return {cancel, ok};
    case kAlertType_YesNo: return {no, yes};
    case kAlertType_YesNoCancel: return {cancel, no, yes};
    default: return {ok};
    }
}

// The message's height when wrapped at `width`, as the text will draw it.
float MessageHeight(controls::UI_StaticText& text)
{
    std::shared_ptr<drawbot::SupplierInterface> supplier =
        UI_NodeManager::Get(true)->GetDefaultDrawSupplier();
    boost::intrusive_ptr<drawbot::SurfaceInterface> surface =
        supplier ? supplier->NewOffscreenSurface(1, 1, true) : nullptr;
    if (!surface)
        return kMinMessageHeight;
    drawbot::Drawbot drawbot(supplier, surface);
    float height = text.UI_GetRecommendedSize(drawbot).y;
    return std::clamp(std::ceil(height), kMinMessageHeight, kMaxMessageHeight);
}

} // namespace

boost::intrusive_ptr<UI_Dialog> MakeAlert(std::u16string message, std::u16string title, int type,
                                          int icon)
{
    if (type < 0 || type >= kAlertType_Count)
        throw vyrcore::config::HostException(
            "Alert: the type is OK 0, OK/Cancel 1, Yes/No 2 or Yes/No/Cancel 3");
    if (icon < 0 || icon >= kAlertIcon_Count)
        throw vyrcore::config::HostException(
            "Alert: the icon is none 0, information 1, warning 2 or error 3");
    if (title.empty())
        title = u"Alert";
    boost::intrusive_ptr<UI_Dialog> dialog(new UI_Dialog("alert", {0, 0, kWidth, 100}));
    dialog->SetTitle(std::move(title));

    const float textLeft = icon == kAlertIcon_None ? kMargin : 2 * kMargin + kIconSize;
    const float textWidth = kWidth - textLeft - kMargin;
    boost::intrusive_ptr<controls::UI_StaticText> text(
        new controls::UI_StaticText("message", {textLeft, kMargin, textWidth, kMinMessageHeight},
                                    std::move(message)));
    text->SetIsMultiline(true);
    const float textHeight = MessageHeight(*text);
    text->UI_SetLocalRectF({textLeft, kMargin, textWidth, textHeight});
    UI_Container::ChildPushBack(*dialog, text);
    if (icon != kAlertIcon_None)
        UI_Container::ChildPushBack(
            *dialog, UI_Node::Ptr(new AlertIconView(icon, {kMargin, kMargin, kIconSize, kIconSize})));

    const float buttonsTop = kMargin + std::max(textHeight, kIconSize) + kMargin;
    const std::vector<Answer> answers = AnswersOf(type);
    float left = kWidth - kMargin - static_cast<float>(answers.size()) * (kButtonWidth + kButtonGap) +
                 kButtonGap;
    for (size_t i = 0; i < answers.size(); ++i, left += kButtonWidth + kButtonGap) {
        const Answer& answer = answers[i];
        boost::intrusive_ptr<controls::UI_Button> button(new controls::UI_Button(
            answer.id, {left, buttonsTop, kButtonWidth, kButtonHeight}, answer.title));
        UI_Container::ChildPushBack(*dialog, button);
        if (i + 1 == answers.size()) {
            button->SetCommitAppearance(true);
            button->SetDefaultAppearance(true);
            dialog->SetDefaultButton(button.get(), answer.result);
        } else {
            dialog->SetButtonResult(*button, answer.result);
        }
        if (answer.result == kAlertButton_Cancel ||
            (answer.result == kAlertButton_No && type == kAlertType_YesNo))
            dialog->SetCancelButton(button.get(), answer.result);
    }
    if (type == kAlertType_OK)
        dialog->SetCancelResult(kAlertButton_OK);
    dialog->UI_SetLocalRectF({0, 0, kWidth, buttonsTop + kButtonHeight + kMargin});
    return dialog;
}

int ShowAlert(std::u16string message, std::u16string title, int type, int icon)
{
    boost::intrusive_ptr<UI_Dialog> dialog = MakeAlert(std::move(message), std::move(title), type, icon);
    int result = 0;
    try {
        result = dialog->RunModal();
    } catch (...) {
        dialog->Close();
        throw;
    }
    dialog->Close();
    return result;
}

} // namespace vyrui::ui
