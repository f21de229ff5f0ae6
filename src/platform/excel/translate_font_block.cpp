// The recorder writes every Font property into its With ... .Font block,
// changed or not. Those naming Excel's theme (Office theme: Text 1 is black,
// the body font is Calibri) or cell-level super- and subscript, which the
// office lacks, become what they mean.
#include "platform/excel/macro_translation_rules.h"
#include "platform/excel/vba_source_lines.h"

namespace excel {
namespace {

// The statements directly inside one With ... .Font block.
using FontBlock = std::vector<LogicalLine>;

bool Matches(const char* pattern, const QString& mask) {
  return VbaPattern(QString::fromLatin1(pattern)).match(mask).hasMatch();
}

std::vector<FontBlock> FontBlocks(const std::vector<LogicalLine>& statements) {
  std::vector<FontBlock> blocks;
  for (std::size_t i = 0; i < statements.size(); ++i) {
    if (!Matches(R"(^\s*With\s+\S.*\.\s*Font\s*$)", statements[i].mask)) continue;
    FontBlock block;
    int depth = 1;
    for (std::size_t j = i + 1; j < statements.size() && depth > 0; ++j) {
      if (Matches(R"(^\s*With\s)", statements[j].mask)) ++depth;
      else if (Matches(R"(^\s*End\s+With\b)", statements[j].mask)) --depth;
      else if (depth == 1) block.push_back(statements[j]);
    }
    blocks.push_back(block);
  }
  return blocks;
}

// Rewrites, in every font block, the statements `pattern` matches: `rewrite`
// gets the block and the line to change.
QString RewriteInFontBlocks(const QString& source, const char* pattern,
                            const std::function<void(const FontBlock&, SourceLines&, const LogicalLine&)>& rewrite) {
  SourceLines lines = SplitSource(source);
  const QRegularExpression statement_pattern = VbaPattern(QString::fromLatin1(pattern));
  for (const FontBlock& block : FontBlocks(LogicalLines(lines))) {
    for (const LogicalLine& statement : block) {
      if (statement_pattern.match(statement.mask).hasMatch()) rewrite(block, lines, statement);
    }
  }
  return JoinSource(lines);
}

void Blank(const FontBlock&, SourceLines& lines, const LogicalLine& statement) { BlankStatement(lines, statement); }

bool BlockSetsName(const FontBlock& block, const QString& name) {
  static const QRegularExpression name_statement = VbaPattern(QStringLiteral(R"re(^\s*\.\s*Name\s*=\s*"(.*)"\s*$)re"));
  for (const LogicalLine& statement : block) {
    const auto match = name_statement.match(statement.mask);
    if (match.hasMatch() &&
        statement.code.mid(match.capturedStart(1), match.capturedLength(1)).compare(name, Qt::CaseInsensitive) == 0)
      return true;
  }
  return false;
}

}  // namespace

QString FontTextColorAsBlack(const QString& source) {
  return RewriteInFontBlocks(source, R"(^\s*\.\s*ThemeColor\s*=\s*(?:xlThemeColorLight1|2)\s*$)",
                             [](const FontBlock&, SourceLines& lines, const LogicalLine& statement) {
                               BlankStatement(lines, statement);
                               SourceLine& line = lines[statement.first];
                               const QString code = statement.code;
                               const qsizetype dot = code.indexOf(QLatin1Char('.'));
                               line.SetCode(code.left(dot) + QStringLiteral(".Color = 0"));
                             });
}

// A tint of 0 leaves the colour as it is.
QString DropFontTintAndShadeZero(const QString& source) {
  return RewriteInFontBlocks(source, R"(^\s*\.\s*TintAndShade\s*=\s*0\s*$)", Blank);
}

// No theme font, or the theme's body font in a block that names it.
QString DropFontThemeFontOfItsName(const QString& source) {
  const QString none_dropped =
      RewriteInFontBlocks(source, R"(^\s*\.\s*ThemeFont\s*=\s*(?:xlThemeFontNone|0)\s*$)", Blank);
  return RewriteInFontBlocks(none_dropped, R"(^\s*\.\s*ThemeFont\s*=\s*(?:xlThemeFontMinor|2)\s*$)",
                             [](const FontBlock& block, SourceLines& lines, const LogicalLine& statement) {
                               if (BlockSetsName(block, QStringLiteral("Calibri"))) BlankStatement(lines, statement);
                             });
}

// The office has no cell-level super- or subscript, so no cell is in one
// and switching it off changes nothing.
QString DropFontScriptOff(const QString& source) {
  return RewriteInFontBlocks(source, R"(^\s*\.\s*(?:Superscript|Subscript)\s*=\s*False\s*$)", Blank);
}

}  // namespace excel
