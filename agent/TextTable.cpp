#include "agent/TextTable.h"

#include <algorithm>
#include <numeric>

namespace Agent {

namespace {

constexpr std::size_t kGap = 2;
constexpr std::size_t kMinColumn = 6;

bool isContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

std::size_t displayWidth(std::string const& text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return !isContinuation(c); }));
}

// The byte offset after `chars` code points of `text` (its size when it has fewer).
std::size_t offsetOf(std::string const& text, std::size_t chars) {
  std::size_t offset = 0;
  for (std::size_t seen = 0; offset < text.size(); ++offset) {
    if (!isContinuation(text[offset]) && seen++ == chars) {
      break;
    }
  }
  return offset;
}

// The cell's lines, each at most `width` code points.
std::vector<std::string> wrapped(std::string text, std::size_t width) {
  std::vector<std::string> lines;
  while (displayWidth(text) > width) {
    std::size_t cut = offsetOf(text, width);
    // A blank in the last half of the line is a better place to break than inside a word.
    auto const blank = text.rfind(' ', cut);
    bool const atBlank = blank != std::string::npos && blank >= cut / 2 && blank > 0;
    if (atBlank) {
      cut = blank;
    }
    lines.push_back(text.substr(0, cut));
    text.erase(0, atBlank ? cut + 1 : cut);
  }
  lines.push_back(text);
  return lines;
}

void appendLine(std::string& out, std::vector<std::string> const& cells,
                std::vector<std::size_t> const& widths) {
  std::string line;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    line += cells[i];
    if (i + 1 < cells.size()) {
      line.append(widths[i] - displayWidth(cells[i]) + kGap, ' ');
    }
  }
  line.erase(line.find_last_not_of(' ') + 1);
  out += line + "\n";
}

}  // namespace

TextTable::TextTable(std::vector<std::string> headers) : headers_(std::move(headers)) {}

void TextTable::rowIs(std::vector<std::string> cells) {
  cells.resize(headers_.size());
  for (auto& cell : cells) {
    std::replace_if(
        cell.begin(), cell.end(), [](char c) { return c == '\n' || c == '\t'; }, ' ');
  }
  rows_.push_back(std::move(cells));
}

std::string TextTable::render(std::size_t width) const {
  std::vector<std::size_t> widths(headers_.size());
  for (std::size_t i = 0; i < headers_.size(); ++i) {
    widths[i] = displayWidth(headers_[i]);
    for (auto const& row : rows_) {
      widths[i] = std::max(widths[i], displayWidth(row[i]));
    }
  }
  auto total = [&] {
    return std::accumulate(widths.begin(), widths.end(), std::size_t{0}) +
           kGap * (widths.size() - 1);
  };
  while (!widths.empty() && total() > width) {
    auto const widest = std::max_element(widths.begin(), widths.end());
    if (*widest <= kMinColumn) {
      break;
    }
    --*widest;
  }
  std::string out;
  auto appendRow = [&](std::vector<std::string> const& cells) {
    std::vector<std::vector<std::string>> lines;
    std::size_t height = 1;
    for (std::size_t i = 0; i < cells.size(); ++i) {
      lines.push_back(wrapped(cells[i], widths[i]));
      height = std::max(height, lines.back().size());
    }
    for (std::size_t l = 0; l < height; ++l) {
      std::vector<std::string> parts;
      for (auto const& cell : lines) {
        parts.push_back(l < cell.size() ? cell[l] : "");
      }
      appendLine(out, parts, widths);
    }
  };
  appendRow(headers_);
  std::vector<std::string> rules;
  for (auto const w : widths) {
    rules.emplace_back(w, '-');
  }
  appendLine(out, rules, widths);
  for (auto const& row : rows_) {
    appendRow(row);
  }
  return out;
}

}  // namespace Agent
