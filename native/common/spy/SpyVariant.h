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

/// All kinds of values: name; number as stored, the next one, since programs of other versions read the same
/// store; what people call it; when two of the kind are equal (SpyVariant.cpp has the ways); whether the value
/// has a block of its own, which is freed with it.
// clang-format off
#define SPY_KINDS(X)                                                                                         \
    X(SpyEmpty,                           0, "empty",                   neverEqual,        false)            \
    X(SpyByte,                            1, "byte",                    equalAs<uint8_t>,  false)            \
    X(SpyChar,                            2, "char",                    neverEqual,        false)            \
    X(SpyShort,                           3, "short",                   equalAs<uint32_t>, false)            \
    X(SpyInt,                             4, "int",                     equalAs<uint32_t>, false)            \
    X(SpyLong,                            5, "long",                    equalAs<uint64_t>, false)            \
    X(SpyFloat,                           6, "float",                   equalAs<float>,    false)            \
    X(SpyDouble,                          7, "double",                  equalAs<double>,   false)            \
    X(SpyBool,                            8, "bool",                    equalAs<uint8_t>,  false)            \
    X(SpyString,                          9, "string",                  equalTexts,        true)             \
    X(SpyMem,                            10, "memory",                  equalAs<uint64_t>, false)            \
    X(SpyVector,                         11, "vector",                  equalAs<uint64_t>, false)            \
    X(SpyMap,                            12, "map",                     equalAs<uint64_t>, false)            \
    X(SpyMappedPair,                     13, "mapped pair",             neverEqual,        false)            \
    X(SpyMappedTestObject,               14, "mapped test object",      equalAs<uint64_t>, false)            \
    X(SpyValueClass,                     15, "value class",             neverEqual,        false)            \
    X(SpyMailslot,                       16, "mailslot",                equalAs<uint64_t>, false)            \
    X(SpyUByte,                          17, "unsigned byte",           equalAs<uint8_t>,  false)            \
    X(SpyUShort,                         18, "unsigned short",          neverEqual,        false)            \
    X(SpyUInt,                           19, "unsigned int",            equalAs<uint32_t>, false)            \
    X(SpyULong,                          20, "unsigned long",           equalAs<uint64_t>, false)            \
    X(SpyDecimal,                        21, "decimal",                 neverEqual,        true)             \
    X(SpyMappedDescribedObjectReference, 22, "mapped object reference", equalAs<uint64_t>, false)
// clang-format on
#define SPY_KIND_NUMBER(name, number, ...) name = number,
#define SPY_KIND_COUNT(...) +1
constexpr size_t spyKinds = SPY_KINDS(SPY_KIND_COUNT);

/// A number, a character, a string or a reference to another object of spy memory. The same 16 bytes are
/// valid in every process and at any address, hence packed; a copy copies them and shares what they refer to.
/// Nobody counts references: who takes a variant out of its container owns the block of its string.
///
/// Strings are compared where they lie: hold the heap mutex when others may free them. A stale reference
/// raises CInvalidSpyMemRef, bytes that contradict each other CHeapCorrupted.
class [[gnu::packed]] CSpyVariant {
public:
    /// As stored. Java has a class for each; see JavaSpyVariant.
    enum EType : uint32_t { SPY_KINDS(SPY_KIND_NUMBER) };
    /// What people call values of a kind; null for a number that no kind has.
    static const char* nameOf(EType type);

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
    CSpyVariant(EType type, const CSpyMemRef& block) : CSpyVariant(type, bytesOf(block)) {}
    /// A number of another type would be taken for a character, an address for a bool.
    template <class T> CSpyVariant(EType, const T&) = delete;
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
    CSpyVariant(EType type, uint64_t bytes) : m_type(type), m_unused(0), m_value(bytes) {}

    template <class T> static uint64_t bytesOf(const T& value)
    {
        uint64_t bytes = 0;
        static_assert(sizeof value <= sizeof bytes);
        std::memcpy(&bytes, std::addressof(value), sizeof value);
        return bytes;
    }

    uint32_t m_type;
    [[maybe_unused]] uint32_t m_unused; ///< fills up the stored form
    /// The number in its natural width from the first byte on, or the two words of a reference.
    uint64_t m_value;

    friend struct CSpyVariantLayout;
};

struct CSpyVariantLayout {
    static_assert(sizeof(CSpyVariant) == 16 && alignof(CSpyVariant) == 1);
    static_assert(offsetof(CSpyVariant, m_type) == 0 && offsetof(CSpyVariant, m_value) == 8);
};
