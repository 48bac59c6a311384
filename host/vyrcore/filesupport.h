// Directories and files of the host, with UTF-16 paths as the host uses them.
#pragma once

#include <string>
#include <string_view>

namespace vyrcore::filesupport {

class Dir {
public:
    Dir() = default; // the empty directory: exists nowhere
    explicit Dir(std::u16string path);
    static Dir FromUTF8(std::string_view path);

    // The directory of the running program, unless the host program set
    // another one with SetAppDir.
    static Dir AppDir();
    static void SetAppDir(const Dir& dir);

    bool Empty() const { return mPath.empty(); }
    bool Exists() const;
    // The absolute, normalised path (no trailing separator).
    std::u16string FullPath() const;
    std::string FullPathUTF8() const;
    Dir Parent() const;
    // This directory joined with a relative path ("a/b" below it).
    Dir Join(std::u16string_view relative) const;

    friend bool operator==(const Dir&, const Dir&) = default;

private:
    std::u16string mPath;
};

class File {
public:
    File() = default;
    explicit File(std::u16string path);
    static File FromUTF8(std::string_view path);
    File(const Dir& dir, std::u16string_view name);

    bool Exists() const; // a regular file
    std::u16string FullPath() const;
    std::string FullPathUTF8() const;
    Dir Parent() const;
    // Reads the whole file. Returns false when it cannot be read.
    bool ReadAll(std::string& bytes) const;

private:
    std::u16string mPath;
};

} // namespace vyrcore::filesupport
