// How the report list compares two cells and sorts its rows. No state; any thread.
//
// A column sorts by value without being told what it holds: two cells are compared as hexadecimal numbers if
// both read as such, else as decimal numbers, else as dates, else as text. The choice is made pair by pair,
// so a column that mixes these has no single order, and any result that the sort reaches is right.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "console/logic/cell_date.h"

namespace velnor {

// A cell's text with all that it reads as, taken once for a sort of many comparisons.
struct SortCell {
  std::optional<std::uint32_t> Hexadecimal;  // kept at the largest number when beyond it
  std::optional<double> Decimal;             // with or without a "%" at its end
  std::optional<std::int64_t> Date;
  std::string Text;  // without regard to case
};

SortCell ReadCell(std::string_view text, DateOrder order);

// Negative, zero or positive as `a` stands before, beside or behind `b`. Turning the two round turns the sign
// round.
int CompareCells(const SortCell& a, const SortCell& b);

// The numbers of the cells in sorted order. Equal cells may stand either way.
std::vector<std::size_t> SortedRows(const std::vector<SortCell>& cells, bool ascending);

}  // namespace velnor
