#include "console/logic/report_sort.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "core/text.h"

namespace velnor {
namespace {

constexpr std::string_view BLANKS = " \t\r\n\v\f";

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// Takes the blanks and the sign before a number off; whether the sign is a minus.
bool TakeSign(std::string_view& text) {
  text = TextFrom(text, std::min(text.find_first_not_of(BLANKS), text.size()));
  const bool minus = text.starts_with('-');
  if (minus || text.starts_with('+')) text.remove_prefix(1);
  return minus;
}

std::optional<std::uint32_t> ReadHexadecimal(std::string_view text) {
  const bool minus = TakeSign(text);
  if (StartsWithIgnoreCase(text, "0x")) text.remove_prefix(2);
  std::uint32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, 16);
  if (error == std::errc::invalid_argument || end != text.data() + text.size()) return std::nullopt;
  if (error == std::errc::result_out_of_range) return UINT32_MAX;
  return minus ? 0U - number : number;
}

// A number beyond the range of the type counts as endless, or as zero where its exponent is negative. A word
// for a number ("nan") is text.
std::optional<double> ReadDecimal(std::string_view text) {
  if (text.ends_with('%')) text.remove_suffix(1);
  const bool minus = TakeSign(text);
  if (text.empty() || (!IsDigit(text.front()) && text.front() != '.')) return std::nullopt;
  double number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error == std::errc::invalid_argument || end != text.data() + text.size()) return std::nullopt;
  if (error == std::errc::result_out_of_range) {
    const bool tiny = LowerCase(text).find("e-") != std::string::npos;
    number = tiny ? 0 : std::numeric_limits<double>::infinity();
  }
  return minus ? -number : number;
}

template <typename T>
int Compare(const T& a, const T& b) {
  return a < b ? -1 : b < a ? 1 : 0;
}

class Quicksort {
 public:
  Quicksort(const std::vector<SortCell>& cells, bool ascending) : cells_(cells), ascending_(ascending) {
    for (std::size_t i = 0; i < cells.size(); ++i) rows_.push_back(i);
  }

  std::vector<std::size_t> Run() {
    if (rows_.size() > 1) Sort(0, static_cast<std::ptrdiff_t>(rows_.size()) - 1);
    return std::move(rows_);
  }

 private:
  int Order(std::size_t a, std::size_t b) const {
    const int order = CompareCells(cells_[a], cells_[b]);
    return ascending_ ? order : -order;
  }

  std::size_t& At(std::ptrdiff_t place) { return rows_[static_cast<std::size_t>(place)]; }

  // The two scans always stop inside the range, also where no single order exists: all decisions of a pass
  // are made against one pivot, and what one scan has passed or exchanged stops the other.
  void Sort(std::ptrdiff_t first, std::ptrdiff_t last) {
    while (first < last) {
      const std::size_t pivot = At(first + (last - first) / 2);
      std::ptrdiff_t low = first;
      std::ptrdiff_t high = last;
      while (low <= high) {
        while (Order(At(low), pivot) < 0) ++low;
        while (Order(pivot, At(high)) < 0) --high;
        if (low <= high) std::swap(At(low++), At(high--));
      }
      Sort(first, high);
      first = low;
    }
  }

  const std::vector<SortCell>& cells_;
  const bool ascending_;
  std::vector<std::size_t> rows_;
};

}  // namespace

SortCell ReadCell(std::string_view text, DateOrder order) {
  return {ReadHexadecimal(text), ReadDecimal(text), ReadDate(text, order), LowerCase(text)};
}

int CompareCells(const SortCell& a, const SortCell& b) {
  if (a.Hexadecimal && b.Hexadecimal) return Compare(*a.Hexadecimal, *b.Hexadecimal);
  if (a.Decimal && b.Decimal) return Compare(*a.Decimal, *b.Decimal);
  if (a.Date && b.Date) return Compare(*a.Date, *b.Date);
  return Compare(a.Text, b.Text);
}

std::vector<std::size_t> SortedRows(const std::vector<SortCell>& cells, bool ascending) {
  return Quicksort(cells, ascending).Run();
}

}  // namespace velnor
