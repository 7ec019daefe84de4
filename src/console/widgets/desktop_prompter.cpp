#include "console/widgets/desktop_prompter.h"

#include <QApplication>
#include <QDesktopServices>
#include <QFile>
#include <QFileDialog>
#include <QMessageBox>
#include <QUrl>

#include "console/widgets/text_conversion.h"

namespace velnor {
namespace {

QMessageBox::StandardButtons ToButtons(PromptButtons buttons) {
  switch (buttons) {
    case PromptButtons::OK_CANCEL:
      return QMessageBox::Ok | QMessageBox::Cancel;
    case PromptButtons::YES_NO:
      return QMessageBox::Yes | QMessageBox::No;
    case PromptButtons::OK:
      break;
  }
  return QMessageBox::Ok;
}

QMessageBox::Icon ToIcon(PromptIcon icon) {
  switch (icon) {
    case PromptIcon::INFORMATION:
      return QMessageBox::Information;
    case PromptIcon::STOP:
      return QMessageBox::Critical;
    case PromptIcon::QUESTION:
      return QMessageBox::Question;
    case PromptIcon::NONE:
      break;
  }
  return QMessageBox::NoIcon;
}

// The window that a question belongs to: the topmost dialog, else the main window if it is shown.
QWidget* Owner() {
  QWidget* const dialog = QApplication::activeModalWidget();
  return dialog != nullptr ? dialog : QApplication::activeWindow();
}

}  // namespace

PromptAnswer DesktopPrompter::Show(std::string_view text, std::string_view caption, PromptButtons buttons,
                                   PromptIcon icon) {
  QMessageBox box(ToIcon(icon), ToQString(caption), ToQString(text), ToButtons(buttons), Owner());
  box.setTextFormat(Qt::PlainText);
  switch (box.exec()) {
    case QMessageBox::Yes:
      return PromptAnswer::YES;
    case QMessageBox::No:
      return PromptAnswer::NO;
    case QMessageBox::Cancel:
      return PromptAnswer::CANCEL;
    default:
      return PromptAnswer::OK;
  }
}

std::optional<std::string> DesktopPrompter::ChooseFolder(std::string_view title) {
  QFileDialog chooser(Owner(), ToQString(title));
  chooser.setFileMode(QFileDialog::Directory);
  chooser.setOption(QFileDialog::ShowDirsOnly);
  if (chooser.exec() != QDialog::Accepted) return std::nullopt;
  const QStringList chosen = chooser.selectedFiles();
  return chosen.isEmpty() ? std::string() : QFile::encodeName(chosen.first()).toStdString();
}

void DesktopPrompter::OpenExternally(const std::string& target) {
  const QString name = QFile::decodeName(QByteArray::fromStdString(target));
  QDesktopServices::openUrl(QUrl::fromUserInput(name, QString(), QUrl::AssumeLocalFile));
}

}  // namespace velnor
