// Column types as Jet stores them in a table definition.
#pragma once

#include <cstdint>
#include <string_view>

namespace jet {

enum class ColumnType : uint8_t {
  kBoolean = 0x01,
  kByte = 0x02,
  kInteger = 0x03,   // 16-bit
  kLong = 0x04,      // 32-bit
  kCurrency = 0x05,  // 64-bit, scaled by 10,000
  kSingle = 0x06,
  kDouble = 0x07,
  kDateTime = 0x08,  // double: days since 1899-12-30, time as the fraction
  kBinary = 0x09,    // up to 255 bytes, inline
  kText = 0x0A,      // up to 255 characters, inline
  kOle = 0x0B,       // long binary
  kMemo = 0x0C,      // long text
  kGuid = 0x0F,      // replication id
  kDecimal = 0x10,   // 96-bit scaled integer ("Numeric")
  kComplex = 0x12,   // ACE attachment / multi-value column: a Long key
  kBigInt = 0x13,    // ACE large number
};

// The name Access shows for a type ("Long Integer", "Memo", ...).
std::string_view ColumnTypeName(ColumnType type);

// True for the types whose values live in long-value (LVAL) storage.
inline bool IsLongValueType(ColumnType t) { return t == ColumnType::kMemo || t == ColumnType::kOle; }

enum class FileFormat {
  kJet3,   // Access 97: 2 KB pages, code-page text
  kJet4,   // Access 2000-2003: 4 KB pages, UCS-2 text
  kAce12,  // Access 2007+ .accdb (read where it differs little from Jet 4)
  kAce14,
  kAce15,
  kAce16,
  kAce17,
};

std::string_view FileFormatName(FileFormat format);

}  // namespace jet
