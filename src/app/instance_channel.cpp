#include "app/instance_channel.h"

#include <QLocalServer>
#include <QLocalSocket>

#include "platform/ui/login_name.h"

namespace app {
namespace {

constexpr int kConnectTimeoutMs = 500;

// One channel per product and user: another user's copy is not ours to raise.
QString ChannelName(const QString& productName) {
  return productName + QStringLiteral("-") + platform::LoginName();
}

}  // namespace

void ListenForActivation(QObject* owner, const QString& productName, std::function<void()> activate) {
  auto* server = new QLocalServer(owner);
  const QString name = ChannelName(productName);
  // A copy that crashed leaves its socket file behind; it must not block us.
  QLocalServer::removeServer(name);
  if (!server->listen(name)) return;
  QObject::connect(server, &QLocalServer::newConnection, server, [server, activate] {
    while (QLocalSocket* peer = server->nextPendingConnection()) {
      peer->disconnectFromServer();
      peer->deleteLater();
      activate();
    }
  });
}

bool AskRunningInstanceToActivate(const QString& productName) {
  QLocalSocket socket;
  socket.connectToServer(ChannelName(productName));
  if (!socket.waitForConnected(kConnectTimeoutMs)) return false;
  socket.disconnectFromServer();
  return true;
}

}  // namespace app
