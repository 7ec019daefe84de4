// Text between the server and the toolkit. The server's text is bytes, mostly UTF-8; a byte that is none
// shows as a replacement character.
#pragma once

#include <QString>
#include <string>
#include <string_view>

namespace velnor {

inline QString ToQString(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

inline std::string ToText(const QString& text) {
  return text.toStdString();
}

}  // namespace velnor
