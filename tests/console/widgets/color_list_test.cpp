// The log list: it looks at what is visible alone, follows the end, and gives its text away by copying.

#include "console/widgets/color_list.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QKeyEvent>
#include <QScrollBar>
#include <set>

#include "console/widgets/log_model.h"
#include "core/log_service.h"

namespace velnor {
namespace {

// Counts how often its lines are asked for.
class CountingModel : public LogModel {
 public:
  using LogModel::LogModel;

  QVariant data(const QModelIndex& index, int role) const override {
    if (role == Qt::DisplayRole || role == COLOUR_ROLE) ++Asked;
    return LogModel::data(index, role);
  }

  mutable int Asked = 0;
};

class ColorListTest : public testing::Test {
 protected:
  ColorListTest() {
    box_.setModel(&model_);
    box_.resize(400, 200);
    box_.show();
  }

  void AddLines(int count) {
    for (int line = 0; line < count; ++line) {
      lines_.AddLogLine(LOG_SMTP, "line " + std::to_string(lines_.Count()));
    }
    model_.Follow();
  }

  // What a copy gives after a key was pressed.
  std::string CopiedAfter(QKeySequence keys) {
    for (const QKeyCombination pressed : {keys[0], QKeySequence(QKeySequence::Copy)[0]}) {
      QKeyEvent press(QEvent::KeyPress, pressed.key(), pressed.keyboardModifiers());
      QApplication::sendEvent(&box_, &press);
    }
    return QApplication::clipboard()->text().toStdString();
  }

  LogList lines_;
  CountingModel model_{lines_, nullptr};
  CColorListBox box_;
};

TEST_F(ColorListTest, AddingAndPaintingTouchNoMoreThanIsVisible) {
  AddLines(65'000);
  box_.FollowEnd();
  model_.Asked = 0;
  AddLines(500);
  box_.FollowEnd();
  EXPECT_EQ(model_.Asked, 0) << "adding looks at no line";
  box_.grab();
  const int visible = box_.viewport()->height() / box_.fontMetrics().height() + 2;
  EXPECT_GT(model_.Asked, 0);
  EXPECT_LE(model_.Asked, 2 * visible) << "a text and a colour for each visible line";
}

TEST_F(ColorListTest, FollowsTheEndAndStartsAnewWhenEmptied) {
  AddLines(100);
  box_.FollowEnd();
  box_.SetLongestLine(1000);
  box_.resize(400, 150);
  QApplication::processEvents();
  const QRect last = box_.visualRect(model_.index(99, 0));
  EXPECT_LT(last.bottom(), box_.viewport()->height()) << "also above a scroll bar in a smaller window";
  EXPECT_EQ(box_.indexAt(last.center()).row(), 99);
  box_.SetLongestLine(0);
  lines_.Clear();
  AddLines(2);
  EXPECT_EQ(box_.verticalScrollBar()->maximum(), 0);
  EXPECT_EQ(box_.indexAt(QPoint(5, 1)).data().toString(), "line 0");
}

TEST_F(ColorListTest, SelectedLinesAreCopiedInTheirOrder) {
  AddLines(30);
  EXPECT_EQ(CopiedAfter(Qt::Key_End), "line 29\n");
  EXPECT_EQ(CopiedAfter(Qt::SHIFT | Qt::Key_Up), "line 28\nline 29\n");
  EXPECT_EQ(CopiedAfter(Qt::Key_Home), "line 0\n");
  EXPECT_TRUE(CopiedAfter(QKeySequence::SelectAll).ends_with("line 28\nline 29\n"));
  box_.clearSelection();
  EXPECT_NE(CopiedAfter(Qt::Key_Escape), "") << "without a selection the clipboard stays as it is";
}

// The colours of a painted line, without those of its background.
std::set<QRgb> InkOf(CColorListBox& box) {
  const QImage picture = box.viewport()->grab().toImage();
  const QRgb ground = picture.pixel(picture.width() - 1, 1);
  std::set<QRgb> ink;
  for (int x = 0; x < picture.width(); ++x) {
    for (int y = 0; y < box.fontMetrics().height(); ++y) ink.insert(picture.pixel(x, y));
  }
  ink.erase(ground);
  return ink;
}

TEST_F(ColorListTest, ALineIsPaintedInItsColourOnALightAndADarkDesktop) {
  AddLines(1);
  QFont hard = box_.font();
  hard.setStyleStrategy(QFont::NoAntialias);
  box_.setFont(hard);
  for (const QColor& ground : {QColor(Qt::white), QColor(35, 38, 41)}) {
    QPalette palette = box_.palette();
    palette.setColor(QPalette::Base, ground);
    box_.setPalette(palette);
    for (const QRgb ink : InkOf(box_)) {
      EXPECT_EQ(qBlue(ink), 255) << "the line is blue";
      EXPECT_EQ(qRed(ink), qGreen(ink)) << "and no other hue";
    }
    EXPECT_FALSE(InkOf(box_).empty());
  }
}

}  // namespace
}  // namespace velnor
