// The socket bindings: each wraps the call of its name in the C argument order, with addresses,
// records and sockets as plain integers, and the few constants a program needs to fill records.
#include <arpa/inet.h>
#include <netdb.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#include "core/number.h"
#include "lib/cbind.h"

namespace {
CellRef word(int64_t n) { return fromword(n); }
sockaddr *address(const Cargs &a, int i) { return a.p<sockaddr>(i); }
socklen_t length(const Cargs &a, int i) { return (socklen_t)a.n(i); }

// A send to a peer that has gone gives -1 and EPIPE, as sockets do elsewhere, instead of the
// signal that would end the editor or the runner with it.
int quiet(const Cargs &a, int i) { return a.in(i) | MSG_NOSIGNAL; }

// One function answers both names that stand for 1.
static_assert(AI_PASSIVE == 1 && SOCK_STREAM == 1);
CellRef one(const Cargs &) { return word(1); }

const Binding sockets[] = {
    {"socket", "nnn", [](const Cargs &a) { return word(socket(a.in(0), a.in(1), a.in(2))); }},
    {"bind", "nnn", [](const Cargs &a) { return word(bind(a.in(0), address(a, 1), length(a, 2))); }},
    {"connect", "nnn", [](const Cargs &a) { return word(connect(a.in(0), address(a, 1), length(a, 2))); }},
    {"listen", "nn", [](const Cargs &a) { return word(listen(a.in(0), a.in(1))); }},
    {"accept", "nnn",
     [](const Cargs &a) { return word((int32_t)accept(a.in(0), address(a, 1), a.p<socklen_t>(2))); }},
    {"getpeername", "nnn",
     [](const Cargs &a) { return word(getpeername(a.in(0), address(a, 1), a.p<socklen_t>(2))); }},
    {"shutdown", "nn", [](const Cargs &a) { return word(shutdown(a.in(0), a.in(1))); }},
    {"closesocket", "n", [](const Cargs &a) { return word(close(a.in(0))); }},
    {"send", "nsnn", [](const Cargs &a) { return word(send(a.in(0), a.p(1), (size_t)a.n(2), quiet(a, 3))); }},
    {"sendto", "nsnnnn",
     [](const Cargs &a) {
       return word((int32_t)sendto(a.in(0), a.p(1), (size_t)a.n(2), quiet(a, 3), address(a, 4), length(a, 5)));
     }},
    {"recv", "nnnn", [](const Cargs &a) { return word(recv(a.in(0), a.p(1), (size_t)a.n(2), a.in(3))); }},
    {"recvfrom", "nnnnnn",
     [](const Cargs &a) {
       return word(recvfrom(a.in(0), a.p(1), (size_t)a.n(2), a.in(3), address(a, 4), a.p<socklen_t>(5)));
     }},
    {"setsockopt", "nnnnn",
     [](const Cargs &a) { return word(setsockopt(a.in(0), a.in(1), a.in(2), a.p(3), length(a, 4))); }},
    {"gethostname", "nn", [](const Cargs &a) { return word(gethostname(a.p(0), (size_t)a.n(1))); }},
    {"getaddrinfo", "----",
     [](const Cargs &a) { return word(getaddrinfo(a.p(0), a.p(1), a.p<addrinfo>(2), a.p<addrinfo *>(3))); }},
    {"freeaddrinfo", "-", [](const Cargs &a) { return freeaddrinfo(a.p<addrinfo>(0)), done(); }},
    {"getnameinfo", "nnnnnnn",
     [](const Cargs &a) {
       return word(getnameinfo(address(a, 0), length(a, 1), a.p(2), length(a, 3), a.p(4), length(a, 5), a.in(6)));
     }},
    {"inet_ntop", "nnnn", [](const Cargs &a) { return fromaddress(inet_ntop(a.in(0), a.p(1), a.p(2), length(a, 3))); }},
    {"inet_pton", "nnn", [](const Cargs &a) { return word(inet_pton(a.in(0), a.p(1), a.p(2))); }},
    {"gai_strerror", "n", [](const Cargs &a) { return fromaddress(gai_strerror(a.in(0))); }},
    // htonl and htons give the word read as signed at its width, ntohl and ntohs read it unsigned.
    {"htonl", "n", [](const Cargs &a) { return word((int32_t)htonl((uint32_t)a.n(0))); }},
    {"htons", "n", [](const Cargs &a) { return word((int16_t)htons((uint16_t)a.n(0))); }},
    {"ntohl", "n", [](const Cargs &a) { return fromuword(ntohl((uint32_t)a.n(0))); }},
    {"ntohs", "n", [](const Cargs &a) { return fromuword(ntohs((uint16_t)a.n(0))); }},
    // The descriptor goes into the set at the address; the row declares no arguments, though.
    {"fd_set", "nn", [](const Cargs &a) { return FD_SET(a.in(0), a.p<fd_set>(1)), done(); }},
    {"addrinfo", "", [](const Cargs &) { return word(48); }},
    {"af_unspec", "", [](const Cargs &) { return word(AF_UNSPEC); }},
    {"ai_passive", "", one},
    {"sock_stream", "", one},
};
}  // namespace

void fillsockets(Builtins &table) { fillbindings(table, sockets); }
