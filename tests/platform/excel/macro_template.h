// Template workbooks with VBA modules, made in the office for a test as
// Excel users keep theirs: "Data" and "Summary" sheets (where the sample's
// reports place their blocks) and the given modules, saved as .xls.
#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <utility>

namespace excel {
class Application;
}

using MacroModules = QList<std::pair<QString, QString>>;  // module name, source

// The text of the error Application.Run raised (expected to be 1004), empty
// when the macro ran.
QString MacroRunError(excel::Application& app, const QString& macro);

// `sheets` names the workbook's sheets in order.
void MakeMacroTemplate(excel::Application& app, const QString& path, const MacroModules& modules,
                       const QStringList& sheets = {QStringLiteral("Data"), QStringLiteral("Summary")});

// A module whose macro Fails stops at its third line, on a member the
// office does not have.
MacroModules FailingReportModule();
extern const char kFailingReportStop[];
