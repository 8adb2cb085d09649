#pragma once

// What the HTTP library leaves out of its reach: its sockets.
namespace kestu::sandbox::Sockets {

// A listening socket before it is bound.
void prepare(int socket);
// Lets more connections queue on a listening socket than the library asks for.
void queueMore(int socket);
// Ends this process's connections that were accepted on the port: all, or the one that came from `remotePort`.
void endConnections(int port, int remotePort = 0);

} // namespace kestu::sandbox::Sockets
