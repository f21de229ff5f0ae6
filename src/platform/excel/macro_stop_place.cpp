#include "platform/excel/macro_stop_place.h"

#include <QRegularExpression>
#include <QStringList>
#include <algorithm>

#include "platform/excel/vba_code.h"

namespace excel {
namespace {

// The lines the office writes above an imported module's code, which the
// VBA editor does not show.
int OfficeHeaderLines(const QString& source) {
  static const QRegularExpression header(
      QStringLiteral(R"(^(?:Rem Attribute VBA_ModuleType=.*|Option VBASupport 1|Option ClassModule)\r?$)"),
      QRegularExpression::CaseInsensitiveOption);
  int count = 0;
  for (const QString& line : source.split(QLatin1Char('\n'))) {
    if (!header.match(line).hasMatch()) break;
    ++count;
  }
  return count;
}

}  // namespace

StopPlace PlaceOfStop(const std::vector<ModuleText>& modules, const QString& macro_module, const QString& procedure,
                      int office_line) {
  std::vector<const ModuleText*> order;
  for (const ModuleText& module : modules) order.push_back(&module);
  std::stable_partition(order.begin(), order.end(), [&](const ModuleText* module) {
    return module->name.compare(macro_module, Qt::CaseInsensitive) == 0;
  });
  for (const ModuleText* module : order)
    if (DefinesProcedure(module->source, procedure))
      return {procedure, module->name, office_line - OfficeHeaderLines(module->source)};
  return {procedure, QString(), office_line};
}

}  // namespace excel
