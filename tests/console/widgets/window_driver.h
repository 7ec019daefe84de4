// What a user does to a window, for the window tests. A widget is found by its caption or its name; one that
// is not there fails the test.
#pragma once

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QKeyEvent>
#include <QLineEdit>

namespace velnor::test {

// The visible button with this caption, keyboard marks aside.
inline QAbstractButton* FindButton(const QWidget& window, const QString& caption) {
  for (QAbstractButton* button : window.findChildren<QAbstractButton*>()) {
    if (button->isVisible() && button->text().remove('&') == caption) return button;
  }
  ADD_FAILURE() << "no button " << caption.toStdString();
  return nullptr;
}

inline void Click(const QWidget& window, const QString& caption) {
  if (QAbstractButton* const button = FindButton(window, caption)) button->click();
}

// The visible widget of a kind with this object name or accessible name.
template <typename Widget>
Widget* Find(const QWidget& window, const QString& name) {
  for (Widget* widget : window.findChildren<Widget*>()) {
    if (widget->isVisible() && (widget->objectName() == name || widget->accessibleName() == name))
      return widget;
  }
  ADD_FAILURE() << "no widget " << name.toStdString();
  return nullptr;
}

inline void Press(QWidget& widget, int key, const QString& text = "") {
  QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, text);
  QApplication::sendEvent(&widget, &press);
}

// Replaces a field's text as a user does, by the keyboard.
inline void Type(QLineEdit* field, const QString& text) {
  ASSERT_NE(field, nullptr);
  field->selectAll();
  Press(*field, Qt::Key_Delete);
  for (const QChar character : text) Press(*field, 0, character);
}

// Shows a window, so that it can have the focus.
inline void Open(QWidget& window) {
  window.show();
  QApplication::setActiveWindow(&window);
  QApplication::processEvents();
}

}  // namespace velnor::test
