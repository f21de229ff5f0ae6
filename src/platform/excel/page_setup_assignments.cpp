#include "platform/excel/page_setup_assignments.h"

#include <vector>

namespace excel {

void ForEachPageSetupAssignment(SourceLines& lines, const QString& properties,
                                const std::function<void(const PageSetupAssignment&, SourceLine&)>& rewrite) {
  const QString assignment = QStringLiteral(R"((%1)\s*=\s*(\S.*?)\s*$)").arg(properties);
  const QRegularExpression alone =
      VbaPattern(QStringLiteral(R"(^\s*([^\s.:][^:]*?)\s*\.\s*PageSetup\s*\.\s*%1)").arg(assignment));
  const QRegularExpression in_block = VbaPattern(QStringLiteral(R"(^\s*\.\s*%1)").arg(assignment));
  static const QRegularExpression with_start = VbaPattern(QStringLiteral(R"(^\s*With\s+\S)"));
  static const QRegularExpression with_page_setup =
      VbaPattern(QStringLiteral(R"(^\s*With\s+([^\s.][^:]*?)\s*\.\s*PageSetup\s*$)"));
  static const QRegularExpression with_end = VbaPattern(QStringLiteral(R"(^\s*End\s+With\b)"));
  std::vector<QString> sheets;  // the open With blocks' sheets, innermost last; empty for other blocks
  for (const LogicalLine& statement : LogicalLines(lines)) {
    if (statement.first != statement.last) continue;
    const auto code_of = [&](const QRegularExpressionMatch& m, int n) {
      return statement.code.mid(m.capturedStart(n), m.capturedLength(n));
    };
    if (const auto m = with_page_setup.match(statement.mask); m.hasMatch()) {
      sheets.push_back(code_of(m, 1));
    } else if (with_start.match(statement.mask).hasMatch()) {
      sheets.emplace_back();
    } else if (with_end.match(statement.mask).hasMatch()) {
      if (!sheets.empty()) sheets.pop_back();
    } else if (const auto m = alone.match(statement.mask); m.hasMatch()) {
      rewrite({code_of(m, 1), m.captured(2), code_of(m, 3)}, lines[statement.first]);
    } else if (const auto b = in_block.match(statement.mask); b.hasMatch() && !sheets.empty() && !sheets.back().isEmpty()) {
      rewrite({sheets.back(), b.captured(1), code_of(b, 2)}, lines[statement.first]);
    }
  }
}

}  // namespace excel
