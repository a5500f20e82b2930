// A network that nobody else is in, and that can be cut.
#pragma once

#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>

// From its making on, the calling thread and the programs that it starts have a loopback of their
// own; what was there before isn't reached any more. Threads that were there stay where they are.
class OwnNetwork {
 public:
  OwnNetwork()
      : isMade(::unshare(CLONE_NEWNET) == 0 || ::unshare(CLONE_NEWUSER | CLONE_NEWNET) == 0) {
    if (isMade) isMade = Heal();
  }

  // False where the system allows no such thing.
  [[nodiscard]] bool IsMade() const { return isMade; }

  // Cut: nothing arrives, and nobody is told; what is sent meanwhile comes late or never.
  [[nodiscard]] static bool Cut() { return SetLoopback(false); }
  [[nodiscard]] static bool Heal() { return SetLoopback(true); }

 private:
  static bool SetLoopback(bool isUp) {
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq wish{};
    std::memcpy(wish.ifr_name, "lo", sizeof "lo");
    wish.ifr_flags = static_cast<short>(isUp ? IFF_UP | IFF_LOOPBACK : IFF_LOOPBACK);
    const bool isSet = ::ioctl(socket, SIOCSIFFLAGS, &wish) == 0;
    (void)::close(socket);
    return isSet;
  }

  bool isMade;
};
