#pragma once

#include <functional>

#include "models/flowspec/MatchComponent.h"
#include "platform/nwk/AddressFamily.h"

namespace Flowspec {

// Checks a digested match set for combinations that the ACL translation cannot express
// exactly, so that a rule is either translated into entries that accept exactly its packets or
// refused. Returns 0 when the set is consistent, else the type of the offending component.
//
// The translation works component by component on ACL filters: ICMP type and code set the
// protocol to ICMP (1, or 58 for IPv6) with a full mask, overwriting what a protocol component
// set; TCP flags set protocol 6 likewise and can test FIN to URG only; on IPv4 the only fragment
// test is "is a fragment"; port conditions match TCP and UDP packets only. Refused:
//  1. a prefix of another family than the rule's (1 or 2);
//  2. ICMP type or code with a protocol component that excludes the family's ICMP protocol (7,
//     or 8 without a type): the translation would match ICMP anyway;
//  3. ICMP type or code with a port component (7 or 8): ICMP packets have no ports;
//  4. TCP flags with a protocol component that excludes 6 (9): it would match TCP anyway;
//  5. TCP flags with ICMP type or code (9): a packet cannot be both;
//  6. TCP flags mixing tests of FIN to URG with tests of ECE, CWR or NS (9): the translation
//     would drop the latter alone and accept fewer packets; a component whose tests are all
//     inexpressible is left to the translation, which reports it unsupported;
//  7. on IPv4, a fragment component mixing the is-fragment test with other tests (12), for
//     the same reason;
//  8. a flow label on IPv4 (13): the field exists for IPv6 only.
MatchCompType sanitizeMatchSet(MatchSet const& matchSet, Nwk::AddressFamily af);

// The same check over any store of components: `find` gives the component of a type, or null.
using ComponentFinder = std::function<MatchComponent const*(MatchCompType)>;
MatchCompType sanitizeMatchSet(ComponentFinder const& find, Nwk::AddressFamily af);

}  // namespace Flowspec
