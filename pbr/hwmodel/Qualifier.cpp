#include "pbr/hwmodel/Qualifier.h"

namespace Pbr {

char const* qualifierName(Qualifier qualifier, Nwk::AddressFamily af) {
  bool const v6 = af == Nwk::AddressFamily::ipv6;
  switch (qualifier) {
    case qualDstIp:
      return "dst-ip";
    case qualSrcIp:
      return "src-ip";
    case qualProtocol:
      return v6 ? "ipv6-next-header" : "ip-protocol";
    case qualL4DstPort:
      return "l4-dst-port";
    case qualL4SrcPort:
      return "l4-src-port";
    case qualTcpControl:
      return "tcp-control";
    case qualIpLength:
      return "ip-length";
    case qualTrafficClass:
      return v6 ? "ipv6-traffic-class" : "dscp";
    case qualFragment:
      return "ip-frag";
  }
  return "unknown";
}

}  // namespace Pbr
