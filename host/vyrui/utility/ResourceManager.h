// Named resources of the application, each with a type. This store serves
// them from one directory: the resource "name" of type "type" is the file
// "name.type" there.
#pragma once

#include "vyrcore/filesupport.h"

#include <string>
#include <string_view>

namespace vyrui::utility {

class ResourceManager {
public:
    virtual ~ResourceManager() = default;

    virtual bool ResourceExists(std::u16string_view name, std::u16string_view type) const = 0;
    // Reads the resource's bytes; false when it does not exist or cannot be read.
    virtual bool ReadResource(std::u16string_view name, std::u16string_view type,
                              std::string& bytes) const = 0;
};

class DirectoryResourceManager final : public ResourceManager {
public:
    explicit DirectoryResourceManager(vyrcore::filesupport::Dir root = {});

    void SetRoot(vyrcore::filesupport::Dir root) { mRoot = std::move(root); }
    const vyrcore::filesupport::Dir& Root() const { return mRoot; }

    bool ResourceExists(std::u16string_view name, std::u16string_view type) const override;
    bool ReadResource(std::u16string_view name, std::u16string_view type,
                      std::string& bytes) const override;

private:
    // Null when the name could escape the directory ("/" or "..").
    bool FileFor(std::u16string_view name, std::u16string_view type,
                 vyrcore::filesupport::File& file) const;

    vyrcore::filesupport::Dir mRoot;
};

} // namespace vyrui::utility
