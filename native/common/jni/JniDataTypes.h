/// Java strings, boxed primitives and object arrays as native code sees them. Like all wrappers of Java
/// objects they live on the stack of one call, on one thread; what they construct are local references (see
/// jniobject.h).
#pragma once

#include "common/jni/jniobject.h"
#include "include/ITalString.h"

#include <jni.h>

#include <atomic>
#include <memory>
#include <string>
#include <string_view>

/// UTF-16 text of native code. Borrows the text unless told otherwise.
class CTalString final : public ITalString {
public:
    CTalString() = default;
    /// @param length  in 16-bit units; a terminating 0 is not needed
    CTalString(const unsigned short* text, unsigned short length) : m_text(text), m_length(length) {}
    CTalString(const CTalString&) = delete;
    CTalString& operator=(const CTalString&) = delete;
    ~CTalString();

    /// Makes this object the owner of its text, which came from new[].
    void own() { m_owns = true; }

    operator const unsigned short*() const override { return m_text; }
    operator const char*() const override { return nullptr; } ///< it has no form in the locale's code set
    /// Whether `other` begins with this text: names are found by their prefix this way, so lengths do not
    /// count.
    bool equals(const ITalString& other) const override;
    unsigned int length() const override { return m_length; }

private:
    const unsigned short* m_text = nullptr;
    unsigned short m_length = 0;
    bool m_owns = false;
};

/// A Java class that is looked up once, locked, and shared by all threads.
class CJDataTypeClass : public CJniClass {
public:
    using CJniClass::CJniClass;
    virtual jmethodID getValueMethod() const = 0;
    virtual jmethodID getConstructor() const = 0;
    virtual ~CJDataTypeClass() = default;
};

/// Common base of all boxes.
class CJDataType : public CJniJObject {
protected:
    CJDataType(JNIEnv* env, jobject object, CJDataTypeClass* javaClass) : CJniJObject(env, object, javaClass)
    {
    }
    CJDataType(const CJniJObject& object, CJDataTypeClass* javaClass) : CJniJObject(object)
    {
        setClass(javaClass, false);
    }
};

/// What a box needs to know of its Java class.
struct CJBoxNames {
    const char* javaClass;
    const char* constructor;
    const char* valueMethod;
    const char* valueSignature;
};

/// The class of a box. Its methods are looked up when it is made; one that Java does not offer is null.
template <class Kind> class CJBoxClass final : public CJDataTypeClass {
public:
    explicit CJBoxClass(JNIEnv* env)
        : CJDataTypeClass(env, Kind::names.javaClass),
          m_valueMethod(methodId(Kind::names.valueMethod, Kind::names.valueSignature)),
          m_constructor(methodId("<init>", Kind::names.constructor))
    {
    }
    jmethodID getValueMethod() const override { return m_valueMethod; }
    jmethodID getConstructor() const override { return m_constructor; }

private:
    jmethodID m_valueMethod;
    jmethodID m_constructor;
};

/// A boxed primitive. `Kind` names the native type, the Java class and the JNI call that reads the value.
template <class Kind> class CJBox : public CJDataType {
public:
    using Native = typename Kind::Native;

    /// Made on first use and never freed; any thread.
    static CJDataTypeClass* getCachedClass(JNIEnv* env);

    /// Constructs a Java box; invalid when Java throws (pending then).
    CJBox(JNIEnv* env, Native value) : CJDataType(env, nullptr, getCachedClass(env))
    {
        if (const CJniClass* const javaClass = getClass())
            setObject(env->NewObject(javaClass->getclass(), getCachedClass(env)->getConstructor(), value));
    }
    /// Takes an object that is such a box.
    explicit CJBox(const CJniJObject& object) : CJDataType(object, getCachedClass(object.env())) {}
    /// The value; 0 without an object, and 0 for a class without the value method.
    operator Native() const
    {
        const jmethodID method = isValid() && env() ? getCachedClass(env())->getValueMethod() : nullptr;
        const Native value = method ? (env()->*Kind::call)(*this, method) : Native();
        return env() && env()->ExceptionCheck() ? Native() : value;
    }
};

struct CJByteKind {
    using Native = signed char;
    static constexpr CJBoxNames names{"java/lang/Byte", "(B)V", "byteValue", "()B"};
    static constexpr auto call = &JNIEnv::CallByteMethod;
};
/// To make a Character. Java's has no method of this name, so reading one answers 0, which searches of the
/// store rely on. To read one, take CJReadableChar.
struct CJCharKind {
    using Native = unsigned short;
    static constexpr CJBoxNames names{"java/lang/Character", "(C)V", "characterValue", "()C"};
    static constexpr auto call = &JNIEnv::CallCharMethod;
};
/// To read a Character, by the method that Java has. To make one, take CJChar.
struct CJReadableCharKind : CJCharKind {
    static constexpr CJBoxNames names{"java/lang/Character", "(C)V", "charValue", "()C"};
};
struct CJShortKind {
    using Native = short;
    static constexpr CJBoxNames names{"java/lang/Short", "(S)V", "shortValue", "()S"};
    static constexpr auto call = &JNIEnv::CallShortMethod;
};
struct CJIntegerKind {
    using Native = int;
    static constexpr CJBoxNames names{"java/lang/Integer", "(I)V", "intValue", "()I"};
    static constexpr auto call = &JNIEnv::CallIntMethod;
};
struct CJLongKind {
    using Native = long;
    static constexpr CJBoxNames names{"java/lang/Long", "(J)V", "longValue", "()J"};
    static constexpr auto call = &JNIEnv::CallLongMethod;
};
struct CJBooleanKind {
    using Native = unsigned char;
    static constexpr CJBoxNames names{"java/lang/Boolean", "(Z)V", "booleanValue", "()Z"};
    static constexpr auto call = &JNIEnv::CallBooleanMethod;
};
struct CJFloatKind {
    using Native = float;
    static constexpr CJBoxNames names{"java/lang/Float", "(F)V", "floatValue", "()F"};
    static constexpr auto call = &JNIEnv::CallFloatMethod;
};
struct CJDoubleKind {
    using Native = double;
    static constexpr CJBoxNames names{"java/lang/Double", "(D)V", "doubleValue", "()D"};
    static constexpr auto call = &JNIEnv::CallDoubleMethod;
};

using CJByte = CJBox<CJByteKind>;
using CJChar = CJBox<CJCharKind>;
using CJReadableChar = CJBox<CJReadableCharKind>;
using CJShort = CJBox<CJShortKind>;
using CJInteger = CJBox<CJIntegerKind>;
using CJLong = CJBox<CJLongKind>;
using CJBoolean = CJBox<CJBooleanKind>;
using CJFloat = CJBox<CJFloatKind>;
using CJDouble = CJBox<CJDoubleKind>;
using CJByteClass = CJBoxClass<CJByteKind>;
using CJCharClass = CJBoxClass<CJCharKind>;
using CJShortClass = CJBoxClass<CJShortKind>;
using CJIntegerClass = CJBoxClass<CJIntegerKind>;
using CJLongClass = CJBoxClass<CJLongKind>;
using CJBooleanClass = CJBoxClass<CJBooleanKind>;
using CJFloatClass = CJBoxClass<CJFloatKind>;
using CJDoubleClass = CJBoxClass<CJDoubleKind>;

/// Finds `slot` filled, or fills it with a new `Class`, locked. Null when the JVM has no room for it; the
/// next call tries again. Of two threads that come first at once, one makes the class that is kept.
template <class Class> CJDataTypeClass* cachedJavaClass(std::atomic<CJDataTypeClass*>& slot, JNIEnv* env);

/// Java text has a character that the code set of the locale lacks. Lives on the thread of its JNIEnv.
class CJStringNotInCodePageException {
public:
    CJStringNotInCodePageException(JNIEnv* env, jstring text);
    /// Makes StringNotInCodePageException pending, with the text as its message.
    void throwException(JNIEnv* env) const;

private:
    std::shared_ptr<_jstring> m_text; ///< a local reference of its own: the thrower's may be gone
};

class CJStringClass final : public CJDataTypeClass {
public:
    explicit CJStringClass(JNIEnv* env) : CJDataTypeClass(env, "java/lang/String") {}
    jmethodID getValueMethod() const override { return nullptr; }
    jmethodID getConstructor() const override { return nullptr; }
};

/// A new local reference; null with a Java exception pending when there is no room.
jstring newJavaString(JNIEnv* env, std::u16string_view units);

/// A Java string and its native forms, made when first asked for and kept until the destructor. A null string
/// is allowed: its length is 0 and its forms are null.
///
/// ANSI text is in the code set of CEnvironmentLocale (CodeSet.h). A text with a character outside of it,
/// with half a surrogate pair or with U+0000 (a C text ends there) has no ANSI form.
class CJString : public CJDataType, public ITalString {
public:
    static CJDataTypeClass* getCachedClass(JNIEnv* env);

    CJString(JNIEnv* env, jstring text);
    explicit CJString(const CJniJObject& text);
    /// A new Java string. @param length  in 16-bit units; a null text or length 0 makes an empty string
    CJString(JNIEnv* env, const unsigned short* text, unsigned int length);
    /// A new Java string of ANSI text. Text that cannot be converted is written to standard error and becomes
    /// an empty string, as null does: the object is always valid, unless the JVM has no room.
    CJString(JNIEnv* env, const char* text);
    /// Shares the Java string; the copy makes its own native forms.
    CJString(const CJString& other);
    ~CJString() override = default;

    operator jstring() const { return static_cast<jstring>(static_cast<jobject>(*this)); }

    /// The ANSI text. Null for a null string and where iconv does not know the code set.
    /// @throws CJStringNotInCodePageException  once; what comes before the character is then kept and
    /// answered
    const char* ansiString() const;
    operator const char*() const override { return ansiString(); }
    /// The UTF-16 text of a string that has an ANSI form, in a copy of its own.
    /// @throws CJStringNotInCodePageException  as ansiString
    const unsigned short* ansiStringW() const;
    /// The UTF-16 text with a terminating 0.
    operator const unsigned short*() const override;
    /// The same; valid while this object lives.
    std::u16string_view units() const;
    unsigned int len() const { return length(); }
    unsigned int length() const override;
    /// Whether lengths and units are the same.
    bool equals(const ITalString& other) const override;

private:
    using Units = std::unique_ptr<unsigned short[]>;
    Units copyOfUnits() const;
    bool init_ansiString() const;

    mutable Units m_units;
    mutable std::unique_ptr<char[]> m_ansi;
    mutable Units m_ansiUnits;
};

/// A new Java array of objects, null at first.
class CJObjectArray : public CJDataType {
public:
    /// @param elementClass  with slashes. Invalid when there is no such class, or when Java throws (pending then:
    ///                      a negative length, no room).
    CJObjectArray(JNIEnv* env, int length, const char* elementClass);
    /// An index outside of the array makes ArrayIndexOutOfBoundsException pending, an element of another
    /// class ArrayStoreException.
    void set(unsigned index, const CJniJObject& element);
    /// The element, by a new local reference; invalid for null.
    CJniJObject get(unsigned index) const;

private:
    CJniClass m_elementClass;
};
