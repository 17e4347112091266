#include "unix/window/WindowProperty.h"

bool isOf(const xcb_get_property_reply_t* reply, xcb_atom_t type, uint8_t format)
{
    return reply && reply->type == type && reply->format == format;
}

std::string_view textIn(const xcb_get_property_reply_t* reply, xcb_atom_t type)
{
    if (!isOf(reply, type, 8))
        return {};
    return {static_cast<const char*>(xcb_get_property_value(reply)), reply->value_len};
}

std::span<const uint32_t> wordsIn(const xcb_get_property_reply_t* reply, xcb_atom_t type)
{
    if (!isOf(reply, type, 32))
        return {};
    return {static_cast<const uint32_t*>(xcb_get_property_value(reply)), reply->value_len};
}
