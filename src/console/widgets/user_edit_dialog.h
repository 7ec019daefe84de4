// CUserEditDialog: the fields of one account, a new one or one that exists. What they accept and what OK does
// is console/logic/user_edit_form.h's. Console thread.
#pragma once

#include "console/logic/user_edit_form.h"
#include "console/widgets/field_widgets.h"
#include "console/widgets/quiet_dialog.h"

class QComboBox;
class QGridLayout;

namespace velnor {

class CUserEditDialog : public CQuietDialog {
  Q_OBJECT

 public:
  CUserEditDialog(Prompter& prompter, const EditRequest& request, QWidget* parent);

 private:
  QLineEdit* MakeEdit(const char* key, int width);
  QCheckBox* MakeTick(const char* key, char letter);

  // Adds a captioned field to the left or the right half of a row, with its unit behind it if it has one.
  enum class Half { LEFT, RIGHT };
  void AddField(QGridLayout& grid, int row, Half half, std::string_view caption, char letter, QWidget* field,
                const char* unit = nullptr);
  void AddProfileField(QGridLayout& grid, int row, Half half, const char* key, char letter,
                       const char* unit = nullptr);

  void FillGrid(QGridLayout& grid);
  QLayout* MakeResponse();
  QLayout* MakeForward();
  QLayout* MakeButtons();

  // Enables what belongs to a box only while the box is ticked.
  void FollowTicks();
  void Accept();

  UserEditForm form_;
  FieldSet fields_;
  QLineEdit* account_ = nullptr;
  QComboBox* domains_ = nullptr;
  QCheckBox* response_ = nullptr;
  QLineEdit* subject_ = nullptr;
  QCheckBox* forward_ = nullptr;
  QLineEdit* address_ = nullptr;
  QCheckBox* save_local_ = nullptr;
};

}  // namespace velnor
