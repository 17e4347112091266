#include "agent/ProgramFile.h"

#include "agent/OtherRights.h"

#include <cstdlib>
#include <cstring>
#include <elf.h>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {
bool isExecutableFile(const std::string& path)
{
    struct stat file;
    return stat(path.c_str(), &file) == 0 && S_ISREG(file.st_mode) && access(path.c_str(), X_OK) == 0;
}

template <class T> bool readAt(std::istream& file, uint64_t offset, T& out)
{
    file.seekg(static_cast<std::streamoff>(offset));
    return static_cast<bool>(file.read(reinterpret_cast<char*>(&out), sizeof out));
}

/// Compares with this very program, so that no table of machines is needed.
bool isForThisMachine(const Elf64_Ehdr& header)
{
    Elf64_Ehdr own;
    std::ifstream self("/proc/self/exe", std::ios::binary);
    return readAt(self, 0, own) && std::memcmp(own.e_ident, header.e_ident, EI_VERSION) == 0 &&
           own.e_machine == header.e_machine;
}

bool hasInterpreter(std::istream& file, const Elf64_Ehdr& header)
{
    for (unsigned index = 0; index < header.e_phnum; ++index) {
        Elf64_Phdr part;
        if (!readAt(file, header.e_phoff + uint64_t(index) * header.e_phentsize, part))
            return false;
        if (part.p_type == PT_INTERP)
            return true;
    }
    return false;
}

std::string interpreterOf(std::istream& script)
{
    std::string line;
    script.clear();
    script.seekg(0);
    std::getline(script, line);
    std::string interpreter = "/bin/sh"; // what a file without a mark is run by
    if (line.rfind("#!", 0) == 0)
        std::istringstream(line.substr(2)) >> interpreter;
    return interpreter;
}

bool takesPreload(const std::string& path, int depth)
{
    std::ifstream file(path, std::ios::binary);
    if (!file || OtherRights::ofFile(path.c_str()))
        return false;
    Elf64_Ehdr header;
    if (readAt(file, 0, header) && std::memcmp(header.e_ident, ELFMAG, SELFMAG) == 0)
        return isForThisMachine(header) && hasInterpreter(file, header);
    return depth > 0 && takesPreload(interpreterOf(file), depth - 1);
}
} // namespace

std::string ProgramFile::find(const std::string& program)
{
    if (program.find('/') != std::string::npos)
        return access(program.c_str(), F_OK) == 0 ? program : std::string();
    const char* const path = std::getenv("PATH");
    std::istringstream directories(path ? path : "/usr/local/bin:/usr/bin:/bin");
    for (std::string directory; std::getline(directories, directory, ':');)
        if (auto file = (directory.empty() ? "." : directory) + "/" + program; isExecutableFile(file))
            return file;
    return {};
}

bool ProgramFile::takesPreload(const std::string& path)
{
    return ::takesPreload(path, 4);
}

std::string ProgramFile::firstOf(const std::filesystem::path& base, std::initializer_list<const char*> places)
{
    for (const char* const place : places)
        if (std::error_code error; std::filesystem::exists(base / place, error))
            return (base / place).lexically_normal();
    return (base / *places.begin()).lexically_normal();
}
