// CReportList: a list in columns that sorts itself when a column's header is clicked.
//
// It always shows whole rows under a header, never edits a cell, and does not listen to the space key. What
// it holds and how it sorts is console/logic/report_table.h's; selection and focus stay with their rows.
// Console thread.
#pragma once

#include <optional>
#include <QTreeView>

namespace velnor {

class ReportModel;

class CReportList : public QTreeView {
  Q_OBJECT

 public:
  explicit CReportList(QWidget* parent = nullptr);

  // The index of the new column or row, which stands at the end if the place lies beyond it, or a negative
  // number if there is no such place. The format is the heading's.
  int InsertColumn(int index, const QString& heading, Qt::Alignment format, int width);
  int InsertRow(int index, const QString& text);

  // False if there is no such cell or row.
  bool SetCellText(int row, int column, const QString& text);
  bool SetRowData(int row, qintptr number);
  bool DeleteRow(int row);
  void DeleteAllRows();

  int RowCount() const;
  QString CellText(int row, int column) const;
  qintptr RowData(int row) const;

  // The uppermost selected row, or none.
  std::optional<int> FirstSelectedRow() const;

  // Sorts by a column that exists, unless the header is hidden or takes no clicks.
  void Sort(int column, bool ascending);

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void ClickHeader(int column);
  void ShowSortMark();

  ReportModel* model_;
};

}  // namespace velnor
