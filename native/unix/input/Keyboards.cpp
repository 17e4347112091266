#include "unix/input/Keyboards.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "include/ScopedX.h"
#include "unix/window/WindowProperty.h"
#include <X11/Xatom.h>
#include <X11/XKBlib.h>
#include <X11/Xlib-xcb.h>
#include <xcb/xinput.h>

namespace {
constexpr unsigned keyCodes = 256;

// Through XCB: libXi ends the process when the connection is lost before it has found the extension.

struct CDevice {
    unsigned m_id;
    std::string m_name;
    bool m_isKeyboard;

    bool isOfXTest() const
    {
        return std::string_view(m_name).ends_with(m_isKeyboard ? "XTEST keyboard" : "XTEST pointer");
    }
};

std::string nameOf(const xcb_input_xi_device_info_t& device)
{
    return {xcb_input_xi_device_info_name(&device), device.name_len};
}

/// The keyboard that goes with a pointer; 0 for none.
unsigned masterKeyboardOf(const xcb_input_xi_query_device_reply_t& all, unsigned pointer)
{
    for (auto each = xcb_input_xi_query_device_infos_iterator(&all); each.rem > 0;
         xcb_input_xi_device_info_next(&each))
        if (each.data->deviceid == pointer)
            return each.data->attachment;
    return 0;
}

/// The devices that strokes of this connection's XTest reach: first the keyboard that clients see, then those
/// behind it and its pointer. Where the server does not tell devices apart, the keyboard as clients see it.
std::vector<CDevice> devicesOf(Display* display)
{
    std::vector<CDevice> devices{{XkbUseCoreKbd, {}, true}};
    xcb_connection_t* const connection = XGetXCBConnection(display);
    const auto* const extension = xcb_get_extension_data(connection, &xcb_input_id);
    if (!extension || !extension->present ||
        !answer(connection, xcb_input_xi_query_version(connection, 2, 0), xcb_input_xi_query_version_reply))
        return devices;
    const auto pointer = answer(connection, xcb_input_xi_get_client_pointer(connection, XCB_NONE),
                                xcb_input_xi_get_client_pointer_reply);
    const auto all = answer(connection, xcb_input_xi_query_device(connection, XCB_INPUT_DEVICE_ALL),
                            xcb_input_xi_query_device_reply);
    if (!pointer || !pointer->set || !all)
        return devices;
    const unsigned master = masterKeyboardOf(*all, pointer->deviceid);
    if (master == 0)
        return devices;
    devices.front().m_id = master;
    for (auto each = xcb_input_xi_query_device_infos_iterator(all.get()); each.rem > 0;
         xcb_input_xi_device_info_next(&each)) {
        const xcb_input_xi_device_info_t& device = *each.data;
        const bool isKeyboard =
            device.type == XCB_INPUT_DEVICE_TYPE_SLAVE_KEYBOARD && device.attachment == master;
        if (isKeyboard ||
            (device.type == XCB_INPUT_DEVICE_TYPE_SLAVE_POINTER && device.attachment == pointer->deviceid))
            devices.push_back({device.deviceid, nameOf(device), isKeyboard});
    }
    return devices;
}

std::vector<CDevice> keyboardsOf(Display* display)
{
    std::vector<CDevice> keyboards = devicesOf(display);
    std::erase_if(keyboards, [](const CDevice& device) { return !device.m_isKeyboard; });
    return keyboards;
}

KeyboardMap mapOf(Display* display, unsigned device)
{
    return KeyboardMap(XkbGetMap(display, XkbKeyTypesMask | XkbKeySymsMask, device));
}

/// Rules, model, layout, variant and options, as setxkbmap leaves them; empty when nobody has.
std::string namesOfLayout(Display* display)
{
    const Atom property = XInternAtom(display, "_XKB_RULES_NAMES", True);
    if (property == None)
        return {};
    xcb_connection_t* const connection = XGetXCBConnection(display);
    const auto cookie = xcb_get_property(connection, 0, static_cast<xcb_window_t>(DefaultRootWindow(display)),
                                         static_cast<xcb_atom_t>(property), XCB_ATOM_STRING, 0, 1024);
    const auto reply = answer(connection, cookie, xcb_get_property_reply);
    return std::string(textIn(reply.get(), XCB_ATOM_STRING));
}

/// A number that tells whether a device is the one that it was and has the layout that it had. Keysyms do not
/// count, nor which modifier bits the virtual modifiers of types stand for: that follows from the keysyms.
uint32_t identityOf(const CDevice& keyboard, const std::string& names, const XkbDescRec& map)
{
    std::string all = keyboard.m_name + names;
    std::for_each(map.map->types, map.map->types + map.map->num_types, [&](const XkbKeyTypeRec& type) {
        for (const unsigned part : {type.mods.real_mods + 0U, type.mods.vmods + 0U, type.num_levels + 0U})
            all += std::to_string(part) + ' ';
    });
    return static_cast<uint32_t>(std::hash<std::string>()(all));
}

/// One key of a keyboard: its groups, as XKB packs them, its types, the keysyms of all groups and levels.
using Key = std::vector<uint32_t>;

Key keyOf(const XkbDescRec& map, unsigned code)
{
    if (code < map.min_key_code || code > map.max_key_code)
        return {};
    const XkbSymMapRec& symbols = map.map->key_sym_map[code];
    Key key{symbols.group_info, 0};
    static_assert(sizeof symbols.kt_index == sizeof key[1]);
    std::memcpy(&key[1], symbols.kt_index, sizeof key[1]);
    const KeySym* const first = map.map->syms + symbols.offset;
    const KeySym* const end = first + size_t{symbols.width} * XkbNumGroups(symbols.group_info);
    std::transform(first, end, std::back_inserter(key), [](KeySym k) { return static_cast<uint32_t>(k); });
    return key;
}

/// Of all keys; numbers of types differ between devices that mean the same.
std::vector<Key> keysymsOf(const XkbDescRec& map)
{
    std::vector<Key> all;
    for (unsigned code = 0; code < keyCodes; ++code) {
        const Key key = keyOf(map, code);
        all.emplace_back(key.begin() + std::min<std::ptrdiff_t>(std::ssize(key), 2), key.end());
    }
    return all;
}

/// Whether a map has the key, its types, and these are as wide as its keysyms say.
bool fits(const XkbDescRec& map, unsigned code, const Key& key)
{
    if (code < map.min_key_code || code > map.max_key_code || key.size() < 2)
        return false;
    const unsigned groups = XkbNumGroups(key[0]);
    unsigned char types[XkbNumKbdGroups];
    std::memcpy(types, &key[1], sizeof types);
    unsigned width = 0;
    for (unsigned group = 0; group < groups && group < XkbNumKbdGroups; ++group) {
        if (types[group] >= map.map->num_types)
            return false;
        width = std::max(width, unsigned{map.map->types[types[group]].num_levels});
    }
    return groups <= XkbNumKbdGroups && key.size() - 2 == size_t{groups} * width;
}

/// Changes a key of a map in our memory. @return false when there is no memory
bool setKey(XkbDescRec& map, unsigned code, const Key& key)
{
    const size_t size = key.size() - 2;
    KeySym* const symbols = XkbResizeKeySyms(&map, static_cast<int>(code), static_cast<int>(size));
    if (size > 0 && !symbols)
        return false;
    std::copy(key.begin() + 2, key.end(), symbols);
    XkbSymMapRec& entry = map.map->key_sym_map[code];
    const unsigned groups = XkbNumGroups(key[0]);
    entry.group_info = static_cast<unsigned char>(key[0]);
    entry.width = static_cast<unsigned char>(groups == 0 ? 0 : size / groups);
    std::memcpy(entry.kt_index, &key[1], sizeof entry.kt_index);
    return true;
}

/// Changes what differs of the keys of a device. Those of the keyboard that clients see are changed on the
/// devices behind it, too.
void setKeys(Display* display, XkbDescRec& map, const std::vector<Key>& wanted)
{
    unsigned first = keyCodes, last = 0;
    for (unsigned code = 0; code < wanted.size(); ++code)
        if (keyOf(map, code) != wanted[code] && fits(map, code, wanted[code]) &&
            setKey(map, code, wanted[code])) {
            first = std::min(first, code);
            last = code;
        }
    if (first > last)
        return;
    XkbMapChangesRec changes{};
    changes.changed = XkbKeySymsMask;
    changes.first_key_sym = static_cast<KeyCode>(first);
    changes.num_key_syms = static_cast<unsigned char>(last - first + 1);
    XkbChangeMap(display, &map, &changes);
}

/// Adds the bits that are set to those that are held, from `first` on.
void addBits(const uint8_t (&bits)[32], size_t first, size_t end, HeldCodes& held)
{
    for (size_t code = 0; first + code < end; ++code)
        held[first + code] = held[first + code] || (bits[code / 8] >> code % 8 & 1);
}

/// Adds what is down on a device.
void addHeld(Display* display, const CDevice& device, HeldCodes& held)
{
    xcb_connection_t* const connection = XGetXCBConnection(display);
    const auto state =
        answer(connection, xcb_input_query_device_state(connection, static_cast<uint8_t>(device.m_id)),
               xcb_input_query_device_state_reply);
    if (!state)
        return;
    for (auto part = xcb_input_query_device_state_classes_iterator(state.get()); part.rem > 0;
         xcb_input_input_state_next(&part)) {
        if (part.data->class_id == XCB_INPUT_INPUT_CLASS_KEY)
            addBits(reinterpret_cast<const xcb_input_key_state_t*>(part.data)->keys, 0, firstButton, held);
        else if (part.data->class_id == XCB_INPUT_INPUT_CLASS_BUTTON)
            addBits(reinterpret_cast<const xcb_input_button_state_t*>(part.data)->buttons, firstButton,
                    held.size(), held);
    }
}

/// By id of the device and identity.
using KeysOfDevices = std::map<std::pair<uint32_t, uint32_t>, std::vector<Key>>;

/// Reads keysOfAllKeyboards back, as far as it is whole.
KeysOfDevices devicesIn(const std::vector<uint32_t>& all)
{
    KeysOfDevices devices;
    for (size_t at = 0; at + 2 < all.size();) {
        std::vector<Key>& keys = devices[{all[at], all[at + 1]}];
        at += 2;
        while (keys.size() < keyCodes && at < all.size() && all[at] < all.size() - at) {
            const auto first = all.begin() + static_cast<ptrdiff_t>(at) + 1;
            keys.emplace_back(first, first + all[at]);
            at += all[at] + 1;
        }
        if (keys.size() < keyCodes)
            break;
    }
    return devices;
}
} // namespace

KeyboardMap mapOfXTestKeyboard(Display* display)
{
    const auto all = keyboardsOf(display);
    const auto found =
        std::find_if(all.begin(), all.end(), [](const auto& each) { return each.isOfXTest(); });
    return mapOf(display, found == all.end() ? all.front().m_id : found->m_id);
}

std::vector<uint32_t> keysOfAllKeyboards(Display* display)
{
    std::vector<uint32_t> all;
    const std::string names = namesOfLayout(display);
    for (const CDevice& keyboard : keyboardsOf(display)) {
        const KeyboardMap map = mapOf(display, keyboard.m_id);
        if (!map)
            continue;
        all.insert(all.end(), {keyboard.m_id, identityOf(keyboard, names, *map)});
        for (unsigned code = 0; code < keyCodes; ++code) {
            const Key key = keyOf(*map, code);
            all.push_back(static_cast<uint32_t>(key.size()));
            all.insert(all.end(), key.begin(), key.end());
        }
    }
    return all;
}

std::vector<std::string> keyboardsUnlikeXTest(Display* display)
{
    const KeyboardMap typing = mapOfXTestKeyboard(display);
    std::vector<std::string> unlike;
    for (const CDevice& keyboard : keyboardsOf(display)) {
        const KeyboardMap map = keyboard.m_name.empty() ? nullptr : mapOf(display, keyboard.m_id);
        if (map && typing && keysymsOf(*map) != keysymsOf(*typing))
            unlike.push_back(keyboard.m_name);
    }
    return unlike;
}

void putBackKeys(Display* display, const std::vector<uint32_t>& before)
{
    const KeysOfDevices devices = devicesIn(before);
    const std::string names = namesOfLayout(display);
    for (const CDevice& keyboard : keyboardsOf(display)) {
        const KeyboardMap map = mapOf(display, keyboard.m_id);
        if (!map)
            continue;
        const auto wanted = devices.find({keyboard.m_id, identityOf(keyboard, names, *map)});
        if (wanted != devices.end())
            setKeys(display, *map, wanted->second);
    }
    XSync(display, False);
}

HeldCodes heldByXTest(Display* display)
{
    HeldCodes held;
    const std::vector<CDevice> devices = devicesOf(display);
    if (devices.size() == 1)
        return held.set();
    for (const CDevice& device : devices)
        if (device.isOfXTest())
            addHeld(display, device, held);
    return held;
}
