#pragma once

/// From now on standard error is heard again.
void endQuietStart();
