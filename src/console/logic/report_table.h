// The content of the report list: columns, rows of one text a cell, and which column they were sorted by
// last.
//
// The object moves whole rows and tells in which order it moved them; selection and focus are the window's,
// which carries them along. Console thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "console/logic/report_sort.h"

namespace velnor {

class ReportTable {
 public:
  explicit ReportTable(DateOrder order = DateOrder::DAY_FIRST) : date_order_(order) {}

  int ColumnCount() const { return static_cast<int>(headings_.size()); }
  int RowCount() const { return static_cast<int>(rows_.size()); }
  const std::string& Heading(int column) const { return headings_[Index(column)]; }
  const std::string& CellText(int row, int column) const { return rows_[Index(row)].Cells[Index(column)]; }
  std::intptr_t RowData(int row) const { return rows_[Index(row)].Data; }
  int SortColumn() const { return sort_column_; }  // -1: none since the content changed
  bool SortAscending() const { return sort_ascending_; }

  // Puts a column or a row at a place, at the end if the place lies beyond it: its index, or -1 for a
  // negative place. A row begins with a text in its first column and needs one column. Rows and cells reset
  // the sort state.
  int InsertColumn(int index, std::string_view heading);
  int InsertRow(int index, std::string_view text);

  // False if there is no such cell or row. Only SetCellText resets the sort state.
  bool SetCellText(int row, int column, std::string_view text);
  bool SetRowData(int row, std::intptr_t data);
  bool DeleteRow(int row);
  void DeleteAllRows() { rows_.clear(); }

  // Sorts by a column. The old number of each row in the new order; empty if no row moved, for want of such a
  // column or of two rows. With a column that exists the sort state is set either way.
  std::vector<std::size_t> Sort(int column, bool ascending);

  // Which way a click on a column's header sorts: ascending, and the other way round on a second click.
  bool ClickAscending(int column) const { return column != sort_column_ || !sort_ascending_; }

 private:
  struct Row {
    std::vector<std::string> Cells;
    std::intptr_t Data = 0;
  };

  static std::size_t Index(int number) { return static_cast<std::size_t>(number); }
  bool HasRow(int row) const { return row >= 0 && row < RowCount(); }
  bool HasColumn(int column) const { return column >= 0 && column < ColumnCount(); }
  void ResetSort();

  const DateOrder date_order_;
  std::vector<std::string> headings_;
  std::vector<Row> rows_;
  int sort_column_ = -1;
  bool sort_ascending_ = true;
};

}  // namespace velnor
