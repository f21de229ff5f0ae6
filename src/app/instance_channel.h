// How one running Tabulon finds another of the same user: the running main
// window listens on a local socket named after the product, and a starting
// copy asks through it to be shown instead. This stands in for looking up
// the other copy's top-level window by class and caption.
#pragma once

#include <QString>
#include <functional>

class QObject;

namespace app {

// Listens for as long as `owner` lives; `activate` restores and raises the
// window when another copy asks.
void ListenForActivation(QObject* owner, const QString& productName, std::function<void()> activate);

// True when a running copy took the request.
bool AskRunningInstanceToActivate(const QString& productName);

}  // namespace app
