#include "console/widgets/mail_list_dialog.h"

#include <QComboBox>
#include <QGroupBox>
#include <QHeaderView>
#include <QSignalBlocker>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "console/widgets/field_widgets.h"
#include "console/widgets/text_conversion.h"

namespace velnor {
namespace {

constexpr int ADDRESS_COLUMN_WIDTH = 140;  // pixels of a screen with DESIGN_DPI
constexpr int DESIGN_DPI = 96;
constexpr int FIELD_WIDTH = 24;  // characters

// A caption over its field.
void AddCaptioned(QVBoxLayout& column, QLabel* label, QWidget* field) {
  column.addWidget(label);
  column.addWidget(field);
}

}  // namespace

CMailListDialog::CMailListDialog(Prompter& prompter, QWidget* parent) : QDialog(parent), logic_(prompter) {
  setWindowTitle("Mail List");
  auto* const layout = new QVBoxLayout(this);
  layout->addLayout(MakeListPart(), 2);
  layout->addLayout(MakeMemberPart(), 3);
  layout->addLayout(MakeEndPart());
  const int character = fontMetrics().horizontalAdvance('x');
  lists_->setMinimumSize(character * 28, fontMetrics().lineSpacing() * 5);
  members_->setMinimumSize(members_->columnWidth(0) + fontMetrics().horizontalAdvance("Prority") * 2,
                           fontMetrics().lineSpacing() * 8);
  resize(character * 72, fontMetrics().lineSpacing() * 28);
  ShowAll();
  lists_->setFocus();
}

QPushButton* CMailListDialog::MakeCommand(const char* caption, void (MailListLogic::*command)()) {
  QPushButton* const button = MakeButton(this, caption);
  connect(button, &QPushButton::clicked, this, [this, command] {
    ReadFields();
    (logic_.*command)();
    ShowAll();
    if (logic_.Refused == MailListField::LIST_ADDR) FocusRefused(*list_addr_);
    if (logic_.Refused == MailListField::EMAIL_ADDR) FocusRefused(*email_addr_);
  });
  return button;
}

QLayout* CMailListDialog::MakeListPart() {
  lists_ = new QListWidget(this);
  lists_->setAccessibleName("Mail lists");
  // A click on the list that is selected already brings its name and its members back.
  connect(lists_, &QListWidget::itemSelectionChanged, this, &CMailListDialog::SelectList);
  connect(lists_, &QListWidget::itemClicked, this, &CMailListDialog::SelectList);
  list_addr_ = MakeField(this, 0, FIELD_WIDTH);
  auto* const buttons = new QHBoxLayout;
  buttons->addWidget(MakeCommand("&Add", &MailListLogic::AddList));
  buttons->addWidget(MakeCommand("&Delete", &MailListLogic::DeleteList));
  auto* const right = new QVBoxLayout;
  AddCaptioned(*right, MakeLabel(this, "List Addr", 'L', list_addr_), list_addr_);
  right->addLayout(buttons);
  right->addStretch(1);
  auto* const part = new QHBoxLayout;
  part->addWidget(lists_, 3);
  part->addLayout(right, 2);
  return part;
}

QTreeWidget* CMailListDialog::MakeMemberList() {
  auto* const list = new QTreeWidget(this);
  list->setAccessibleName("Members");
  list->setHeaderLabels({"Mail Addr", "Prority"});
  list->headerItem()->setTextAlignment(0, Qt::AlignCenter);
  list->headerItem()->setTextAlignment(1, Qt::AlignCenter);
  list->setRootIsDecorated(false);
  list->setUniformRowHeights(true);
  list->setAllColumnsShowFocus(true);
  list->header()->setStretchLastSection(false);
  list->header()->setSectionResizeMode(1, QHeaderView::Stretch);
  list->setColumnWidth(0, ADDRESS_COLUMN_WIDTH * logicalDpiX() / DESIGN_DPI);
  connect(list, &QTreeWidget::itemSelectionChanged, this, &CMailListDialog::ClickMember);
  connect(list, &QTreeWidget::itemClicked, this, &CMailListDialog::ClickMember);
  return list;
}

QLayout* CMailListDialog::MakeMemberPart() {
  members_ = MakeMemberList();
  email_addr_ = MakeField(this, 0, FIELD_WIDTH);
  priority_ = new QComboBox(this);
  priority_->addItems({"Read&Write", "Only Read"});
  auto* const right = new QVBoxLayout;
  AddCaptioned(*right, MakeLabel(this, "Email Addr", 'E', email_addr_), email_addr_);
  AddCaptioned(*right, MakeLabel(this, "Priority", 'P', priority_), priority_);
  right->addWidget(MakeCommand("Add &to List", &MailListLogic::AddMember));
  right->addWidget(MakeCommand("&Remove from List", &MailListLogic::RemoveMember));
  right->addStretch(1);
  auto* const part = new QHBoxLayout;
  part->addWidget(members_, 3);
  part->addLayout(right, 2);
  return part;
}

QLayout* CMailListDialog::MakeEndPart() {
  auto* const tips = new QGroupBox("Tips", this);
  auto* const text =
      new QLabel("if you change the value, please click [Apply] button to save the configuration", tips);
  text->setWordWrap(true);
  text->setMinimumSize(fontMetrics().horizontalAdvance('x') * 42, fontMetrics().lineSpacing() * 2);
  (new QVBoxLayout(tips))->addWidget(text);
  auto* const buttons = new QVBoxLayout;
  buttons->addStretch(1);
  buttons->addWidget(MakeCommand("Appl&y", &MailListLogic::Apply));
  QPushButton* const close = MakeButton(this, "&Close");
  buttons->addWidget(close);
  connect(close, &QPushButton::clicked, this, &CMailListDialog::reject);
  auto* const part = new QHBoxLayout;
  part->addWidget(tips, 1);
  part->addLayout(buttons);
  return part;
}

void CMailListDialog::SelectList() {
  const auto row = SelectedRow(*lists_);
  if (!row) return;
  ReadFields();
  logic_.SelectList(*row);
  {
    const QSignalBlocker quiet(members_);
    members_->clear();
  }
  ShowAll();
}

void CMailListDialog::ClickMember() {
  const QModelIndexList selected = members_->selectionModel()->selectedRows();
  if (selected.isEmpty()) return;
  ReadFields();
  logic_.ClickMember(static_cast<std::size_t>(selected.front().row()));
  ShowAll();
}

void CMailListDialog::ReadFields() {
  ReadText(*list_addr_, logic_.ListAddr);
  ReadText(*email_addr_, logic_.EmailAddr);
  logic_.SelectedList = SelectedRow(*lists_);
  logic_.Priority.reset();
  if (priority_->currentIndex() >= 0) logic_.Priority = static_cast<std::size_t>(priority_->currentIndex());
}

void CMailListDialog::ShowAll() {
  ShowRows(*lists_, logic_.Lists, logic_.SelectedList);
  ShowMembers();
  ShowText(*list_addr_, logic_.ListAddr);
  ShowText(*email_addr_, logic_.EmailAddr);
  priority_->setCurrentIndex(logic_.Priority ? static_cast<int>(*logic_.Priority) : -1);
}

// Touches only the rows that differ, so that the list stays where it was scrolled to.
void CMailListDialog::ShowMembers() {
  const QSignalBlocker quiet(members_);
  const int count = static_cast<int>(logic_.Members.size());
  const bool grown = members_->topLevelItemCount() > 0 && members_->topLevelItemCount() < count;
  const bool shrinks = members_->topLevelItemCount() > count;
  while (members_->topLevelItemCount() > count) delete members_->takeTopLevelItem(count);
  if (shrinks) members_->clearSelection();  // a row that goes hands its selection to a neighbour
  for (int row = 0; row < count; ++row) {
    const MemberRow& member = logic_.Members[static_cast<std::size_t>(row)];
    if (row == members_->topLevelItemCount()) {
      members_->addTopLevelItem(new QTreeWidgetItem);
      members_->topLevelItem(row)->setTextAlignment(1, Qt::AlignCenter);
    }
    members_->topLevelItem(row)->setText(0, ToQString(member.Address));
    members_->topLevelItem(row)->setText(1, member.PriorityText());
  }
  if (grown) members_->scrollToBottom();
}

}  // namespace velnor
