#include "CommandLine.h"
#include "Commands.h"
int runStore(const CCall&)
{
    throw CNotSo("not yet");
}
std::string storeFailure()
{
    return {};
}
