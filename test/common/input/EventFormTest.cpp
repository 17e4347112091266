// Recorded events as Java objects.
#include "JvmScope.h"
#include "common/jni/JniDataTypes.h"
#include "unix/input/EventManager.h"

#include <cstdlib>
#include <vector>

namespace {
[[maybe_unused]] const int s_environment = setenv("LC_ALL", "C.UTF-8", 1);
constexpr const char* windowClass = "com/talvern/test/gx/sys/graphical/NativeWindow";
constexpr const char* topLevelClass = "com/talvern/test/gx/sys/graphical/NativeTopLevelWindow";
constexpr unsigned short units[] = {'a', 0x4E2D, 0xD83D, 0xDE00, 0};

/// What the constructor kept.
class CForm : public CJniJObject {
public:
    CForm(JNIEnv* env, const Event& event) : CJniJObject(env, event.toJavaEvent(env), nullptr) {}

    std::vector<jint> data() const
    {
        const auto array = static_cast<jintArray>(env()->GetObjectField(*this, fieldId("key", "[I")));
        std::vector<jint> all(static_cast<size_t>(env()->GetArrayLength(array)));
        env()->GetIntArrayRegion(array, 0, static_cast<jsize>(all.size()), all.data());
        return all;
    }
    std::string text() const
    {
        return CJString(env(),
                        static_cast<jstring>(static_cast<jobject>(getObject("text", "java/lang/String"))))
            .ansiString();
    }
    void expectWindows(long window, long topLevel) const
    {
        EXPECT_EQ(window, getObject("window", windowClass).getLong("handle"));
        EXPECT_EQ(topLevel, getObject("topLevelWindow", topLevelClass).getLong("handle"));
    }
};

TEST(EventFormTest, AMouseEventKeepsItsPlaceAndButton)
{
    const CJvmScope env;
    const CWindow window(7);
    const TopLevelWindow topLevel(8);
    const CForm form(env, MouseEvent(1234, 2, 0, {Point(3, -4), &window, &topLevel}, {}, 3, 0, 0));
    ASSERT_TRUE(form.isValid());
    EXPECT_EQ(1, form.getInt("form"));
    EXPECT_EQ(1234, form.getInt("time"));
    EXPECT_EQ(2, form.getInt("kind"));
    EXPECT_EQ(3, form.getInt("modifiers"));
    const CJniJObject point = form.getObject("point", "java/awt/Point");
    EXPECT_EQ(3, point.getInt("x"));
    EXPECT_EQ(-4, point.getInt("y"));
    form.expectWindows(7, 8);
}

TEST(EventFormTest, AStrokeKeepsItsThreeNumbers)
{
    const CJvmScope env;
    const CForm form(env, KeyEvent(5, KeyEvent::Press, 97, 11, 12));
    ASSERT_TRUE(form.isValid());
    EXPECT_EQ(3, form.getInt("form"));
    EXPECT_EQ((std::vector<jint>{97, 11, 12}), form.data());
    form.expectWindows(0, 0);
}

TEST(EventFormTest, ATextComesFromEitherForm)
{
    const CJvmScope env;
    const KeyEvent wide(5, KeyEvent::KeyString, 0, units, CWindow(7), TopLevelWindow(8));
    const KeyEvent narrow(5, KeyEvent::KeyString, 0, "a\xE4\xB8\xAD\xED\xA0\xBD\xED\xB8\x80", CWindow(7),
                          TopLevelWindow(8));
    for (const KeyEvent* event : {&wide, &narrow}) {
        const CForm form(env, *event);
        ASSERT_TRUE(form.isValid());
        EXPECT_EQ(4, form.getInt("form"));
        EXPECT_EQ("a\xE4\xB8\xAD\xF0\x9F\x98\x80", form.text());
        form.expectWindows(7, 8);
    }
    EXPECT_FALSE(KeyEvent(5, KeyEvent::InputChars, 0, units, CWindow(7), TopLevelWindow(8)).toJavaEvent(env));
}

TEST(EventFormTest, AScrollEventKeepsItsFourNumbers)
{
    const CJvmScope env;
    const CForm form(env, ScrollEvent(9, CWindow(7), {1, 2, 3, 4}));
    ASSERT_TRUE(form.isValid());
    EXPECT_EQ(5, form.getInt("form"));
    EXPECT_EQ((std::vector<jint>{1, 2, 3, 4}), form.data());
}
} // namespace
