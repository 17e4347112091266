/// The tagged value that spy vectors, maps and mapped pairs store. The stored form is described in
/// doc/spy-variant.md.
#pragma once

#include "common/spy/SpyMemRef.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

class CSpyMemory;
class ITalString;

/// A number, a character, a string or a reference to another object of spy memory. The same 16 bytes are
/// valid in every process and at any address, hence packed; a copy copies them and shares what they refer to.
/// Nobody counts references: who takes a variant out of its container owns the block of its string.
///
/// Strings are compared where they lie: hold the heap mutex when others may free them. A stale reference
/// raises CInvalidSpyMemRef, bytes that contradict each other CHeapCorrupted.
class [[gnu::packed]] CSpyVariant {
public:
    /// Kinds of values, as stored. Java has a class for each; see JavaSpyVariant.
    enum EType : uint32_t {
        SpyEmpty = 0,
        SpyByte = 1,
        SpyChar = 2,
        SpyShort = 3,
        SpyInt = 4,
        SpyLong = 5,
        SpyFloat = 6,
        SpyDouble = 7,
        SpyBool = 8,
        SpyString = 9,
        SpyMem = 10,
        SpyVector = 11,
        SpyMap = 12,
        SpyMappedPair = 13,
        SpyMappedTestObject = 14,
        SpyValueClass = 15,
        SpyMailslot = 16,
        SpyUByte = 17,
        SpyUShort = 18,
        SpyUInt = 19,
        SpyULong = 20,
        SpyDecimal = 21,
        SpyMappedDescribedObjectReference = 22,
    };

    CSpyVariant() : m_type(SpyEmpty), m_unused(0), m_value(0) {}
    explicit CSpyVariant(signed char value) : CSpyVariant(SpyByte, bytesOf(value)) {}
    /// @param isCharacter  a 16-bit unit of text; else an unsigned number
    CSpyVariant(unsigned short value, bool isCharacter)
        : CSpyVariant(isCharacter ? SpyChar : SpyUShort, bytesOf(value))
    {
    }
    explicit CSpyVariant(short value) : CSpyVariant(SpyShort, bytesOf(value)) {}
    explicit CSpyVariant(int value) : CSpyVariant(SpyInt, bytesOf(value)) {}
    explicit CSpyVariant(long value) : CSpyVariant(SpyLong, bytesOf(value)) {}
    explicit CSpyVariant(float value) : CSpyVariant(SpyFloat, bytesOf(value)) {}
    explicit CSpyVariant(double value) : CSpyVariant(SpyDouble, bytesOf(value)) {}
    explicit CSpyVariant(bool value) : CSpyVariant(SpyBool, bytesOf(value)) {}
    /// Only the kind, without the number: readers of unsigned bytes get by without it.
    explicit CSpyVariant(unsigned char) : CSpyVariant(SpyUByte, uint64_t{0}) {}
    explicit CSpyVariant(unsigned int value) : CSpyVariant(SpyUInt, bytesOf(value)) {}
    explicit CSpyVariant(unsigned long value) : CSpyVariant(SpyULong, bytesOf(value)) {}
    /// A new string in heap `heapId`; see setString.
    explicit CSpyVariant(const ITalString& text, unsigned int heapId) : CSpyVariant()
    {
        setString(text, heapId);
    }
    explicit CSpyVariant(CSpyMemRef block) : CSpyVariant(SpyMem, bytesOf(block)) {}
    /// A reference to an object, of the kind that its `type` names.
    explicit CSpyVariant(const CSpyMemory& object);
    /// A reference of a kind that only its Java class knows.
    CSpyVariant(EType type, const CSpyMemRef& object) : CSpyVariant(type, bytesOf(object)) {}
    /// An address would become a bool.
    template <class T> explicit CSpyVariant(T*) = delete;

    EType type() const { return static_cast<EType>(m_type); } ///< as stored: may be none of the kinds above
    bool isa(EType type) const { return m_type == type; }
    bool isEmpty() const { return isa(SpyEmpty); }
    /// The value as a number of that type; asks for nothing that is checked.
    template <class T> T as() const
    {
        T value;
        const uint64_t bytes = m_value;
        std::memcpy(static_cast<void*>(std::addressof(value)), &bytes, sizeof value);
        return value;
    }
    /// The value as a reference; meaningful for kinds 9 to 16, 21 and 22.
    CSpyMemRef ref() const { return as<CSpyMemRef>(); }

    /// Makes this a string: a new block of spy memory with the text, or no block for an empty text. What the
    /// variant held is not freed.
    /// @param heapId  an existing heap, 0 for the base heap
    /// @throws COutOfSpyMemory
    void setString(const ITalString& text, unsigned int heapId);
    /// Bytes of the string, two for each 16-bit unit; 0 for everything else.
    unsigned int getStringLen() const { return isa(SpyString) ? getStringLen(ref()) : 0; }
    unsigned int getStringLen(const CSpyMemRef& block) const;
    /// The 16-bit units, not terminated and at any address: take them with memcpy. Good while the block lives
    /// and the caller holds the heap mutex. Null for everything but a string.
    const unsigned short* getString() const { return isa(SpyString) ? getString(ref()) : nullptr; }
    const unsigned short* getString(const CSpyMemRef& block) const;

    /// Whether both have one type and one value. Empty values, characters, unsigned shorts, mapped pairs,
    /// value classes and decimals equal nothing, not even themselves: searches do not find them.
    bool operator==(const CSpyVariant& other) const;
    /// Whether this is a string with these units.
    bool operator==(const ITalString& text) const;

    /// Frees the block of a string or decimal and makes the variant empty. Leaves all others as they are: the
    /// objects they refer to live on.
    void free();

private:
    CSpyVariant(EType type, uint64_t value) : m_type(type), m_unused(0), m_value(value) {}

    template <class T> static uint64_t bytesOf(const T& value)
    {
        uint64_t bytes = 0;
        std::memcpy(&bytes, std::addressof(value), sizeof value);
        return bytes;
    }

    uint32_t m_type;
    [[maybe_unused]] uint32_t m_unused; ///< fills up the stored form
    uint64_t
        m_value; ///< the number in its natural width from the first byte on, or the two words of a reference

    friend struct CSpyVariantLayout;
};

struct CSpyVariantLayout {
    static_assert(sizeof(CSpyVariant) == 16 && alignof(CSpyVariant) == 1);
    static_assert(offsetof(CSpyVariant, m_type) == 0 && offsetof(CSpyVariant, m_value) == 8);
};
