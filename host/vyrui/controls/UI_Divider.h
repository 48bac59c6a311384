// A divider: a line across the middle of the control that separates
// groups of controls, horizontal when the control is wider than high,
// vertical otherwise. It has no value and takes no presses and no focus.
#pragma once

#include "vyrui/controls/UI_ControlView.h"

namespace vyrui::controls {

class UI_Divider : public UI_ControlView {
public:
    explicit UI_Divider(std::string id = {}, const RectF& rect = {});

    // Where the line is drawn, in local coordinates (whole device pixels).
    RectF GetLineRect() const;
    void UI_DrawSelf(drawbot::Drawbot& drawbot) override;

protected:
    bool TakesPresses() const override { return false; }
};

} // namespace vyrui::controls
