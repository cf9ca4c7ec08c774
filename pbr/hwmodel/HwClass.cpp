#include "pbr/hwmodel/HwClass.h"

#include <algorithm>

namespace Pbr {

namespace {

template <class Filter>
bool compileAll(std::vector<Filter> const& filters, std::vector<HwEntry>& out, std::string& error) {
  out.reserve(filters.size());
  for (auto const& filter : filters) {
    error = compileEntry(filter, out.emplace_back());
    if (!error.empty()) {
      return false;
    }
  }
  return true;
}

}  // namespace

std::shared_ptr<HwClass> HwClass::compile(std::shared_ptr<ClassProgram const> const& program,
                                          std::string& error) {
  std::vector<HwEntry> entries;
  bool const ok = program->ipEntries    ? compileAll(*program->ipEntries, entries, error)
                  : program->ip6Entries ? compileAll(*program->ip6Entries, entries, error)
                                        : true;
  return ok ? std::make_shared<HwClass>(program, std::move(entries)) : nullptr;
}

HwClass::HwClass(std::shared_ptr<ClassProgram const> program, std::vector<HwEntry> entries)
    : program_(std::move(program)), entries_(std::move(entries)) {
  for (auto const& entry : entries_) {
    entry.rangeKeys(ranges_);
    qualifiers_ |= entry.qualifiers;
  }
  std::sort(ranges_.begin(), ranges_.end());
  ranges_.erase(std::unique(ranges_.begin(), ranges_.end()), ranges_.end());
}

HwClass::~HwClass() {
  if (!card_) {
    return;
  }
  card_->bank(af_).used -= static_cast<std::uint32_t>(entries_.size());
  for (auto const& key : ranges_) {
    card_->checkerRelease(key);
  }
}

void HwClass::reserve(LineCard& card, Nwk::AddressFamily af) {
  if (card_) {
    return;
  }
  card_ = &card;
  af_ = af;
  card.bank(af).used += static_cast<std::uint32_t>(entries_.size());
  for (auto const& key : ranges_) {
    card.checkerAcquire(key);
  }
}

}  // namespace Pbr
