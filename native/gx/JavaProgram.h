/// The Java that the command line starts.
#pragma once

#include <string>

namespace JavaProgram {
constexpr const char* places = "JAVA_HOME, PATH and /usr/lib/jvm/default-java";

std::string find();       ///< path of `java`, in the first of `places` that has it; empty for none
std::string findByName(); ///< the same without the last of them: what build tools and scripts find
/// Its first version number, as the file "release" beside it says: 17. 0 when there is no such file.
int versionOf(const std::string& java);
} // namespace JavaProgram
