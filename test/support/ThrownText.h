/// What an exception of any class has to say.
#pragma once

#include <string>

/// Class and text of the exception that is being handled. Call it in a `catch` block.
std::string thrownText();
