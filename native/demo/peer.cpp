/// A program that works on the demo's map from C++, found by its name. Started as `gx-demo-peer NAME`; takes
/// the orders that demo/JavaPeer.java describes from its input, one a line, and answers each with a line.
#include "common/spy/AsciiName.h"
#include "common/spy/SpyMap.h"

#include <cstdio>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <unistd.h>

namespace {

/// The demo's keys are ASCII.
std::string textOf(const CSpyVariant& string)
{
    const unsigned short* units = string.getString();
    return {units, units + string.getStringLen() / sizeof *units};
}

std::string entriesOf(const CSpyMap& map)
{
    std::vector<CSpyVariant> keys(map.size());
    map.getKeys(keys.data(), map.size());
    std::map<std::string, int> entries;
    for (const CSpyVariant& key : keys) {
        const std::string text = textOf(key);
        entries[text] = map.get(CAsciiName(text.c_str())).as<int>();
    }
    std::ostringstream out;
    for (const auto& [key, value] : entries) {
        out << (out.tellp() > 0 ? ", " : "") << key << '=' << value;
    }
    return out.str();
}

/// Finds the map anew each time and holds the lock from reading its header to writing it back, so that the
/// changes of the other processes are seen and kept.
std::string answer(const char* name, const std::string& order)
{
    const CSpyHeapLock lock;
    CSpyMap map(CSpyMemory(CAsciiName(name)).ref());
    if (order == "entries") {
        return entriesOf(map);
    }
    const std::string key = order.substr(std::string("put ").size());
    return map.put(CAsciiName(key.c_str()), CSpyVariant(static_cast<int>(getpid()))) ? "true" : "false";
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fputs("Usage: gx-demo-peer NAME\n", stderr);
        return 2;
    }
    try {
        for (std::string order; std::getline(std::cin, order);) {
            std::cout << answer(argv[1], order) << std::endl;
        }
        return 0;
    } catch (const CInvalidSpyMemRef& error) {
        std::cerr << "gx-demo-peer: " << error.message() << '\n';
    } catch (const CSpyHeapException& error) {
        std::cerr << "gx-demo-peer: " << error.message() << '\n';
    }
    return 1;
}
