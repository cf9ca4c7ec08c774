// Fuzzes the rule text parser: whatever it accepts must print to a canonical text that parses
// back to the same key (equal keys, equal hashes, the same text again), and must survive the
// raw table's key encoding.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "models/flowspec/FlowspecTidalKey.h"

namespace {

[[noreturn]] void fail(char const* what, std::string const& text) {
  std::fprintf(stderr, "%s: %s\n", what, text.c_str());
  std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::string_view const text(reinterpret_cast<char const*>(data), size);
  std::string error;
  auto const key = Flowspec::FlowspecKey::parse(text, &error);
  if (!key) {
    if (error.empty()) {
      fail("refused without an error text", std::string(text));
    }
    return 0;
  }
  std::string const canonical = key->stringValue();
  auto const again = Flowspec::FlowspecKey::parse(canonical, &error);
  if (!again) {
    fail(("canonical text refused (" + error + ")").c_str(), canonical);
  }
  if (*again != *key || again->hash() != key->hash()) {
    fail("canonical text names another key", canonical);
  }
  if (again->stringValue() != canonical) {
    fail("canonical text not stable", canonical);
  }
  if (Flowspec::FlowspecTidalKey(1, *key).getFlowspecKey() != *key) {
    fail("table key round trip failed", canonical);
  }
  return 0;
}
