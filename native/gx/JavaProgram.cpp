#include "gx/JavaProgram.h"

#include "agent/ProgramFile.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <unistd.h>

std::string JavaProgram::findByName()
{
    const char* const home = std::getenv("JAVA_HOME");
    const std::string own = home && *home ? std::string(home) + "/bin/java" : "";
    return !own.empty() && access(own.c_str(), X_OK) == 0 ? own : ProgramFile::find("java");
}

std::string JavaProgram::find()
{
    const std::string named = findByName();
    const std::string usual = "/usr/lib/jvm/default-java/bin/java";
    return named.empty() && access(usual.c_str(), X_OK) == 0 ? usual : named;
}

int JavaProgram::versionOf(const std::string& java)
{
    std::error_code error;
    const std::filesystem::path file = std::filesystem::canonical(java, error);
    std::ifstream release(file.parent_path().parent_path() / "release");
    for (std::string line; std::getline(release, line);)
        if (line.starts_with("JAVA_VERSION=\""))
            return std::atoi(line.c_str() + sizeof "JAVA_VERSION=\"" - 1);
    return 0;
}
