#include "console/widgets/icons.h"

#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>

// A resource of a static library has to be asked for, outside any namespace.
static void LoadPictures() {
  Q_INIT_RESOURCE(pictures);
}

namespace velnor {
namespace {

constexpr int SIZES[] = {16, 20, 22, 24, 32, 48, 64, 128, 256};

QPixmap Draw(const QString& name, QSize pixels) {
  LoadPictures();
  QPixmap picture(pixels);
  picture.fill(Qt::transparent);
  QPainter painter(&picture);
  QSvgRenderer renderer(":/pictures/" + name + ".svg");
  renderer.setAspectRatioMode(Qt::KeepAspectRatioByExpanding);
  renderer.render(&painter, QRectF(QPointF(0, 0), QSizeF(pixels)));
  return picture;
}

// Each size is drawn on its own: trays and window managers take the pixels that are there.
QIcon DrawAll(const QString& name) {
  QIcon icon;
  for (const int size : SIZES) icon.addPixmap(Draw(name, QSize(size, size)));
  return icon;
}

QString PictureName(Action action) {
  switch (action) {
    case Action::START:
      return "start";
    case Action::STOP:
      return "stop";
    case Action::USERS:
      return "users";
    case Action::CONFIGURATION:
      return "configuration";
    case Action::MAIL_LISTS:
      return "mail_lists";
    case Action::LOG_VIEW:
      return "log_view";
    case Action::ABOUT:
      return "help";
    default:
      return {};
  }
}

}  // namespace

QIcon ServerIcon(bool running) {
  return DrawAll(running ? "server_running" : "server_stopped");
}

QIcon ActionIcon(Action action) {
  const QString name = PictureName(action);
  return name.isEmpty() ? QIcon() : DrawAll(name);
}

QPixmap AboutStrip(QSize pixels) {
  return Draw("about_strip", pixels);
}

}  // namespace velnor
