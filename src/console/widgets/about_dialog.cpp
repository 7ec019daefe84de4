#include "console/widgets/about_dialog.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "console/logic/about_pages.h"
#include "console/widgets/icons.h"

namespace velnor {
namespace {

// The picture strip: the drawn background with the product's name on it, in the desktop's font.
class Strip : public QWidget {
 public:
  explicit Strip(QWidget* parent) : QWidget(parent) {
    setFixedHeight(fontMetrics().height() * 4);
    setAccessibleName("Velnor");
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    painter.drawPixmap(rect(), AboutStrip((QSizeF(size()) * devicePixelRatioF()).toSize()));
    const int side = height() * 3 / 4;
    const QRect sign(height() / 4, (height() - side) / 2, side, side);
    sign_.paint(&painter, sign);
    QFont name = font();
    name.setPixelSize(fontInfo().pixelSize() * 2);
    name.setBold(true);
    painter.setFont(name);
    painter.setPen(Qt::white);
    painter.drawText(rect().adjusted(sign.right() + height() / 4, 0, 0, 0), Qt::AlignLeft | Qt::AlignVCenter,
                     "Velnor");
  }

 private:
  const QIcon sign_ = ServerIcon(true);
};

}  // namespace

CAboutDialog::CAboutDialog(QWidget* parent) : QDialog(parent) {
  setWindowTitle("About Velnor");
  auto* const text = new QPlainTextEdit(this);
  text->setReadOnly(true);
  text->setTabChangesFocus(true);
  text->setMinimumSize(fontMetrics().horizontalAdvance('x') * 30, fontMetrics().lineSpacing() * 4);

  auto* const buttons = new QHBoxLayout;
  for (const AboutPage& page : AboutPages()) {
    auto* const button = new QPushButton(page.Button, this);
    button->setAutoDefault(false);
    connect(button, &QPushButton::clicked, text, [text, &page] { text->setPlainText(page.Text); });
    buttons->addWidget(button);
  }
  text->setPlainText(AboutPages().front().Text);

  auto* const body = new QVBoxLayout;
  body->setContentsMargins(12, 12, 12, 12);
  body->setSpacing(10);
  body->addWidget(text, 1);
  body->addLayout(buttons);
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addWidget(new Strip(this));
  layout->addLayout(body, 1);
  resize(fontMetrics().horizontalAdvance('x') * 64, fontMetrics().lineSpacing() * 18);
}

}  // namespace velnor
