// The about box: each button replaces the whole text by its page.

#include "console/widgets/about_dialog.h"

#include <gtest/gtest.h>

#include <QPlainTextEdit>
#include <QPushButton>
#include <set>

namespace velnor {
namespace {

TEST(AboutDialog, EachButtonShowsItsPageAlone) {
  CAboutDialog dialog;
  const auto* const text = dialog.findChild<QPlainTextEdit*>();
  const QString first = text->toPlainText();
  EXPECT_TRUE(first.contains("32-bit multi-domain mail server"));
  std::set<QString> pages;
  const auto buttons = dialog.findChildren<QPushButton*>();
  ASSERT_EQ(buttons.size(), 3);
  for (QPushButton* const button : buttons) {
    button->click();
    pages.insert(text->toPlainText());
  }
  EXPECT_EQ(pages.size(), 3U);
  buttons.first()->click();
  EXPECT_EQ(text->toPlainText(), first);
  EXPECT_TRUE(text->isReadOnly());
}

}  // namespace
}  // namespace velnor
