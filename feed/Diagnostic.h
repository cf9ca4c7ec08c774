#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Feed {

// What a problem found while decoding means for the routes, from harmless to worst. The
// routing process acts on the worst of an UPDATE's diagnostics.
enum class Severity : std::uint8_t {
  // Decoded and usable; worth telling (an action without a rule field, a bit ignored as the
  // RFC says).
  note,
  // This route cannot be installed as sent (the rule model cannot carry it); the rest of the
  // UPDATE stands. A refused route never had a key, so there is nothing to withdraw.
  refuseRoute,
  // Malformed: every route the UPDATE announces is withdrawn instead (RFC 7606
  // treat-as-withdraw, which RFC 8955 applies to malformed flowspec NLRI).
  treatAsWithdraw,
  // The message cannot be walked past the fault, so routes after it cannot even be located;
  // the routing process resets the session or disables the AFI/SAFI (RFC 7606). What was
  // decoded before the fault is still reported, as withdrawals.
  sessionReset,
};

// One problem found while decoding, at an octet offset of the input that was given to the
// decoder (the message, header included when it had one; or the NLRI's first length octet).
struct Diagnostic {
  std::size_t offset = 0;
  Severity severity = Severity::note;
  std::string text;  // says what is wrong and, where one applies, the RFC rule it breaks

  // "offset 7: component type 3 after type 5; ...".
  std::string toStrep() const;
  bool operator==(Diagnostic const&) const = default;
};

// "1 octet", "2 octets": for diagnostic texts.
std::string octetsText(std::size_t count);

// The worst severity of `diagnostics`; note when there are none.
Severity worstSeverity(std::vector<Diagnostic> const& diagnostics);

}  // namespace Feed
