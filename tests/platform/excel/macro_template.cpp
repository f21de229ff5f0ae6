#include "macro_template.h"

#include <gtest/gtest.h>

#include "platform/excel/application.h"
#include "platform/excel/excel_errors.h"

QString MacroRunError(excel::Application& app, const QString& macro) {
  try {
    app.Run(macro);
  } catch (const platform::AppError& e) {
    EXPECT_EQ(e.Number(), excel::kApplicationDefined) << e.Description().toStdString();
    return e.Description();
  }
  return QString();
}

void MakeMacroTemplate(excel::Application& app, const QString& path, const MacroModules& modules,
                       const QStringList& sheets) {
  auto book = app.Workbooks().Add();
  while (book.Worksheets().Count() < sheets.size()) book.Worksheets().Add();
  for (int i = 0; i < sheets.size(); ++i) book.Worksheets().Item(i + 1).SetName(sheets[i]);
  for (const auto& [name, source] : modules) book.AddCodeModule(name, source);
  book.SaveAs(path);
  book.Close();
}

MacroModules FailingReportModule() {
  return {{QStringLiteral("Report"), QStringLiteral("Sub Fails()\n"
                                                    "  ThisWorkbook.Worksheets(\"Data\").Range(\"A1\").Value = 1\n"
                                                    "  ThisWorkbook.Worksheets(\"Data\").Range(\"A1\").NoSuchMember = 2\n"
                                                    "End Sub\n")}};
}

const char kFailingReportStop[] =
    "The macro 'Fails' (module Report) stopped at line 3: Property or method not found: NoSuchMember. (error 423)";
