// The recorder writes every Font property into its With ... .Font block,
// changed or not; some macros set them one by one (Selection.Font.X = ...).
// Those naming Excel's theme (Office theme: Text 1 is black, the body font
// is Calibri) or cell-level super- and subscript, which the office lacks,
// become what they mean.
#include <functional>

#include "platform/excel/macro_translation_rules.h"
#include "platform/excel/vba_source_lines.h"

namespace excel {
namespace {

// The statements directly inside one With ... .Font block; a statement
// setting a font's property outside a block is a block of its own.
using FontBlock = std::vector<LogicalLine>;

bool Matches(const char* pattern, const QString& mask) {
  return VbaPattern(QString::fromLatin1(pattern)).match(mask).hasMatch();
}

std::vector<FontBlock> FontBlocks(const std::vector<LogicalLine>& statements) {
  std::vector<FontBlock> blocks;
  for (std::size_t i = 0; i < statements.size(); ++i) {
    if (Matches(R"(^\s*(?!.*\b(?:Then|Else)\b)[^\s:][^:]*\.\s*Font\s*\.\s*\w+\s*=[^:]*$)", statements[i].mask)) {
      blocks.push_back({statements[i]});
      continue;
    }
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

// Rewrites, in every font block, the statements setting a property as
// `assignment` says ("TintAndShade\s*=\s*0"): `rewrite` gets the block, the
// lines and the statement, and where in its code the property's name starts.
using FontRewrite = std::function<void(const FontBlock&, SourceLines&, const LogicalLine&, qsizetype property)>;

QString RewriteFontProperty(const QString& source, const char* assignment, const FontRewrite& rewrite) {
  SourceLines lines = SplitSource(source);
  const QString property = QString::fromLatin1(assignment);
  const QRegularExpression in_block = VbaPattern(QStringLiteral(R"(^\s*\.\s*(%1)\s*$)").arg(property));
  const QRegularExpression alone = VbaPattern(QStringLiteral(R"(^\s*(?!.*\b(?:Then|Else)\b)[^\s:][^:]*\.\s*Font\s*\.\s*(%1)\s*$)").arg(property));
  for (const FontBlock& block : FontBlocks(LogicalLines(lines))) {
    for (const LogicalLine& statement : block) {
      auto match = in_block.match(statement.mask);
      if (!match.hasMatch()) match = alone.match(statement.mask);
      if (match.hasMatch()) rewrite(block, lines, statement, match.capturedStart(1));
    }
  }
  return JoinSource(lines);
}

void Blank(const FontBlock&, SourceLines& lines, const LogicalLine& statement, qsizetype) {
  BlankStatement(lines, statement);
}

bool BlockSetsName(const FontBlock& block, const QString& name) {
  static const QRegularExpression name_statement =
      VbaPattern(QStringLiteral(R"re(^\s*\.\s*Name\s*=\s*"(.*)"\s*$)re"));
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
  return RewriteFontProperty(source, R"(ThemeColor\s*=\s*(?:xlThemeColorLight1|2))",
                             [](const FontBlock&, SourceLines& lines, const LogicalLine& statement, qsizetype at) {
                               BlankStatement(lines, statement);
                               lines[statement.first].SetCode(statement.code.left(at) + QStringLiteral("Color = 0"));
                             });
}

// A tint of 0 leaves the colour as it is.
QString DropFontTintAndShadeZero(const QString& source) {
  return RewriteFontProperty(source, R"(TintAndShade\s*=\s*0)", Blank);
}

// No theme font, or the theme's body font in a block that names it.
QString DropFontThemeFontOfItsName(const QString& source) {
  const QString none_dropped = RewriteFontProperty(source, R"(ThemeFont\s*=\s*(?:xlThemeFontNone|0))", Blank);
  return RewriteFontProperty(none_dropped, R"(ThemeFont\s*=\s*(?:xlThemeFontMinor|2))",
                             [](const FontBlock& block, SourceLines& lines, const LogicalLine& statement, qsizetype) {
                               if (BlockSetsName(block, QStringLiteral("Calibri"))) BlankStatement(lines, statement);
                             });
}

// The office has no cell-level super- or subscript, so no cell is in one
// and switching it off changes nothing.
QString DropFontScriptOff(const QString& source) {
  return RewriteFontProperty(source, R"((?:Superscript|Subscript)\s*=\s*False)", Blank);
}

}  // namespace excel
