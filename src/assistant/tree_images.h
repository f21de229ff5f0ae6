// The pictures of the trees' nodes, by the keys the trees name them with:
// "access", "eye", "openbook", "emptydot", "litdot", "tableX", "lighton",
// "lightoff". Drawn for this program and kept in its resources.
#pragma once

#include <QIcon>
#include <QString>
#include <QStringList>

namespace assistant {

QStringList TreeImageKeys();
// An empty icon for an empty or unknown key.
QIcon TreeImage(const QString& key);
// The toolbar's and the window's pictures, by file name in the resources.
QIcon AssistantIcon(const QString& name);

}  // namespace assistant
