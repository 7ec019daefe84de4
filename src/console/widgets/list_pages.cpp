#include "console/widgets/list_pages.h"

#include <QShowEvent>
#include <QVBoxLayout>

#include "core/accounts.h"

namespace velnor {

CNameListPage::CNameListPage(const char* caption, const char* field_name, std::size_t limit, QWidget* parent)
    : QGroupBox(caption, parent),
      list_(new QListWidget(this)),
      field_(MakeField(this, limit, 30)),
      buttons_(new QVBoxLayout) {
  list_->setAccessibleName(caption);
  field_->setAccessibleName(field_name);
  auto* const left = new QVBoxLayout;
  left->addWidget(list_, 1);
  left->addWidget(field_);
  buttons_->addStretch(1);
  auto* const layout = new QHBoxLayout(this);
  layout->addLayout(left, 1);
  layout->addLayout(buttons_);
}

QPushButton* CNameListPage::AddButton(const char* caption) {
  QPushButton* const button = MakeButton(this, caption);
  buttons_->addWidget(button);
  return button;
}

CDomainsPage::CDomainsPage(Prompter& prompter, QWidget* parent)
    : CNameListPage("Domains Configuration", "Domain", DOMAIN_NAME_LIMIT, parent), logic_(prompter) {
  AddCommand("&Add", logic_, &DomainsPageLogic::Add);
  AddCommand("&Delete", logic_, &DomainsPageLogic::Delete);
  AddCommand("&Update", logic_, &DomainsPageLogic::Update);
  FollowSelection(logic_);
  ShowPage(logic_);
}

// The settings page loads the domains anew when it stores a mail path.
void CDomainsPage::showEvent(QShowEvent* event) {
  CNameListPage::showEvent(event);
  if (event->spontaneous()) return;
  ReadPage(logic_);
  logic_.Refresh();
  ShowPage(logic_);
}

CRulesPage::CRulesPage(Prompter& prompter, QWidget* parent)
    : CNameListPage("The following domain/ip is forbidden", "Rule", RULE_LIMIT, parent), logic_(prompter) {
  AddCommand("&Add", logic_, &RulesPageLogic::Add);
  AddCommand("&Delete", logic_, &RulesPageLogic::Delete);
  FollowSelection(logic_);
  ShowPage(logic_);
}

}  // namespace velnor
