#include "JvmScope.h"

#include "common/jni/JavaNetTypes.h"
#include "common/jni/JniDataTypes.h"
#include "common/text/CodeSet.h"

#include <clocale>
#include <cstdlib>
#include <limits>

namespace {
/// The locale that the user asked for; read by the library when it first converts text.
[[maybe_unused]] const int s_environment = setenv("LC_ALL", "C.UTF-8", 1);

/// Debian's smallest installation has no locale of a one-byte code set: one is compiled into the test's home.
void makeLatin1()
{
    const std::string directory = std::string(std::getenv("HOME")) + "/locales";
    const std::string make = "mkdir -p " + directory + " && localedef --no-archive -i de_DE -f ISO-8859-1 " +
                             directory + "/de_DE.ISO-8859-1";
    ASSERT_EQ(0, std::system(make.c_str())) << "install the Debian package locales";
    setenv("LOCPATH", directory.c_str(), 1);
}

/// What the host of the library chose by setlocale; "C" is what a process has that never called it.
class CHostLocale {
public:
    explicit CHostLocale(const char* name) { EXPECT_NE(nullptr, std::setlocale(LC_CTYPE, name)) << name; }
    ~CHostLocale() { std::setlocale(LC_CTYPE, "C"); }
};

const std::u16string hundredThousand(100'000, u'\u4F60');

std::string repeated(const std::string& text, int times)
{
    std::string all;
    while (times-- > 0)
        all += text;
    return all;
}

std::u16string unitsOf(const CJString& text)
{
    const unsigned short* const units = text;
    return {units, units + text.length()};
}
} // namespace

class JniText : public testing::Test {
protected:
    static void SetUpTestSuite() { makeLatin1(); }
    const CJvmScope m_jvm;
};

constexpr const char* latin1 = "de_DE.ISO-8859-1";

TEST_F(JniText, JavaTextBecomesTextOfTheLocaleOrIsRefused)
{
    const std::string refused = "refused after ";
    const struct {
        const char* why;
        const char* host;
        std::u16string text;
        std::string ansi;
    } rows[] = {
        {"empty", "C", u"", ""},
        {"the host chose no locale: the environment's", "C", u"Grün €", "Grün €"},
        {"the host's", latin1, u"Grün", "Gr\xFCn"},
        {"a character that it lacks", latin1, u"1 €", refused + "1 "},
        {"grows", "C.UTF-8", hundredThousand, repeated("\xE4\xBD\xA0", 100'000)},
        {"beyond the basic plane", "C", u"a\U0001F600b",
         "a\xF0\x9F\x98\x80"
         "b"},
        {"half a pair", "C", u"ab\xD83D", refused + "ab"},
        {"halves in the wrong order", "C", u"\xDE00\xD83D", refused},
        {"a zero ends no Java text", "C", std::u16string(u"a\0b", 3), refused + "a"},
        {"the last of its kind", "C", u"\uFFFF\u0001\u007F\u0080", "\xEF\xBF\xBF\x01\x7F\xC2\x80"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        const CHostLocale host(row.host);
        const CJString text(m_jvm, javaString(m_jvm, row.text));
        std::string answer;
        try {
            text.ansiStringW();
        } catch (const CJStringNotInCodePageException& e) {
            answer = refused;
            e.throwException(m_jvm);
            EXPECT_NE("", takePendingException(m_jvm));
        }
        EXPECT_EQ(row.ansi, answer + text.ansiString());
        EXPECT_EQ(row.text, unitsOf(text));
    }
}

TEST_F(JniText, TextOfTheLocaleBecomesJavaText)
{
    const struct {
        const char* why;
        const char* host;
        std::string ansi;
        std::u16string text;
    } rows[] = {
        {"the environment's", "C", "Grün €", u"Grün €"},
        {"the host's", latin1, "Gr\xFCn", u"Grün"},
        {"beyond the basic plane", "C", "\xF0\x9F\x98\x80", u"\U0001F600"},
        {"long", "C", repeated("\xE4\xBD\xA0", 100'000), hundredThousand},
        {"cut in a character", "C", "a\xE4\xBD", u""},
        {"of another code set", "C", "Gr\xFCn", u""},
        {"surrogates are no characters", "C", "\xED\xA0\x80", u""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        const CHostLocale host(row.host);
        testing::internal::CaptureStderr();
        EXPECT_EQ(row.text, unitsOf(CJString(m_jvm, row.ansi.c_str())));
        EXPECT_EQ(row.text.empty() ? "FAILURE converting str=" + row.ansi + "\n" : "",
                  testing::internal::GetCapturedStderr());
    }
    EXPECT_EQ(u"", unitsOf(CJString(m_jvm, static_cast<const char*>(nullptr))));
    EXPECT_EQ(u"", unitsOf(CJString(m_jvm, static_cast<const unsigned short*>(nullptr), 5)));
}

TEST_F(JniText, TheHostsLocaleIsLeftAlone)
{
    const CHostLocale host("C");
    const CEnvironmentLocale outer;
    {
        const CEnvironmentLocale inner;
        EXPECT_STREQ("UTF-8", inner.codeSet());
    }
    EXPECT_STREQ("UTF-8", outer.codeSet());
    EXPECT_STREQ("C", std::setlocale(LC_CTYPE, nullptr));
}

TEST_F(JniText, ANullStringIsEmpty)
{
    const CJString null(m_jvm, static_cast<jstring>(nullptr));
    EXPECT_EQ(0U, null.length());
    EXPECT_EQ(nullptr, static_cast<const char*>(null));
    EXPECT_EQ(nullptr, static_cast<const unsigned short*>(null));
    EXPECT_EQ(nullptr, null.ansiStringW());
    EXPECT_TRUE(null == CTalString());
}

TEST_F(JniText, ANativeNameEqualsWhatBeginsWithIt)
{
    const unsigned short letters[] = {'a', 'b', 'c', 'd', 'e', 'f'};
    const CTalString prefix(letters, 3);
    const CTalString whole(letters, 6);
    const CJString abc(m_jvm, letters, 3);
    const CJString abcdef(m_jvm, letters, 6);
    EXPECT_TRUE(prefix == abcdef);
    EXPECT_FALSE(abcdef == prefix);
    EXPECT_FALSE(whole == abc);
    EXPECT_TRUE(abc == prefix);
    EXPECT_TRUE(CTalString() == abc);
}

namespace {
template <class Box, class... Values> void expectKept(JNIEnv* env, Values... values)
{
    for (const auto value : {static_cast<typename Box::Native>(values)...}) {
        EXPECT_EQ(value, Box(env, value));
        EXPECT_EQ(value, Box(CJniJObject(env, Box(env, value), nullptr)));
    }
}

std::string printed(JNIEnv* env, const CJniJObject& object)
{
    const jmethodID toString = object.getClass()->methodId("toString", "()Ljava/lang/String;");
    const auto text = static_cast<jstring>(env->CallObjectMethod(object, toString));
    EXPECT_EQ("", takePendingException(env));
    return CJString(env, text).ansiString();
}
} // namespace

TEST_F(JniText, BoxesKeepTheirValues)
{
    expectKept<CJByte>(m_jvm, -128, 127);
    expectKept<CJShort>(m_jvm, -32768, 32767);
    expectKept<CJInteger>(m_jvm, std::numeric_limits<int>::min(), 0);
    expectKept<CJLong>(m_jvm, std::numeric_limits<long>::min(), 1L << 62);
    expectKept<CJBoolean>(m_jvm, JNI_TRUE, JNI_FALSE);
    expectKept<CJFloat>(m_jvm, 0.1F, -0.0F);
    expectKept<CJDouble>(m_jvm, 0.1, std::numeric_limits<double>::infinity());
    EXPECT_EQ(0, CJLong(CJniJObject(m_jvm, nullptr, static_cast<CJniClass*>(nullptr))));

    const CJChar character(m_jvm, u'\u20AC');
    EXPECT_EQ("€", printed(m_jvm, character));
    EXPECT_EQ(0, character);
}

TEST_F(JniText, UnsignedAndDecimalNumbersArriveInJava)
{
    constexpr auto all = std::numeric_limits<uint64_t>::max();
    EXPECT_EQ("255", printed(m_jvm, CJUByte(m_jvm, 255)));
    EXPECT_EQ("4294967295", printed(m_jvm, CJUInt(m_jvm, 4294967295)));
    EXPECT_EQ("18446744073709551615", printed(m_jvm, CJULong(m_jvm, all)));
    EXPECT_EQ("0.00", printed(m_jvm, CJDecimal(m_jvm, {0, 2, 1, 0, 0, 0}))); // no negative zero
    EXPECT_EQ("-12.50", printed(m_jvm, CJDecimal(m_jvm, {0, 2, 0x80, 1250, 0, 0})));
    EXPECT_EQ("18446744073709551616000", printed(m_jvm, CJDecimal(m_jvm, {0, -3, 0, 0, 1, 0})));
    EXPECT_EQ("6277101735386680763835789423207666416102355444464034512895",
              printed(m_jvm, CJDecimal(m_jvm, {0, 0, 0, all, all, all})));
}

TEST_F(JniText, AMessageOfTheLocaleReachesJavaWhole)
{
    const struct {
        const char* host;
        const char* message;
        const char* raised; ///< as JNI hands it out: halves of a pair are characters of their own
    } rows[] = {
        {"C", "slot Gr\xC3\xBCn \xF0\x9F\x98\x80.", "slot Gr\xC3\xBCn \xED\xA0\xBD\xED\xB8\x80."},
        {latin1, "Gr\xFCn", "Gr\xC3\xBCn"},
        {"C", "Gr\xFCn", "Gr?n"},
        {latin1, "plain", "plain"},
    };
    for (const auto& row : rows) {
        const CHostLocale host(row.host);
        CJniJObject::throwAnsiException(m_jvm, "java/lang/Error", row.message);
        EXPECT_EQ(std::string("java.lang.Error: ") + row.raised, takePendingException(m_jvm));
    }
}
