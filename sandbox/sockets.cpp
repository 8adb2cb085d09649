#include "sandbox/sockets.hpp"

#include <arpa/inet.h>
#include <dirent.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdlib>
#include <memory>
#include <vector>

namespace kestu::sandbox::Sockets {

namespace {

using NameOf = int (*)(int, sockaddr*, socklen_t*);

// 0 for what is no IPv4 socket, or has no such end.
int portOf(int socket, NameOf nameOf) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  if (nameOf(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0 || address.sin_family != AF_INET) return 0;
  return ntohs(address.sin_port);
}

struct Close {
  void operator()(DIR* folder) const { closedir(folder); }
};

std::vector<int> openFiles() {
  std::vector<int> files;
  const std::unique_ptr<DIR, Close> folder(opendir("/dev/fd"));
  while (const auto* const entry = folder ? readdir(folder.get()) : nullptr) files.push_back(std::atoi(entry->d_name));
  return files;
}

} // namespace

void prepare(int socket) {
  const int on = 1;
  setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  fcntl(socket, F_SETFD, FD_CLOEXEC);
}

void queueMore(int socket) { listen(socket, 128); }

void endConnections(int port, int remotePort) {
  for (const int file : openFiles()) {
    if (portOf(file, getsockname) != port) continue;
    const int remote = portOf(file, getpeername);
    if (remote != 0 && (remotePort == 0 || remote == remotePort)) shutdown(file, SHUT_RDWR);
  }
}

} // namespace kestu::sandbox::Sockets
