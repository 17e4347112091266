// The version of libgxsys.so, as an ELF note. It can be read before the library is loaded: the Java classes
// do, and readelf -n shows it. It adds no symbol to those that are looked up.
#include <cstdint>

namespace {
constexpr char version[] = GX_VERSION;

struct CVersionNote {
    uint32_t nameSize = sizeof name;
    uint32_t contentSize = sizeof version;
    uint32_t type = 1;
    char name[6] = "gxsys";
    char padding[2] = {};
    char content[(sizeof version + 3) / 4 * 4] = GX_VERSION;
};

// Nothing refers to it.
[[gnu::section(".note.gxsys"), gnu::used, gnu::aligned(4)]] const CVersionNote note;
} // namespace
