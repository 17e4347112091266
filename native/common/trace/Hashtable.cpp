#include "common/trace/Hashtable.h"

#include <cstring>

namespace {
char* copyOf(const char* text)
{
    const size_t size = std::strlen(text) + 1;
    return static_cast<char*>(std::memcpy(new char[size], text, size));
}
} // namespace

char* StringHash::Allocate(const char* value)
{
    return copyOf(value);
}
void StringHash::DeAllocate(char* value)
{
    delete[] value;
}
int StringHash::Compare(const char* left, const char* right) const
{
    return std::strcmp(left, right);
}
char* StringHash::AllocateKey(const char* key)
{
    return copyOf(key);
}
void StringHash::DeAllocateKey(char* key)
{
    delete[] key;
}
void StringHash::CopyKey(char** slot, const char* key)
{
    *slot = AllocateKey(key);
}

void StringHash::Copy(char** slot, const char* value)
{
    char* const copy = Allocate(value); // first: `value` may be the old text itself
    DeAllocate(*slot);
    *slot = copy;
}

int IntHash::Compare(const char* left, const char* right) const
{
    return std::strcmp(left, right);
}
char* IntHash::AllocateKey(const char* key)
{
    return copyOf(key);
}
void IntHash::DeAllocateKey(char* key)
{
    delete[] key;
}
void IntHash::CopyKey(char** slot, const char* key)
{
    *slot = AllocateKey(key);
}
