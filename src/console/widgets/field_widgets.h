// The fields, labels and buttons of the dialogs, and the way of a text between a field and what the dialog
// decides. Console thread.
#pragma once

#include <optional>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <string>
#include <string_view>
#include <vector>

#include "console/logic/field_check.h"

namespace velnor {

// A caption with the keyboard mark at the first place of a letter.
QString WithMnemonic(std::string_view caption, char letter);

// A field that takes at most `limit` characters, none meaning any number, and is wide enough for `width` of
// them.
QLineEdit* MakeField(QWidget* parent, std::size_t limit, int width);

// A field's caption, whose keyboard mark leads to the field.
QLabel* MakeLabel(QWidget* parent, std::string_view caption, char letter, QWidget* field);

// A button that Enter leaves alone unless it is told otherwise.
QPushButton* MakeButton(QWidget* parent, const char* caption);

// Shows a text, also one that is longer than the field takes. A field that shows it already is left alone.
void ShowText(QLineEdit& field, std::string_view text);

// Takes the field's text if the user has changed it; what is no UTF-8 so stays as it was.
void ReadText(const QLineEdit& field, std::string& text);

// Puts the focus on a field that was refused, with its text selected.
void FocusRefused(QLineEdit& field);

// Makes a list show these rows, touching only the ones that differ, and the selection without telling
// anybody.
void ShowRows(QListWidget& list, const std::vector<std::string>& rows, std::optional<std::size_t> selected);

// The selected row of a list, or none.
std::optional<std::size_t> SelectedRow(const QListWidget& list);

// Keeps the other mouse buttons' double clicks, which a list takes for the left one's, away from it.
void HearLeftDoubleClicksOnly(QAbstractItemView& list);

// The fields of a form, each under the key by which the form holds its value.
class FieldSet {
 public:
  void Add(const char* key, QLineEdit* edit) { fields_.push_back({key, edit, nullptr}); }
  void Add(const char* key, QCheckBox* box) { fields_.push_back({key, nullptr, box}); }

  template <typename Form>
  void Show(Form& form) const {
    for (const Field& field : fields_) {
      if (field.Edit != nullptr) ShowText(*field.Edit, form.Value(field.Key));
      if (field.Box != nullptr) field.Box->setChecked(IsTicked(form.Value(field.Key)));
    }
  }

  template <typename Form>
  void Read(Form& form) const {
    for (const Field& field : fields_) {
      if (field.Edit != nullptr) ReadText(*field.Edit, form.Value(field.Key));
      if (field.Box != nullptr) form.Value(field.Key) = TickValue(field.Box->isChecked());
    }
  }

  // Puts the focus on the text field of a key, if there is one.
  void Focus(std::string_view key) const;

 private:
  struct Field {
    const char* Key;
    QLineEdit* Edit;
    QCheckBox* Box;
  };

  std::vector<Field> fields_;
};

}  // namespace velnor
