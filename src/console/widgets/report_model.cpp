#include "console/widgets/report_model.h"

#include <algorithm>

#include "console/widgets/text_conversion.h"

namespace velnor {

int ReportModel::InsertColumn(int index, std::string_view heading, Qt::Alignment format) {
  if (index < 0) return -1;
  index = std::min(index, table_.ColumnCount());
  beginInsertColumns({}, index, index);
  formats_.insert(formats_.begin() + index, format);
  table_.InsertColumn(index, heading);
  endInsertColumns();
  return index;
}

int ReportModel::InsertRow(int index, std::string_view text) {
  if (index < 0 || table_.ColumnCount() == 0) return -1;
  index = std::min(index, table_.RowCount());
  beginInsertRows({}, index, index);
  table_.InsertRow(index, text);
  endInsertRows();
  return index;
}

bool ReportModel::SetCellText(int row, int column, std::string_view text) {
  if (!table_.SetCellText(row, column, text)) return false;
  emit dataChanged(index(row, column), index(row, column));
  return true;
}

bool ReportModel::DeleteRow(int row) {
  if (row < 0 || row >= table_.RowCount()) return false;
  beginRemoveRows({}, row, row);
  table_.DeleteRow(row);
  endRemoveRows();
  return true;
}

void ReportModel::DeleteAllRows() {
  beginResetModel();
  table_.DeleteAllRows();
  endResetModel();
}

void ReportModel::Sort(int column, bool ascending) {
  emit layoutAboutToBeChanged({}, VerticalSortHint);
  const std::vector<std::size_t> order = table_.Sort(column, ascending);
  std::vector<int> places(order.size());
  for (std::size_t place = 0; place < order.size(); ++place) places[order[place]] = static_cast<int>(place);
  // Selection and focus are such indexes, and so go with their rows.
  if (!order.empty()) {
    const QModelIndexList from = persistentIndexList();
    QModelIndexList to;
    for (const QModelIndex& old : from) {
      to.append(index(places[static_cast<std::size_t>(old.row())], old.column()));
    }
    changePersistentIndexList(from, to);
  }
  emit layoutChanged({}, VerticalSortHint);
}

int ReportModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : table_.RowCount();
}

int ReportModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : table_.ColumnCount();
}

QVariant ReportModel::data(const QModelIndex& index, int role) const {
  if (role != Qt::DisplayRole || !index.isValid()) return {};
  return ToQString(table_.CellText(index.row(), index.column()));
}

QVariant ReportModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || section < 0 || section >= table_.ColumnCount()) return {};
  if (role == Qt::DisplayRole) return ToQString(table_.Heading(section));
  if (role == Qt::TextAlignmentRole) return formats_[static_cast<std::size_t>(section)].toInt();
  return {};
}

}  // namespace velnor
