#include "vyrui/utility/ResourceManager.h"

namespace vyrui::utility {

DirectoryResourceManager::DirectoryResourceManager(vyrcore::filesupport::Dir root)
    : mRoot(std::move(root))
{
}

bool DirectoryResourceManager::FileFor(std::u16string_view name, std::u16string_view type,
                                       vyrcore::filesupport::File& file) const
{
    if (mRoot.Empty() || name.empty() || type.empty())
        return false;
    for (std::u16string_view part : {name, type}) {
        if (part.find(u'/') != std::u16string_view::npos || part.find(u"..") != std::u16string_view::npos ||
            part.find(u'\0') != std::u16string_view::npos)
            return false;
    }
    std::u16string fileName(name);
    fileName += u'.';
    fileName += type;
    file = vyrcore::filesupport::File(mRoot, fileName);
    return true;
}

bool DirectoryResourceManager::ResourceExists(std::u16string_view name,
                                              std::u16string_view type) const
{
    vyrcore::filesupport::File file;
    return FileFor(name, type, file) && file.Exists();
}

bool DirectoryResourceManager::ReadResource(std::u16string_view name, std::u16string_view type,
                                            std::string& bytes) const
{
    vyrcore::filesupport::File file;
    return FileFor(name, type, file) && file.ReadAll(bytes);
}

} // namespace vyrui::utility
