#pragma once

#include <string>
#include <vector>

#include "feed/Diagnostic.h"

namespace FeedTest {

// Diagnostics as one text, "; " between them: what the tests compare.
inline std::string joined(std::vector<Feed::Diagnostic> const& diagnostics) {
  std::string out;
  for (Feed::Diagnostic const& d : diagnostics) {
    out += (out.empty() ? "" : "; ") + d.toStrep();
  }
  return out;
}

}  // namespace FeedTest
