#include "console/widgets/color_list.h"

#include <algorithm>
#include <QClipboard>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStyleOptionFocusRect>

#include "console/logic/log_colour.h"
#include "console/widgets/log_model.h"

namespace velnor {
namespace {

constexpr int MARGIN = 4;   // left and right of a text
constexpr int LEADING = 2;  // between two lines

Colour ToColour(const QColor& color) {
  return MakeColour(static_cast<unsigned>(color.red()), static_cast<unsigned>(color.green()),
                    static_cast<unsigned>(color.blue()));
}

QColor ToQColor(Colour colour) {
  return QColor(static_cast<int>(RedOf(colour)), static_cast<int>(GreenOf(colour)),
                static_cast<int>(BlueOf(colour)));
}

}  // namespace

CColorListBox::CColorListBox(QWidget* parent) : QAbstractItemView(parent) {
  setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  setSelectionMode(ExtendedSelection);
  setEditTriggers(NoEditTriggers);
  setHorizontalScrollMode(ScrollPerPixel);
  setMinimumSize(QSize(120, 60));
}

int CColorListBox::LineHeight() const {
  return fontMetrics().height() + LEADING;
}

int CColorListBox::LineCount() const {
  return model() == nullptr ? 0 : model()->rowCount();
}

int CColorListBox::WholeLines() const {
  return std::max(1, viewport()->height() / LineHeight());
}

int CColorListBox::RowAt(int y) const {
  const int line = y >= 0 ? y / LineHeight() : -1 - (-y - 1) / LineHeight();
  return verticalScrollBar()->value() + line;
}

void CColorListBox::FollowEnd() {
  verticalScrollBar()->setValue(verticalScrollBar()->maximum());
}

void CColorListBox::SetLongestLine(std::size_t characters) {
  if (characters == longest_) return;
  longest_ = characters;
  updateGeometries();
}

void CColorListBox::updateGeometries() {
  QScrollBar* const vertical = verticalScrollBar();
  // A list that shows its end goes on doing so when its size changes, or when the bar below it comes or goes.
  const bool at_end = vertical->value() == vertical->maximum();
  vertical->setRange(0, std::max(0, LineCount() - WholeLines()));
  vertical->setPageStep(WholeLines());
  vertical->setSingleStep(1);
  if (at_end) FollowEnd();
  const int character = fontMetrics().horizontalAdvance('0');
  const int width = static_cast<int>(longest_) * character + 2 * MARGIN;
  QScrollBar* const horizontal = horizontalScrollBar();
  horizontal->setRange(0, std::max(0, width - viewport()->width()));
  horizontal->setPageStep(viewport()->width());
  horizontal->setSingleStep(character * 4);
  QAbstractItemView::updateGeometries();
}

void CColorListBox::rowsInserted(const QModelIndex& parent, int start, int end) {
  QAbstractItemView::rowsInserted(parent, start, end);
  updateGeometries();
  viewport()->update();
}

int CColorListBox::horizontalOffset() const {
  return horizontalScrollBar()->value();
}

int CColorListBox::verticalOffset() const {
  return verticalScrollBar()->value() * LineHeight();
}

QRect CColorListBox::visualRect(const QModelIndex& index) const {
  if (!index.isValid()) return {};
  const int top = (index.row() - verticalScrollBar()->value()) * LineHeight();
  const int width = viewport()->width() + horizontalScrollBar()->maximum();
  return QRect(-horizontalOffset(), top, width, LineHeight());
}

QModelIndex CColorListBox::indexAt(const QPoint& point) const {
  const int row = RowAt(point.y());
  return row >= 0 && row < LineCount() ? model()->index(row, 0) : QModelIndex();
}

void CColorListBox::scrollTo(const QModelIndex& index, ScrollHint) {
  if (!index.isValid()) return;
  QScrollBar* const bar = verticalScrollBar();
  if (index.row() < bar->value()) bar->setValue(index.row());
  if (index.row() >= bar->value() + WholeLines()) bar->setValue(index.row() - WholeLines() + 1);
}

void CColorListBox::paintEvent(QPaintEvent* event) {
  QPainter painter(viewport());
  const int first = std::max(0, RowAt(event->rect().top()));
  const int last = std::min(LineCount() - 1, RowAt(event->rect().bottom()));
  for (int row = first; row <= last; ++row) {
    const QModelIndex index = model()->index(row, 0);
    const QRect area = visualRect(index);
    const bool selected = selectionModel()->isSelected(index);
    if (selected) painter.fillRect(area, palette().highlight());
    DrawItem(painter, area, index, selected);
    if (hasFocus() && index == currentIndex()) DrawFocus(painter, area);
  }
}

void CColorListBox::DrawFocus(QPainter& painter, const QRect& area) const {
  QStyleOptionFocusRect option;
  option.initFrom(this);
  option.rect = area;
  option.backgroundColor = palette().color(QPalette::Base);
  style()->drawPrimitive(QStyle::PE_FrameFocusRect, &option, &painter, this);
}

void CColorListBox::DrawItem(QPainter& painter, const QRect& area, const QModelIndex& index,
                             bool selected) const {
  const Colour colour = index.data(LogModel::COLOUR_ROLE).toUInt();
  const QPalette& tones = palette();
  if (colour == PLATFORM_TEXT) {
    painter.setPen(selected ? tones.highlightedText().color() : tones.text().color());
  } else {
    const QColor background = selected ? tones.highlight().color() : tones.base().color();
    painter.setPen(ToQColor(LegibleColour(colour, ToColour(background))));
  }
  painter.drawText(area.adjusted(MARGIN, 0, 0, 0), Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                   index.data().toString());
}

void CColorListBox::changeEvent(QEvent* event) {
  QAbstractItemView::changeEvent(event);
  if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) updateGeometries();
}

void CColorListBox::keyPressEvent(QKeyEvent* event) {
  if (event->matches(QKeySequence::Copy)) {
    CopySelection();
    event->accept();
    return;
  }
  QScrollBar* const bar = horizontalScrollBar();
  if (event->key() == Qt::Key_Left || event->key() == Qt::Key_Right) {
    bar->setValue(bar->value() + (event->key() == Qt::Key_Left ? -1 : 1) * bar->singleStep());
    event->accept();
    return;
  }
  QAbstractItemView::keyPressEvent(event);
}

QModelIndex CColorListBox::moveCursor(CursorAction action, Qt::KeyboardModifiers) {
  if (LineCount() == 0) return {};
  const int last = LineCount() - 1;
  const int row = currentIndex().isValid() ? currentIndex().row() : last;
  switch (action) {
    case MoveUp:
    case MovePrevious:
      return model()->index(std::max(0, row - 1), 0);
    case MoveDown:
    case MoveNext:
      return model()->index(std::min(last, row + 1), 0);
    case MovePageUp:
      return model()->index(std::max(0, row - WholeLines()), 0);
    case MovePageDown:
      return model()->index(std::min(last, row + WholeLines()), 0);
    case MoveHome:
      return model()->index(0, 0);
    case MoveEnd:
      return model()->index(last, 0);
    default:
      return model()->index(row, 0);
  }
}

void CColorListBox::setSelection(const QRect& area, QItemSelectionModel::SelectionFlags command) {
  // Upwards from where it began, a selection comes as a rectangle with its top below its bottom.
  const auto [top, bottom] = std::minmax({area.top(), area.bottom()});
  const int first = std::max(0, RowAt(top));
  const int last = std::min(LineCount() - 1, RowAt(bottom));
  QItemSelection lines;
  if (first <= last) lines.select(model()->index(first, 0), model()->index(last, 0));
  selectionModel()->select(lines, command);
}

QRegion CColorListBox::visualRegionForSelection(const QItemSelection& selection) const {
  const int top = verticalScrollBar()->value();
  const int bottom = top + WholeLines() + 1;
  QRegion region;
  for (const QItemSelectionRange& range : selection) {
    const int first = std::max(range.top(), top);
    const int last = std::min(range.bottom(), bottom);
    if (first > last) continue;
    region += visualRect(model()->index(first, 0)).united(visualRect(model()->index(last, 0)));
  }
  return region;
}

QString CColorListBox::SelectedText() const {
  QItemSelection ranges = selectionModel()->selection();
  std::sort(ranges.begin(), ranges.end(),
            [](const QItemSelectionRange& a, const QItemSelectionRange& b) { return a.top() < b.top(); });
  QString text;
  for (const QItemSelectionRange& range : ranges) {
    for (int row = range.top(); row <= range.bottom(); ++row) {
      text += model()->index(row, 0).data().toString() + '\n';
    }
  }
  return text;
}

void CColorListBox::CopySelection() const {
  const QString text = SelectedText();
  if (!text.isEmpty()) QGuiApplication::clipboard()->setText(text);
}

}  // namespace velnor
