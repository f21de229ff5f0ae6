#include "app/odbc_mapping_setting.h"

#include "platform/dao/dao.h"
#include "platform/settings/cregistry.h"

namespace app {

std::vector<jet::OdbcMapping> ReadOdbcMappings(const CRegistry& registry) {
  std::vector<jet::OdbcMapping> mappings;
  for (int n = 1;; ++n) {
    const QString text = registry.ReadRegistry(QStringLiteral("TabulonODBC"), QStringLiteral("Map%1").arg(n)).trimmed();
    if (text.isEmpty()) return mappings;
    if (auto mapping = jet::ParseOdbcMapping(text.toStdString())) mappings.push_back(*mapping);
  }
}

void ApplyOdbcMappingSetting(const CRegistry& registry) { dao::DBEngine::SetOdbcMappings(ReadOdbcMappings(registry)); }

}  // namespace app
