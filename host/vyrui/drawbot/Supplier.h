// Making suppliers, and the drawing services around them: the UI font,
// the default text size, outline and rounded-fill helpers, PNG export.
#pragma once

#include "vyrui/drawbot/DrawbotInterfaces.h"

#include <memory>
#include <string>
#include <string_view>

namespace vyrui::drawbot {

// The node manager's suppliers. Both draw with Cairo and lay out text with
// Pango in the UI font; the OS supplier's surfaces start with
// device-dependent text rendering, as on-screen windows want.
std::shared_ptr<SupplierInterface> CreateDefaultSupplier();
std::shared_ptr<SupplierInterface> CreateOSSupplier();

// A font family the suppliers know, spelled as they spell it, or the UI
// font when they know no family of that name (compared without case).
std::u16string ValidateFontName(std::u16string_view name);
// Default text size of controls, in points.
float DefaultTextSize();

// How long a redrawn area flashes in debug builds of the UI, in seconds
// (0: no flash). Throws std::invalid_argument for negative or non-finite.
void SetRedrawDebugFlashDelay(double seconds);
double GetRedrawDebugFlashDelay();

// Writes the surface's (or image's) pixels as a PNG file. Returns false,
// with a message that names the path ("cannot write P: ...") in `error`.
bool WritePNG(SurfaceInterface& surface, const std::string& path, std::string* error = nullptr);
bool WritePNG(const ImageInterface& image, const std::string& path, std::string* error = nullptr);

} // namespace vyrui::drawbot

namespace vyrui::ui {
// The UI font family (DejaVu Sans, shipped by Debian's fonts-dejavu-core).
std::u16string GetFontName();
} // namespace vyrui::ui

namespace vyrui::utils {
// A frame `thickness` wide just inside `rect`, after insetting it by `inset`
// on every side.
void DrawOutline(vyrui::drawbot::SupplierInterface& supplier,
                 vyrui::drawbot::SurfaceInterface& surface, const vyrui::drawbot::RectF& rect,
                 const vyrui::drawbot::ColorRGBA& color, float inset = 0, float thickness = 1);
// The rectangle with its corners rounded by `radius` (clamped to half the
// shorter side; 0 or less gives square corners).
void DrawRoundedFill(vyrui::drawbot::SupplierInterface& supplier,
                     vyrui::drawbot::SurfaceInterface& surface, const vyrui::drawbot::RectF& rect,
                     const vyrui::drawbot::ColorRGBA& color, float radius);
} // namespace vyrui::utils
