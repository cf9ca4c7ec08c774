#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "pbr/PolicyProgram.h"
#include "pbr/hwmodel/HwEntry.h"
#include "pbr/hwmodel/LineCard.h"

namespace Pbr {

// One class as programmed into one slot: its compiled entries, the range checkers they need,
// its action and its packet counter. Versions share it (a class kept in place across a version
// switch is the same object, counter included). Once reserved it holds its bank entries and
// checkers on its line card and gives them back when the last version or pending program that
// uses it lets go.
class HwClass {
 public:
  // Compiles the class; null with `error` set when an entry cannot be expressed.
  static std::shared_ptr<HwClass> compile(std::shared_ptr<ClassProgram const> const& program,
                                          std::string& error);

  HwClass(std::shared_ptr<ClassProgram const> program, std::vector<HwEntry> entries);
  HwClass(HwClass const&) = delete;
  HwClass& operator=(HwClass const&) = delete;
  ~HwClass();

  // Takes the class's bank entries and checkers on `card`, once.
  void reserve(LineCard& card, Nwk::AddressFamily af);

  ClassProgram const& program() const { return *program_; }
  std::vector<HwEntry> const& entries() const { return entries_; }
  // The distinct checkers its entries need.
  std::vector<RangeKey> const& ranges() const { return ranges_; }
  // Every qualifier any of its entries uses.
  QualifierSet qualifiers() const { return qualifiers_; }

  std::uint64_t packets() const { return packets_; }
  void packetCountInc() { ++packets_; }

 private:
  std::shared_ptr<ClassProgram const> program_;
  std::vector<HwEntry> entries_;
  std::vector<RangeKey> ranges_;
  QualifierSet qualifiers_ = 0;
  std::uint64_t packets_ = 0;
  LineCard* card_ = nullptr;  // set while reserved
  Nwk::AddressFamily af_ = Nwk::AddressFamily::none;
};

}  // namespace Pbr
