/// What the subcommands do; each answers the exit status. They throw CNotSo and CWrongUse.
#pragma once

#include <string>

struct CCall;

int runWindows(const CCall& call);
int runAt(const CCall& call);
int runWait(const CCall& call);
int runShot(const CCall& call);
int runFrame(const CCall& call);
int runClick(const CCall& call);
int runType(const CCall& call);
int runKeys(const CCall& call);
int runRun(const CCall& call);
int runSession(const CCall& call);
int runInEngine(const CCall& call);
int runInspect(const CCall& call);
int runStore(const CCall& call);
int runDoctor(const CCall& call);
int runHelp(const CCall& call);

/// The text of what the store has just thrown; to be called where it was caught.
std::string storeFailure();
