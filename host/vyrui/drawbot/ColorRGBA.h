// A colour with straight (not premultiplied) components from 0 to 1.
#pragma once

namespace vyrui::drawbot {

struct ColorRGBA {
    float red = 0;
    float green = 0;
    float blue = 0;
    float alpha = 1;
    friend bool operator==(const ColorRGBA&, const ColorRGBA&) = default;
};

} // namespace vyrui::drawbot
