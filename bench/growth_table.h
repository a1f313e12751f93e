#pragma once

#include <cstddef>
#include <iomanip>
#include <ostream>
#include <span>
#include <string>
#include <vector>

namespace meshd::simulation {

/// Figures of meshes of several sizes, side by side, each with its growth from one size to the next.
class GrowthTable {
 public:
  /// The same rows follow for the next size of the mesh.
  void begin_column() { next_ = 0; }

  void add(const std::string& name, int digits, double figure) {
    if (next_ == rows_.size()) {
      rows_.push_back({name, digits, {}});
    }
    rows_[next_++].figures.push_back(figure);
  }

  void print(std::ostream& os, const std::string& title, std::span<const std::size_t> sizes) const {
    os << '\n' << std::left << std::setw(44) << title << std::right;
    for (const std::size_t size : sizes) {
      os << std::setw(11) << size;
    }
    os << "   growth\n";
    for (const Row& row : rows_) {
      os << "  " << std::left << std::setw(42) << row.name << std::right << std::fixed << std::setprecision(row.digits);
      for (const double figure : row.figures) {
        os << std::setw(11) << figure;
      }
      os << "  " << std::setprecision(1);
      for (std::size_t i = 1; i < row.figures.size(); ++i) {
        if (row.figures[i - 1] > 0) {
          os << " x" << row.figures[i] / row.figures[i - 1];
        } else {
          os << " -";
        }
      }
      os << '\n';
    }
  }

 private:
  /// One figure for each size of the mesh.
  struct Row {
    std::string name;
    int digits;
    std::vector<double> figures;
  };

  std::vector<Row> rows_;
  std::size_t next_ = 0;
};

}  // namespace meshd::simulation
