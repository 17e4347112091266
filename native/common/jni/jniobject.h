/// A Java object as native code sees it: its fields by name, its class, a global reference while it is
/// locked; and Java throwables, caught and raised.
#pragma once

#include "common/jni/JniClass.h"

#include <jni.h>

#include <optional>
#include <string>

/// Lives on the native stack for one call, on the thread of its JNIEnv. The reference is borrowed, never
/// freed here, unless lock() made it a global one. To use a locked object on another thread, wrap its
/// reference there anew with that thread's environment.
///
/// Reading a field answers 0, false or an invalid object when there is no object or no such field; writing
/// answers whether the field was found. A missing field leaves no exception pending, save where said.
class CJniJObject {
public:
    /// An object of the class named, or, without `construct`, only its class, for static members. An
    /// exception that is pending is described on standard error and cleared first, so that the lookup can
    /// succeed. When the constructor fails (traced), the object is invalid and the constructor's exception
    /// pending.
    /// @param className  with slashes; null leaves everything empty
    CJniJObject(JNIEnv* env, const char* className, bool construct);
    /// As above with a class of the caller's, which must outlive this object and is rebound to `env`.
    CJniJObject(JNIEnv* env, CJniClass* javaClass, bool construct);
    /// Wraps an existing object.
    /// @param javaClass  as above; null: the class is that of the object, looked up on first use
    CJniJObject(JNIEnv* env, jobject object, CJniClass* javaClass);
    /// Shares the object; a class that the other owns is copied. A copy of a locked object believes that it
    /// holds the global reference too: only one of the two may be let to unlock it.
    CJniJObject(const CJniJObject& other);
    CJniJObject& operator=(const CJniJObject&) = delete;

    virtual CJniClass* getClass() const { return m_pclass; }
    /// Unlocks.
    virtual ~CJniJObject();

    /// Replaces the class. @param owned  this object deletes it
    void setClass(CJniClass* javaClass, bool owned);
    bool isValid() const { return m_pjObj != nullptr; }
    operator jobject() const { return m_pjObj; }
    JNIEnv* env() const { return m_env; }
    /// Whether the object is of the class named (with slashes) or of a class derived from it.
    bool instanceOf(const char* className) const;
    /// The name of the object's class with slashes; empty when there is none.
    std::string className() const;

    /// A field of the object's class or of one above it; null when there is none.
    jfieldID fieldId(const char* name, const char* signature) const;
    /// As fieldId, but the NoSuchFieldError of a field that is missing stays pending.
    jfieldID staticFieldId(const char* name, const char* signature) const;

    int getInt(const char* name) const;
    long getLong(const char* name) const;
    long getLong(jfieldID field) const;
    float getFloat(const char* name) const;
    double getDouble(const char* name) const;
    bool getBoolean(const char* name) const;
    /// @param className  of the field's type, with slashes. The answer holds a new local reference.
    CJniJObject getObject(const char* name, const char* className) const;
    CJniJObject getStaticObject(const char* name, const char* className) const;
    int getStaticInt(const char* name) const;
    /// Copies the text of a String field, in the code set of the locale.
    /// @param buffer  of `length` bytes. A text that fills it has no terminating 0.
    /// @return whether the field held a string
    /// @throws CJStringNotInCodePageException  the code set does not have a character of it
    bool getString(const char* name, char* buffer, int length) const;

    bool set(const char* name, const char* text);           ///< UTF-8; null stores an empty string
    bool set(const char* name, const unsigned short* text); ///< UTF-16 up to a 0; null stores an empty string
    /// @param className  of the field's type, with slashes; null: the value's own class
    bool set(const char* name, const CJniJObject& value, const char* className);
    bool set(const char* name, int value);
    bool set(const char* name, float value);
    bool set(const char* name, double value);
    bool set(const char* name, long value);
    bool set(jfieldID field, long value);
    bool set(const char* name, bool value);

    /// Keeps the object and its class by global references, beyond the exported function. @return whether it
    /// is kept
    bool lock();
    /// Gives the object's global reference back, and the class's when the class is this object's own: classes
    /// that are shared stay global.
    void unlock();

    /// Makes a Java exception pending, unless one is pending already: the first failure wins. When there is
    /// no such class, a java.lang.Error that names it is raised instead. A null `env` is only traced.
    /// @param className  with slashes
    /// @param message    modified UTF-8; null for an empty one
    static void throwException(JNIEnv* env, const char* className, const char* message);
    /// The same with a message in the code set of the locale, such as one that names a file or an object. Of
    /// one that is no text of it, only the ASCII characters come through, and "?" for the others.
    static void throwAnsiException(JNIEnv* env, const char* className, const char* message);

    /// "L", the name, ";": the signature of fields of that class.
    static std::string sigClassName(const char* className);

protected:
    void setObject(jobject object) { m_pjObj = object; }
    /// Constructs the object of the wrapped class; an invalid one when that fails.
    void construct(const char* signature, ...);

private:
    void constructDefault(int line, const char* className);
    bool setString(const char* name, jstring text);

    JNIEnv* m_env;
    jobject m_pjObj = nullptr;
    CJniClass* m_pclass = nullptr;
    bool m_ownsClass = false;
    bool m_locked = false;
};

/// A Java field that is looked up once per process, on the class that declares it: for fields read in every
/// call, such as "handle". One per declaring class, at namespace scope. Any thread. It keeps its class
/// loaded, so the id stays right.
class CJavaField {
public:
    constexpr CJavaField(const char* name, const char* signature) : m_name(name), m_signature(signature) {}
    CJavaField(const CJavaField&) = delete;
    CJavaField& operator=(const CJavaField&) = delete;

    /// @param object  of the declaring class or one derived from it, not null
    /// @return null when there is no such field
    jfieldID id(JNIEnv* env, jobject object)
    {
        const jfieldID known = m_id.load(std::memory_order_acquire);
        return known ? known : find(env, object);
    }
    /// The value of a long field; 0 for a null object or a missing field.
    jlong getLong(JNIEnv* env, jobject object)
    {
        const jfieldID field = object ? id(env, object) : nullptr;
        return field ? env->GetLongField(object, field) : 0;
    }
    /// @return whether there are such an object and field
    bool setLong(JNIEnv* env, jobject object, jlong value)
    {
        const jfieldID field = object ? id(env, object) : nullptr;
        if (field)
            env->SetLongField(object, field, value);
        return field != nullptr;
    }

private:
    jfieldID find(JNIEnv* env, jobject object);
    jfieldID fieldOf(JNIEnv* env, jclass javaClass) const;

    const char* m_name;
    const char* m_signature;
    std::atomic<jfieldID> m_id = nullptr;
};

/// A throwable that native code caught with ExceptionOccurred; clear it before asking for the message.
class CJException : public CJniJObject {
public:
    CJException(JNIEnv* env, jthrowable throwable) : CJniJObject(env, throwable, nullptr) {}
    CJException(const CJException&) = delete;

    /// The throwable's message in the code set of the locale, kept by this object; "" when there is none.
    /// @throws CJStringNotInCodePageException  the code set does not have a character of it
    const char* getMessage();
    /// Makes it pending again. Needs a valid throwable.
    void throwInJVM();

private:
    std::optional<std::string> m_message;
};
