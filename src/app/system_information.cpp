#include "app/system_information.h"

#include <QProcess>
#include <QStringList>
#include <QSysInfo>
#include <utility>

#include "app/version_info.h"

namespace app {
namespace {

// The office prints its version without starting a document window, but a
// hung installation must not hang the About box.
constexpr int kOfficeAnswerMs = 10000;

SystemInformationSource& CurrentSource() {
  static SystemInformationSource source;
  return source;
}

}  // namespace

QString OfficeVersion() {
  QProcess office;
  office.start(QStringLiteral("soffice"), {QStringLiteral("--version")});
  if (!office.waitForFinished(kOfficeAnswerMs)) {
    office.kill();
    office.waitForFinished();
    return QString();
  }
  return QString::fromLocal8Bit(office.readAllStandardOutput()).trimmed();
}

std::optional<QString> GatherSystemInformation() {
  const QString os = QSysInfo::prettyProductName();
  if (os.isEmpty()) return std::nullopt;
  const QString office = OfficeVersion();
  QStringList lines;
  lines << QStringLiteral("Operating system: ") + os + QStringLiteral(" (") + QSysInfo::kernelType() +
               QStringLiteral(" ") + QSysInfo::kernelVersion() + QStringLiteral(", ") +
               QSysInfo::currentCpuArchitecture() + QStringLiteral(")");
  lines << QStringLiteral("Qt: ") + QString::fromLatin1(qVersion());
  lines << QStringLiteral("Office: ") + (office.isEmpty() ? QStringLiteral("not found") : office);
  lines << QStringLiteral("Database engine: Tabulon Jet engine %1.%2.%3")
               .arg(TABULON_VERSION_MAJOR)
               .arg(TABULON_VERSION_MINOR)
               .arg(TABULON_VERSION_REVISION);
  return lines.join(QLatin1Char('\n'));
}

void SetSystemInformationSource(SystemInformationSource source) { CurrentSource() = std::move(source); }

std::optional<QString> SystemInformation() {
  const SystemInformationSource& source = CurrentSource();
  return source ? source() : GatherSystemInformation();
}

}  // namespace app
