/// Names given to native components: of spy memory, mutexes, mailslots.
#pragma once

/// Text in UTF-16, whether it came from Java or from native code. Nothing is handed over: what the operations
/// answer lives as long as the object.
class ITalString {
public:
    /// The 16-bit units; null when there is no text.
    virtual operator const unsigned short*() const = 0;
    /// The text in the code set of the locale; null when there is none.
    virtual operator const char*() const = 0;
    /// What == asks of its left side; the implementations say what counts as equal.
    virtual bool equals(const ITalString& other) const = 0;
    /// Number of 16-bit units.
    virtual unsigned int length() const = 0;

protected:
    ~ITalString() = default;
};

/// Outside of the class, since as a member the language would take it for both sides of mixed comparisons.
inline bool operator==(const ITalString& left, const ITalString& right)
{
    return left.equals(right);
}
