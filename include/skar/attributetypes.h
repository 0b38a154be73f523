#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

// The types an attribute of a self-describing file can have, and how their values lie in memory and in the
// file. The table is what the library codes by and what a program shows such a file by.
namespace SKARIOAttributes {

// The numbers stand in the files.
enum dataType : std::uint32_t {
    typeUInt32 = 0,
    typeInt32 = 1,
    typeFloat = 2,
    typeDouble = 3,
    typeBoolean = 4,
    typeInt16 = 5,
    typeUInt16 = 6,
    typeUInt32Array = 7,
    typeInt32Array = 8,
    typeFloatArray = 9,
    typeDoubleArray = 10,
    typeBooleanArray = 11,
    typeInt16Array = 12,
    typeUInt16Array = 13,
    typeByteArray = 14,
    typeString = 15,
    typeUInt64 = 16,
    typeInt64 = 17,
    typeUInt64Array = 18,
    typeInt64Array = 19,
};

// A value of one of the types, 8 bytes. Arrays and strings are pointers to blocks from array-new; how many
// elements (characters, without the terminator) a block has is told beside it.
union dataValue {
    std::uint64_t uint64 = 0;
    std::uint32_t uint32;
    std::int32_t int32;
    float float32;
    double float64;
    bool boolean;
    std::int16_t int16;
    std::uint16_t uint16;
    std::int64_t int64;
    std::uint32_t* uint32Array;
    std::int32_t* int32Array;
    float* floatArray;
    double* doubleArray;
    bool* booleanArray;
    std::int16_t* int16Array;
    std::uint16_t* uint16Array;
    std::uint8_t* byteArray;
    char* string;
    std::uint64_t* uint64Array;
    std::int64_t* int64Array;
};
static_assert(sizeof(dataValue) == 8);

// What the elements of a type are.
enum class valueKind : std::uint8_t { unsignedInteger, signedInteger, real, boolean, text };

// How a value lies in the file. Scalars are words in network order; the elements of arrays stand as they are
// in memory.
enum class valueCoding : std::uint8_t {
    none,         // of a type that is not known: no bytes at all
    word,         // the 32 bits of the value
    signedHalf,   // a word with the 16 bits sign-extended
    unsignedHalf, // a word with the 16 bits zero-extended
    boolean,      // a word, 0 or 1
    lowHalfFirst, // two words, the low-order 32 bits first
    array,        // element count, byte length, the bytes unswapped, zeros up to a multiple of four
    booleanArray, // the same, each byte 0 or 1
    string,       // length, length again, the bytes, zeros up to a multiple of four
};

struct typeRow {
    dataType type;
    const char* name;
    valueKind kind;
    std::uint8_t width; // bytes of an element in memory
    valueCoding coding;

    // Whether values are blocks whose size differs from record to record.
    constexpr bool isVariable() const noexcept { return coding >= valueCoding::array; }
    // Whether the file has the bytes of a value in another order than the memory of a little-endian machine.
    constexpr bool isSwapped() const noexcept { return !isVariable(); }
    // Bytes in the file of a scalar; 0 for what is variable.
    constexpr std::size_t scalarSize() const noexcept {
        return isVariable() ? 0 : coding == valueCoding::lowHalfFirst ? 8 : 4;
    }
};

inline constexpr std::array<typeRow, 20> dataTypes = {{
    {typeUInt32, "uint32", valueKind::unsignedInteger, 4, valueCoding::word},
    {typeInt32, "int32", valueKind::signedInteger, 4, valueCoding::word},
    {typeFloat, "float", valueKind::real, 4, valueCoding::word},
    {typeDouble, "double", valueKind::real, 8, valueCoding::lowHalfFirst},
    {typeBoolean, "boolean", valueKind::boolean, 1, valueCoding::boolean},
    {typeInt16, "int16", valueKind::signedInteger, 2, valueCoding::signedHalf},
    {typeUInt16, "uint16", valueKind::unsignedInteger, 2, valueCoding::unsignedHalf},
    {typeUInt32Array, "uint32 array", valueKind::unsignedInteger, 4, valueCoding::array},
    {typeInt32Array, "int32 array", valueKind::signedInteger, 4, valueCoding::array},
    {typeFloatArray, "float array", valueKind::real, 4, valueCoding::array},
    {typeDoubleArray, "double array", valueKind::real, 8, valueCoding::array},
    {typeBooleanArray, "boolean array", valueKind::boolean, 1, valueCoding::booleanArray},
    {typeInt16Array, "int16 array", valueKind::signedInteger, 2, valueCoding::array},
    {typeUInt16Array, "uint16 array", valueKind::unsignedInteger, 2, valueCoding::array},
    {typeByteArray, "byte array", valueKind::unsignedInteger, 1, valueCoding::array},
    {typeString, "string", valueKind::text, 1, valueCoding::string},
    {typeUInt64, "uint64", valueKind::unsignedInteger, 8, valueCoding::lowHalfFirst},
    {typeInt64, "int64", valueKind::signedInteger, 8, valueCoding::lowHalfFirst},
    {typeUInt64Array, "uint64 array", valueKind::unsignedInteger, 8, valueCoding::array},
    {typeInt64Array, "int64 array", valueKind::signedInteger, 8, valueCoding::array},
}};

// The row of a type, null for a number that is none.
constexpr const typeRow* rowOf(dataType type) noexcept {
    return type < dataTypes.size() ? &dataTypes[type] : nullptr;
}

static_assert([] {
    for (std::size_t i = 0; i < dataTypes.size(); ++i)
        if (dataTypes[i].type != i) return false;
    return true;
}());

} // namespace SKARIOAttributes
