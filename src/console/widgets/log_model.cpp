#include "console/widgets/log_model.h"

#include "console/widgets/text_conversion.h"

namespace velnor {

LogModel::LogModel(const LogList& list, QObject* parent)
    : QAbstractListModel(parent), list_(list), generation_(list.Generation()) {
  announced_ = static_cast<int>(list.Count());
}

bool LogModel::Follow() {
  if (generation_ != list_.Generation()) {
    beginResetModel();
    announced_ = 0;
    generation_ = list_.Generation();
    endResetModel();
  }
  const int count = static_cast<int>(list_.Count());
  if (count == announced_) return false;
  beginInsertRows({}, announced_, count - 1);
  announced_ = count;
  endInsertRows();
  return true;
}

int LogModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : announced_;
}

QVariant LogModel::data(const QModelIndex& index, int role) const {
  if (!checkIndex(index, CheckIndexOption::IndexIsValid)) return {};
  // Between the emptying of the list and the next Follow, views may still ask for rows that are gone.
  const auto row = static_cast<std::size_t>(index.row());
  if (row >= list_.Count()) return {};
  if (role == Qt::DisplayRole) return ToQString(list_.Line(row).Text);
  if (role == COLOUR_ROLE) return list_.Line(row).TextColour;
  return {};
}

}  // namespace velnor
