// The recorder's conditional format, which the office has no FormatConditions
// for:
//   Selection.FormatConditions.Add Type:=xlCellValue, Operator:=xlGreater, Formula1:="=20"
//   Selection.FormatConditions(Selection.FormatConditions.Count).SetFirstPriority
//   With Selection.FormatConditions(1).Font
//     .Color = -16383844 / .Bold / .Italic / .TintAndShade = 0
//   End With
//   With Selection.FormatConditions(1).Interior
//     .PatternColorIndex = xlAutomatic / .Color = 13551615 / .TintAndShade = 0
//   End With
//   Selection.FormatConditions(1).StopIfTrue = False
// The block becomes one call, on the .Add line, of a routine added at the end
// of the module that makes the office's own conditional format: a cell style
// with the font and fill, used where the condition holds. FormatConditions
// .Delete clears the range's conditions. Conditions of other kinds (colour
// scales, data bars, top tens), formulas naming other sheets and colours by
// index are left to the macro check.
#include <optional>

#include "platform/excel/macro_translation_rules.h"
#include "platform/excel/vba_source_lines.h"

namespace excel {
namespace {

// What one recorded block says; Empty where it says nothing.
struct Condition {
  QString target, type, op, formula1, formula2 = QStringLiteral("\"\"");
  bool first = false;
  QString font_color = QStringLiteral("Empty"), bold = QStringLiteral("Empty"), italic = QStringLiteral("Empty");
  QString fill = QStringLiteral("Empty");
  std::size_t last = 0;  // the block's last statement
};

// The routines the calls go to, private to the module so that each module
// may have its own. Colours come as Excel writes them (blue, green, red from
// the high byte down); the office takes red, green, blue.
const char* const kConditionRoutines = R"(
Private Sub Tabulon_AddCondition(target, kind, op, formula1, formula2, first, fontColor, bold, italic, fill)
    Dim sheet As Object, cells As Object, styles As Object, style As Object, entries As Object
    Dim name As String, n As Long, i As Long, kept As Variant, props(4) As Object
    sheet = ThisComponent.Sheets.getByName(target.Worksheet.Name)
    cells = sheet.getCellRangeByName(target.Address(False, False))
    styles = ThisComponent.StyleFamilies.getByName("CellStyles")
    n = 1
    Do While styles.hasByName("Condition " & n)
        n = n + 1
    Loop
    name = "Condition " & n
    style = ThisComponent.createInstance("com.sun.star.style.CellStyle")
    styles.insertByName(name, style)
    If Not IsEmpty(fontColor) Then style.CharColor = Tabulon_OfficeColor(fontColor)
    If Not IsEmpty(bold) Then style.CharWeight = IIf(bold, 150, 100)
    If Not IsEmpty(italic) Then style.CharPosture = IIf(italic, com.sun.star.awt.FontSlant.ITALIC, com.sun.star.awt.FontSlant.NONE)
    If Not IsEmpty(fill) Then
        style.CellBackColor = Tabulon_OfficeColor(fill)
        style.IsCellBackgroundTransparent = False
    End If
    props(0) = Tabulon_Property("Operator", Tabulon_Operator(kind, op))
    props(1) = Tabulon_Property("Formula1", Tabulon_Formula(formula1))
    props(2) = Tabulon_Property("Formula2", Tabulon_Formula(formula2))
    props(3) = Tabulon_Property("StyleName", name)
    props(4) = Tabulon_Property("SourcePosition", cells.getCellByPosition(0, 0).CellAddress)
    entries = cells.ConditionalFormat
    kept = Array()
    If first And entries.Count > 0 Then
        ReDim kept(entries.Count - 1)
        For i = 0 To entries.Count - 1
            kept(i) = Array(Tabulon_Property("Operator", entries.getByIndex(i).Operator), _
                Tabulon_Property("Formula1", entries.getByIndex(i).Formula1), _
                Tabulon_Property("Formula2", entries.getByIndex(i).Formula2), _
                Tabulon_Property("StyleName", entries.getByIndex(i).StyleName), _
                Tabulon_Property("SourcePosition", entries.getByIndex(i).SourcePosition))
        Next i
        entries.clear()
    End If
    entries.addNew(props)
    For i = 0 To UBound(kept)
        entries.addNew(kept(i))
    Next i
    cells.ConditionalFormat = entries
End Sub

Private Sub Tabulon_ClearConditions(target)
    Dim cells As Object, entries As Object
    cells = ThisComponent.Sheets.getByName(target.Worksheet.Name).getCellRangeByName(target.Address(False, False))
    entries = cells.ConditionalFormat
    entries.clear()
    cells.ConditionalFormat = entries
End Sub

Private Function Tabulon_Property(name, value) As Object
    Dim p As Object
    p = CreateUnoStruct("com.sun.star.beans.PropertyValue")
    p.Name = name
    p.Value = value
    Tabulon_Property = p
End Function

Private Function Tabulon_OfficeColor(excelColor) As Long
    Dim c As Long
    c = excelColor And &HFFFFFF
    Tabulon_OfficeColor = (c And &HFF) * 65536 + (c And &HFF00&) + ((c \ 65536) And &HFF)
End Function

Private Function Tabulon_Formula(text) As String
    Tabulon_Formula = IIf(Left(text, 1) = "=", Mid(text, 2), text)
End Function

Private Function Tabulon_Operator(kind, op)
    If kind = 2 Then
        Tabulon_Operator = com.sun.star.sheet.ConditionOperator.FORMULA
        Exit Function
    End If
    Select Case op
        Case 1: Tabulon_Operator = com.sun.star.sheet.ConditionOperator.BETWEEN
        Case 2: Tabulon_Operator = com.sun.star.sheet.ConditionOperator.NOT_BETWEEN
        Case 3: Tabulon_Operator = com.sun.star.sheet.ConditionOperator.EQUAL
        Case 4: Tabulon_Operator = com.sun.star.sheet.ConditionOperator.NOT_EQUAL
        Case 5: Tabulon_Operator = com.sun.star.sheet.ConditionOperator.GREATER
        Case 6: Tabulon_Operator = com.sun.star.sheet.ConditionOperator.LESS
        Case 7: Tabulon_Operator = com.sun.star.sheet.ConditionOperator.GREATER_EQUAL
        Case 8: Tabulon_Operator = com.sun.star.sheet.ConditionOperator.LESS_EQUAL
    End Select
End Function
)";

// `<target>.FormatConditions<tail>` (spaces allowed around the dots): the
// target as written, and what follows in *rest.
std::optional<QString> ConditionsOf(const LogicalLine& statement, const char* head, const char* tail,
                                    QString* rest = nullptr) {
  const QRegularExpression pattern =
      VbaPattern(QStringLiteral(R"(^\s*%1(\S.*?)\s*\.\s*FormatConditions%2)").arg(QLatin1String(head), QLatin1String(tail)));
  const auto match = pattern.match(statement.mask);
  if (!match.hasMatch()) return std::nullopt;
  if (rest) *rest = statement.code.mid(match.capturedEnd());
  return statement.code.mid(match.capturedStart(1), match.capturedLength(1)).trimmed();
}

bool Same(const QString& a, const QString& b) {
  QString x = a, y = b;
  x.remove(QLatin1Char(' '));
  y.remove(QLatin1Char(' '));
  return x.compare(y, Qt::CaseInsensitive) == 0;
}

// The cell-value operators and the two kinds, by name or number.
std::optional<QString> Constant(const QString& value, std::initializer_list<std::pair<const char*, int>> known) {
  for (const auto& [name, number] : known) {
    if (value.compare(QLatin1String(name), Qt::CaseInsensitive) == 0 || value == QString::number(number))
      return QString::number(number);
  }
  return std::nullopt;
}

// A formula the office reads as Excel does: no other sheet named.
bool PlainFormula(const QString& literal) { return !literal.contains(QLatin1Char('!')); }

// Type, Operator, Formula1, Formula2 of the .Add, named or in that order.
bool ParseAdd(const QString& code, const QString& mask, Condition& c) {
  static const QRegularExpression named = VbaPattern(QStringLiteral(R"(^(\w+)\s*:=\s*)"));
  static const char* const order[] = {"type", "operator", "formula1", "formula2"};
  std::size_t position = 0;
  for (const TextSpan& span : ArgumentSpans(mask)) {
    const QString argument_mask = mask.mid(span.from, span.to - span.from);
    const auto match = named.match(argument_mask);
    QString name = match.hasMatch() ? match.captured(1).toLower() : QString();
    if (name.isEmpty()) {
      if (position >= std::size(order)) return false;
      name = QLatin1String(order[position++]);
    }
    const qsizetype skip = match.hasMatch() ? match.capturedEnd() : 0;
    const QString value = code.mid(span.from + skip, span.to - span.from - skip).trimmed();
    if (value.isEmpty()) continue;  // an argument left out: `xlExpression, , "=..."`
    if (name == QLatin1String("type")) {
      const auto type = Constant(value, {{"xlCellValue", 1}, {"xlExpression", 2}});
      if (!type) return false;
      c.type = *type;
    } else if (name == QLatin1String("operator")) {
      const auto op = Constant(value, {{"xlBetween", 1}, {"xlNotBetween", 2}, {"xlEqual", 3}, {"xlNotEqual", 4},
                                       {"xlGreater", 5}, {"xlLess", 6}, {"xlGreaterEqual", 7}, {"xlLessEqual", 8}});
      if (!op) return false;
      c.op = *op;
    } else if ((name == QLatin1String("formula1") || name == QLatin1String("formula2")) && PlainFormula(value)) {
      (name == QLatin1String("formula1") ? c.formula1 : c.formula2) = value;
    } else {
      return false;
    }
  }
  if (c.op.isEmpty()) c.op = QStringLiteral("0");
  return !c.type.isEmpty() && !c.formula1.isEmpty() && (c.type == QLatin1String("2") || c.op != QLatin1String("0"));
}

// A With block on FormatConditions(1).Font or .Interior, from statement
// `from` (the With) to its End With; the members the office can give.
bool ParseFormatWith(const std::vector<LogicalLine>& statements, std::size_t from, bool font, Condition& c) {
  static const QRegularExpression member = VbaPattern(QStringLiteral(R"(^\s*\.\s*(\w+)\s*=\s*)"));
  static const QRegularExpression end_with = VbaPattern(QStringLiteral(R"(^\s*End\s+With\s*$)"));
  for (std::size_t i = from + 1; i < statements.size(); ++i) {
    if (end_with.match(statements[i].mask).hasMatch()) {
      c.last = i;
      return true;
    }
    const auto match = member.match(statements[i].mask);
    if (!match.hasMatch()) return false;
    const QString name = match.captured(1).toLower();
    const QString value = statements[i].code.mid(match.capturedEnd()).trimmed();
    if (name == QLatin1String("color")) (font ? c.font_color : c.fill) = value;
    else if (font && name == QLatin1String("bold")) c.bold = value;
    else if (font && name == QLatin1String("italic")) c.italic = value;
    else if (name == QLatin1String("tintandshade") && value == QLatin1String("0")) continue;
    else if (!font && name == QLatin1String("patterncolorindex") && Constant(value, {{"xlAutomatic", -4105}})) continue;
    else if (!font && name == QLatin1String("pattern") && Constant(value, {{"xlSolid", 1}})) continue;
    else return false;
  }
  return false;
}

// The statements after the .Add at `add` that format the new condition.
bool ParseFollowers(const std::vector<LogicalLine>& statements, std::size_t add, Condition& c) {
  static const QRegularExpression with_format = VbaPattern(QStringLiteral(R"(^\s*\(\s*1\s*\)\s*\.\s*(Font|Interior)\s*$)"));
  static const QRegularExpression stop_if_true = VbaPattern(QStringLiteral(R"(^\s*\(\s*1\s*\)\s*\.\s*StopIfTrue\s*=\s*False\s*$)"));
  c.last = add;
  for (std::size_t i = add + 1; i < statements.size(); ++i) {
    QString rest;
    if (const auto t = ConditionsOf(statements[i], "", R"(\s*\(\s*(\S.*?)\s*\.\s*FormatConditions\s*\.\s*Count\s*\)\s*\.\s*SetFirstPriority\s*$)");
        t && Same(*t, c.target)) {
      c.first = true;
      c.last = i;
    } else if (const auto w = ConditionsOf(statements[i], R"(With\s+)", "", &rest); w && Same(*w, c.target) && c.first) {
      const auto match = with_format.match(rest);
      if (!match.hasMatch()) return true;  // not ours: the block ends before it
      if (!ParseFormatWith(statements, i, match.captured(1).compare(QLatin1String("Font"), Qt::CaseInsensitive) == 0, c))
        return false;
      i = c.last;
    } else if (const auto s = ConditionsOf(statements[i], "", "", &rest);
               s && Same(*s, c.target) && c.first && stop_if_true.match(rest).hasMatch()) {
      c.last = i;
    } else {
      return true;
    }
  }
  return true;
}

std::optional<Condition> ParseCondition(const std::vector<LogicalLine>& statements, std::size_t add) {
  QString rest;
  const auto target = ConditionsOf(statements[add], "", R"(\s*\.\s*Add\s)", &rest);
  if (!target) return std::nullopt;
  Condition c;
  c.target = *target;
  const qsizetype offset = statements[add].code.size() - rest.size();
  if (!ParseAdd(rest, statements[add].mask.mid(offset), c) || !ParseFollowers(statements, add, c)) return std::nullopt;
  return c;
}

QString AddConditionCall(const Condition& c) {
  return QStringLiteral("Tabulon_AddCondition %1, %2, %3, %4, %5, %6, %7, %8, %9, %10")
      .arg(c.target, c.type, c.op, c.formula1, c.formula2, c.first ? QStringLiteral("True") : QStringLiteral("False"),
           c.font_color, c.bold, c.italic)
      .arg(c.fill);
}

}  // namespace

QString FormatConditionsAsConditionalFormats(const QString& source) {
  SourceLines lines = SplitSource(source);
  const std::vector<LogicalLine> statements = LogicalLines(lines);
  bool translated = false;
  for (std::size_t i = 0; i < statements.size(); ++i) {
    SourceLine& first = lines[statements[i].first];
    const QString indent = first.Indent();
    if (const auto cleared = ConditionsOf(statements[i], "", R"(\s*\.\s*Delete\s*$)")) {
      BlankStatement(lines, statements[i]);
      first.SetCode(indent + QStringLiteral("Tabulon_ClearConditions ") + *cleared);
      translated = true;
      continue;
    }
    const auto condition = ParseCondition(statements, i);
    if (!condition) continue;
    for (std::size_t s = i; s <= condition->last; ++s) BlankStatement(lines, statements[s]);
    first.SetCode(indent + AddConditionCall(*condition));
    translated = true;
    i = condition->last;
  }
  QString out = JoinSource(lines);
  if (translated) out += QString::fromLatin1(kConditionRoutines);
  return out;
}

}  // namespace excel
