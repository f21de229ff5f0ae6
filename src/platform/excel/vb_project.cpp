// Workbook::AddCodeModule and CodeModuleText: VBA modules written into, and
// read from, a workbook's project.
// The office saves a project into an .xls only when the document is in VBA
// mode, the project has a name, a library of that name holds the modules and
// each module is registered as a standard module.
#include <optional>

#include <com/sun/star/container/XNameContainer.hpp>
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

}  // namespace

void Workbook::AddCodeModule(const QString& name, const QString& source) {
  OfficeCall(*state_->session, [&] {
    RequireOpen(*state_);
    auto modules = ProjectModules(*state_);
    const auto module_name = ToOUString(name);
    if (modules->hasByName(module_name))
      RaiseApplicationDefined(QStringLiteral("A module named '%1' already exists.").arg(name));
    css::uno::Reference<css::script::vba::XVBAModuleInfo> info(modules, css::uno::UNO_QUERY_THROW);
    css::script::ModuleInfo standard;
    standard.ModuleType = css::script::ModuleType::NORMAL;
    info->insertModuleInfo(module_name, standard);
    QString text = source;
    if (!text.contains(QStringLiteral("Option VBASupport"), Qt::CaseInsensitive))
      text.prepend(QStringLiteral("Option VBASupport 1\n"));
    modules->insertByName(module_name, css::uno::Any(ToOUString(text)));
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
