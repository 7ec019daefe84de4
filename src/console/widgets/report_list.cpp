#include "console/widgets/report_list.h"

#include <algorithm>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLocale>

#include "console/widgets/report_model.h"
#include "console/widgets/text_conversion.h"

namespace velnor {
namespace {

// The order in which the user's locale writes the numbers of a date.
DateOrder LocaleDateOrder() {
  const QString format = QLocale().dateFormat(QLocale::ShortFormat);
  return format.indexOf('M') < format.indexOf('d') ? DateOrder::MONTH_FIRST : DateOrder::DAY_FIRST;
}

}  // namespace

CReportList::CReportList(QWidget* parent)
    : QTreeView(parent), model_(new ReportModel(LocaleDateOrder(), this)) {
  setModel(model_);
  setRootIsDecorated(false);
  setUniformRowHeights(true);
  setAllColumnsShowFocus(true);
  setTabKeyNavigation(false);
  setEditTriggers(NoEditTriggers);
  setSelectionBehavior(SelectRows);
  setSelectionMode(ExtendedSelection);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  header()->setSectionsClickable(true);
  header()->setSectionsMovable(false);
  header()->setStretchLastSection(false);
  connect(header(), &QHeaderView::sectionClicked, this, &CReportList::ClickHeader);
}

int CReportList::InsertColumn(int index, const QString& heading, Qt::Alignment format, int width) {
  const int column = model_->InsertColumn(index, ToText(heading), format);
  if (column >= 0) setColumnWidth(column, width);
  return column;
}

int CReportList::InsertRow(int index, const QString& text) {
  const int row = model_->InsertRow(index, ToText(text));
  ShowSortMark();
  return row;
}

bool CReportList::SetCellText(int row, int column, const QString& text) {
  const bool done = model_->SetCellText(row, column, ToText(text));
  ShowSortMark();
  return done;
}

bool CReportList::SetRowData(int row, qintptr number) {
  return model_->SetRowData(row, number);
}

bool CReportList::DeleteRow(int row) {
  return model_->DeleteRow(row);
}

void CReportList::DeleteAllRows() {
  setUpdatesEnabled(false);
  model_->DeleteAllRows();
  setUpdatesEnabled(true);
}

int CReportList::RowCount() const {
  return model_->rowCount();
}

QString CReportList::CellText(int row, int column) const {
  return model_->data(model_->index(row, column), Qt::DisplayRole).toString();
}

qintptr CReportList::RowData(int row) const {
  return model_->Table().RowData(row);
}

std::optional<int> CReportList::FirstSelectedRow() const {
  std::optional<int> first;
  for (const QItemSelectionRange& range : selectionModel()->selection()) {
    first = std::min(first.value_or(range.top()), range.top());
  }
  return first;
}

void CReportList::Sort(int column, bool ascending) {
  if (isHeaderHidden() || !header()->sectionsClickable()) return;
  model_->Sort(column, ascending);
  ShowSortMark();
}

void CReportList::ClickHeader(int column) {
  Sort(column, model_->Table().ClickAscending(column));
}

void CReportList::ShowSortMark() {
  const ReportTable& table = model_->Table();
  const bool sorted = table.SortColumn() >= 0;
  if (!sorted && !header()->isSortIndicatorShown()) return;
  header()->setSortIndicatorShown(sorted);
  header()->setSortIndicator(table.SortColumn(),
                             table.SortAscending() ? Qt::AscendingOrder : Qt::DescendingOrder);
}

void CReportList::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Space) return;
  QTreeView::keyPressEvent(event);
}

}  // namespace velnor
