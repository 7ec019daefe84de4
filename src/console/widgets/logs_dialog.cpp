#include "console/widgets/logs_dialog.h"

#include <QGroupBox>
#include <QLabel>
#include <QListWidget>
#include <QShortcut>
#include <QVBoxLayout>

#include "console/logic/log_viewer.h"
#include "console/widgets/field_widgets.h"
#include "console/widgets/text_conversion.h"

namespace velnor {
namespace {

constexpr int NAME_ROLE = Qt::UserRole;  // the file's name byte by byte, which its shown form need not keep

}  // namespace

CLogsDialog::CLogsDialog(Prompter& prompter, QWidget* parent)
    : QDialog(parent), prompter_(prompter), files_(new QListWidget(this)) {
  setWindowTitle(LOG_VIEWER_TITLE);
  for (const std::string& name : ListLogFiles()) {
    auto* const row = new QListWidgetItem(ToQString(name), files_);
    row->setData(NAME_ROLE, QByteArray::fromStdString(name));
  }
  files_->setAccessibleName("Log files");
  files_->setUniformItemSizes(true);
  HearLeftDoubleClicksOnly(*files_);
  connect(files_, &QListWidget::itemDoubleClicked, this, &CLogsDialog::OpenSelected);
  for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
    auto* const shortcut = new QShortcut(key, files_, this, &CLogsDialog::OpenSelected);
    shortcut->setContext(Qt::WidgetShortcut);
  }

  auto* const group = new QGroupBox(this);
  auto* const remark = new QLabel(LOG_VIEWER_REMARK, group);
  remark->setWordWrap(true);
  (new QVBoxLayout(group))->addWidget(remark);
  auto* const layout = new QVBoxLayout(this);
  layout->addWidget(files_, 1);
  layout->addWidget(group);
  resize(fontMetrics().horizontalAdvance('x') * 58, fontMetrics().lineSpacing() * 22);
}

void CLogsDialog::OpenSelected() {
  const QListWidgetItem* const row = files_->currentItem();
  if (row == nullptr || !row->isSelected()) return;
  OpenLogFile(prompter_, row->data(NAME_ROLE).toByteArray().toStdString());
}

}  // namespace velnor
