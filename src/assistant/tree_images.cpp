#include "assistant/tree_images.h"

#include <QHash>

static void InitAssistantResources() { Q_INIT_RESOURCE(assistant); }

namespace assistant {

namespace {

QIcon LoadIcon(const QString& path) {
  static bool loaded = (InitAssistantResources(), true);
  (void)loaded;
  static QHash<QString, QIcon> icons;
  auto found = icons.find(path);
  if (found == icons.end()) found = icons.insert(path, QIcon(path));
  return *found;
}

}  // namespace

QStringList TreeImageKeys() {
  return {QStringLiteral("access"),   QStringLiteral("eye"),    QStringLiteral("openbook"),
          QStringLiteral("emptydot"), QStringLiteral("litdot"), QStringLiteral("tableX"),
          QStringLiteral("lighton"),  QStringLiteral("lightoff")};
}

QIcon TreeImage(const QString& key) {
  if (!TreeImageKeys().contains(key)) return QIcon();
  return LoadIcon(QStringLiteral(":/assistant/tree/") + key + QStringLiteral(".svg"));
}

QIcon AssistantIcon(const QString& name) {
  return LoadIcon(QStringLiteral(":/assistant/") + name + QStringLiteral(".svg"));
}

}  // namespace assistant
