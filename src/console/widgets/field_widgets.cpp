#include "console/widgets/field_widgets.h"

#include <algorithm>
#include <QMouseEvent>
#include <QSignalBlocker>

#include "console/widgets/text_conversion.h"

namespace velnor {
namespace {

class LeftDoubleClickFilter : public QObject {
 public:
  using QObject::QObject;

  bool eventFilter(QObject*, QEvent* event) override {
    return event->type() == QEvent::MouseButtonDblClick &&
           static_cast<QMouseEvent*>(event)->button() != Qt::LeftButton;
  }
};

}  // namespace

QString WithMnemonic(std::string_view caption, char letter) {
  QString marked = ToQString(caption);
  const qsizetype place = marked.indexOf(QLatin1Char(letter));
  return place < 0 ? marked : marked.insert(place, QLatin1Char('&'));
}

QLineEdit* MakeField(QWidget* parent, std::size_t limit, int width) {
  auto* const field = new QLineEdit(parent);
  if (limit > 0) field->setMaxLength(static_cast<int>(limit));
  field->setMinimumWidth(field->fontMetrics().horizontalAdvance('0') * (width + 2));
  return field;
}

QLabel* MakeLabel(QWidget* parent, std::string_view caption, char letter, QWidget* field) {
  auto* const label = new QLabel(WithMnemonic(caption, letter), parent);
  label->setBuddy(field);
  field->setAccessibleName(ToQString(caption));
  return label;
}

QPushButton* MakeButton(QWidget* parent, const char* caption) {
  auto* const button = new QPushButton(caption, parent);
  button->setAutoDefault(false);
  return button;
}

void ShowText(QLineEdit& field, std::string_view text) {
  const QString shown = ToQString(text);
  if (field.text() == shown) return;
  if (shown.size() > field.maxLength()) field.setMaxLength(static_cast<int>(shown.size()));
  field.setText(shown);
  field.setCursorPosition(0);
}

void ReadText(const QLineEdit& field, std::string& text) {
  if (field.isModified()) text = ToText(field.text());
}

void FocusRefused(QLineEdit& field) {
  field.setFocus(Qt::OtherFocusReason);
  field.selectAll();
}

void ShowRows(QListWidget& list, const std::vector<std::string>& rows, std::optional<std::size_t> selected) {
  const QSignalBlocker quiet(list);
  const int count = static_cast<int>(rows.size());
  const bool grown = list.count() > 0 && list.count() < count;
  while (list.count() > count) delete list.takeItem(list.count() - 1);
  for (int row = 0; row < count; ++row) {
    const QString text = ToQString(rows[static_cast<std::size_t>(row)]);
    if (row == list.count()) {
      list.addItem(text);
    } else if (list.item(row)->text() != text) {
      list.item(row)->setText(text);
    }
  }
  if (grown) list.scrollToBottom();
  if (selected == SelectedRow(list)) return;
  list.clearSelection();
  if (selected) list.setCurrentRow(static_cast<int>(*selected));
}

std::optional<std::size_t> SelectedRow(const QListWidget& list) {
  const QModelIndexList selected = list.selectionModel()->selectedIndexes();
  if (selected.isEmpty()) return std::nullopt;
  return static_cast<std::size_t>(selected.front().row());
}

void HearLeftDoubleClicksOnly(QAbstractItemView& list) {
  list.viewport()->installEventFilter(new LeftDoubleClickFilter(&list));
}

void FieldSet::Focus(std::string_view key) const {
  const auto field =
      std::find_if(fields_.begin(), fields_.end(), [key](const Field& entry) { return entry.Key == key; });
  if (field != fields_.end() && field->Edit != nullptr) FocusRefused(*field->Edit);
}

}  // namespace velnor
