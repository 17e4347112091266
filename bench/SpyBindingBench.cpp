// What Java pays for a spy map: a loop over the same keys of the same map, run by the JVM and by C++. On both
// sides each call takes the heap mutex, reads the header, works and writes the header back.
#include "Compare.h"
#include "Jvm.h"
#include "common/jni/JniDataTypes.h"
#include "common/spy/SpyMap.h"

#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

namespace {
constexpr int keys = 1000; ///< so the microseconds reported are nanoseconds a call

CTalString textOf(const std::u16string& units)
{
    return {reinterpret_cast<const unsigned short*>(units.data()), static_cast<unsigned short>(units.size())};
}

/// One map with its keys in both worlds. The JVM's native methods run in another copy of the library, which
/// meets this program's copy in shared memory only.
struct CBothMaps {
    CBothMaps()
    {
        CJvm::startUnchecked(GX_BENCH_JAR);
        env = CJvm::env();
        const jclass type = env->FindClass("com/talvern/test/gx/sys/SpyMap");
        calls = env->FindClass("SpyMapCalls");
        if (!type || !calls)
            fail();
        map = env->NewObject(type, env->GetMethodID(type, "<init>", "()V"));
        env->CallBooleanMethod(map, env->GetMethodID(type, "create", "(Ljava/lang/String;II)Z"), nullptr, 0,
                               2 * keys);
        ref = CSpyMemRef::fromHandle(env->GetLongField(map, env->GetFieldID(type, "handle", "J")));
        javaNames = env->NewObjectArray(keys, env->FindClass("java/lang/String"), nullptr);
        for (int i = 0; i < keys; ++i)
            addKey(i);
        if (env->ExceptionCheck())
            fail();
    }
    void addKey(int index)
    {
        std::u16string name;
        for (const char unit : "key number " + std::to_string(index * index))
            name += static_cast<char16_t>(unit);
        const jstring javaName = javaString(env, name);
        env->SetObjectArrayElement(javaNames, index, javaName);
        env->DeleteLocalRef(javaName);
        names.push_back(name);
        CSpyMap(ref).put(textOf(name), CSpyVariant(index));
    }
    [[noreturn]] void fail()
    {
        std::cerr << takePendingException(env) << '\n';
        std::exit(1);
    }
    void runInJava(const char* loop)
    {
        const jmethodID method =
            env->GetStaticMethodID(calls, loop, "(Lcom/talvern/test/gx/sys/SpyMap;[Ljava/lang/String;)I");
        if (env->CallStaticIntMethod(calls, method, map, javaNames) != keys)
            fail();
    }
    template <class Work> void run(Work work)
    {
        for (const auto& name : names) {
            const CSpyHeapLock lock;
            CSpyMap view(ref);
            work(view, textOf(name));
        }
    }

    JNIEnv* env;
    jclass calls;
    jobject map;
    jobjectArray javaNames;
    CSpyMemRef ref;
    std::vector<std::u16string> names;
};

CBothMaps& maps()
{
    static CBothMaps s_maps;
    return s_maps;
}

void putNumber(benchmark::State& state)
{
    compare(
        state, [] { maps().runInJava("putNumbers"); },
        [] { maps().run([](CSpyMap& map, const CTalString& key) { map.put(key, CSpyVariant(keys)); }); });
}
BENCHMARK(putNumber)->UseManualTime()->MinTime(1);

void get(benchmark::State& state)
{
    compare(
        state, [] { maps().runInJava("get"); },
        [] {
            maps().run([](CSpyMap& map, const CTalString& key) { benchmark::DoNotOptimize(map.get(key)); });
        });
}
BENCHMARK(get)->UseManualTime()->MinTime(1);

/// And takes it out again: a text that is replaced in a chain stays allocated.
void putAndRemoveText(benchmark::State& state)
{
    const std::u16string text = u"a caption of some thirty letters";
    compare(
        state, [] { maps().runInJava("putAndRemoveTexts"); },
        [&] {
            maps().run([&](CSpyMap& map, const CTalString& key) { map.put(key, textOf(text)); });
            maps().run([](CSpyMap& map, const CTalString& key) { map.remove(key).free(); });
        });
}
BENCHMARK(putAndRemoveText)->UseManualTime()->MinTime(1);
} // namespace
