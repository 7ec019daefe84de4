// The pages of the configuration dialog that hold a list, one text field and commands: CDomainsPage and
// CRulesPage. They show what console/logic/domains_page_logic.h and rules_page_logic.h say. Console thread.
#pragma once

#include <QGroupBox>
#include <QListWidget>

#include "console/logic/domains_page_logic.h"
#include "console/logic/rules_page_logic.h"
#include "console/widgets/field_widgets.h"

class QVBoxLayout;

namespace velnor {

// The list over the field, with a column of buttons beside the two.
class CNameListPage : public QGroupBox {
  Q_OBJECT

 public:
  CNameListPage(const char* caption, const char* field_name, std::size_t limit, QWidget* parent);

 protected:
  // Makes a button that runs a command of the page's logic.
  template <typename Logic>
  void AddCommand(const char* caption, Logic& logic, void (Logic::*command)()) {
    connect(AddButton(caption), &QPushButton::clicked, this, [this, &logic, command] {
      ReadPage(logic);
      (logic.*command)();
      ShowPage(logic);
      if (logic.FocusText) FocusRefused(*field_);
    });
  }

  // Lets a selected row's text go into the field, also at a click on one that is selected already.
  template <typename Logic>
  void FollowSelection(Logic& logic) {
    const auto follow = [this, &logic] {
      const auto row = SelectedRow(*list_);
      if (!row) return;
      logic.Select(*row);
      ShowText(*field_, logic.Text);
    };
    connect(list_, &QListWidget::itemSelectionChanged, this, follow);
    connect(list_, &QListWidget::itemClicked, this, follow);
  }

  // The way of what the page shows to the logic and back.
  template <typename Logic>
  void ReadPage(Logic& logic) {
    ReadText(*field_, logic.Text);
    logic.Selected = SelectedRow(*list_);
  }
  template <typename Logic>
  void ShowPage(const Logic& logic) {
    ShowRows(*list_, logic.Rows, logic.Selected);
    ShowText(*field_, logic.Text);
  }

 private:
  QPushButton* AddButton(const char* caption);

  QListWidget* list_;
  QLineEdit* field_;
  QVBoxLayout* buttons_;
};

class CDomainsPage : public CNameListPage {
  Q_OBJECT

 public:
  CDomainsPage(Prompter& prompter, QWidget* parent);

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  DomainsPageLogic logic_;
};

class CRulesPage : public CNameListPage {
  Q_OBJECT

 public:
  CRulesPage(Prompter& prompter, QWidget* parent);

 private:
  RulesPageLogic logic_;
};

}  // namespace velnor
