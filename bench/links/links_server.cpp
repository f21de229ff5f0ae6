// Starts a throw-away PostgreSQL 15 cluster and keeps it up until this
// process is told to end (SIGTERM, SIGINT or SIGHUP), then stops and removes
// it. Prints three lines once the server is up: the connect string a link
// keeps (with the password), the password alone, and the folder of the
// cluster's socket (for psql -h as the superuser, which needs no password
// there).
//   links_server
#include <signal.h>

#include <cstdio>

#include "postgres_server.h"

int main() {
  sigset_t ending;
  sigemptyset(&ending);
  for (int s : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&ending, s);
  // Blocked before the server starts, so an early signal waits for sigwait
  // and the destructor still removes the cluster.
  pthread_sigmask(SIG_BLOCK, &ending, nullptr);
  testing_support::PostgresServer server;
  if (!server.Start()) {
    std::fprintf(stderr, "links_server: %s\n", server.error().c_str());
    return 1;
  }
  std::printf("%s\n%s\n%s\n", server.odbc_connect().c_str(), server.password().c_str(), server.folder().c_str());
  std::fflush(stdout);
  int received = 0;
  sigwait(&ending, &received);
  return 0;
}
