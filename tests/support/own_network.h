// A network that nobody else hears or is heard in.
#pragma once

#if defined(_WIN32)

inline bool enter_own_network() {
    return true;  // there is none
}

#else

#include <net/if.h>
#include <net/route.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>

// For the calling thread from now on: 127.0.0.1 is there, and what goes to 239.0.0.0/8 is lost (a
// group that nobody joined). False where that takes rights the process hasn't.
inline bool enter_own_network() {
    if (unshare(CLONE_NEWNET) != 0) return false;
    char device[] = "lo";
    ifreq loopback{};
    std::strcpy(loopback.ifr_name, device);
    loopback.ifr_flags = IFF_UP | IFF_RUNNING;
    rtentry route{};
    route.rt_dev = device;
    route.rt_flags = RTF_UP;
    const sockaddr_in lost = {AF_INET, 0, {htonl(0xEF000000)}, {}};
    const sockaddr_in mask = {AF_INET, 0, {htonl(0xFF000000)}, {}};
    std::memcpy(&route.rt_dst, &lost, sizeof lost);
    std::memcpy(&route.rt_genmask, &mask, sizeof mask);
    const int control = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const bool done =
        ioctl(control, SIOCSIFFLAGS, &loopback) == 0 && ioctl(control, SIOCADDRT, &route) == 0;
    close(control);
    return done;
}

#endif
