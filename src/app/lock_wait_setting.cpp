#include "app/lock_wait_setting.h"

#include "jet/database.h"
#include "platform/dao/dao.h"
#include "platform/settings/cregistry.h"

namespace app {

int ReadLockWait(const CRegistry& registry) {
  const int fallback = jet::OpenOptions{}.lock_wait_ms;
  bool isNumber = false;
  const int wait = registry.ReadRegistry(QStringLiteral("Tabulon"), QStringLiteral("LockWaitMilliseconds"))
                       .trimmed()
                       .toInt(&isNumber);
  return isNumber && wait >= 0 ? wait : fallback;
}

void ApplyLockWaitSetting(const CRegistry& registry) { dao::DBEngine::SetLockWait(ReadLockWait(registry)); }

}  // namespace app
