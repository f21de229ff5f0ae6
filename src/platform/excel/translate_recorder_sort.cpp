// The Excel 2007+ recorder sorts through the Worksheet.Sort object:
//   ws.Sort.SortFields.Clear
//   ws.Sort.SortFields.Add Key:=Range("B5:B24"), SortOn:=xlSortOnValues, Order:=..., DataOption:=...
//   With ws.Sort
//     .SetRange Range("A4:E24") / .Header / .MatchCase / .Orientation / .SortMethod
//     .Apply
//   End With
// The office has Range.Sort, which takes the same keys (up to three, sorting
// on values), so the block becomes one Range.Sort on the .Apply line and its
// other lines are blanked.
#include <optional>

#include "platform/excel/macro_translation_rules.h"
#include "platform/excel/vba_source_lines.h"

namespace excel {
namespace {

constexpr std::size_t kRangeSortKeys = 3;

struct SortKey {
  QString key, order, data_option;
};

struct RecorderSort {
  std::vector<SortKey> keys;
  QString range;
  std::vector<std::pair<QString, QString>> options;  // Range.Sort argument, value
  std::size_t apply = 0;                              // statement index of .Apply
  std::size_t end_with = 0;
};

// Only the values the office's Range.Sort was seen to take as Excel does:
// Excel's header guess, sorting columns left to right and numbers stored as
// text are left to the macro check.
bool IsOneOf(const QString& value, std::initializer_list<const char*> allowed) {
  for (const char* one : allowed) {
    if (value.compare(QLatin1String(one), Qt::CaseInsensitive) == 0) return true;
  }
  return false;
}

// The object whose .Sort the statement uses, spaces removed and lower-cased,
// when the statement is `<object>.Sort<tail>`.
std::optional<QString> SortObjectOf(const LogicalLine& statement, const char* head, const char* tail,
                                    QString* rest = nullptr) {
  const QRegularExpression pattern = VbaPattern(QStringLiteral(R"(^\s*%1(\S.*?)\s*\.\s*Sort%2)")
                                                    .arg(QString::fromLatin1(head), QString::fromLatin1(tail)));
  const auto match = pattern.match(statement.mask);
  if (!match.hasMatch()) return std::nullopt;
  if (rest) *rest = statement.code.mid(match.capturedEnd());
  QString object = statement.code.mid(match.capturedStart(1), match.capturedLength(1));
  object.remove(QLatin1Char(' ')).remove(QLatin1Char('\t'));
  return object.toLower();
}

// Key:=..., SortOn:=..., Order:=..., DataOption:=... of one SortFields.Add.
std::optional<SortKey> ParseSortField(const QString& code, const QString& mask) {
  static const QRegularExpression named = VbaPattern(QStringLiteral(R"(^(\w+)\s*:=\s*)"));
  static const QRegularExpression on_values = VbaPattern(QStringLiteral(R"(^(?:xlSortOnValues|0)$)"));
  SortKey field{{}, QStringLiteral("xlAscending"), {}};
  for (const TextSpan& span : ArgumentSpans(mask)) {
    const QString argument_mask = mask.mid(span.from, span.to - span.from);
    const auto match = named.match(argument_mask);
    if (!match.hasMatch()) return std::nullopt;
    const QString name = match.captured(1).toLower();
    const QString value = code.mid(span.from + match.capturedEnd(), span.to - span.from - match.capturedEnd());
    if (name == QLatin1String("key")) field.key = value;
    else if (name == QLatin1String("order")) field.order = value;
    else if (name == QLatin1String("dataoption") && IsOneOf(value, {"xlSortNormal", "0"})) field.data_option = value;
    else if (!(name == QLatin1String("sorton") && on_values.match(value).hasMatch()))
      return std::nullopt;  // colour sorts and custom lists have no Range.Sort form
  }
  if (field.key.isEmpty()) return std::nullopt;
  return field;
}

// Excel's sort object keeps the header, case and direction settings of the
// sheet's last sort; Range.Sort starts from its defaults. So the block must
// set all three, as the recorder does.
bool SetsEverySheetSetting(const RecorderSort& sort) {
  int set = 0;
  for (const auto& option : sort.options) {
    if (IsOneOf(option.first, {"Header", "MatchCase", "Orientation"})) ++set;
  }
  return set == 3;
}

// The With ... End With block's statements, into `sort`; false on anything
// Range.Sort cannot say.
bool ParseSortWith(const std::vector<LogicalLine>& statements, std::size_t from, RecorderSort& sort) {
  static const QRegularExpression member = VbaPattern(QStringLiteral(R"(^\s*\.\s*(\w+)\s*(=)?\s*)"));
  static const QRegularExpression end_with = VbaPattern(QStringLiteral(R"(^\s*End\s+With\s*$)"));
  for (std::size_t i = from; i < statements.size(); ++i) {
    const LogicalLine& statement = statements[i];
    if (end_with.match(statement.mask).hasMatch()) {
      sort.end_with = i;
      return sort.apply != 0 && sort.apply == i - 1 && !sort.range.isEmpty() && SetsEverySheetSetting(sort);
    }
    const auto match = member.match(statement.mask);
    if (!match.hasMatch()) return false;
    const QString name = match.captured(1).toLower();
    const QString value = statement.code.mid(match.capturedEnd()).trimmed();
    const bool assigned = match.capturedLength(2) > 0;
    if (name == QLatin1String("setrange") && !assigned) sort.range = value;
    else if (name == QLatin1String("apply") && !assigned && value.isEmpty()) sort.apply = i;
    else if (assigned && (name == QLatin1String("matchcase") || name == QLatin1String("sortmethod") ||
                          (name == QLatin1String("header") && IsOneOf(value, {"xlYes", "xlNo", "1", "2"})) ||
                          (name == QLatin1String("orientation") && IsOneOf(value, {"xlTopToBottom", "1"}))))
      sort.options.emplace_back(match.captured(1), value);
    else
      return false;
  }
  return false;
}

// The recorder's block starting at statement `clear`, when it has a Range.Sort form.
std::optional<RecorderSort> ParseRecorderSort(const std::vector<LogicalLine>& statements, std::size_t clear) {
  const auto object = SortObjectOf(statements[clear], "", R"(\s*\.\s*SortFields\s*\.\s*Clear\s*$)");
  if (!object) return std::nullopt;
  RecorderSort sort;
  std::size_t i = clear + 1;
  for (QString rest; i < statements.size(); ++i) {
    const auto added = SortObjectOf(statements[i], "", R"(\s*\.\s*SortFields\s*\.\s*Add2?\s)", &rest);
    if (!added || *added != *object) break;
    const qsizetype offset = statements[i].code.size() - rest.size();
    const auto field = ParseSortField(rest, statements[i].mask.mid(offset));
    if (!field) return std::nullopt;
    sort.keys.push_back(*field);
  }
  if (sort.keys.empty() || sort.keys.size() > kRangeSortKeys || i >= statements.size()) return std::nullopt;
  const auto with = SortObjectOf(statements[i], R"(With\s+)", R"(\s*$)");
  if (!with || *with != *object || !ParseSortWith(statements, i + 1, sort)) return std::nullopt;
  return sort;
}

QString RangeSortStatement(const RecorderSort& sort) {
  QStringList arguments;
  for (std::size_t k = 0; k < sort.keys.size(); ++k) {
    const QString n = QString::number(k + 1);
    arguments << QStringLiteral("Key%1:=%2").arg(n, sort.keys[k].key)
              << QStringLiteral("Order%1:=%2").arg(n, sort.keys[k].order);
    if (!sort.keys[k].data_option.isEmpty())
      arguments << QStringLiteral("DataOption%1:=%2").arg(n, sort.keys[k].data_option);
  }
  for (const auto& [name, value] : sort.options) arguments << name + QStringLiteral(":=") + value;
  return sort.range + QStringLiteral(".Sort ") + arguments.join(QStringLiteral(", "));
}

}  // namespace

QString SortObjectToRangeSort(const QString& source) {
  SourceLines lines = SplitSource(source);
  const std::vector<LogicalLine> statements = LogicalLines(lines);
  for (std::size_t i = 0; i < statements.size(); ++i) {
    const auto sort = ParseRecorderSort(statements, i);
    if (!sort) continue;
    for (std::size_t s = i; s <= sort->end_with; ++s) BlankStatement(lines, statements[s]);
    // Blanking kept the .Apply line's indent.
    SourceLine& apply = lines[statements[sort->apply].first];
    apply.SetCode(apply.Code() + RangeSortStatement(*sort));
    i = sort->end_with;
  }
  return JoinSource(lines);
}

}  // namespace excel
