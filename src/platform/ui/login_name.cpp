#include "platform/ui/login_name.h"

#ifdef Q_OS_WIN
#include <QtGlobal>
#else
#include <pwd.h>
#include <unistd.h>

#include <vector>
#endif

namespace platform {
namespace {

// Room for 24 characters and the terminating NUL.
constexpr qsizetype kNameBufferSize = 25;

QByteArray ProcessOwnerName() {
#ifdef Q_OS_WIN
  return qEnvironmentVariable("USERNAME").toLocal8Bit();
#else
  // The owner, not $USER: the environment can say anything.
  long suggested = sysconf(_SC_GETPW_R_SIZE_MAX);
  std::vector<char> buffer(suggested > 0 ? static_cast<std::size_t>(suggested) : 16384);
  passwd entry{};
  passwd* found = nullptr;
  if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) return {};
  return QByteArray(found->pw_name);
#endif
}

}  // namespace

QString LoginNameFittingBuffer(const QByteArray& name) {
  const QByteArray upToNul = name.left(name.indexOf('\0') < 0 ? name.size() : name.indexOf('\0'));
  if (upToNul.size() >= kNameBufferSize) return QString();
  return QString::fromLocal8Bit(upToNul);
}

QString LoginName() { return LoginNameFittingBuffer(ProcessOwnerName()); }

}  // namespace platform
