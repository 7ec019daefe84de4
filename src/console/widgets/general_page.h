// CGeneralPage: the settings page of the configuration dialog. It fills its fields from
// console/logic/config_form.h, reads them back and shows what that says. Console thread.
#pragma once

#include <QWidget>

#include "console/logic/config_form.h"
#include "console/widgets/field_widgets.h"

class QGridLayout;

namespace velnor {

class CGeneralPage : public QWidget {
  Q_OBJECT

 public:
  CGeneralPage(Prompter& prompter, QWidget* parent);

 private:
  QLineEdit* MakeEdit(const char* key, int width);
  QCheckBox* MakeTick(const char* key, char letter);
  QLayout* MakeAntiSpamRow();
  QLayout* MakeSizeRow();
  QLayout* MakePortRow();
  QLayout* MakePathRow();

  void ShowAll();
  void ClickAntiSpam(bool ticked);
  void Browse();
  void Apply();

  ConfigForm form_;
  FieldSet fields_;
  QCheckBox* anti_spam_ = nullptr;
  QLineEdit* level_ = nullptr;
};

}  // namespace velnor
