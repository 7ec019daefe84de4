// CMailListDialog: the mail lists and the members of one of them. What the commands do is
// console/logic/mail_list_logic.h's. Console thread.
#pragma once

#include <QDialog>

#include "console/logic/mail_list_logic.h"

class QComboBox;
class QGridLayout;
class QLineEdit;
class QListWidget;
class QPushButton;
class QTreeWidget;

namespace velnor {

class CMailListDialog : public QDialog {
  Q_OBJECT

 public:
  CMailListDialog(Prompter& prompter, QWidget* parent);

 private:
  QLayout* MakeListPart();
  QLayout* MakeMemberPart();
  QLayout* MakeEndPart();
  QTreeWidget* MakeMemberList();
  QPushButton* MakeCommand(const char* caption, void (MailListLogic::*command)());

  void SelectList();
  void ClickMember();
  void ReadFields();
  void ShowAll();
  void ShowMembers();

  MailListLogic logic_;
  QListWidget* lists_ = nullptr;
  QTreeWidget* members_ = nullptr;
  QLineEdit* list_addr_ = nullptr;
  QLineEdit* email_addr_ = nullptr;
  QComboBox* priority_ = nullptr;
};

}  // namespace velnor
