// The BIFF8 records of a saved .xls, read straight out of its compound file,
// for what a cell reader does not show: sheet protection, filters, hidden
// rows, defined names. Shares nothing with the office that wrote the file.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <cstdint>
#include <optional>

namespace biff {

// Record numbers the tests look for.
constexpr uint16_t kProtect = 0x0012;
constexpr uint16_t kObjProtect = 0x0063;
constexpr uint16_t kScenProtect = 0x00DD;
constexpr uint16_t kPassword = 0x0013;
constexpr uint16_t kName = 0x0018;
constexpr uint16_t kAutoFilterInfo = 0x009D;
constexpr uint16_t kAutoFilter = 0x009E;
constexpr uint16_t kRow = 0x0208;
constexpr uint16_t kChartSeries = 0x1003;  // one series of a chart on the sheet
constexpr uint16_t kChartBar = 0x1017;     // a bar or column chart group
constexpr uint16_t kChartLine = 0x1018;    // a line chart group
constexpr uint16_t kCondFmt = 0x01B0;      // a conditional format's cells
constexpr uint16_t kCf = 0x01B1;           // one of its conditions

struct Record {
  uint16_t id = 0;
  QByteArray data;

  uint16_t U16(int offset) const;
  uint32_t U32(int offset) const;
  double F64(int offset) const;
};

struct Substream {
  QString name;  // the sheet's; empty for the workbook globals
  QList<Record> records;

  QList<Record> All(uint16_t id) const;
  std::optional<Record> First(uint16_t id) const;
};

struct Workbook {
  Substream globals;
  QList<Substream> sheets;  // in the order of the workbook's sheet list

  const Substream& Sheet(const QString& name) const;  // throws when missing
};

// Throws std::runtime_error when the file is not a BIFF8 workbook.
Workbook Read(const QString& path);

// A string stored without its length: a flag byte (bit 0 set for UTF-16)
// then `count` characters from `offset`.
QString StringNoCount(const QByteArray& data, int offset, int count);

}  // namespace biff
