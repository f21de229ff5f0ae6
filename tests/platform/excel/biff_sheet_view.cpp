#include "biff_sheet_view.h"

namespace biff {
namespace {

constexpr uint16_t kColInfo = 0x007D;
constexpr uint16_t kSetup = 0x00A1;
constexpr uint16_t kWsBool = 0x0081;
constexpr uint16_t kHeader = 0x0014;
constexpr uint16_t kFooter = 0x0015;

QString TextOf(const std::optional<Record>& record) {
  if (!record || record->data.size() < 3) return QString();
  return StringNoCount(record->data, 2, record->U16(0));
}

QString BuiltInName(int code) {
  switch (code) {
    case 0x06: return QStringLiteral("Print_Area");
    case 0x07: return QStringLiteral("Print_Titles");
    case 0x0D: return QStringLiteral("_FilterDatabase");
    default: return QStringLiteral("BuiltIn%1").arg(code);
  }
}

}  // namespace

std::optional<double> FormulaResult(const Substream& sheet, int row, int column) {
  constexpr uint16_t kFormula = 0x0006;
  for (const Record& formula : sheet.All(kFormula)) {
    if (formula.U16(0) != row - 1 || formula.U16(2) != column - 1) continue;
    // A result that is not a number marks its last two bytes 0xFFFF.
    if (formula.U16(12) == 0xFFFF) return std::nullopt;
    return formula.F64(6);
  }
  return std::nullopt;
}

int ColumnWidth(const Substream& sheet, int column) {
  for (const Record& info : sheet.All(kColInfo))
    if (info.U16(0) <= column - 1 && column - 1 <= info.U16(2)) return info.U16(4);
  return 0;
}

QList<int> HiddenRows(const Substream& sheet) {
  constexpr uint32_t kRowHidden = 0x20;
  QList<int> hidden;
  for (const auto& row : sheet.All(kRow))
    if (row.U32(12) & kRowHidden) hidden << row.U16(0) + 1;
  return hidden;
}

PageSetup PageSetupOf(const Substream& sheet) {
  PageSetup setup;
  if (const auto record = sheet.First(kSetup)) {
    setup.fit_wide = record->U16(6);
    setup.fit_tall = record->U16(8);
    setup.landscape = !(record->U16(10) & 0x02);
  }
  if (const auto flags = sheet.First(kWsBool)) setup.fit_to_pages = flags->U16(0) & 0x0100;
  setup.header = TextOf(sheet.First(kHeader));
  setup.footer = TextOf(sheet.First(kFooter));
  return setup;
}

QStringList DefinedNames(const Workbook& book) {
  constexpr uint16_t kBuiltIn = 0x0020;
  QStringList names;
  for (const Record& name : book.globals.All(kName)) {
    const int length = static_cast<uint8_t>(name.data.at(3));
    QString text = name.U16(0) & kBuiltIn ? BuiltInName(static_cast<uint8_t>(name.data.at(15)))
                                          : StringNoCount(name.data, 14, length);
    const int sheet = name.U16(8);
    if (sheet > 0 && sheet <= book.sheets.size()) text = book.sheets[sheet - 1].name + QLatin1Char('!') + text;
    names << text;
  }
  return names;
}

}  // namespace biff
