/// What native code throws.
#pragma once

/// A failure of the library's own, with all that the frame of an exported function has to know of it. Not
/// derived from the standard exceptions: those have no Java class.
class CNativeFailure {
public:
    virtual ~CNativeFailure() = default;
    /// Lives as long as this object.
    virtual const char* message() const = 0;
    /// The Java class that it becomes, with slashes; null when Java has none for it.
    virtual const char* javaExceptionClass() const { return nullptr; }
    /// The message of the Java exception.
    virtual const char* javaMessage() const { return message(); }
    /// What the trace says when it becomes one; null: nothing, for most have told when they were made.
    virtual const char* traceText() const { return nullptr; }

protected:
    CNativeFailure() = default;
    CNativeFailure(const CNativeFailure&) = default;
    CNativeFailure& operator=(const CNativeFailure&) = default;
};
