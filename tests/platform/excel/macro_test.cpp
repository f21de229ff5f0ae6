#include <QFile>
#include <gtest/gtest.h>

#include <com/sun/star/container/XNameContainer.hpp>
#include <com/sun/star/document/XEmbeddedScripts.hpp>
#include <com/sun/star/script/XLibraryContainer.hpp>

#include "office_test_support.h"
#include "platform/excel/application.h"
#include "platform/excel/excel_errors.h"
#include "platform/excel/uno_objects.h"
#include "platform/excel/uno_text.h"
#include "xls_reader.h"

namespace {

QString RunError(excel::Application& app, const QString& macro) {
  try {
    app.Run(macro);
  } catch (const platform::AppError& e) {
    EXPECT_EQ(e.Number(), excel::kApplicationDefined) << e.Description().toStdString();
    return e.Description();
  }
  return QString();
}

// Gives the workbook's project one more module, as an author would in the
// macro editor: the office offers no way to write new VBA into an .xls.
void AddModule(const excel::Workbook& book, const QString& name, const QString& source) {
  namespace css = com::sun::star;
  css::uno::Reference<css::document::XEmbeddedScripts> scripts(book.State()->document, css::uno::UNO_QUERY_THROW);
  css::uno::Reference<css::script::XLibraryContainer> libraries(scripts->getBasicLibraries(), css::uno::UNO_QUERY_THROW);
  libraries->loadLibrary("VBAProject");
  css::uno::Reference<css::container::XNameContainer> modules(libraries->getByName("VBAProject"), css::uno::UNO_QUERY_THROW);
  modules->insertByName(excel::ToOUString(name), css::uno::Any(excel::ToOUString(source)));
}

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

  AddModule(clean, QStringLiteral("Failing"),
            QStringLiteral("Option VBASupport 1\nSub Boom()\n  Err.Raise 1234, , \"Landings missing\"\nEnd Sub\n"));
  const QString failed = RunError(*app, QStringLiteral("Failing.Boom"));
  EXPECT_TRUE(failed.contains("1234")) << failed.toStdString();
  EXPECT_TRUE(failed.contains("Landings missing")) << failed.toStdString();
  // The probe module that ran the macro never stays in the workbook.
  EXPECT_EQ(RunError(*app, QStringLiteral("TabulonRunProbe")).contains("cannot be found"), true);
  clean.Close();

  auto broken = app->Workbooks().Add(FixturePath("Flamingo.xls"));
  const QString uncompiled = RunError(*app, QStringLiteral("Module2.Macro2"));
  EXPECT_TRUE(uncompiled.contains("does not compile")) << uncompiled.toStdString();
  EXPECT_EQ(broken.ActiveSheet().Name(), "OIL") << "Macro2 did not run";
  broken.Close();
}
