#include "feed/Diagnostic.h"

#include <algorithm>

namespace Feed {

std::string Diagnostic::toStrep() const { return "offset " + std::to_string(offset) + ": " + text; }

std::string octetsText(std::size_t count) {
  return std::to_string(count) + (count == 1 ? " octet" : " octets");
}

Severity worstSeverity(std::vector<Diagnostic> const& diagnostics) {
  Severity worst = Severity::note;
  for (Diagnostic const& d : diagnostics) {
    worst = std::max(worst, d.severity);
  }
  return worst;
}

}  // namespace Feed
