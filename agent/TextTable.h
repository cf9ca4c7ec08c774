#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Agent {

// A table of text for a terminal: a header row, a rule under it and the rows, columns lined up
// two blanks apart, fitted into a width. When the natural widths do not fit, the widest column
// gives way first, and cells wider than their column wrap onto more lines (at a blank when one
// is near, else inside the word), so nothing is cut off. Widths count UTF-8 code points.
class TextTable {
 public:
  explicit TextTable(std::vector<std::string> headers);

  // A row of as many cells as there are headers (missing cells are empty, extra ones dropped).
  void rowIs(std::vector<std::string> cells);

  // Every line ends with a newline and holds at most `width` code points (given that each
  // column can get the minimum of a few); no line ends in a blank.
  std::string render(std::size_t width = 100) const;

 private:
  std::vector<std::string> headers_;
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace Agent
