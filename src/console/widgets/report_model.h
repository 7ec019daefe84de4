// ReportModel: the content of a report list as a toolkit's model. Console thread.
#pragma once

#include <QAbstractTableModel>
#include <vector>

#include "console/logic/report_table.h"

namespace velnor {

class ReportModel : public QAbstractTableModel {
  Q_OBJECT

 public:
  ReportModel(DateOrder order, QObject* parent) : QAbstractTableModel(parent), table_(order) {}

  const ReportTable& Table() const { return table_; }

  // The operations of ReportTable, told to the views.
  int InsertColumn(int index, std::string_view heading, Qt::Alignment format);
  int InsertRow(int index, std::string_view text);
  bool SetCellText(int row, int column, std::string_view text);
  bool SetRowData(int row, qintptr number) { return table_.SetRowData(row, number); }
  bool DeleteRow(int row);
  void DeleteAllRows();
  void Sort(int column, bool ascending);

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

 private:
  ReportTable table_;
  std::vector<Qt::Alignment> formats_;  // of the headings
};

}  // namespace velnor
