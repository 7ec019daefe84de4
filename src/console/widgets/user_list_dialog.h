// CUserListDialog: the accounts of one domain, with New, Delete and Detail. What the commands do is
// console/logic/user_list_logic.h's. Console thread.
#pragma once

#include <optional>

#include "console/logic/user_list_logic.h"
#include "console/widgets/quiet_dialog.h"

class QComboBox;

namespace velnor {

class CReportList;

class CUserListDialog : public CQuietDialog {
  Q_OBJECT

 public:
  CUserListDialog(Prompter& prompter, QWidget* parent);

 protected:
  void showEvent(QShowEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  QLayout* MakeCommandColumn();
  void FitColumns();
  void ShowAccounts();

  // The logic's number of the first selected row, or none.
  std::optional<std::size_t> SelectedAccount() const;

  // Opens the editor, if there is something to open, and shows the accounts again after its OK.
  void Edit(const std::optional<EditRequest>& request);
  void Delete();

  Prompter& prompter_;
  UserListLogic logic_;
  QComboBox* domains_;
  CReportList* list_;
};

}  // namespace velnor
