// Exported functions of com.talvern.test.gx.engine.Screen and ScreenWatch.
#include "com_talvern_test_gx_engine_Screen.h"
#include "com_talvern_test_gx_engine_ScreenWatch.h"
#include "common/jni/JniEntry.h"
#include "common/jni/LocalRef.h"
#include "include/NeverDestroyed.h"

#include <map>

#include "unix/screen/ScreenPicture.h"
#include "unix/screen/ScreenWatch.h"

namespace {
/// The pixels of a Java array, during which nothing else is asked of Java.
class CJavaPixels {
public:
    CJavaPixels(JNIEnv* env, jintArray array)
        : m_env(env), m_array(array), m_size(static_cast<size_t>(env->GetArrayLength(array))),
          m_pixels(static_cast<uint32_t*>(env->GetPrimitiveArrayCritical(array, nullptr)))
    {
    }
    ~CJavaPixels()
    {
        if (m_pixels)
            m_env->ReleasePrimitiveArrayCritical(m_array, m_pixels, 0);
    }
    CJavaPixels(const CJavaPixels&) = delete;
    CJavaPixels& operator=(const CJavaPixels&) = delete;

    std::span<uint32_t> get() const { return {m_pixels, m_pixels ? m_size : 0}; }

private:
    JNIEnv* m_env;
    jintArray m_array;
    size_t m_size;
    uint32_t* m_pixels;
};

/// What Java watches, by number: a number that is none of these does no harm.
class CWatches {
public:
    jint add(std::shared_ptr<CScreenWatch> watch)
    {
        const std::lock_guard lock(m_mutex);
        m_watches[++m_last] = std::move(watch);
        return m_last;
    }
    std::shared_ptr<CScreenWatch> find(jint number)
    {
        const std::lock_guard lock(m_mutex);
        const auto found = m_watches.find(number);
        return found != m_watches.end() ? found->second : nullptr;
    }
    std::shared_ptr<CScreenWatch> take(jint number)
    {
        const std::lock_guard lock(m_mutex);
        auto node = m_watches.extract(number);
        return node ? std::move(node.mapped()) : nullptr;
    }

private:
    std::mutex m_mutex;
    std::map<jint, std::shared_ptr<CScreenWatch>> m_watches;
    jint m_last = 0;
};

/// Never destroyed: a thread may wait while the process ends.
CWatches& watches()
{
    static CNeverDestroyed<CWatches> s_watches;
    return *s_watches;
}

std::vector<int> processesOf(JNIEnv* env, jlongArray array)
{
    std::vector<jlong> ids(array ? static_cast<size_t>(env->GetArrayLength(array)) : 0);
    if (array)
        env->GetLongArrayRegion(array, 0, static_cast<jsize>(ids.size()), ids.data());
    return {ids.begin(), ids.end()};
}
} // namespace

GX_JNI(jintArray, Java_com_talvern_test_gx_engine_Screen_pixels, jclass, jint x, jint y, jint width,
       jint height, jboolean withPointer, jboolean withFrames)
{
    return jniEntry(env, __func__, [&]() -> jintArray {
        CScreenPicture picture;
        if (!withFrames)
            picture.hideFrames();
        if (!picture.read({x, y, width, height}))
            return picture.lives() ? env->NewIntArray(0) : nullptr;
        if (withPointer)
            picture.readPointer();
        auto array = localRef(env, env->NewIntArray(width * height));
        if (!array)
            return nullptr;
        picture.copyTo(CJavaPixels(env, array.get()).get());
        return array.release();
    });
}

GX_JNI_ANSWER(void, Java_com_talvern_test_gx_engine_Screen_dropKept, CScreenSource::dropKept(), jclass)

GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_engine_ScreenWatch_open,
              watches().add(std::make_shared<CScreenWatch>(processesOf(env, processes))), jclass,
              jlongArray processes)

GX_JNI(jint, Java_com_talvern_test_gx_engine_ScreenWatch_await, jclass, jint number, jint milliseconds)
{
    return jniEntry(env, __func__, [&]() -> jint {
        const auto watch = watches().find(number);
        return static_cast<jint>(watch ? watch->await(milliseconds) : CScreenWatch::Seen::NoServer);
    });
}

GX_JNI_ANSWER(void, Java_com_talvern_test_gx_engine_ScreenWatch_close, watches().take(number), jclass,
              jint number)
