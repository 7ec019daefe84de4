#include "console/logic/report_table.h"

#include <algorithm>

namespace velnor {

int ReportTable::InsertColumn(int index, std::string_view heading) {
  if (index < 0) return -1;
  index = std::min(index, ColumnCount());
  headings_.emplace(headings_.begin() + index, heading);
  for (Row& row : rows_) row.Cells.emplace(row.Cells.begin() + index);
  return index;
}

int ReportTable::InsertRow(int index, std::string_view text) {
  if (index < 0 || headings_.empty()) return -1;
  index = std::min(index, RowCount());
  Row row{.Cells = std::vector<std::string>(headings_.size())};
  row.Cells.front() = text;
  rows_.insert(rows_.begin() + index, std::move(row));
  ResetSort();
  return index;
}

bool ReportTable::SetCellText(int row, int column, std::string_view text) {
  if (!HasRow(row) || !HasColumn(column)) return false;
  rows_[Index(row)].Cells[Index(column)] = text;
  ResetSort();
  return true;
}

bool ReportTable::SetRowData(int row, std::intptr_t data) {
  if (!HasRow(row)) return false;
  rows_[Index(row)].Data = data;
  return true;
}

bool ReportTable::DeleteRow(int row) {
  if (!HasRow(row)) return false;
  rows_.erase(rows_.begin() + row);
  return true;
}

void ReportTable::ResetSort() {
  sort_column_ = -1;
  sort_ascending_ = true;
}

std::vector<std::size_t> ReportTable::Sort(int column, bool ascending) {
  if (!HasColumn(column)) return {};
  sort_column_ = column;
  sort_ascending_ = ascending;
  if (rows_.size() < 2) return {};
  std::vector<SortCell> cells;
  cells.reserve(rows_.size());
  for (const Row& row : rows_) cells.push_back(ReadCell(row.Cells[Index(column)], date_order_));
  std::vector<std::size_t> order = SortedRows(cells, ascending);
  std::vector<Row> sorted;
  sorted.reserve(rows_.size());
  for (const std::size_t old : order) sorted.push_back(std::move(rows_[old]));
  rows_.swap(sorted);
  return order;
}

}  // namespace velnor
