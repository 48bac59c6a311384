#include "app/LibraryExports.h"

#include "vyrlua/utility/LuaModules.h"

#include <dlfcn.h>
#include <elf.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace vyrhost {

namespace {

constexpr const char* kOpenerPrefix = "luaopen_";

std::vector<char> ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        throw std::runtime_error("cannot read " + path);
    return std::vector<char>(std::istreambuf_iterator<char>(in), {});
}

template <typename T>
const T* At(const std::vector<char>& file, uint64_t offset, uint64_t count = 1)
{
    if (offset > file.size() || count > (file.size() - offset) / sizeof(T))
        throw std::runtime_error("truncated ELF file");
    return reinterpret_cast<const T*>(file.data() + offset);
}

// Names of the defined, exported functions of an ELF64 shared object.
std::vector<std::string> ExportedFunctionNames(const std::vector<char>& file)
{
    const auto* header = At<Elf64_Ehdr>(file, 0);
    if (std::memcmp(header->e_ident, ELFMAG, SELFMAG) != 0 ||
        header->e_ident[EI_CLASS] != ELFCLASS64)
        throw std::runtime_error("not an ELF64 file");
    const auto* sections = At<Elf64_Shdr>(file, header->e_shoff, header->e_shnum);
    std::vector<std::string> names;
    for (unsigned i = 0; i < header->e_shnum; ++i) {
        if (sections[i].sh_type != SHT_DYNSYM || sections[i].sh_link >= header->e_shnum)
            continue;
        const Elf64_Shdr& strings = sections[sections[i].sh_link];
        const uint64_t count = sections[i].sh_size / sizeof(Elf64_Sym);
        const auto* symbols = At<Elf64_Sym>(file, sections[i].sh_offset, count);
        const char* text = At<char>(file, strings.sh_offset, strings.sh_size);
        for (uint64_t s = 0; s < count; ++s) {
            const Elf64_Sym& sym = symbols[s];
            if (ELF64_ST_TYPE(sym.st_info) != STT_FUNC || sym.st_shndx == SHN_UNDEF ||
                ELF64_ST_VISIBILITY(sym.st_other) != STV_DEFAULT ||
                sym.st_name >= strings.sh_size)
                continue;
            const char* name = text + sym.st_name;
            names.emplace_back(name, strnlen(name, strings.sh_size - sym.st_name));
        }
    }
    return names;
}

} // namespace

std::vector<ExportedOpener> ExportedOpeners(std::string* libraryPath)
{
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&luaopen_vyrlua), &info) == 0 || info.dli_fname == nullptr)
        throw std::runtime_error("cannot locate vyrlua.so");
    std::string path = info.dli_fname;
    if (libraryPath)
        *libraryPath = path;
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle == nullptr)
        throw std::runtime_error("vyrlua.so is not loaded: " + path);

    std::vector<ExportedOpener> openers;
    std::vector<std::string> names = ExportedFunctionNames(ReadFile(path));
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    for (const std::string& symbol : names) {
        if (symbol.rfind(kOpenerPrefix, 0) != 0)
            continue;
        auto function = reinterpret_cast<lua_CFunction>(dlsym(handle, symbol.c_str()));
        if (function == nullptr)
            continue;
        std::string name = symbol.substr(std::strlen(kOpenerPrefix));
        std::replace(name.begin(), name.end(), '_', '.');
        openers.push_back({name, symbol, function});
    }
    dlclose(handle);
    return openers;
}

std::vector<std::string> StringKeys(lua_State* L, int index)
{
    std::vector<std::string> keys;
    lua_pushnil(L);
    while (lua_next(L, index) != 0) {
        lua_pop(L, 1);
        if (lua_type(L, -1) == LUA_TSTRING)
            keys.emplace_back(lua_tostring(L, -1));
    }
    return keys;
}

} // namespace vyrhost
