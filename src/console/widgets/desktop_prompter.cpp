#include "console/widgets/desktop_prompter.h"

#include <QApplication>
#include <QDesktopServices>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
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

// The answer of a box that was closed, or that the end of the program took away.
PromptAnswer Unanswered(PromptButtons buttons) {
  switch (buttons) {
    case PromptButtons::OK_CANCEL:
      return PromptAnswer::CANCEL;
    case PromptButtons::YES_NO:
      return PromptAnswer::NO;
    case PromptButtons::OK:
      break;
  }
  return PromptAnswer::OK;
}

QMessageBox::Icon ToIcon(PromptIcon icon) {
  switch (icon) {
    case PromptIcon::INFORMATION:
      return QMessageBox::Information;
    case PromptIcon::STOP:
      return QMessageBox::Critical;
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

QString ToFileName(const std::string& path) {
  return QFile::decodeName(QByteArray::fromStdString(path));
}

}  // namespace

PromptAnswer DesktopPrompter::Show(std::string_view text, std::string_view caption, PromptButtons buttons,
                                   PromptIcon icon) {
  QMessageBox box(ToIcon(icon), ToQString(caption), ToQString(text), ToButtons(buttons), Owner());
  box.setTextFormat(Qt::PlainText);
  switch (box.exec()) {
    case QMessageBox::Yes:
      return PromptAnswer::YES;
    case QMessageBox::Ok:
      return PromptAnswer::OK;
    default:
      return Unanswered(buttons);
  }
}

std::optional<std::string> DesktopPrompter::ChooseFolder(std::string_view title, const std::string& start) {
  QFileDialog chooser(Owner(), ToQString(title));
  chooser.setFileMode(QFileDialog::Directory);
  chooser.setOption(QFileDialog::ShowDirsOnly);
  const QString folder = ToFileName(start);
  if (QFileInfo(folder).isDir()) chooser.setDirectory(folder);
  if (chooser.exec() != QDialog::Accepted) return std::nullopt;
  const QStringList chosen = chooser.selectedFiles();
  return chosen.isEmpty() ? std::string() : QFile::encodeName(chosen.first()).toStdString();
}

void DesktopPrompter::OpenExternally(const std::string& target) {
  QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(ToFileName(target)).absoluteFilePath()));
}

}  // namespace velnor
