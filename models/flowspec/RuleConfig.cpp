#include "models/flowspec/RuleConfig.h"

#include "models/flowspec/SanitizeMatchSet.h"

namespace Flowspec {

MatchCompType RuleConfig::sanitizeMatchSet() const {
  return Flowspec::sanitizeMatchSet([this](MatchCompType type) { return matchSet().find(type); },
                                    key_.af());
}

std::string RuleConfig::toStrep() const {
  std::string out = "ruleId " + std::to_string(ruleId()) + " match [";
  bool first = true;
  for (auto const& [type, component] : matchSet()) {
    out += first ? "" : ", ";
    out += component.toStrep();
    first = false;
  }
  out += "] actions " + actionFieldSet().toStrep();
  return out;
}

}  // namespace Flowspec
