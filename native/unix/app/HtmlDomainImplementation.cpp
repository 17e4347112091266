#include "unix/app/HtmlDomainImplementation.h"

#include "common/jni/BootstrapClass.h"
#include "common/trace/CTracer.h"
#include "common/trace/GxAssert.h"
#include "unix/app/LibraryPath.h"
#include "unix/app/TestContext.h"

#include <algorithm>
#include <dlfcn.h>
#include <string>
#include <string_view>

namespace {
constexpr const char* domainClass = "com/talvern/test/gx/domain/html/HtmlTestDomainImplementation";
constexpr std::string_view Prefix = "lib";

/// The prefix takes the place of the name's first characters, and of what is missing of them.
std::string domainPath(const char* domain)
{
    std::string path = libraryPath();
    const size_t file = path.find(LibraryFile);
    if (file == std::string::npos)
        return path;
    std::string name(domain);
    name.resize(std::max(name.size(), Prefix.size()));
    name.replace(0, Prefix.size(), Prefix);
    return path.substr(0, file) + name + ".so";
}
} // namespace

CHtmlDomainImplementation::CHtmlDomainImplementation(JNIEnv* env) : CJniJObject(env, jobject(), nullptr) {}

CHtmlDomainImplementation::CHtmlDomainImplementation(JNIEnv* env, const char* domain)
    : CHtmlDomainImplementation(env)
{
    if (!load(domain) || !findInterface(domain))
        return;
    CTracer::debugTrace("Got domain interface");
    makeJavaDomain(domain);
}

bool CHtmlDomainImplementation::load(const char* domain)
{
    GX_ASSERT(domain != nullptr, "domain != __null");
    m_library = dlopen(domainPath(domain).c_str(), RTLD_LAZY);
    if (!m_library)
        CTracer::debugTrace("Domain Loading Error: (%s)", dlerror());
    return m_library != nullptr;
}

bool CHtmlDomainImplementation::findInterface(const char* domain)
{
    const auto entry = reinterpret_cast<IHtmlDomain* (*)()>(dlsym(m_library, "GetHtmlDomain"));
    if (!entry) {
        CTracer::debugTrace("GetHtmlDomain() not found in Domain implementation");
        return false;
    }
    m_interface = entry();
    if (!m_interface)
        CTracer::debugTrace("Did not get IHtmlDomain! Bad native code implementation for %s", domain);
    return m_interface != nullptr;
}

void CHtmlDomainImplementation::makeJavaDomain(const char* domain)
{
    CBootstrap bootstrap(env(), nullptr);
    CTracer::debugTrace("Created CBootStrap class object");
    if (!bootstrap.isValid())
        return;
    m_javaClass.reset(bootstrap.loadClass(domainClass));
    if (!m_javaClass)
        return;
    CTracer::debugTrace("bootStrap.loadclass():went fine");
    setClass(m_javaClass.get(), false);
    setObject(askContext(bootstrap, domain));
    if (isValid())
        m_interface->created(env(), *this);
}

jobject CHtmlDomainImplementation::askContext(CBootstrap& bootstrap, const char* domain)
{
    CTestContext context(bootstrap);
    CTracer::debugTrace("Testcontext creation went fine");
    if (context.isValid())
        return context.getHtmlDomain(*m_javaClass, domain, reinterpret_cast<jlong>(m_interface));
    CTracer::debugTrace("Error - Unable to create TestContext in JVM - browser not enabled.");
    return nullptr;
}

IHtmlDomain* CHtmlDomainImplementation::getNativeHtmlDomain(JNIEnv* env, const char* domain)
{
    CHtmlDomainImplementation nested(env);
    const bool found = nested.load(domain) && nested.findInterface(domain);
    return found ? nested.m_interface : nullptr;
}
