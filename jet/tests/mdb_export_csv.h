// Reading mdb-export's CSV and judging its values against ours, shared by the
// tests that hold our reader and our writer up against mdbtools.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "jet/text_form.h"
#include "jet/value.h"

namespace jet::testing {

struct CsvField {
  std::string text;
  bool quoted = false;
};
using CsvRecord = std::vector<CsvField>;

// RFC 4180 records; mdb-export quotes text-like fields and leaves Null empty.
inline std::vector<CsvRecord> ParseCsv(const std::string& in) {
  std::vector<CsvRecord> records;
  CsvRecord record;
  CsvField field;
  size_t i = 0;
  auto end_field = [&] {
    record.push_back(std::move(field));
    field = CsvField{};
  };
  while (i < in.size()) {
    char c = in[i];
    if (c == '"' && field.text.empty() && !field.quoted) {
      field.quoted = true;
      for (++i; i < in.size(); ++i) {
        if (in[i] == '"') {
          if (i + 1 < in.size() && in[i + 1] == '"') {
            field.text.push_back('"');
            ++i;
          } else {
            ++i;
            break;
          }
        } else {
          field.text.push_back(in[i]);
        }
      }
      continue;
    }
    if (c == ',') {
      end_field();
    } else if (c == '\n') {
      end_field();
      records.push_back(std::move(record));
      record.clear();
    } else {
      field.text.push_back(c);
    }
    ++i;
  }
  if (!field.text.empty() || !record.empty()) {
    end_field();
    records.push_back(std::move(record));
  }
  return records;
}

// mdbtools prints numbers its own way; compare what they mean.
inline bool SameNumber(const std::string& ours, const std::string& theirs, double tolerance) {
  char* end = nullptr;
  const double a = std::strtod(ours.c_str(), &end);
  const double b = std::strtod(theirs.c_str(), &end);
  if (a == b) return true;
  return std::fabs(a - b) <= tolerance * std::max(std::fabs(a), std::fabs(b));
}

// mdbtools prints '?' for the code-page holes that Windows maps to C1 controls.
inline std::string WithC1AsQuestionMarks(const std::string& utf8) {
  std::string out;
  for (size_t i = 0; i < utf8.size(); ++i) {
    const auto b0 = static_cast<unsigned char>(utf8[i]);
    const auto b1 = i + 1 < utf8.size() ? static_cast<unsigned char>(utf8[i + 1]) : 0;
    if (b0 == 0xC2 && b1 >= 0x80 && b1 <= 0x9F) {
      out.push_back('?');
      ++i;
    } else {
      out.push_back(utf8[i]);
    }
  }
  return out;
}

constexpr double kYear9999Serial = 2958101;

enum class MdbAgreement { kAgrees, kDiffers, kNotComparable };

// Whether mdb-export (run with -T '%Y-%m-%d %H:%M:%S' -b hex) shows `ours`
// as `theirs`. kNotComparable where mdbtools is known to be wrong: binary
// columns, negative and year-9999 dates. `why` says what differs.
inline MdbAgreement CompareWithMdbExport(const Value& ours, const CsvField& theirs, bool jet3, std::string* why) {
  auto verdict = [&](bool same, const std::string& expected) {
    if (!same) *why = "ours " + expected + ", mdbtools " + theirs.text;
    return same ? MdbAgreement::kAgrees : MdbAgreement::kDiffers;
  };
  if (ours.is_null()) return verdict(theirs.text.empty() && !theirs.quoted, "Null");
  const std::string text = CanonicalText(ours);
  switch (ours.type()) {
    case ColumnType::kBinary:
      return MdbAgreement::kNotComparable;  // mdb-export drops binary columns
    case ColumnType::kDateTime: {
      const double serial = ours.as_datetime().serial;
      if (serial < 0 || serial >= kYear9999Serial) return MdbAgreement::kNotComparable;  // mdbtools misprints these
      return verdict(text.substr(0, 19) == theirs.text, text);
    }
    case ColumnType::kSingle:
      return verdict(SameNumber(text, theirs.text, 1e-6), text);
    case ColumnType::kDouble:
      return verdict(SameNumber(text, theirs.text, 1e-9), text);
    case ColumnType::kCurrency:
    case ColumnType::kDecimal:
      return verdict(SameNumber(text, theirs.text, 1e-15), text);
    case ColumnType::kOle: {
      std::string lower = text;
      std::string other = theirs.text;
      std::transform(lower.begin(), lower.end(), lower.begin(), ::tolower);
      std::transform(other.begin(), other.end(), other.begin(), ::tolower);
      return verdict(lower == other, text);
    }
    case ColumnType::kGuid: {
      // With -b hex, mdb-export hex-encodes the GUID's text form.
      std::string other;
      for (size_t i = 0; i + 1 < theirs.text.size(); i += 2) {
        other.push_back(static_cast<char>(std::strtol(theirs.text.substr(i, 2).c_str(), nullptr, 16)));
      }
      // mdbtools leaves out the fourth dash; the digits must agree.
      auto digits = [](std::string s) {
        s.erase(std::remove(s.begin(), s.end(), '-'), s.end());
        std::transform(s.begin(), s.end(), s.begin(), ::toupper);
        return s;
      };
      return verdict(digits(text) == digits(other) && text.size() == 38, text);
    }
    default:
      return verdict((jet3 ? WithC1AsQuestionMarks(text) : text) == theirs.text, text);
  }
}

}  // namespace jet::testing
