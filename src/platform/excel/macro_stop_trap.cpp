#include "platform/excel/macro_stop_trap.h"

#include <QRegularExpression>
#include <vector>

#include "platform/excel/vba_code.h"

namespace excel {
namespace {

constexpr char kLabel[] = "TabulonStopped";
constexpr char kMark[] = "TabulonStopped|";

struct ProcedureLines {
  QString name;
  QString kind;  // Sub, Function or Property
  qsizetype header = 0;  // where its first line starts
  qsizetype end = 0;     // where its End line starts
};

std::vector<ProcedureLines> FindProcedures(const QString& code) {
  static const QRegularExpression end(QStringLiteral(R"(^[ \t]*End[ \t]+(Sub|Function|Property)\b)"),
                                      QRegularExpression::CaseInsensitiveOption | QRegularExpression::MultilineOption);
  std::vector<ProcedureLines> found;
  for (auto it = ProcedureStart().globalMatch(code); it.hasNext();) {
    const auto header = it.next();
    const auto closing = end.match(code, header.capturedEnd());
    if (!closing.hasMatch() || closing.captured(1).compare(header.captured(1), Qt::CaseInsensitive) != 0) continue;
    // A procedure written on one line has no End line of its own to hold the handler.
    if (code.mid(header.capturedStart(), closing.capturedStart() - header.capturedStart()).count('\n') == 0) continue;
    found.push_back({header.captured(2), header.captured(1), header.capturedStart(), closing.capturedStart()});
  }
  return found;
}

// Reached only by the procedure's own errors: running on to its end, as after
// a handler of the macro's own, leaves by the Exit first. The label follows
// that Exit on the same line, which the office accepts, to keep the lines.
QString Handler(const ProcedureLines& procedure) {
  return QStringLiteral(
             "Exit %1: %2: Err.Raise Err.Number, , IIf(Left(Err.Description, %3) = \"%4\", Err.Description, "
             "\"%4%5|\" & Erl & \"|\" & Err.Description): ")
      .arg(procedure.kind, QLatin1String(kLabel))
      .arg(QLatin1String(kMark).size())
      .arg(QLatin1String(kMark), procedure.name);
}

}  // namespace

QString TrapProcedureErrors(const QString& source) {
  if (!source.contains(QStringLiteral("Option VBASupport 1"), Qt::CaseInsensitive)) return source;
  if (source.contains(QLatin1String(kLabel) + QStringLiteral(": Err.Raise"))) return source;
  const QString code = CodeOnly(source);
  const auto procedures = FindProcedures(code);
  QString result = source;
  // From the last, so earlier positions stay valid.
  for (auto it = procedures.rbegin(); it != procedures.rend(); ++it) {
    qsizetype indent = it->end;
    while (result[indent] == QLatin1Char(' ') || result[indent] == QLatin1Char('\t')) ++indent;
    result.insert(indent, Handler(*it));
    const qsizetype header_end = StatementEnd(code, it->header);
    result.insert(header_end, QStringLiteral(": On Error GoTo %1").arg(QLatin1String(kLabel)));
  }
  return result;
}

QString TrappedErrorText(const QString& procedure, int office_line, const QString& text) {
  return QLatin1String(kMark) + procedure + QLatin1Char('|') + QString::number(office_line) + QLatin1Char('|') + text;
}

std::optional<TrappedError> ReadTrappedError(const QString& description) {
  static const QRegularExpression shape(QStringLiteral(R"(^%1(\w+)\|(\d+)\|(.*)$)").arg(QRegularExpression::escape(kMark)),
                                        QRegularExpression::DotMatchesEverythingOption);
  const auto match = shape.match(description);
  if (!match.hasMatch()) return std::nullopt;
  return TrappedError{match.captured(1), match.captured(2).toInt(), match.captured(3)};
}

}  // namespace excel
