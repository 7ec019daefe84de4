#include "control/listing.h"

#include <algorithm>

#include "core/text.h"

namespace velnor {
namespace {

constexpr std::string_view REPLACEMENT = "\xEF\xBF\xBD";
constexpr std::string_view COLUMN_GAP = "  ";

std::string Joined(const std::vector<std::string>& texts, std::string_view separator) {
  std::string joined;
  for (const std::string& text : texts) {
    if (&text != &texts.front()) joined += separator;
    joined += text;
  }
  return joined;
}

std::vector<std::string> Digits(const std::vector<std::int64_t>& numbers) {
  std::vector<std::string> texts(numbers.size());
  std::transform(numbers.begin(), numbers.end(), texts.begin(),
                 [](std::int64_t n) { return std::to_string(n); });
  return texts;
}

std::string CellText(const Cell& cell) {
  if (const auto* text = std::get_if<std::string>(&cell)) return LogSafe(*text);
  if (const auto* number = std::get_if<std::int64_t>(&cell)) return std::to_string(*number);
  if (const auto* flag = std::get_if<bool>(&cell)) return *flag ? "yes" : "no";
  if (const auto* texts = std::get_if<std::vector<std::string>>(&cell)) return LogSafe(Joined(*texts, ","));
  if (const auto* numbers = std::get_if<std::vector<std::int64_t>>(&cell))
    return Joined(Digits(*numbers), ",");
  return "-";
}

std::string JsonText(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : ValidUtf8(text)) {
    if (c == '"' || c == '\\') {
      quoted += '\\';
      quoted += c;
    } else if (static_cast<unsigned char>(c) < ' ' || c == '\x7f') {
      quoted += FormatText("\\u%04x", static_cast<unsigned>(c));
    } else {
      quoted += c;
    }
  }
  return quoted + '"';
}

std::string CellJson(const Cell& cell) {
  if (const auto* text = std::get_if<std::string>(&cell)) return JsonText(*text);
  if (const auto* number = std::get_if<std::int64_t>(&cell)) return std::to_string(*number);
  if (const auto* flag = std::get_if<bool>(&cell)) return *flag ? "true" : "false";
  if (const auto* texts = std::get_if<std::vector<std::string>>(&cell)) {
    std::vector<std::string> quoted;
    std::transform(texts->begin(), texts->end(), std::back_inserter(quoted), JsonText);
    return "[" + Joined(quoted, ", ") + "]";
  }
  if (const auto* numbers = std::get_if<std::vector<std::int64_t>>(&cell)) {
    return "[" + Joined(Digits(*numbers), ", ") + "]";
  }
  return "null";
}

std::string ObjectJson(const Record& record) {
  std::vector<std::string> members;
  for (const auto& [name, cell] : record) members.push_back(JsonText(name) + ": " + CellJson(cell));
  return "{" + Joined(members, ", ") + "}";
}

// The number of characters, so that a name outside ASCII keeps the columns aligned.
std::size_t Width(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(
      text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

// How many bytes the character at the start of a text has; 0 if none begins there.
std::size_t CharacterLength(std::string_view text) {
  const auto first = static_cast<unsigned char>(text.front());
  const std::size_t length = first < 0x80 ? 1 : first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
  if (length == 0 || first > 0xF4 || text.size() < length) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) return 0;
  }
  if (length < 3) return length;
  // Forms longer than they need be, surrogates, and what lies beyond the last character.
  const auto second = static_cast<unsigned char>(text[1]);
  const bool wrong = (first == 0xE0 && second < 0xA0) || (first == 0xED && second >= 0xA0) ||
                     (first == 0xF0 && second < 0x90) || (first == 0xF4 && second >= 0x90);
  return wrong ? 0 : length;
}

}  // namespace

std::string ListingText(const Listing& listing) {
  std::vector<std::vector<std::string>> lines;
  if (listing.Columns.size() > 1) lines.push_back(listing.Columns);
  for (const std::vector<Cell>& row : listing.Rows) {
    std::transform(row.begin(), row.end(), std::back_inserter(lines.emplace_back()), CellText);
  }
  std::vector<std::size_t> widths(listing.Columns.size(), 0);
  for (const auto& line : lines) {
    for (std::size_t i = 0; i < line.size(); ++i) widths[i] = std::max(widths[i], Width(line[i]));
  }
  std::string text;
  for (const auto& line : lines) {
    for (std::size_t i = 0; i < line.size(); ++i) {
      text += line[i];
      if (i + 1 < line.size()) text.append(widths[i] - Width(line[i]), ' ').append(COLUMN_GAP);
    }
    text += '\n';
  }
  return text;
}

std::string RecordText(const Record& record) {
  std::string text;
  for (const auto& [name, cell] : record) text += name + ": " + CellText(cell) + "\n";
  return text;
}

std::string ListingJson(const Listing& listing) {
  std::vector<std::string> objects;
  for (const std::vector<Cell>& row : listing.Rows) {
    Record record;
    for (std::size_t i = 0; i < row.size(); ++i) record.emplace_back(listing.Columns[i], row[i]);
    objects.push_back(ObjectJson(record));
  }
  return "[" + Joined(objects, ",\n ") + "]\n";
}

std::string RecordJson(const Record& record) {
  return ObjectJson(record) + "\n";
}

std::string ValidUtf8(std::string_view text) {
  std::string valid;
  while (!text.empty()) {
    const std::size_t length = CharacterLength(text);
    valid += length == 0 ? REPLACEMENT : text.substr(0, length);
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return valid;
}

}  // namespace velnor
