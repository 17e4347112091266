#include "common/trace/GxInstallOptions.h"

#include "common/trace/FilePlace.h"

#include "Seed.h"
#include "TraceHome.h"
#include "common/trace/ErrorString.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <map>
#include <random>
#include <unistd.h>

using testing::HasSubstr;

SCRIPT(printOptions)
{
    const auto show = [](const char* text) { return text ? text : "(null)"; };
    std::printf("directory %s\n", show(GxInstallOptions::GetInstallDir()));
    for (const char* key : {"key", "Key", "unset", "none"})
        std::printf("%s is %s\n", key, show(GxInstallOptions::GetOption(key)));
    std::printf("variable %s\n", show(std::getenv("QUESSA_TALVERN_VTX_INSTALL_DIR")));
    GxInstallOptions::SetInstallDir("/elsewhere");
    std::printf("still %s\n", show(GxInstallOptions::GetInstallDir()));
}

TEST(GxInstallOptionsTest, TheFirstExistingPathOfTheEnvironmentHoldsTheOptions)
{
    const std::string found =
        "directory %/install\nkey is value\nKey is (null)\nunset is (null)\nnone is (null)\n";
    const std::string none = "key is (null)\nKey is (null)\nunset is (null)\nnone is (null)\n";
    const std::string variable = "QUESSA_TALVERN_VTX_INSTALL_DIR";
    const struct {
        const char* why;
        std::string variables; // shell commands; % is the home directory
        std::string told;
    } rows[] = {
        {"one path", "true", found + "variable %/install\nstill %/install\n"},
        {"the second exists; the variable is cut", "export " + variable + "=/nowhere:%/install:/tmp",
         found + "variable /nowhere\nstill %/install\n"},
        {"the older variable", "unset " + variable + "; export TALVERN_GX_INSTALL_DIRECTORY=%/install",
         found + "variable (null)\nstill %/install\n"},
        {"an empty variable hides the older one",
         "export " + variable + "= TALVERN_GX_INSTALL_DIRECTORY=%/install",
         "directory (null)\n" + none + "variable \nstill /elsewhere\n"},
        {"no path exists", "export " + variable + "=/nowhere",
         "directory (null)\n" + none + "variable /nowhere\nstill /elsewhere\n"},
        {"too long a path", "export " + variable + "=" + std::string(600, '/') + "tmp",
         "directory (null)\n" + none},
        {"a directory without options", "export " + variable + "=/",
         "directory /\n" + none + "variable /\nstill /\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        CTraceHome home;
        home.options("# comment=1\nkey = value = more\nunset=<gxinstalloption not SET>\n");
        const auto atHome = [&home](std::string text) {
            for (size_t at; (at = text.find('%')) != std::string::npos;)
                text.replace(at, 1, home.path().string());
            return text;
        };
        home.beforehand(atHome(row.variables) + " && ");
        ASSERT_EQ(0, home.run("printOptions"));
        EXPECT_THAT(home.standardOutput(), HasSubstr(atHome(row.told)));
    }
}

TEST(HashtableTest, BehavesAsASortedMap)
{
    std::mt19937 random(seed());
    std::map<std::string, std::string> model;
    GxInstallOptions::Properties table;
    for (int step = 0; step < 3000; ++step) {
        const std::string key = std::to_string(random() % 400);
        const std::string value = std::to_string(random());
        table.setProperty(key.c_str(), value.c_str());
        model[key] = value;
        const std::string other = std::to_string(random() % 500);
        const auto found = model.find(other);
        ASSERT_EQ(found == model.end() ? "none" : found->second, table.GetProperty(other.c_str(), "none"));
    }
    int count = 0;
    char** const keys = table.GetKeySet(&count);
    std::vector<std::string> sorted;
    for (const auto& pair : model)
        sorted.push_back(pair.first);
    EXPECT_EQ(sorted, std::vector<std::string>(keys, keys + count));
    table.DestroyKeySet(keys, count);
}

TEST(PropertiesTest, WhatIsSavedIsLoadedAndDumped)
{
    const std::string path = std::string(std::getenv("HOME")) + "/saved.properties";
    GxInstallOptions::Properties saved;
    saved.setProperty("b", true);
    saved.setProperty("a", -5);
    saved.setProperty("b", "replaced");
    saved.save(path.c_str());
    EXPECT_EQ("a=-5\r\nb=replaced\r\n", readFile(path));

    GxInstallOptions::Properties loaded;
    loaded.setProperty("of before", "gone");
    FILE* const file = openRegularFile(path.c_str());
    ASSERT_NE(nullptr, file);
    loaded.Load(file);
    std::fclose(file);
    char text[256] = "";
    FILE* const stream = fmemopen(text, sizeof text, "w");
    loaded.dump(stream);
    std::fclose(stream);
    EXPECT_STREQ("Dumping properties....\n# Keys = 2\na=-5\r\nb=replaced\r\n", text);
}

TEST(ErrorStringTest, GivesTheTextOfKnownAndUnknownErrors)
{
    char buffer[1024];
    EXPECT_STREQ("No such file or directory", getErrorString(ENOENT, buffer));
    EXPECT_THAT(getErrorString(123456, buffer), HasSubstr("123456"));
}
