/// What properties of windows say, on whatever connection they were asked for.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include <xcb/xcb.h>

/// Whether there is a property, of that type and format (8 for texts, 32 for numbers). There is none of a window
/// that has gone.
bool isOf(const xcb_get_property_reply_t* reply, xcb_atom_t type, uint8_t format);
/// Its bytes, or its numbers; empty when it is none of that type and format. Good as long as the reply.
std::string_view textIn(const xcb_get_property_reply_t* reply, xcb_atom_t type);
std::span<const uint32_t> wordsIn(const xcb_get_property_reply_t* reply, xcb_atom_t type);
