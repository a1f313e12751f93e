#include "tools/text_table.h"

#include <algorithm>
#include <ostream>
#include <stdexcept>
#include <utility>

namespace tools {

std::size_t count_characters(std::string_view text) {
  return static_cast<std::size_t>(
      std::ranges::count_if(text, [](char octet) { return (static_cast<unsigned char>(octet) & 0xC0U) != 0x80U; }));
}

TextTable::TextTable(std::vector<Column> columns) : columns_(std::move(columns)), rows_(1) {
  for (const Column& column : columns_) {
    rows_.front().push_back(column.heading);
  }
}

void TextTable::add(std::vector<std::string> row) {
  if (row.size() != columns_.size()) {
    throw std::logic_error("the row has another number of columns");
  }
  for (std::string& cell : row) {
    if (cell.empty()) {
      cell.push_back('-');
    }
  }
  rows_.push_back(std::move(row));
}

void TextTable::print(std::ostream& os) const {
  std::vector<std::size_t> widths(columns_.size());
  for (const auto& row : rows_) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      widths[i] = std::max(widths[i], count_characters(row[i]));
    }
  }
  for (const auto& row : rows_) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
      const std::string padding(widths[i] - count_characters(row[i]), ' ');
      line += i == 0 ? "" : "  ";
      line += columns_[i].align == Align::RIGHT ? padding + row[i] : row[i] + padding;
    }
    os << line.erase(line.find_last_not_of(' ') + 1) << '\n';
  }
}

}  // namespace tools
