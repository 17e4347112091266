#include "JvmScope.h"

#include "TraceCapture.h"
#include "com_talvern_test_gx_sys_Mailslot.h"
#include "common/bindings/JavaMailslot.h"
#include "common/jni/JniDataTypes.h"
#include "common/jni/JniEntry.h"
#include "common/jni/LocalRef.h"
#include "common/spy/AsciiName.h"
#include "common/spy/SpyMap.h"
#include "common/trace/GxDebug.h"

#include <cstring>
#include <new>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {
/// An object of a class with a no-argument constructor.
jobject newObject(JNIEnv* env, const char* className)
{
    return CJniClass(env, className).construct("()V");
}

jobject newError(JNIEnv* env, const char* message)
{
    const CJString text(env, message);
    return CJniClass(env, "java/lang/Error").construct("(Ljava/lang/String;)V", static_cast<jobject>(text));
}
} // namespace

TEST(RaisingInJava, TakesTheClassOrSaysThatItIsMissing)
{
    const CJvmScope jvm;
    const std::string longText(100'000, 'x');
    const struct {
        const char* javaClass;
        const char* message;
        std::string raised;
    } rows[] = {
        {"java/lang/IllegalStateException", "why", "java.lang.IllegalStateException: why"},
        {"java/lang/IllegalStateException", nullptr, "java.lang.IllegalStateException: "},
        {"com/talvern/test/gx/CoordinateOffScreenException", longText.c_str(),
         "com.talvern.test.gx.CoordinateOffScreenException: " + longText},
        {"no/such/Exception", "why",
         "java.lang.Error: Native layer was unable to throw exception no/such/Exception"},
        {"", "why", "java.lang.Error: Native layer was unable to throw exception "},
        {nullptr, "why", "java.lang.Error: Native layer was unable to throw exception "},
    };
    for (const auto& row : rows) {
        CJniJObject::throwException(jvm, row.javaClass, row.message);
        EXPECT_EQ(row.raised, takePendingException(jvm));
    }
    CJniJObject::throwException(nullptr, "java/lang/Error", nullptr);
}

TEST(RaisingInJava, TheFirstFailureWins)
{
    const CJvmScope jvm;
    const CJStringNotInCodePageException third(jvm, nullptr);
    CJniJObject::throwException(jvm, "java/lang/IllegalStateException", "first");
    CJniJObject::throwException(jvm, "java/lang/IllegalArgumentException", "second");
    third.throwException(jvm);
    EXPECT_EQ("java.lang.IllegalStateException: first", takePendingException(jvm));
}

TEST(ExportedFunctions, EndEveryNativeExceptionInAJavaOne)
{
    const CJvmScope jvm;
    const struct {
        void (*failure)(JNIEnv*);
        const char* raised;
    } rows[] = {
        {[](JNIEnv*) { throw std::bad_alloc(); }, "java.lang.OutOfMemoryError: native memory"},
        {[](JNIEnv*) { throw std::logic_error("why"); }, "java.lang.Error: why"},
        {[](JNIEnv*) { throw 7; }, "java.lang.Error: not a standard exception"},
        {[](JNIEnv* env) { throw CJStringNotInCodePageException(env, javaString(env, u"a\xD800")); },
         "com.talvern.test.gx.StringNotInCodePageException: a\xED\xA0\x80"},
        {[](JNIEnv* env) {
             CJniJObject::throwException(env, "java/lang/IllegalStateException", "from Java");
             throw std::logic_error("later");
         },
         "java.lang.IllegalStateException: from Java"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(0, jniEntry(jvm, "Java_test", [&] { return row.failure(jvm), 42; }));
        EXPECT_EQ(row.raised, takePendingException(jvm));
    }
    EXPECT_EQ(42, jniEntry(jvm, "Java_test", [] { return 42; }));
}

/// The exporting frame of the store: a caller of the ones above goes on as if nothing had been asked.
TEST(ExportedFunctions, OfMailslotsTraceFailuresThatHaveNoJavaClass)
{
    const CJvmScope jvm;
    const CTraceCapture trace;
    CSpyVector queue;
    queue.create(0, 1, 1);
    CMailslot slot;
    ASSERT_TRUE(slot.create(CAsciiName("slot"), queue.ref(), queue.ref()));
    CJavaMailslot object(jvm, slot.ref());
    CSpyMapHdr names;
    CSpyHeap::getHeap(0)->global(1).read(&names, sizeof names);
    const uint32_t size = 0xFFFFFFFF;
    names.m_data.write(offsetof(CSpyVectorHdr, m_size), &size, sizeof size);
    EXPECT_FALSE(Java_com_talvern_test_gx_sys_Mailslot_create(jvm, object, CJString(jvm, "other")));
    Java_com_talvern_test_gx_sys_Mailslot_detach(jvm, object);
    EXPECT_EQ("", takePendingException(jvm));
    const std::string text = trace.text();
    const auto first = text.find("Unknown exception: ");
    EXPECT_NE(std::string::npos, text.find("JavaMailslot.cpp:", first)) << text;
    EXPECT_NE(std::string::npos, text.find("Unknown exception: ", first + 1)) << text;
    CSpyHeap::deleteBaseHeap();
}

TEST(JniClass, SwallowsOnlyTheExpectedFailure)
{
    const CJvmScope jvm;
    EXPECT_EQ(nullptr, CJniClass(jvm, "no/such/Thing").getclass());
    CJniClass integer(jvm, "java/lang/Integer");
    EXPECT_EQ(nullptr, integer.methodId("noSuchMethod", "()V"));
    EXPECT_EQ("", takePendingException(jvm));

    EXPECT_EQ(nullptr, integer.staticMethodId("noSuchMethod", "()V"));
    EXPECT_EQ("java.lang.NoSuchMethodError: noSuchMethod", takePendingException(jvm));

    CJniJObject::throwException(jvm, "java/lang/IllegalStateException", "unexpected");
    integer.resetException("java/lang/NoSuchMethodError");
    EXPECT_EQ("java.lang.IllegalStateException: unexpected", takePendingException(jvm));
}

TEST(JniClass, NamesAndCopiesAClassResolvedFromAnObject)
{
    const CJvmScope jvm;
    CJniClass fromObject(jvm, newObject(jvm, "java/util/ArrayList"));
    CJniClass assigned;
    assigned = fromObject;
    CJniClass copy(fromObject);
    for (CJniClass* each : {&fromObject, &assigned, &copy})
        EXPECT_STREQ("java/util/ArrayList", *each);
    EXPECT_EQ(nullptr, copy.construct("(Z)V"));
    EXPECT_EQ(nullptr, copy.construct("(I)V", -1));
    EXPECT_EQ("java.lang.IllegalArgumentException: Illegal Capacity: -1", takePendingException(jvm));
}

TEST(JniObject, ReadsAndWritesEachTypeOfField)
{
    const CJvmScope jvm;
    const auto wrap = [&](jobject object) { return CJniJObject(jvm, object, nullptr); };
    CJniJObject integer = wrap(CJInteger(jvm, 7));
    CJniJObject number = wrap(CJLong(jvm, 1L << 40));
    CJniJObject single = wrap(CJFloat(jvm, 0.5F));
    CJniJObject real = wrap(CJDouble(jvm, 0.25));
    CJniJObject truth = wrap(CJBoolean(jvm, JNI_TRUE));
    EXPECT_EQ(7, integer.getInt("value"));
    EXPECT_EQ(1L << 40, number.getLong("value"));
    EXPECT_EQ(0.5F, single.getFloat("value"));
    EXPECT_EQ(0.25, real.getDouble("value"));
    EXPECT_TRUE(truth.getBoolean("value"));

    EXPECT_TRUE(integer.set("value", -7) && number.set("value", -(1L << 40)) && single.set("value", 1.5F) &&
                real.set("value", 1.25) && truth.set("value", false));
    EXPECT_EQ(-7, integer.getInt("value"));
    EXPECT_EQ(-(1L << 40), number.getLong("value"));
    EXPECT_EQ(1.5F, single.getFloat("value"));
    EXPECT_EQ(1.25, real.getDouble("value"));
    EXPECT_FALSE(truth.getBoolean("value"));
}

TEST(JniObject, AFieldThatIsMissingIsNeutralAndLeavesNothingPending)
{
    const CJvmScope jvm;
    CJniJObject object(jvm, "java/lang/Error", true);
    CJniJObject invalid(jvm, nullptr, static_cast<CJniClass*>(nullptr));
    char text[4] = "xxx";
    for (CJniJObject* each : {&object, &invalid}) {
        EXPECT_EQ(0, each->getInt("missing"));
        EXPECT_EQ(0, each->getLong("missing"));
        EXPECT_EQ(0, each->getDouble("missing"));
        EXPECT_FALSE(each->getObject("missing", "java/lang/Object").isValid());
        EXPECT_FALSE(each->getString("missing", text, sizeof text));
        EXPECT_STREQ("", text);
        EXPECT_FALSE(each->set("missing", 1) || each->set("missing", "text") ||
                     each->set("missing", object, nullptr));
        EXPECT_FALSE(each->instanceOf("no/such/Thing"));
    }
    EXPECT_EQ("", takePendingException(jvm));

    EXPECT_EQ(0, object.getStaticInt("missing"));
    EXPECT_EQ("java.lang.NoSuchFieldError: missing", takePendingException(jvm));
    EXPECT_EQ(2147483647, CJniJObject(jvm, "java/lang/Integer", false).getStaticInt("MAX_VALUE"));
    EXPECT_TRUE(
        CJniJObject(jvm, "java/lang/Boolean", false).getStaticObject("TRUE", "java/lang/Boolean").isValid());
}

TEST(JniObject, StringFieldsAreCutAndReplaced)
{
    const CJvmScope jvm;
    CJniJObject error(jvm, newError(jvm, "a message"),
                      nullptr); // its text is a field of the superclass Throwable
    char text[16];
    std::memset(text, '#', sizeof text);
    EXPECT_TRUE(error.getString("detailMessage", text, 4));
    EXPECT_EQ("a me####", std::string(text, 8));

    const unsigned short wide[] = {'w', 'i', 'd', 'e', 0};
    EXPECT_TRUE(error.set("detailMessage", wide));
    EXPECT_STREQ("wide", CJException(jvm, static_cast<jthrowable>(static_cast<jobject>(error))).getMessage());
    EXPECT_TRUE(error.set("detailMessage", "\xF0\x9F\x98\x80"));
    EXPECT_EQ(2U, CJString(error.getObject("detailMessage", "java/lang/String")).length());
    EXPECT_TRUE(error.set("detailMessage", static_cast<const char*>(nullptr)));
    EXPECT_TRUE(error.getString("detailMessage", text, sizeof text));
    EXPECT_STREQ("", text);
    EXPECT_TRUE(error.set("detailMessage", CJniJObject(jvm, nullptr, static_cast<CJniClass*>(nullptr)),
                          "java/lang/String"));
    EXPECT_FALSE(error.getString("detailMessage", text, sizeof text));
}

TEST(JniObject, ConstructsOverAPendingExceptionAndReportsItsOwn)
{
    const CJvmScope jvm;
    CJniJObject::throwException(jvm, "java/lang/IllegalStateException", "older");
    EXPECT_TRUE(CJniJObject(jvm, "java/util/ArrayList", true).isValid());
    EXPECT_EQ("", takePendingException(jvm));
    EXPECT_FALSE(CJniJObject(jvm, "java/lang/Integer", true).isValid()); // has no such constructor
    EXPECT_FALSE(CJniJObject(jvm, "java/lang/Number", true).isValid());  // is abstract
    EXPECT_EQ("java.lang.InstantiationException: java.lang.Number", takePendingException(jvm));
}

TEST(JniObject, ALockedObjectOutlivesItsFrameAndServesOtherThreads)
{
    const CJvmScope jvm;
    std::unique_ptr<CJniJObject> error;
    {
        const CLocalFrame frame(jvm);
        error = std::make_unique<CJniJObject>(jvm, newError(jvm, "kept"), nullptr);
        ASSERT_TRUE(error->lock());
        EXPECT_STREQ("java/lang/Error", *error->getClass());
    }
    std::thread([&error] {
        const CJvmScope other;
        CJException caught(other, static_cast<jthrowable>(static_cast<jobject>(*error)));
        EXPECT_STREQ("kept", caught.getMessage());
        caught.throwInJVM();
        EXPECT_EQ("java.lang.Error: kept", takePendingException(other));
    }).join();
    EXPECT_STREQ("java/lang/Error", *error->getClass());
    error->unlock();
    EXPECT_FALSE(error->isValid());
}

// -Xcheck:jni complains of more than 32 references in one frame; the scope's end asks it.
TEST(LocalReferences, DoNotGrowWithTheNumberOfCalls)
{
    const CJvmScope jvm;
    CJniJObject error(jvm, newError(jvm, "text"), nullptr);
    CJavaField detail("detailMessage", "Ljava/lang/String;");
    char text[8];
    for (int i = 0; i < 100'000; ++i) {
        ASSERT_TRUE(error.getString("detailMessage", text, sizeof text));
        ASSERT_NE(nullptr, detail.id(jvm, error));
        if (i % 100 != 0)
            continue; // lookups that fail are slow
        ASSERT_TRUE(error.set("detailMessage", "text") && error.instanceOf("java/lang/Error"));
        ASSERT_EQ(0, error.getInt("missing"));
        ASSERT_EQ("java/lang/Error", error.className());
        CJniJObject::throwException(jvm, "no/such/Exception", "");
        jvm->ExceptionClear();
        const CLocalFrame frame(jvm);
        CJObjectArray array(jvm, 2, "java/lang/String");
        array.set(1, CJString(jvm, "element"));
        ASSERT_STREQ("element", CJString(array.get(1)));
    }
}

TEST(Boxes, MayBeFirstUsedByManyThreadsAtOnce)
{
    std::vector<std::thread> threads;
    for (long id = 0; id < 8; ++id)
        threads.emplace_back([id] {
            const CJvmScope jvm;
            for (long i = 0; i < 2000; ++i) {
                const CLocalFrame frame(jvm);
                ASSERT_EQ(id * i, CJLong(jvm, id * i));
                ASSERT_EQ(static_cast<short>(i), CJShort(jvm, static_cast<short>(i)));
            }
        });
    for (auto& thread : threads)
        thread.join();
}
