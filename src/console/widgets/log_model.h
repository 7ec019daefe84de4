// LogModel: the log list's lines as a toolkit's model. It keeps no line itself: it tells its views what has
// changed since it last looked at the list. Console thread.
#pragma once

#include <QAbstractListModel>

#include "console/logic/log_list.h"

namespace velnor {

class LogModel : public QAbstractListModel {
  Q_OBJECT

 public:
  // The role that gives the line's colour, as a number 0x00BBGGRR.
  static constexpr int COLOUR_ROLE = Qt::UserRole;

  LogModel(const LogList& list, QObject* parent);

  // Announces what was added to the list, or that it was emptied, since the last call. True if there was
  // anything new to show.
  bool Follow();

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;

 private:
  const LogList& list_;
  int announced_ = 0;  // rows that the views know of
  std::uint64_t generation_ = 0;
};

}  // namespace velnor
