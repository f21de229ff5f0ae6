#include <QFile>
#include <gtest/gtest.h>

#include "macro_template.h"
#include "office_test_support.h"
#include "platform/excel/application.h"
#include "platform/excel/excel_errors.h"
#include "xls_reader.h"

namespace {

QString RunError(excel::Application& app, const QString& macro) { return MacroRunError(app, macro); }

}  // namespace

TEST(Macros, RecordedMacroOfATemplateWritesThroughTheSelection) {
  OutputFolder out;
  auto app = excel::Application::Create();
  auto book = app->Workbooks().Add(FixturePath("wmacro.xls"));
  EXPECT_TRUE(book.HasMacros());
  auto sheet = book.Worksheets().Item(QStringLiteral("Feuil1"));
  for (const char* name : {"Macro1", "Module1.Macro1", "'wmacro.xls'!Macro1", "WMACRO.XLS!module1.macro1"}) {
    sheet.Cells(2, 1).SetValue(QVariant());  // the file was saved after the macro had run
    ASSERT_EQ(RunError(*app, QString::fromLatin1(name)), QString()) << name;
    EXPECT_EQ(sheet.Cells(2, 1).Value(), QVariant(QStringLiteral("hello"))) << name;
  }
  book.SaveAs(out.File("ran.xls"));
  book.Close();
  EXPECT_EQ(ReadXls(out.File("ran.xls")).Sheet("Feuil1").Text(2, 1), "hello");
}

TEST(Macros, MissingFailingAndUncompilableMacrosAreErrorsWithTheOfficesText) {
  auto app = excel::Application::Create();
  auto clean = app->Workbooks().Add(FixturePath("calamine-vba.xls"));
  EXPECT_EQ(RunError(*app, QStringLiteral("testVBA.test")), QString()) << "the clean project runs";
  EXPECT_TRUE(RunError(*app, QStringLiteral("nosuch")).contains("cannot be found"));
  EXPECT_TRUE(RunError(*app, QStringLiteral("Module9.test")).contains("cannot be found")) << "wrong module";
  EXPECT_TRUE(RunError(*app, QStringLiteral("'Other.xls'!test")).contains("cannot be found")) << "no such workbook";

  clean.AddCodeModule(QStringLiteral("Failing"),
                      QStringLiteral("Sub Boom()\n  Err.Raise 1234, , \"Landings missing\"\nEnd Sub\n"));
  const QString failed = RunError(*app, QStringLiteral("Failing.Boom"));
  EXPECT_TRUE(failed.contains("1234")) << failed.toStdString();
  EXPECT_TRUE(failed.contains("Landings missing")) << failed.toStdString();
  // The probe module that ran the macro never stays in the workbook.
  EXPECT_EQ(RunError(*app, QStringLiteral("TabulonRunProbe")).contains("cannot be found"), true);
  clean.Close();

  // A module of our own, saved into the .xls and run from the reloaded file.
  OutputFolder out;
  auto fresh = app->Workbooks().Add();
  fresh.AddCodeModule(QStringLiteral("Totals"), QStringLiteral("Sub AddTotal()\n  Range(\"B3\").Value = 40 + 2\nEnd Sub\n"));
  EXPECT_EQ(ErrorNumberOf([&] { fresh.AddCodeModule(QStringLiteral("Totals"), QStringLiteral("Sub Other()\nEnd Sub\n")); }),
            excel::kApplicationDefined)
      << "one module per name";
  fresh.SaveAs(out.File("own.xls"));
  fresh.Close();
  auto reloaded = app->Workbooks().Add(out.File("own.xls"));
  EXPECT_TRUE(reloaded.HasMacros());
  EXPECT_EQ(RunError(*app, QStringLiteral("Totals.AddTotal")), QString());
  EXPECT_EQ(reloaded.ActiveSheet().Cells(3, 2).Value(), QVariant(42.0));
  reloaded.Close();

  auto broken = app->Workbooks().Add(FixturePath("Flamingo.xls"));
  const QString uncompiled = RunError(*app, QStringLiteral("Module2.Macro2"));
  EXPECT_TRUE(uncompiled.contains("does not compile")) << uncompiled.toStdString();
  EXPECT_EQ(broken.ActiveSheet().Name(), "OIL") << "Macro2 did not run";
  broken.Close();
}
