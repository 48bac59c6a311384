// A push button: a rounded face with an optional title, pressed by a click,
// Space or Return. Its value is 0 or 1: a button with value 1 stays pushed in
// (a toggled tool); a spring-loaded one is 1 only while it is held. The
// display flags choose which parts of the chrome it draws.
#pragma once

#include "vyrui/controls/UI_InteractiveControlView.h"

#include <string>

namespace vyrui::controls {

class UI_Button : public UI_InteractiveControlView {
public:
    explicit UI_Button(std::string id = {}, const RectF& rect = {}, std::u16string title = {});

    // Any int is kept; non-zero draws the button pushed in. Setting a value
    // notifies no one and ends the value-unknown state.
    void SetValue(int value);
    int GetValue() const { return mValue; }

    // The text centred on the face.
    void SetTitle(std::u16string title);
    const std::u16string& GetTitle() const { return mTitle; }

    // Chrome (face, border, bevel): never; always, also while idle when
    // chromeless; or, by default, per the other flags.
    void SetDisplayContainerNever(bool on) { SetFlag(mContainerNever, on); }
    bool ShouldDisplayContainerNever() const { return mContainerNever; }
    void SetDisplayContainerAlways(bool on) { SetFlag(mContainerAlways, on); }
    bool ShouldDisplayContainerAlways() const { return mContainerAlways; }
    void SetDisplayBorderNever(bool on) { SetFlag(mBorderNever, on); }
    bool ShouldDisplayBorderNever() const { return mBorderNever; }
    // The filled face (on by default).
    void SetDisplayBackground(bool on) { SetFlag(mBackground, on); }
    bool ShouldDisplayBackground() const { return mBackground; }
    // The border even where the chrome is not drawn.
    void SetDisplayBorderAlways(bool on) { SetFlag(mBorderAlways, on); }
    bool ShouldDisplayBorderAlways() const { return mBorderAlways; }
    // No chrome until hovered, pressed, pushed in or focused (tool buttons).
    void SetDisplayChromelessNormalState(bool on) { SetFlag(mChromeless, on); }
    bool ShouldDisplayChromelessNormalState() const { return mChromeless; }
    // Leaves room for the focus ring inside the bounds (on by default);
    // off, the face fills the bounds and the ring is drawn on its edge.
    void SetInsetUndrawnSpace(bool on) { SetFlag(mInsetUndrawn, on); }
    bool ShouldInsetUndrawnSpace() const { return mInsetUndrawn; }
    // The highlight line along the inside top of a raised face (on by default).
    void SetDrawInnerBevelOutline(bool on) { SetFlag(mInnerBevel, on); }
    bool ShouldDrawInnerBevelOutline() const { return mInnerBevel; }

    // Whether a click takes the keyboard focus (on by default).
    void SetChangeFocusOnClick(bool on) { mChangeFocusOnClick = on; }
    bool GetChangeFocusOnClick() const { return mChangeFocusOnClick; }
    // Notify when pressed instead of when released inside.
    void SetNotificationOnMouseDown(bool on) { mNotifyOnDown = on; }
    bool GetNotificationOnMouseDown() const { return mNotifyOnDown; }
    // Value 1 while held, back to 0 on release; both edges notify.
    void SetSpringLoaded(bool on) { mSpringLoaded = on; }
    bool GetSpringLoaded() const { return mSpringLoaded; }

    // Moves the title from the centre of the face, in view units.
    void SetContentOffset(PointF offset);
    PointF GetContentOffset() const { return mContentOffset; }
    // In view units, >= 0 (HostException otherwise); the theme's radius until
    // set.
    void SetCornerRadius(float radius);
    float GetCornerRadius() const;
    // x: the border width, y: the focus ring width, in view units, >= 0
    // (HostException otherwise); 0 takes the theme's.
    void SetStrokeSizes(PointF sizes);
    PointF GetStrokeSizes() const { return mStrokeSizes; }
    // The accent-filled face of the action that commits a dialog.
    void SetCommitAppearance(bool on) { SetFlag(mCommit, on); }
    bool GetCommitAppearance() const { return mCommit; }
    // The accent border of the button Return would press.
    void SetDefaultAppearance(bool on) { SetFlag(mDefault, on); }
    bool GetDefaultAppearance() const { return mDefault; }

    unsigned GetControlState() const override;
    void UI_DrawSelf(drawbot::Drawbot& drawbot) override;
    PointF UI_GetRecommendedSize(drawbot::Drawbot& drawbot) override;

protected:
    void OnPressBegin(uint32_t modifiers) override;
    void OnPressEnd(bool inside) override;
    void OnPressCancel() override;
    void OnActivate() override;
    bool FocusOnClick() const override { return mChangeFocusOnClick; }

private:
    void SetFlag(bool& flag, bool on);
    void SpringBack();

    int mValue = 0;
    std::u16string mTitle;
    bool mContainerNever = false;
    bool mContainerAlways = false;
    bool mBorderNever = false;
    bool mBackground = true;
    bool mBorderAlways = false;
    bool mChromeless = false;
    bool mInsetUndrawn = true;
    bool mInnerBevel = true;
    bool mChangeFocusOnClick = true;
    bool mNotifyOnDown = false;
    bool mSpringLoaded = false;
    bool mCommit = false;
    bool mDefault = false;
    PointF mContentOffset;
    float mCornerRadius = -1; // the theme's
    PointF mStrokeSizes;
};

} // namespace vyrui::controls
