#include "CommandLine.h"
#include "Commands.h"
int runDoctor(const CCall&)
{
    throw CNotSo("not yet");
}
