/// The keyboard devices of an X server, and what XTest holds down. Each has a map of its own; the server
/// shows clients that of the device used last, so that what a layout is depends on who pressed the last key,
/// a user or XTest.
#pragma once

#include "unix/input/KeyCodes.h"

#include <bitset>
#include <cstdint>
#include <string>
#include <vector>

#include <X11/Xlib.h>

/// Types and keysyms of the device that XTest strokes of this connection come from, as the server has them
/// now; null when it has none. Where the server does not tell devices apart it is the keyboard as clients see
/// it. Round trips.
KeyboardMap mapOfXTestKeyboard(Display* display);

/// What all keys are on the keyboard that clients see and on all devices behind it: some 6000 numbers, which
/// compare equal when nothing differs. Round trips.
std::vector<uint32_t> keysOfAllKeyboards(Display* display);

/// The devices behind the keyboard that clients see whose keys mean something else than those of the device
/// that XTest strokes come from. None where the server does not tell devices apart. Round trips.
std::vector<std::string> keyboardsUnlikeXTest(Display* display);

/// Makes the keys of each keyboard what they were; numbers that keysOfAllKeyboards has not made do no harm. A
/// device is left alone that has gone, or that has been given another layout since, by its types or by the
/// names that setxkbmap leaves on the root window. Round trips.
void putBackKeys(Display* display, const std::vector<uint32_t>& before);

/// Bits of key codes, and above them, from firstButton on, of buttons.
constexpr unsigned firstButton = 256;
using HeldCodes = std::bitset<firstButton + 32>;

/// What is down on the XTEST devices, which is not what somebody holds on a keyboard or mouse. Where the
/// server does not tell devices apart everything may be. Round trips.
HeldCodes heldByXTest(Display* display);
