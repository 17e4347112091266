#include "ThrownText.h"

#include "common/spy/SpyMemRef.h"
#include "include/SpyHeap.h"
#include "unix/sysv/SpyMutex.h"

#include <cstdlib>
#include <cxxabi.h>
#include <exception>
#include <memory>

namespace {
std::string className()
{
    const char* name = abi::__cxa_current_exception_type()->name();
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> plain(abi::__cxa_demangle(name, nullptr, nullptr, &status),
                                                       std::free);
    return plain ? plain.get() : name;
}

std::string ownText()
{
    try {
        throw;
    } catch (const std::exception& thrown) {
        return thrown.what();
    } catch (const CSpyHeapException& thrown) {
        return thrown.message();
    } catch (const CInvalidSpyMemRef& thrown) {
        return thrown.message();
    } catch (const CSpyMutexException& thrown) {
        return thrown.message();
    } catch (...) {
        return "(has no text)";
    }
}
} // namespace

std::string thrownText()
{
    return className() + ": " + ownText();
}
