#include "console/widgets/user_edit_dialog.h"

#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>

#include "console/widgets/text_conversion.h"

namespace velnor {
namespace {

constexpr int NUMBER_LIMIT = 10;  // characters that a number field takes, good or bad
constexpr int TEXT_WIDTH = 20;    // characters

const char* CaptionOf(const char* key) {
  return FindProfileField(key)->Caption;
}

}  // namespace

CUserEditDialog::CUserEditDialog(Prompter& prompter, const EditRequest& request, QWidget* parent)
    : CQuietDialog(parent), form_(prompter, request) {
  setWindowTitle(form_.Title());
  auto* const grid = new QGridLayout;
  FillGrid(*grid);
  auto* const halves = new QHBoxLayout;
  halves->addLayout(MakeResponse(), 1);
  halves->addSpacing(fontMetrics().horizontalAdvance('x') * 2);
  halves->addLayout(MakeForward(), 1);
  auto* const layout = new QVBoxLayout(this);
  layout->addLayout(grid);
  layout->addSpacing(fontMetrics().lineSpacing() / 2);
  layout->addLayout(halves);
  layout->addStretch(1);
  layout->addSpacing(fontMetrics().lineSpacing() / 2);
  layout->addLayout(MakeButtons());

  ShowText(*account_, form_.Account);
  for (const std::string& domain : form_.Domains) domains_->addItem(ToQString(domain));
  domains_->setCurrentIndex(form_.ChosenDomain ? static_cast<int>(*form_.ChosenDomain) : -1);
  account_->setEnabled(!form_.EditMode());
  domains_->setEnabled(!form_.EditMode());
  fields_.Show(form_);
  FollowTicks();
  connect(response_, &QCheckBox::clicked, this, &CUserEditDialog::FollowTicks);
  connect(forward_, &QCheckBox::clicked, this, &CUserEditDialog::FollowTicks);
  (form_.EditMode() ? findChild<QLineEdit*>("Username") : account_)->setFocus();
}

QLineEdit* CUserEditDialog::MakeEdit(const char* key, int width) {
  const std::size_t limit = FindProfileField(key)->FieldLimit;
  QLineEdit* const edit = MakeField(this, limit > 0 ? limit : NUMBER_LIMIT, width);
  edit->setObjectName(key);
  fields_.Add(key, edit);
  return edit;
}

QCheckBox* CUserEditDialog::MakeTick(const char* key, char letter) {
  auto* const box = new QCheckBox(WithMnemonic(CaptionOf(key), letter), this);
  box->setObjectName(key);
  fields_.Add(key, box);
  return box;
}

void CUserEditDialog::AddField(QGridLayout& grid, int row, Half half, std::string_view caption, char letter,
                               QWidget* field, const char* unit) {
  const int column = half == Half::LEFT ? 0 : 4;
  grid.addWidget(MakeLabel(this, caption, letter, field), row, column);
  grid.addWidget(field, row, column + 1, 1, unit == nullptr ? 2 : 1);
  if (unit != nullptr) grid.addWidget(new QLabel(unit, this), row, column + 2);
}

void CUserEditDialog::AddProfileField(QGridLayout& grid, int row, Half half, const char* key, char letter,
                                      const char* unit) {
  AddField(grid, row, half, CaptionOf(key), letter, MakeEdit(key, TEXT_WIDTH), unit);
}

// The fields are made in the order of reading, which is that of the tab key too.
void CUserEditDialog::FillGrid(QGridLayout& grid) {
  grid.setColumnStretch(1, 1);
  grid.setColumnMinimumWidth(3, fontMetrics().horizontalAdvance('x'));
  grid.setColumnStretch(5, 1);
  account_ = MakeField(this, ACCOUNT_NAME_LIMIT, TEXT_WIDTH);
  account_->setObjectName(ACCOUNT_FIELD);
  AddField(grid, 0, Half::LEFT, "Account", 'A', account_);
  AddProfileField(grid, 0, Half::RIGHT, "Password", 'P');
  findChild<QLineEdit*>("Password")->setEchoMode(QLineEdit::Password);
  AddProfileField(grid, 1, Half::LEFT, "Username", 'U');
  domains_ = new QComboBox(this);
  AddField(grid, 1, Half::RIGHT, "Domain", 'D', domains_);
  auto* const switches = new QHBoxLayout;
  switches->addWidget(MakeTick("Pop3Enable", '3'), 1);
  switches->addWidget(MakeTick("SmtpEnable", 'S'), 1);
  switches->addWidget(MakeTick("WebEnable", 'W'), 1);
  grid.addLayout(switches, 2, 0, 1, 7);
  AddProfileField(grid, 3, Half::LEFT, "MailBoxSize", 'b', "(M)");
  AddProfileField(grid, 3, Half::RIGHT, "MaxMailNum", 'm');
  AddProfileField(grid, 4, Half::LEFT, "NetDiskSize", 'N', "(M)");
  AddProfileField(grid, 4, Half::RIGHT, "MailFolderNum", 'f');
}

QLayout* CUserEditDialog::MakeResponse() {
  auto* const half = new QVBoxLayout;
  half->addWidget(response_ = MakeTick("ResponseEnable", 'r'));
  subject_ = MakeEdit("ResponseSubject", TEXT_WIDTH);
  half->addWidget(MakeLabel(this, CaptionOf("ResponseSubject"), 'j', subject_));
  half->addWidget(subject_);
  half->addStretch(1);
  return half;
}

QLayout* CUserEditDialog::MakeForward() {
  auto* const half = new QVBoxLayout;
  half->addWidget(forward_ = MakeTick("ForwardEnable", 'E'));
  address_ = MakeEdit("ForwardAddr", TEXT_WIDTH);
  half->addWidget(MakeLabel(this, CaptionOf("ForwardAddr"), 'i', address_));
  half->addWidget(address_);
  half->addWidget(save_local_ = MakeTick("ForwardSaveLocal", 'l'));
  half->addStretch(1);
  return half;
}

QLayout* CUserEditDialog::MakeButtons() {
  QPushButton* const ok = MakeButton(this, "&OK");
  QPushButton* const cancel = MakeButton(this, "&Cancel");
  connect(ok, &QPushButton::clicked, this, &CUserEditDialog::Accept);
  connect(cancel, &QPushButton::clicked, this, &CUserEditDialog::reject);
  auto* const buttons = new QHBoxLayout;
  buttons->addStretch(1);
  buttons->addWidget(ok);
  buttons->addWidget(cancel);
  return buttons;
}

void CUserEditDialog::FollowTicks() {
  subject_->setEnabled(response_->isChecked());
  address_->setEnabled(forward_->isChecked());
  save_local_->setEnabled(forward_->isChecked());
}

void CUserEditDialog::Accept() {
  ReadText(*account_, form_.Account);
  const int domain = domains_->currentIndex();
  if (domain >= 0) form_.ChosenDomain = static_cast<std::size_t>(domain);
  fields_.Read(form_);
  if (form_.Accept()) return accept();
  if (form_.FailedKey == std::string_view(ACCOUNT_FIELD)) return FocusRefused(*account_);
  fields_.Focus(form_.FailedKey);
}

}  // namespace velnor
