#include "vyrcore/filesupport.h"

#include "vyrcore/string.h"

#include <filesystem>
#include <fstream>
#include <mutex>
#include <sstream>

namespace vyrcore::filesupport {

namespace fs = std::filesystem;

namespace {

fs::path ToPath(const std::u16string& path)
{
    return fs::path(string::UTF16to8(path));
}

std::u16string Normalise(const std::u16string& path)
{
    if (path.empty())
        return {};
    std::error_code ec;
    fs::path p = fs::absolute(ToPath(path), ec).lexically_normal();
    std::string s = p.string();
    while (s.size() > 1 && s.back() == '/')
        s.pop_back();
    return string::UTF8to16(s);
}

struct AppDirOverride {
    std::mutex mutex;
    Dir dir;
};

AppDirOverride& Override()
{
    static AppDirOverride instance;
    return instance;
}

} // namespace

Dir::Dir(std::u16string path) : mPath(Normalise(path)) {}

Dir Dir::FromUTF8(std::string_view path)
{
    return Dir(string::UTF8to16(path));
}

Dir Dir::AppDir()
{
    {
        std::lock_guard lock(Override().mutex);
        if (!Override().dir.Empty())
            return Override().dir;
    }
    std::error_code ec;
    fs::path exe = fs::read_symlink("/proc/self/exe", ec);
    if (ec)
        return Dir();
    return FromUTF8(exe.parent_path().string());
}

void Dir::SetAppDir(const Dir& dir)
{
    std::lock_guard lock(Override().mutex);
    Override().dir = dir;
}

bool Dir::Exists() const
{
    std::error_code ec;
    return !mPath.empty() && fs::is_directory(ToPath(mPath), ec);
}

std::u16string Dir::FullPath() const
{
    return mPath;
}

std::string Dir::FullPathUTF8() const
{
    return string::UTF16to8(mPath);
}

Dir Dir::Parent() const
{
    return FromUTF8(ToPath(mPath).parent_path().string());
}

Dir Dir::Join(std::u16string_view relative) const
{
    if (mPath.empty())
        return Dir();
    if (relative.empty())
        return *this;
    return FromUTF8((ToPath(mPath) / string::UTF16to8(relative)).string());
}

File::File(std::u16string path) : mPath(Normalise(path)) {}

File File::FromUTF8(std::string_view path)
{
    return File(string::UTF8to16(path));
}

File::File(const Dir& dir, std::u16string_view name)
    : File(dir.Empty() ? std::u16string() : dir.Join(name).FullPath())
{
}

bool File::Exists() const
{
    std::error_code ec;
    return !mPath.empty() && fs::is_regular_file(ToPath(mPath), ec);
}

std::u16string File::FullPath() const
{
    return mPath;
}

std::string File::FullPathUTF8() const
{
    return string::UTF16to8(mPath);
}

Dir File::Parent() const
{
    return Dir::FromUTF8(ToPath(mPath).parent_path().string());
}

bool File::ReadAll(std::string& bytes) const
{
    if (!Exists())
        return false;
    std::ifstream in(ToPath(mPath), std::ios::binary);
    if (!in)
        return false;
    std::ostringstream buffer;
    buffer << in.rdbuf();
    if (in.bad())
        return false;
    bytes = std::move(buffer).str();
    return true;
}

} // namespace vyrcore::filesupport
