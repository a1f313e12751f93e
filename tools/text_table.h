#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace tools {

/// The number of characters in a UTF-8 text, which a terminal shows side by side.
std::size_t count_characters(std::string_view text);

/// Rows of text under headings, in aligned columns.
class TextTable {
 public:
  enum class Align { LEFT, RIGHT };
  struct Column {
    std::string heading;
    Align align = Align::LEFT;
  };

  explicit TextTable(std::vector<Column> columns);

  /// A cell for each column; "-" stands for one without text. Cells contain neither line feeds nor tabs.
  void add(std::vector<std::string> row);

  /// The headings first. Lines have no trailing blanks.
  void print(std::ostream& os) const;

 private:
  std::vector<Column> columns_;
  std::vector<std::vector<std::string>> rows_;  ///< the headings are the first one
};

}  // namespace tools
