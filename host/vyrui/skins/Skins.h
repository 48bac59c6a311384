// The generation of the application's look. Version 7 brought the flat
// controls that scripts test for with IsRunningV7OrBeyond.
#pragma once

namespace vyrui::skins {

int GetSkinVersion();
// For hosts that still ship an older look.
void SetSkinVersion(int version);
bool IsRunningV7OrBeyond();

} // namespace vyrui::skins
