#include "console/widgets/user_list_dialog.h"

#include <QComboBox>
#include <QGridLayout>
#include <QStyle>
#include <QVBoxLayout>

#include "console/widgets/field_widgets.h"
#include "console/widgets/report_list.h"
#include "console/widgets/text_conversion.h"
#include "console/widgets/user_edit_dialog.h"

namespace velnor {
namespace {

struct Column {
  const char* Heading;
  int Percent;  // of the list's width less a scroll bar
};

constexpr Column COLUMNS[] = {{"Account", 30}, {"Name", 30}, {"Description", 40}};

}  // namespace

CUserListDialog::CUserListDialog(Prompter& prompter, QWidget* parent)
    : CQuietDialog(parent),
      prompter_(prompter),
      logic_(prompter),
      domains_(new QComboBox(this)),
      list_(new CReportList(this)) {
  setWindowTitle("User Setup");
  list_->setAccessibleName("Accounts");
  for (const Column& column : COLUMNS) {
    list_->InsertColumn(static_cast<int>(&column - COLUMNS), column.Heading, Qt::AlignCenter, 0);
  }
  HearLeftDoubleClicksOnly(*list_);
  connect(list_, &CReportList::doubleClicked, this, [this](const QModelIndex& index) {
    Edit(logic_.Detail(static_cast<std::size_t>(list_->RowData(index.row()))));
  });
  for (const std::string& domain : logic_.Domains) domains_->addItem(ToQString(domain));
  connect(domains_, &QComboBox::currentIndexChanged, this, [this](int index) {
    if (index < 0) return;
    logic_.ChooseDomain(static_cast<std::size_t>(index));
    ShowAccounts();
  });

  auto* const layout = new QGridLayout(this);
  auto* const top = new QHBoxLayout;
  top->addWidget(MakeLabel(this, "Domain", 'o', domains_));
  top->addWidget(domains_, 1);
  layout->addLayout(top, 0, 0);
  layout->addWidget(list_, 1, 0);
  layout->addLayout(MakeCommandColumn(), 1, 1);
  layout->setColumnStretch(0, 1);
  const int character = fontMetrics().horizontalAdvance('x');
  list_->setMinimumSize(character * 45, fontMetrics().lineSpacing() * 8);
  resize(character * 90, fontMetrics().lineSpacing() * 26);
  ShowAccounts();
  list_->setFocus();
}

QLayout* CUserListDialog::MakeCommandColumn() {
  auto* const column = new QVBoxLayout;
  const auto add = [this, column](const char* caption, auto command) {
    QPushButton* const button = MakeButton(this, caption);
    connect(button, &QPushButton::clicked, this, command);
    column->addWidget(button);
  };
  add("&New", [this] { Edit(logic_.New()); });
  add("&Delete", [this] { Delete(); });
  add("De&tail", [this] { Edit(logic_.Detail(SelectedAccount())); });
  column->addStretch(1);
  return column;
}

void CUserListDialog::showEvent(QShowEvent* event) {
  CQuietDialog::showEvent(event);
  FitColumns();
}

void CUserListDialog::resizeEvent(QResizeEvent* event) {
  CQuietDialog::resizeEvent(event);
  layout()->activate();
  FitColumns();
}

void CUserListDialog::FitColumns() {
  const int frame = list_->frameWidth() * 2;
  const int scroll_bar = list_->style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, list_);
  const int width = list_->width() - frame - scroll_bar;
  for (const Column& column : COLUMNS) {
    list_->setColumnWidth(static_cast<int>(&column - COLUMNS), width * column.Percent / 100);
  }
}

void CUserListDialog::ShowAccounts() {
  list_->DeleteAllRows();
  list_->setUpdatesEnabled(false);
  for (std::size_t account = 0; account < logic_.Rows.size(); ++account) {
    const int row = list_->InsertRow(list_->RowCount(), ToQString(logic_.Rows[account].Account));
    list_->SetCellText(row, 1, ToQString(logic_.Rows[account].Name));
    list_->SetRowData(row, static_cast<qintptr>(account));
  }
  list_->setUpdatesEnabled(true);
}

std::optional<std::size_t> CUserListDialog::SelectedAccount() const {
  const std::optional<int> row = list_->FirstSelectedRow();
  if (!row) return std::nullopt;
  return static_cast<std::size_t>(list_->RowData(*row));
}

void CUserListDialog::Edit(const std::optional<EditRequest>& request) {
  if (!request) return;
  CUserEditDialog editor(prompter_, *request, this);
  if (editor.exec() != Accepted) return;
  logic_.Reload();
  ShowAccounts();
}

void CUserListDialog::Delete() {
  const std::optional<int> row = list_->FirstSelectedRow();
  if (logic_.Delete(SelectedAccount())) list_->DeleteRow(*row);
}

}  // namespace velnor
