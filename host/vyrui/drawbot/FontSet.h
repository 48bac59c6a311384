// The fonts the drawing layer uses: a fixed set from Debian's
// fonts-dejavu-core, loaded by file so no system font setting changes them.
#pragma once

#include <span>

namespace vyrui::drawbot {

inline constexpr const char* kFontDirectory = "/usr/share/fonts/truetype/dejavu";
inline constexpr const char16_t* kUIFontFamily = u"DejaVu Sans";

struct FontFile {
    const char* file;
    const char16_t* family;
};

std::span<const FontFile> FontSetFiles();

} // namespace vyrui::drawbot
