#include "jet/types.h"

namespace jet {

std::string_view ColumnTypeName(ColumnType type) {
  switch (type) {
    case ColumnType::kBoolean: return "Yes/No";
    case ColumnType::kByte: return "Byte";
    case ColumnType::kInteger: return "Integer";
    case ColumnType::kLong: return "Long Integer";
    case ColumnType::kCurrency: return "Currency";
    case ColumnType::kSingle: return "Single";
    case ColumnType::kDouble: return "Double";
    case ColumnType::kDateTime: return "Date/Time";
    case ColumnType::kBinary: return "Binary";
    case ColumnType::kText: return "Text";
    case ColumnType::kOle: return "OLE Object";
    case ColumnType::kMemo: return "Memo";
    case ColumnType::kGuid: return "Replication ID";
    case ColumnType::kDecimal: return "Decimal";
    case ColumnType::kComplex: return "Complex";
    case ColumnType::kBigInt: return "Large Number";
  }
  return "Unknown";
}

std::string_view FileFormatName(FileFormat format) {
  switch (format) {
    case FileFormat::kJet3: return "Jet 3 (Access 97)";
    case FileFormat::kJet4: return "Jet 4 (Access 2000-2003)";
    case FileFormat::kAce12: return "ACE 12 (Access 2007)";
    case FileFormat::kAce14: return "ACE 14 (Access 2010)";
    case FileFormat::kAce15: return "ACE 15 (Access 2013)";
    case FileFormat::kAce16: return "ACE 16 (Access 2016)";
    case FileFormat::kAce17: return "ACE 17 (Access 2019)";
  }
  return "unknown";
}

}  // namespace jet
