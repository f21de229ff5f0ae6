// The recorder writes every page setting into its With ... .PageSetup block,
// changed or not. The office lacks some of them; where the recorded value is
// Excel's own default (no comments printed, no draft, colour, errors shown,
// one header for all pages, empty even and first page texts) it leaves the
// page as it is, and the statement goes.
#include <vector>

#include "platform/excel/macro_translation_rules.h"
#include "platform/excel/vba_source_lines.h"

namespace excel {
namespace {

// The settings as the recorder writes them at their defaults. The print
// quality is the printer's resolution, which the office takes from the
// printer it prints on.
const QString kDefaultSettings = QStringLiteral(
    R"((?:PrintComments\s*=\s*(?:xlPrintNoComments|-4142)|PrintQuality\s*=\s*\d+|Draft\s*=\s*False|)"
    R"(BlackAndWhite\s*=\s*False|PrintErrors\s*=\s*(?:xlPrintErrorsDisplayed|0)|)"
    R"((?:OddAndEvenPages|DifferentFirstPage)HeaderFooter\s*=\s*False|)"
    R"((?:ScaleWithDoc|AlignMargins)HeaderFooter\s*=\s*True|)"
    R"((?:EvenPage|FirstPage)\s*\.\s*(?:Left|Center|Right)(?:Header|Footer)\s*\.\s*Text\s*=\s*""))");

}  // namespace

QString DropPageSetupDefaults(const QString& source) {
  static const QRegularExpression with_start = VbaPattern(QStringLiteral(R"(^\s*With\s+\S)"));
  static const QRegularExpression with_page_setup = VbaPattern(QStringLiteral(R"(^\s*With\s+\S.*\bPageSetup\s*$)"));
  static const QRegularExpression with_end = VbaPattern(QStringLiteral(R"(^\s*End\s+With\b)"));
  static const QRegularExpression in_block = VbaPattern(QStringLiteral(R"(^\s*\.\s*%1\s*$)").arg(kDefaultSettings));
  static const QRegularExpression alone = VbaPattern(
      QStringLiteral(R"(^\s*(?![^:]*\b(?:Then|Else)\b)[^\s:][^:]*\bPageSetup\s*\.\s*%1\s*$)").arg(kDefaultSettings));
  SourceLines lines = SplitSource(source);
  std::vector<bool> page_setup_blocks;  // the open With blocks, innermost last
  for (const LogicalLine& statement : LogicalLines(lines)) {
    if (with_start.match(statement.mask).hasMatch()) {
      page_setup_blocks.push_back(with_page_setup.match(statement.mask).hasMatch());
    } else if (with_end.match(statement.mask).hasMatch()) {
      if (!page_setup_blocks.empty()) page_setup_blocks.pop_back();
    } else if ((!page_setup_blocks.empty() && page_setup_blocks.back() && in_block.match(statement.mask).hasMatch()) ||
               alone.match(statement.mask).hasMatch()) {
      BlankStatement(lines, statement);
    }
  }
  return JoinSource(lines);
}

}  // namespace excel
