#include "agent/HardwareLayout.h"

#include <algorithm>

namespace Agent {

std::vector<std::string> HardwareLayout::lineCards() const {
  std::vector<std::string> cards;
  if (!model) {
    return cards;
  }
  for (auto const& card : spec.lineCards) {
    if (std::find(cards.begin(), cards.end(), card.name) == cards.end()) {
      cards.push_back(card.name);
    }
  }
  if (std::find(cards.begin(), cards.end(), kDefaultLineCard) == cards.end()) {
    cards.push_back(kDefaultLineCard);
  }
  return cards;
}

std::string HardwareLayout::lineCardOf(std::string const& intf) const {
  if (!model) {
    return {};
  }
  for (auto const& card : spec.lineCards) {
    if (std::find(card.interfaces.begin(), card.interfaces.end(), intf) != card.interfaces.end()) {
      return card.name;
    }
  }
  return kDefaultLineCard;
}

}  // namespace Agent
