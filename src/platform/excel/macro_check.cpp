#include "platform/excel/macro_check.h"

#include <QRegularExpression>
#include <algorithm>
#include <set>
#include <tuple>

#include <com/sun/star/container/XNameContainer.hpp>
#include <com/sun/star/document/XEmbeddedScripts.hpp>
#include <com/sun/star/script/XLibraryContainer.hpp>

#include "platform/excel/application.h"
#include "platform/excel/basic_modules.h"
#include "platform/excel/macro_compiler.h"
#include "platform/excel/macro_name.h"
#include "platform/excel/macro_source.h"
#include "platform/excel/unsupported_calls.h"
#include "platform/excel/uno_objects.h"
#include "platform/excel/uno_text.h"
#include "platform/excel/vba_procedures.h"

namespace excel {
namespace {

struct ProjectModule {
  QString name;
  QString written;  // as loaded from the file
  QString source;   // as it will run: rewritten
  int hidden_lines = 0;  // the office's own lines before the user's first
};

// On import the office writes a line naming the module's type and switches
// VBA support on; Excel's editor shows neither.
int ImportHeaderLines(const QString& source) {
  const QStringList lines = source.section(QLatin1Char('\n'), 0, 1).split(QLatin1Char('\n'));
  if (lines.isEmpty() || !lines[0].startsWith(QLatin1String("Rem Attribute VBA_ModuleType="))) return 0;
  return lines.size() > 1 && lines[1].trimmed().compare(QLatin1String("Option VBASupport 1"), Qt::CaseInsensitive) == 0
             ? 2
             : 1;
}

std::vector<ProjectModule> ReadModules(WorkbookState& book) {
  std::vector<ProjectModule> project;
  ForEachBasicModule(book, [&](const BasicModule& basic) {
    ProjectModule module{basic.name, basic.source, QString(), 0};
    // The loaded copy may have been rewritten already, by a macro run.
    module.source = book.macros_rewritten ? module.written : RewriteMacroSource(module.written);
    module.hidden_lines = ImportHeaderLines(module.written);
    project.push_back(std::move(module));
  });
  return project;
}

QString LineOf(const QString& source, int line) {
  return source.section(QLatin1Char('\n'), line - 1, line - 1).trimmed();
}

std::vector<MacroFinding> CompileFindings(const std::shared_ptr<OfficeSession>& session,
                                          const std::vector<ProjectModule>& project) {
  std::vector<MacroFinding> findings;
  if (project.empty()) return findings;
  MacroCompiler compiler(session);
  for (const ProjectModule& module : project) {
    const auto failure = FindCompileFailure(compiler, module.source);
    if (!failure) continue;
    MacroFinding finding;
    finding.kind = MacroFinding::Kind::kModuleDoesNotCompile;
    finding.module = module.name;
    if (failure->line > 0) {
      finding.line = failure->line - module.hidden_lines;
      finding.code = LineOf(module.written, failure->line);
      finding.advice = CompileFailureAdvice(finding.code);
    }
    findings.push_back(finding);
  }
  return findings;
}

MacroFinding Missing(const QString& macro) {
  MacroFinding finding;
  finding.kind = MacroFinding::Kind::kMacroMissing;
  finding.macro = macro;
  return finding;
}

const VbaProcedure* FindNamed(const std::vector<VbaProcedure>& procedures, const MacroName& name) {
  for (const VbaProcedure& procedure : procedures) {
    if (procedure.name.compare(name.procedure, Qt::CaseInsensitive) == 0 &&
        (name.module.isEmpty() || procedure.module.compare(name.module, Qt::CaseInsensitive) == 0))
      return &procedure;
  }
  return nullptr;
}

const ProjectModule& ModuleNamed(const std::vector<ProjectModule>& project, const QString& name) {
  return *std::find_if(project.begin(), project.end(), [&](const ProjectModule& m) { return m.name == name; });
}

// The lines of the named macro that every run of it reaches, read in the
// source as the user wrote it: the rewriting adds error handling of its
// own, which does not keep a failing call from failing.
std::set<int> LinesAlwaysReached(const ProjectModule& module, const QString& procedure) {
  std::set<int> lines;
  for (const VbaProcedure& written : ProceduresOf(module.name, module.written)) {
    if (written.name.compare(procedure, Qt::CaseInsensitive) != 0) continue;
    for (const VbaStatement& statement : written.body) {
      if (statement.always_reached) lines.insert(statement.line);
    }
  }
  return lines;
}

void AddCallFindings(const QString& macro, const VbaProcedure& start, const std::vector<VbaProcedure>& procedures,
                     const std::vector<ProjectModule>& project, std::vector<MacroFinding>& findings) {
  const std::set<int> certain_lines = LinesAlwaysReached(ModuleNamed(project, start.module), start.name);
  for (const VbaProcedure* procedure : ReachableFrom(procedures, start)) {
    const ProjectModule& module = ModuleNamed(project, procedure->module);
    for (const VbaStatement& statement : procedure->body) {
      for (const UnsupportedCall& call : UnsupportedCalls()) {
        if (!call.pattern.match(call.in_texts ? statement.code : statement.resolved).hasMatch()) continue;
        MacroFinding finding;
        finding.macro = macro;
        finding.module = module.name;
        finding.line = statement.line - module.hidden_lines;
        finding.code = LineOf(module.written, statement.line);
        finding.call = call.call;
        finding.advice = call.advice;
        finding.differs = !call.fails;
        finding.certain = call.fails && procedure == &start && certain_lines.count(statement.line) > 0;
        findings.push_back(finding);
      }
    }
  }
}

// The same call reached from two named macros is told once, for the first.
void DropRepeats(std::vector<MacroFinding>& findings) {
  std::set<std::tuple<int, QString, int, QString>> seen;
  std::erase_if(findings, [&](const MacroFinding& f) {
    const QString missing = f.kind == MacroFinding::Kind::kMacroMissing ? f.macro : QString();
    return !seen.insert({static_cast<int>(f.kind), f.module, f.line, f.call + missing}).second;
  });
}

std::vector<MacroFinding> Check(WorkbookState& book, const QStringList& macros) {
  const std::vector<ProjectModule> project = ReadModules(book);
  std::vector<MacroFinding> findings = CompileFindings(book.session, project);
  std::vector<VbaProcedure> procedures;
  for (const ProjectModule& module : project) {
    auto own = ProceduresOf(module.name, module.source);
    procedures.insert(procedures.end(), own.begin(), own.end());
  }
  for (const QString& macro : macros) {
    const auto name = ParseMacroName(macro);
    const VbaProcedure* start = name ? FindNamed(procedures, *name) : nullptr;
    if (!start) {
      findings.push_back(Missing(macro));
      continue;
    }
    AddCallFindings(macro, *start, procedures, project, findings);
  }
  DropRepeats(findings);
  return findings;
}

QString Quoted(const QString& code) { return QStringLiteral("\u201C") + code + QStringLiteral("\u201D"); }

}  // namespace

QString MacroFinding::Text() const {
  switch (kind) {
    case Kind::kMacroMissing:
      return QStringLiteral("The macro '%1' does not exist in the template.").arg(macro);
    case Kind::kModuleDoesNotCompile: {
      QString text = QStringLiteral("The module %1 does not compile").arg(module);
      if (line > 0) text += QStringLiteral(", at line %1: %2").arg(line).arg(Quoted(code));
      text += QStringLiteral(". No macro of the workbook can run until it does.");
      if (!advice.isEmpty()) text += QLatin1Char(' ') + advice;
      return text;
    }
    case Kind::kUnsupportedCall:
      break;
  }
  return QStringLiteral("Macro '%1', module %2, line %3: %4 uses %5, which the office %6%7. %8")
      .arg(macro, module)
      .arg(line)
      .arg(Quoted(code), call,
           differs ? QStringLiteral("does otherwise than Excel") : QStringLiteral("does not support"),
           certain ? QStringLiteral("; the macro will fail here") : QString(), advice);
}

std::vector<MacroFinding> CheckMacros(Workbook& book, const QStringList& macros) {
  if (macros.isEmpty()) return {};
  WorkbookState& state = *book.State();
  return OfficeCall(*state.session, [&] {
    RequireOpen(state);
    return Check(state, macros);
  });
}

std::vector<MacroFinding> CheckTemplateMacros(Application& app, const QString& template_path,
                                              const QStringList& macros) {
  if (macros.isEmpty()) return {};
  Workbook book = template_path.isEmpty() ? app.Workbooks().Add() : app.Workbooks().Add(template_path);
  std::vector<MacroFinding> findings;
  try {
    findings = CheckMacros(book, macros);
  } catch (...) {
    book.Close();
    throw;
  }
  book.Close();
  return findings;
}

bool AnyCannotRun(const std::vector<MacroFinding>& findings) {
  return std::any_of(findings.begin(), findings.end(), [](const MacroFinding& f) { return f.CannotRun(); });
}

bool AllDiffer(const std::vector<MacroFinding>& findings) {
  return std::all_of(findings.begin(), findings.end(), [](const MacroFinding& f) { return f.differs; });
}

QString FindingsText(const std::vector<MacroFinding>& findings) {
  QStringList paragraphs;
  for (const MacroFinding& finding : findings) paragraphs << finding.Text();
  return paragraphs.join(QLatin1Char('\n'));
}

}  // namespace excel
