#include "tests/pbr/nft/NetnsLab.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <poll.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace PbrTest {

namespace {

constexpr std::uint8_t kMacA[6] = {2, 0, 0, 0, 0, 0xa};
constexpr std::uint8_t kMacB[6] = {2, 0, 0, 0, 0, 0xb};
constexpr std::uint32_t kMarkerId = 0xfffff;

// Runs the calling thread in a namespace for the scope.
class NsScope {
 public:
  explicit NsScope(std::string const& ns) {
    own_ = ::open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
    int const target = ::open(("/run/netns/" + ns).c_str(), O_RDONLY | O_CLOEXEC);
    ok_ = own_ >= 0 && target >= 0 && ::setns(target, CLONE_NEWNET) == 0;
    if (target >= 0) {
      ::close(target);
    }
  }
  ~NsScope() {
    if (own_ >= 0) {
      (void)::setns(own_, CLONE_NEWNET);
      ::close(own_);
    }
  }
  bool ok() const { return ok_; }

 private:
  int own_ = -1;
  bool ok_ = false;
};

int packetSocket(std::string const& ns, char const* intf) {
  NsScope scope(ns);
  int const fd = ::socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, htons(ETH_P_ALL));
  sockaddr_ll addr{};
  addr.sll_family = AF_PACKET;
  addr.sll_protocol = htons(ETH_P_ALL);
  addr.sll_ifindex = static_cast<int>(if_nametoindex(intf));
  if (!scope.ok() || fd < 0 || addr.sll_ifindex == 0 ||
      ::bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0) {
    if (fd >= 0) {
      ::close(fd);
    }
    return -1;
  }
  return fd;
}

void put16(std::vector<std::uint8_t>& out, std::size_t at, std::uint32_t value) {
  out[at] = static_cast<std::uint8_t>(value >> 8);
  out[at + 1] = static_cast<std::uint8_t>(value);
}

std::uint32_t sum(std::uint8_t const* data, std::size_t size, std::uint32_t acc = 0) {
  for (std::size_t i = 0; i + 1 < size; i += 2) {
    acc += std::uint32_t{data[i]} << 8 | data[i + 1];
  }
  if (size % 2) {
    acc += std::uint32_t{data[size - 1]} << 8;
  }
  return acc;
}

std::uint16_t fold(std::uint32_t acc) {
  while (acc >> 16) {
    acc = (acc & 0xffff) + (acc >> 16);
  }
  return static_cast<std::uint16_t>(~acc);
}

}  // namespace

std::vector<std::uint8_t> frameOf(Pbr::Packet& packet, std::uint32_t id) {
  bool const v6 = packet.af == Nwk::AddressFamily::ipv6;
  std::uint8_t const icmp = v6 ? 58 : 1;
  std::size_t const l4Size = packet.protocol == 6 ? 20 : 8;
  std::size_t const ipSize = v6 ? 40 + (packet.fragment ? 8 : 0) : 20;
  std::vector<std::uint8_t> out(14 + ipSize + l4Size + packet.length, 0);
  std::memcpy(out.data(), kMacB, 6);
  std::memcpy(out.data() + 6, kMacA, 6);
  put16(out, 12, v6 ? ETH_P_IPV6 : ETH_P_IP);
  std::uint8_t* ip = out.data() + 14;
  std::size_t const l4 = 14 + ipSize;
  std::size_t const l4Len = out.size() - l4;
  if (v6) {
    std::uint32_t const word = 6u << 28 | std::uint32_t{packet.trafficClass} << 20 | (id & 0xfffff);
    put16(out, 14, word >> 16);
    put16(out, 16, word & 0xffff);
    packet.length = static_cast<std::uint16_t>(out.size() - 14 - 40);
    put16(out, 18, packet.length);
    ip[6] = packet.fragment ? 44 : packet.protocol;
    ip[7] = 64;
    std::memcpy(ip + 8, packet.src.bytes().data(), 16);
    std::memcpy(ip + 24, packet.dst.bytes().data(), 16);
    if (packet.fragment) {
      ip[40] = packet.protocol;
      ip[43] = 1;  // offset 0, more fragments
    }
  } else {
    ip[0] = 0x45;
    ip[1] = packet.trafficClass;
    packet.length = static_cast<std::uint16_t>(out.size() - 14);
    put16(out, 16, packet.length);
    put16(out, 18, id & 0xffff);
    put16(out, 20, packet.fragment ? 0x2000 : 0);
    ip[8] = 64;
    ip[9] = packet.protocol;
    put16(out, 26, packet.src.v4() >> 16);
    put16(out, 28, packet.src.v4() & 0xffff);
    put16(out, 30, packet.dst.v4() >> 16);
    put16(out, 32, packet.dst.v4() & 0xffff);
    put16(out, 24, fold(sum(ip, 20)));
  }
  std::size_t csumAt = 0;
  if (packet.protocol == 6 || packet.protocol == 17) {
    put16(out, l4, packet.sport);
    put16(out, l4 + 2, packet.dport);
    if (packet.protocol == 6) {
      out[l4 + 12] = static_cast<std::uint8_t>(5 << 4 | (packet.tcpFlags >> 8 & 1));
      out[l4 + 13] = static_cast<std::uint8_t>(packet.tcpFlags);
      put16(out, l4 + 14, 1024);
      csumAt = l4 + 16;
    } else {
      put16(out, l4 + 4, l4Len);
      csumAt = l4 + 6;
    }
  } else if (packet.protocol == icmp) {
    out[l4] = packet.icmpType;
    out[l4 + 1] = packet.icmpCode;
    csumAt = l4 + 2;
  }
  if (csumAt) {
    // Pseudo header for TCP, UDP and ICMPv6; ICMP sums its own bytes only.
    std::uint32_t acc = 0;
    if (v6) {
      acc = sum(ip + 8, 32) + static_cast<std::uint32_t>(l4Len) + packet.protocol;
    } else if (packet.protocol != icmp) {
      acc = sum(ip + 12, 8) + static_cast<std::uint32_t>(l4Len) + packet.protocol;
    }
    std::uint16_t csum = fold(sum(out.data() + l4, l4Len, acc));
    if (packet.protocol == 17 && csum == 0) {
      csum = 0xffff;
    }
    put16(out, csumAt, csum);
  }
  return out;
}

bool NetnsLab::sh(std::string const& command) {
  if (std::system((command + " >/dev/null 2>&1").c_str()) == 0) {
    return true;
  }
  error_ = error_.empty() ? "\"" + command + "\" failed" : error_;
  return false;
}

NetnsLab::NetnsLab() {
  std::string const tag = "onft" + std::to_string(::getpid());
  sender_ = tag + "a";
  router_ = tag + "b";
  sink_ = tag + "c";
  std::string const a = "ip -n " + sender_ + " ";
  std::string const b = "ip -n " + router_ + " ";
  std::string const c = "ip -n " + sink_ + " ";
  std::string const bx = "ip netns exec " + router_ + " ";
  bool const up =
      sh("ip netns add " + sender_) && sh("ip netns add " + router_) &&
      sh("ip netns add " + sink_) &&
      sh(a + "link add ab address 02:00:00:00:00:0a type veth peer name ba netns " + router_ +
         " address 02:00:00:00:00:0b") &&
      sh(b + "link add bc type veth peer name cb netns " + sink_ + " address 02:00:00:00:00:0c") &&
      sh(a + "link set ab up") && sh(b + "link set ba up") && sh(b + "link set bc up") &&
      sh(c + "link set cb up") && sh(a + "addr add 10.1.0.1/24 dev ab") &&
      sh(b + "addr add 10.1.0.2/24 dev ba") && sh(b + "addr add 10.2.0.1/24 dev bc") &&
      sh(c + "addr add 10.2.0.2/24 dev cb") && sh(b + "addr add fd02::1/64 dev bc nodad") &&
      sh(b + "addr add fd01::2/64 dev ba nodad") &&
      sh(b + "neigh add 10.2.0.2 lladdr 02:00:00:00:00:0c dev bc nud permanent") &&
      sh(b + "neigh add fd02::2 lladdr 02:00:00:00:00:0c dev bc nud permanent") &&
      sh(b + "route add 10.9.0.0/16 via 10.2.0.2") && sh(b + "route add fd09::/16 via fd02::2") &&
      sh(bx +
         "sysctl -w net.ipv4.ip_forward=1 net.ipv6.conf.all.forwarding=1 "
         "net.ipv4.conf.all.rp_filter=0 net.ipv4.conf.ba.rp_filter=0");
  if (!up) {
    return;
  }
  sendFd_ = packetSocket(sender_, "ab");
  captureFd_ = packetSocket(sink_, "cb");
  // Room for every frame of a test, so that the capture itself drops none.
  int const bufferSize = 32 << 20;
  if (captureFd_ >= 0) {
    (void)::setsockopt(captureFd_, SOL_SOCKET, SO_RCVBUFFORCE, &bufferSize, sizeof bufferSize);
  }
  if (sendFd_ < 0 || captureFd_ < 0) {
    error_ = "no packet sockets in the lab's namespaces";
  }
}

NetnsLab::~NetnsLab() {
  for (int fd : {sendFd_, captureFd_}) {
    if (fd >= 0) {
      ::close(fd);
    }
  }
  for (auto const& ns : {sender_, router_, sink_}) {
    std::system(("ip netns del " + ns + " >/dev/null 2>&1").c_str());
  }
}

void NetnsLab::send(Pbr::Packet const& packet, std::uint32_t id) {
  Pbr::Packet copy = packet;
  auto const frame = frameOf(copy, id);
  (void)::send(sendFd_, frame.data(), frame.size(), 0);
}

std::vector<Arrival> NetnsLab::drain() {
  Pbr::Packet marker;
  marker.dst = Nwk::IpGenAddr::ipv4(0x0a020002);  // C itself: matched by no test class
  marker.src = Nwk::IpGenAddr::ipv4(0x0a010001);
  marker.protocol = 17;
  send(marker, kMarkerId);
  std::vector<Arrival> out;
  std::uint8_t buf[2048];
  // The poll bound only guards against a marker that never comes; it is not a measurement.
  pollfd pfd{captureFd_, POLLIN, 0};
  while (::poll(&pfd, 1, 5000) > 0) {
    sockaddr_ll from{};
    socklen_t fromLen = sizeof from;
    ssize_t const n =
        ::recvfrom(captureFd_, buf, sizeof buf, 0, reinterpret_cast<sockaddr*>(&from), &fromLen);
    if (n < 14 + 20 || from.sll_pkttype == PACKET_OUTGOING) {
      continue;
    }
    std::uint16_t const type = static_cast<std::uint16_t>(buf[12] << 8 | buf[13]);
    Arrival arrival;
    if (type == ETH_P_IP) {
      arrival.id = static_cast<std::uint32_t>(buf[18] << 8 | buf[19]);
      arrival.trafficClass = buf[15];
      if (arrival.id == (kMarkerId & 0xffff) && buf[30] == 10 && buf[33] == 2) {
        return out;
      }
    } else if (type == ETH_P_IPV6) {
      arrival.id = static_cast<std::uint32_t>((buf[15] & 0xf) << 16 | buf[16] << 8 | buf[17]);
      arrival.trafficClass = static_cast<std::uint8_t>((buf[14] & 0xf) << 4 | buf[15] >> 4);
    } else {
      continue;
    }
    out.push_back(arrival);
  }
  return out;
}

}  // namespace PbrTest
