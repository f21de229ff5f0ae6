#include "platform/excel/macro_compiler.h"

#include <QRegularExpression>
#include <QStringList>
#include <algorithm>

#include <com/sun/star/document/XEmbeddedScripts.hpp>
#include <com/sun/star/frame/XComponentLoader.hpp>
#include <com/sun/star/script/XLibraryContainer.hpp>
#include <com/sun/star/script/provider/ScriptFrameworkErrorException.hpp>
#include <com/sun/star/script/provider/XScriptProviderSupplier.hpp>
#include <com/sun/star/script/vba/XVBACompatibility.hpp>
#include <com/sun/star/util/XCloseable.hpp>

#include "platform/excel/uno_objects.h"
#include "platform/excel/uno_text.h"
#include "platform/excel/vba_procedures.h"

namespace excel {
namespace {

constexpr char kLibrary[] = "TabulonCompileCheck";
constexpr char kModule[] = "Checked";
constexpr char kProbe[] = "TabulonCompiles";

QString WithProbe(const QString& source) {
  return source + QStringLiteral("\nFunction %1() As String\n  %1 = \"yes\"\nEnd Function\n").arg(QLatin1String(kProbe));
}

// The source with the lines from `first` to `last` (1-based) left empty, so
// that every other line keeps its number.
QStringList Blanked(QStringList lines, int first, int last) {
  for (int line = first; line <= last && line <= lines.size(); ++line) lines[line - 1].clear();
  return lines;
}

bool IsOption(const VbaStatement& statement) {
  static const QRegularExpression option(QStringLiteral(R"(^\s*Option\b)"), QRegularExpression::CaseInsensitiveOption);
  return option.match(statement.code).hasMatch();
}

// The first line of `statements` whose removal from `lines` lets them
// compile; a statement continued over lines goes as a whole.
std::optional<int> CulpritLine(MacroCompiler& compiler, const QStringList& lines,
                               const std::vector<VbaStatement>& statements, int next_line_after) {
  for (std::size_t i = 0; i < statements.size(); ++i) {
    const int first = statements[i].line;
    bool code = false;
    bool option = false;
    for (; i < statements.size() && statements[i].line == first; ++i) {
      code = code || !statements[i].code.isEmpty();
      option = option || IsOption(statements[i]);
    }
    const int last = i < statements.size() ? statements[i].line - 1 : next_line_after - 1;
    --i;
    if (!code || option) continue;
    if (compiler.Compiles(Blanked(lines, first, last).join(QLatin1Char('\n')))) return first;
  }
  return std::nullopt;
}

std::vector<VbaStatement> OutsideProcedures(const QString& source, const std::vector<VbaProcedure>& procedures) {
  std::vector<VbaStatement> outside;
  for (VbaStatement& statement : StatementsOf(source)) {
    const bool inside = std::any_of(procedures.begin(), procedures.end(), [&](const VbaProcedure& p) {
      return statement.line >= p.first_line && statement.line <= p.last_line;
    });
    if (!inside) outside.push_back(std::move(statement));
  }
  return outside;
}

std::optional<int> FindCulprit(MacroCompiler& compiler, const QString& source) {
  const QStringList lines = source.split(QLatin1Char('\n'));
  const auto procedures = ProceduresOf(QString(), source);
  QStringList declarations = lines;
  for (const VbaProcedure& p : procedures) declarations = Blanked(declarations, p.first_line, p.last_line);
  if (!compiler.Compiles(declarations.join(QLatin1Char('\n'))))
    return CulpritLine(compiler, declarations, OutsideProcedures(source, procedures), lines.size() + 1);
  for (const VbaProcedure& p : procedures) {
    QStringList alone = declarations;
    for (int line = p.first_line; line <= p.last_line; ++line) alone[line - 1] = lines[line - 1];
    if (compiler.Compiles(alone.join(QLatin1Char('\n')))) continue;
    if (const auto line = CulpritLine(compiler, alone, p.body, p.last_line)) return line;
    return p.first_line;
  }
  return std::nullopt;
}

}  // namespace

MacroCompiler::MacroCompiler(std::shared_ptr<OfficeSession> session) : session_(std::move(session)) {
  css::uno::Reference<css::frame::XComponentLoader> loader(session_->Desktop(), css::uno::UNO_QUERY_THROW);
  document_ = loader->loadComponentFromURL("private:factory/scalc", "_blank", 0,
                                           SequenceOf({Property("Hidden", css::uno::Any(true))}));
  css::uno::Reference<css::document::XEmbeddedScripts> scripts(document_, css::uno::UNO_QUERY_THROW);
  css::uno::Reference<css::script::XLibraryContainer> libraries(scripts->getBasicLibraries(), css::uno::UNO_QUERY_THROW);
  css::uno::Reference<css::script::vba::XVBACompatibility>(libraries, css::uno::UNO_QUERY_THROW)
      ->setVBACompatibilityMode(true);
  const auto library = rtl::OUString::createFromAscii(kLibrary);
  if (!libraries->hasByName(library)) libraries->createLibrary(library);
  libraries->loadLibrary(library);
  modules_.set(libraries->getByName(library), css::uno::UNO_QUERY_THROW);
  modules_->insertByName(rtl::OUString::createFromAscii(kModule), css::uno::Any(rtl::OUString()));
}

MacroCompiler::~MacroCompiler() {
  try {
    css::uno::Reference<css::util::XCloseable>(document_, css::uno::UNO_QUERY_THROW)->close(true);
  } catch (const css::uno::Exception&) {
    // A dead office took the document with it.
  }
}

bool MacroCompiler::Compiles(const QString& source) {
  modules_->replaceByName(rtl::OUString::createFromAscii(kModule), css::uno::Any(ToOUString(WithProbe(source))));
  css::uno::Reference<css::script::provider::XScriptProviderSupplier> supplier(document_, css::uno::UNO_QUERY_THROW);
  const QString url = QStringLiteral("vnd.sun.star.script:%1.%2.%3?language=Basic&location=document")
                          .arg(QLatin1String(kLibrary), QLatin1String(kModule), QLatin1String(kProbe));
  try {
    auto script = supplier->getScriptProvider()->getScript(ToOUString(url));
    css::uno::Sequence<sal_Int16> out_index;
    css::uno::Sequence<css::uno::Any> out;
    rtl::OUString answer;
    script->invoke({}, out_index, out) >>= answer;
    return answer == "yes";
  } catch (const css::script::provider::ScriptFrameworkErrorException&) {
    // A module the office cannot even scan has no functions to find.
    return false;
  }
}

std::optional<CompileFailure> FindCompileFailure(MacroCompiler& compiler, const QString& source) {
  if (compiler.Compiles(source)) return std::nullopt;
  CompileFailure failure;
  if (const auto line = FindCulprit(compiler, source)) {
    failure.line = *line;
    failure.text = source.section(QLatin1Char('\n'), *line - 1, *line - 1).trimmed();
  }
  return failure;
}

}  // namespace excel
