#include "console/widgets/general_page.h"

#include <algorithm>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>

#include "core/settings.h"

namespace velnor {
namespace {

constexpr int DNS_WIDTH = 30;     // characters
constexpr int NUMBER_WIDTH = 6;   // characters
constexpr int NUMBER_LIMIT = 10;  // characters that a number field takes, good or bad

const char* CaptionOf(std::string_view key) {
  const auto fields = ConfigFields();
  return std::find_if(fields.begin(), fields.end(),
                      [key](const ConfigField& field) { return field.Key == key; })
      ->Caption;
}

// A row of widgets at the left side.
QHBoxLayout* MakeRow(std::initializer_list<QWidget*> widgets) {
  auto* const row = new QHBoxLayout;
  for (QWidget* widget : widgets) row->addWidget(widget);
  row->addStretch(1);
  return row;
}

}  // namespace

CGeneralPage::CGeneralPage(Prompter& prompter, QWidget* parent) : QWidget(parent), form_(prompter) {
  auto* const group = new QGroupBox("General Configuration", this);
  auto* const rows = new QVBoxLayout(group);
  auto* const servers = new QGridLayout;
  servers->setColumnStretch(1, 1);
  QLineEdit* const primary = MakeEdit("PrimaryDNS", DNS_WIDTH);
  servers->addWidget(MakeLabel(this, CaptionOf("PrimaryDNS"), 'P', primary), 0, 0);
  servers->addWidget(primary, 0, 1);
  QLineEdit* const secondary = MakeEdit("SecondaryDNS", DNS_WIDTH);
  servers->addWidget(MakeLabel(this, CaptionOf("SecondaryDNS"), 'S', secondary), 1, 0);
  servers->addWidget(secondary, 1, 1);
  rows->addLayout(servers);
  rows->addWidget(MakeTick("AutoStart", 'A'));
  rows->addWidget(MakeTick("LogToFile", 'L'));
  rows->addLayout(MakeAntiSpamRow());
  rows->addLayout(MakeSizeRow());
  rows->addLayout(MakePortRow());
  rows->addLayout(MakePathRow());
  rows->addStretch(1);
  QPushButton* const apply = MakeButton(this, "Appl&y");
  connect(apply, &QPushButton::clicked, this, &CGeneralPage::Apply);
  rows->addWidget(apply, 0, Qt::AlignRight);
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(group);

  ShowAll();
  connect(anti_spam_, &QCheckBox::clicked, this, &CGeneralPage::ClickAntiSpam);
}

QLineEdit* CGeneralPage::MakeEdit(const char* key, int width) {
  const std::size_t limit = FindSetting(key)->OfferedLimit;
  QLineEdit* const edit = MakeField(this, limit > 0 ? limit : NUMBER_LIMIT, width);
  edit->setObjectName(key);
  fields_.Add(key, edit);
  return edit;
}

QCheckBox* CGeneralPage::MakeTick(const char* key, char letter) {
  auto* const box = new QCheckBox(WithMnemonic(CaptionOf(key), letter), this);
  box->setObjectName(key);
  fields_.Add(key, box);
  return box;
}

QLayout* CGeneralPage::MakeAntiSpamRow() {
  anti_spam_ = new QCheckBox("Simple Anti-spam &Enable", this);
  anti_spam_->setObjectName("AntiSpam");
  level_ = MakeEdit("AntiSpamLevel", 2);
  level_->setMaximumWidth(level_->minimumWidth());
  return MakeRow({anti_spam_, level_, MakeLabel(this, CaptionOf("AntiSpamLevel"), 'v', level_)});
}

QLayout* CGeneralPage::MakeSizeRow() {
  QLineEdit* const size = MakeEdit("MaxSizePerMail", NUMBER_WIDTH);
  size->setMaximumWidth(size->minimumWidth());
  return MakeRow(
      {MakeLabel(this, CaptionOf("MaxSizePerMail"), 'x', size), size, new QLabel("(M) default: 5M", this)});
}

QLayout* CGeneralPage::MakePortRow() {
  auto* const row = new QHBoxLayout;
  const std::pair<const char*, char> ports[] = {{"Pop3Port", 'O'}, {"SmtpPort", 'M'}, {"WebPort", 'W'}};
  for (const auto& [key, letter] : ports) {
    QLineEdit* const port = MakeEdit(key, NUMBER_WIDTH);
    row->addWidget(MakeLabel(this, CaptionOf(key), letter, port));
    row->addWidget(port, 1);
    if (key != ports[2].first) row->addSpacing(fontMetrics().horizontalAdvance('x') * 2);
  }
  return row;
}

QLayout* CGeneralPage::MakePathRow() {
  QLineEdit* const path = MakeEdit("MailPath", DNS_WIDTH);
  QPushButton* const browse = MakeButton(this, "...");
  browse->setAccessibleName("Choose the mailbox path");
  browse->setMaximumWidth(browse->fontMetrics().horizontalAdvance("....") * 3);
  connect(browse, &QPushButton::clicked, this, &CGeneralPage::Browse);
  auto* const row = new QHBoxLayout;
  row->addWidget(MakeLabel(this, CaptionOf("MailPath"), 'b', path));
  row->addWidget(path, 1);
  row->addWidget(browse);
  return row;
}

void CGeneralPage::ShowAll() {
  fields_.Show(form_);
  anti_spam_->setChecked(form_.AntiSpam);
  level_->setEnabled(form_.AntiSpam);
}

void CGeneralPage::ClickAntiSpam(bool ticked) {
  fields_.Read(form_);
  form_.ClickAntiSpam(ticked);
  ShowAll();
}

void CGeneralPage::Browse() {
  fields_.Read(form_);
  form_.Browse();
  fields_.Show(form_);
}

void CGeneralPage::Apply() {
  fields_.Read(form_);
  form_.Apply();
  ShowAll();
  fields_.Focus(form_.FailedKey);
}

}  // namespace velnor
