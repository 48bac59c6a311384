// A check box: a small box that a click, Space or Return ticks or clears,
// with its label to the right. The value-unknown state shows a dash.
#pragma once

#include "vyrui/controls/UI_InteractiveControlView.h"
#include "vyrui/controls/UI_TextControlBase.h"

namespace vyrui::controls {

class UI_Checkbox : public UI_InteractiveControlView, public UI_TextControlBase {
public:
    explicit UI_Checkbox(std::string id = {}, const RectF& rect = {}, std::u16string label = {});

    bool IsChecked() const { return mChecked; }
    // Notifies no one; ends the value-unknown state.
    void SetChecked(bool checked);

    // Right of the box, as high as the control.
    RectF GetLabelTextRect() const override;
    // The box, centred vertically at the left, in local coordinates.
    RectF GetBoxRect() const;

    unsigned GetControlState() const override;
    void UI_DrawSelf(drawbot::Drawbot& drawbot) override;
    PointF UI_GetRecommendedSize(drawbot::Drawbot& drawbot) override;

protected:
    // A click toggles (an unknown value becomes checked) and notifies.
    void OnActivate() override;
    void OnLabelChanged() override { UI_Invalidate(); }

private:
    bool mChecked = false;
};

} // namespace vyrui::controls
