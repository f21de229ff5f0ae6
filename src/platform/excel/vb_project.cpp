// Workbook::AddCodeModule and CodeModuleText: VBA modules written into, and
// read from, a workbook's project.
// The office saves a project into an .xls only when the document is in VBA
// mode, the project has a name, a library of that name holds the modules and
// each module is registered as a standard module.
// Excel gives every sheet a document module named by its code name, and so
// does a project written here: the office names a sheet a macro adds after
// the first module name free, which without these is Sheet1, the first
// sheet's code name, and the new sheet's object then reaches the first
// sheet. (Not the workbook's ThisWorkbook: the office would take the name
// for the module, and ThisWorkbook.Name would be "ThisWorkbook".)
#include <optional>
#include <set>
#include <vector>

#include <com/sun/star/beans/XPropertySet.hpp>
#include <com/sun/star/container/XIndexAccess.hpp>
#include <com/sun/star/container/XNameContainer.hpp>
#include <com/sun/star/lang/XMultiServiceFactory.hpp>
#include <com/sun/star/sheet/XSpreadsheetDocument.hpp>
#include <com/sun/star/document/XEmbeddedScripts.hpp>
#include <com/sun/star/script/ModuleInfo.hpp>
#include <com/sun/star/script/ModuleType.hpp>
#include <com/sun/star/script/XLibraryContainer.hpp>
#include <com/sun/star/script/vba/XVBACompatibility.hpp>
#include <com/sun/star/script/vba/XVBAModuleInfo.hpp>

#include "platform/excel/basic_modules.h"
#include "platform/excel/excel_errors.h"
#include "platform/excel/uno_objects.h"
#include "platform/excel/uno_text.h"
#include "platform/excel/workbook.h"

namespace excel {
namespace {

// Excel's name for a project nobody renamed.
constexpr char kDefaultProjectName[] = "VBAProject";

css::uno::Reference<css::container::XNameContainer> ProjectModules(WorkbookState& book) {
  css::uno::Reference<css::document::XEmbeddedScripts> scripts(book.document, css::uno::UNO_QUERY_THROW);
  css::uno::Reference<css::script::XLibraryContainer> libraries(scripts->getBasicLibraries(), css::uno::UNO_QUERY_THROW);
  css::uno::Reference<css::script::vba::XVBACompatibility> vba(libraries, css::uno::UNO_QUERY_THROW);
  vba->setVBACompatibilityMode(true);
  if (vba->getProjectName().isEmpty()) vba->setProjectName(rtl::OUString::createFromAscii(kDefaultProjectName));
  const auto project = vba->getProjectName();
  if (!libraries->hasByName(project)) libraries->createLibrary(project);
  libraries->loadLibrary(project);
  return css::uno::Reference<css::container::XNameContainer>(libraries->getByName(project), css::uno::UNO_QUERY_THROW);
}

void InsertModule(const css::uno::Reference<css::container::XNameContainer>& modules, const rtl::OUString& name,
                  const css::script::ModuleInfo& info, const QString& source) {
  css::uno::Reference<css::script::vba::XVBAModuleInfo> infos(modules, css::uno::UNO_QUERY_THROW);
  infos->insertModuleInfo(name, info);
  modules->insertByName(name, css::uno::Any(ToOUString(source)));
}

// A document module for `code_name`, tied to the object of that code name.
void InsertDocumentModule(const css::uno::Reference<css::container::XNameContainer>& modules,
                          const css::uno::Reference<css::container::XNameAccess>& objects, const rtl::OUString& code_name) {
  if (modules->hasByName(code_name)) return;
  css::script::ModuleInfo document;
  document.ModuleType = css::script::ModuleType::DOCUMENT;
  document.ModuleObject.set(objects->getByName(code_name), css::uno::UNO_QUERY);
  InsertModule(modules, code_name, document, QStringLiteral("Rem Attribute VBA_ModuleType=VBADocumentModule\nOption VBASupport 1\n"));
}

void AddDocumentModules(WorkbookState& book, const css::uno::Reference<css::container::XNameContainer>& modules) {
  css::uno::Reference<css::lang::XMultiServiceFactory> factory(book.document, css::uno::UNO_QUERY_THROW);
  css::uno::Reference<css::container::XNameAccess> objects(
      factory->createInstance(rtl::OUString::createFromAscii("ooo.vba.VBAObjectModuleObjectProvider")),
      css::uno::UNO_QUERY_THROW);
  css::uno::Reference<css::sheet::XSpreadsheetDocument> document(book.document, css::uno::UNO_QUERY_THROW);
  css::uno::Reference<css::container::XIndexAccess> sheets(document->getSheets(), css::uno::UNO_QUERY_THROW);
  const auto code_name = rtl::OUString::createFromAscii("CodeName");
  std::vector<css::uno::Reference<css::beans::XPropertySet>> unnamed;
  std::set<rtl::OUString> taken;
  for (sal_Int32 i = 0; i < sheets->getCount(); ++i) {
    css::uno::Reference<css::beans::XPropertySet> sheet(sheets->getByIndex(i), css::uno::UNO_QUERY_THROW);
    rtl::OUString name;
    sheet->getPropertyValue(code_name) >>= name;
    if (name.isEmpty()) unnamed.push_back(sheet);
    else taken.insert(name);
  }
  int next = 1;
  for (const auto& sheet : unnamed) {
    rtl::OUString name;
    do name = ToOUString(QStringLiteral("Sheet%1").arg(next++));
    while (taken.count(name) || modules->hasByName(name));
    sheet->setPropertyValue(code_name, css::uno::Any(name));
    taken.insert(name);
  }
  for (const auto& name : taken) InsertDocumentModule(modules, objects, name);
}

}  // namespace

void Workbook::AddCodeModule(const QString& name, const QString& source) {
  OfficeCall(*state_->session, [&] {
    RequireOpen(*state_);
    auto modules = ProjectModules(*state_);
    const auto module_name = ToOUString(name);
    if (modules->hasByName(module_name))
      RaiseApplicationDefined(QStringLiteral("A module named '%1' already exists.").arg(name));
    AddDocumentModules(*state_, modules);
    css::script::ModuleInfo standard;
    standard.ModuleType = css::script::ModuleType::NORMAL;
    QString text = source;
    if (!text.contains(QStringLiteral("Option VBASupport"), Qt::CaseInsensitive))
      text.prepend(QStringLiteral("Option VBASupport 1\n"));
    InsertModule(modules, module_name, standard, text);
    state_->has_macros = true;
  });
}

QString Workbook::CodeModuleText(const QString& name) const {
  return OfficeCall(*state_->session, [&] {
    RequireOpen(*state_);
    std::optional<QString> text;
    ForEachBasicModule(*state_, [&](const BasicModule& module) {
      if (!text && module.name == name) text = module.source;
    });
    if (!text) RaiseApplicationDefined(QStringLiteral("There is no module named '%1'.").arg(name));
    return *text;
  });
}

}  // namespace excel
