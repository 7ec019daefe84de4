// CColorListBox: a list of one-line texts, each in a colour of its own, of which only the visible ones are
// ever measured or painted. Lines can be selected and copied. The model gives text and colour
// (console/widgets/log_model.h). Console thread.
#pragma once

#include <QAbstractItemView>

namespace velnor {

class CColorListBox : public QAbstractItemView {
  Q_OBJECT

 public:
  explicit CColorListBox(QWidget* parent = nullptr);

  // Scrolls to the last line.
  void FollowEnd();

  // How far the list can be scrolled to the right, in characters.
  void SetLongestLine(std::size_t characters);

  // The selected lines in their order, each with a line end.
  QString SelectedText() const;
  void CopySelection() const;

  QRect visualRect(const QModelIndex& index) const override;
  void scrollTo(const QModelIndex& index, ScrollHint hint) override;
  QModelIndex indexAt(const QPoint& point) const override;

 protected:
  // Paints the text of one line, and nothing behind it.
  virtual void DrawItem(QPainter& painter, const QRect& area, const QModelIndex& index, bool selected) const;

  void paintEvent(QPaintEvent* event) override;
  void changeEvent(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void updateGeometries() override;
  void rowsInserted(const QModelIndex& parent, int start, int end) override;

  int horizontalOffset() const override;
  int verticalOffset() const override;
  bool isIndexHidden(const QModelIndex&) const override { return false; }
  QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
  void setSelection(const QRect& area, QItemSelectionModel::SelectionFlags command) override;
  QRegion visualRegionForSelection(const QItemSelection& selection) const override;

 private:
  void DrawFocus(QPainter& painter, const QRect& area) const;
  int LineHeight() const;
  int LineCount() const;
  int WholeLines() const;  // lines that fit into the viewport, at least 1
  int RowAt(int y) const;

  std::size_t longest_ = 0;
};

}  // namespace velnor
