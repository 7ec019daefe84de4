#include "console/logic/cell_date.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>

#include "core/text.h"

namespace velnor {
namespace {

constexpr std::array<std::string_view, 12> MONTHS = {"january",   "february", "march",    "april",
                                                     "may",       "june",     "july",     "august",
                                                     "september", "october",  "november", "december"};

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

bool IsLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// A number as it stands in the text; the count of its digits tells a year.
struct Digits {
  int Value = 0;
  std::size_t Count = 0;
};

// Takes a text apart from its front. A take that does not fit takes nothing.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : left_(TrimBlanks(text)) {}

  bool AtEnd() const { return left_.empty(); }

  // A number of at most four digits.
  std::optional<Digits> TakeDigits() {
    const std::size_t count = Run(IsDigit);
    if (count == 0 || count > 4) return std::nullopt;
    Digits digits{.Count = count};
    std::from_chars(left_.data(), left_.data() + count, digits.Value);
    left_.remove_prefix(count);
    return digits;
  }

  // A month's name or its first three letters: 1 to 12.
  std::optional<int> TakeMonth() {
    const std::string word = LowerCase(left_.substr(0, Run(IsLetter)));
    const auto* const month = std::find_if(MONTHS.begin(), MONTHS.end(), [&word](std::string_view name) {
      return word == name || word == name.substr(0, 3);
    });
    if (month == MONTHS.end()) return std::nullopt;
    left_.remove_prefix(word.size());
    return static_cast<int>(month - MONTHS.begin()) + 1;
  }

  // One of the characters, or 0. A blank stands for any number of blanks.
  char TakeOne(std::string_view characters) {
    if (left_.empty() || characters.find(left_.front()) == std::string_view::npos) return '\0';
    const char taken = left_.front();
    left_.remove_prefix(1);
    if (taken == ' ') SkipBlanks();
    return taken;
  }

  bool TakeWord(std::string_view word) {
    if (!EqualsIgnoreCase(left_.substr(0, word.size()), word)) return false;
    left_.remove_prefix(word.size());
    return true;
  }

  void SkipBlanks() { left_ = TrimLeftBlanks(left_); }

 private:
  std::size_t Run(bool (*belongs)(char)) const {
    return static_cast<std::size_t>(std::find_if_not(left_.begin(), left_.end(), belongs) - left_.begin());
  }

  std::string_view left_;
};

using Days = std::chrono::sys_days;

std::optional<Days> DayOf(Digits year, int month, Digits day) {
  if (year.Count != 2 && year.Count != 4) return std::nullopt;
  if (day.Count > 2) return std::nullopt;
  const int full_year = year.Count == 4 ? year.Value : year.Value + (year.Value < 30 ? 2000 : 1900);
  const std::chrono::year_month_day date{std::chrono::year(full_year),
                                         std::chrono::month(static_cast<unsigned>(month)),
                                         std::chrono::day(static_cast<unsigned>(day.Value))};
  if (!date.ok()) return std::nullopt;
  return Days(date);
}

// "April 3, 2024".
std::optional<Days> TakeMonthFirst(Scanner& scanner, int month) {
  scanner.TakeOne(". ");
  scanner.SkipBlanks();
  const auto day = scanner.TakeDigits();
  if (!day || scanner.TakeOne(", ") == '\0') return std::nullopt;
  scanner.SkipBlanks();
  const auto year = scanner.TakeDigits();
  return year ? DayOf(*year, month, *day) : std::nullopt;
}

// Three numbers with the same character between them, or a day, a month's name and a year.
std::optional<Days> TakeNumberFirst(Scanner& scanner, DateOrder order) {
  const auto first = scanner.TakeDigits();
  if (!first) return std::nullopt;
  const char between = scanner.TakeOne("-/. ");
  if (between == '\0') return std::nullopt;
  scanner.SkipBlanks();
  if (const auto month = scanner.TakeMonth()) {
    if (scanner.TakeOne("-/. ") == '\0') return std::nullopt;
    const auto year = scanner.TakeDigits();
    return year ? DayOf(*year, *month, *first) : std::nullopt;
  }
  const auto second = scanner.TakeDigits();
  if (!second || between == ' ' || scanner.TakeOne({&between, 1}) == '\0') return std::nullopt;
  const auto third = scanner.TakeDigits();
  if (!third || second->Count > 2) return std::nullopt;
  if (first->Count == 4) return DayOf(*first, second->Value, *third);
  const auto day_first = DayOf(*third, second->Value, *first);
  const auto month_first = DayOf(*third, first->Value, *second);
  if (order == DateOrder::DAY_FIRST) return day_first ? day_first : month_first;
  return month_first ? month_first : day_first;
}

// "15:30", "15:30:05", "3:30 PM": seconds of the day.
std::optional<std::chrono::seconds> TakeTime(Scanner& scanner) {
  const auto hour = scanner.TakeDigits();
  if (!hour || hour->Count > 2 || scanner.TakeOne(":") == '\0') return std::nullopt;
  const auto minute = scanner.TakeDigits();
  if (!minute || minute->Count != 2 || minute->Value > 59) return std::nullopt;
  Digits second;
  if (scanner.TakeOne(":") != '\0') {
    const auto taken = scanner.TakeDigits();
    if (!taken || taken->Count != 2 || taken->Value > 59) return std::nullopt;
    second = *taken;
  }
  int hours = hour->Value;
  scanner.SkipBlanks();
  const bool afternoon = scanner.TakeWord("PM");
  if (afternoon || scanner.TakeWord("AM")) {
    if (hours < 1 || hours > 12) return std::nullopt;
    hours = hours % 12 + (afternoon ? 12 : 0);
  }
  if (hours > 23) return std::nullopt;
  return std::chrono::hours(hours) + std::chrono::minutes(minute->Value) + std::chrono::seconds(second.Value);
}

}  // namespace

std::optional<std::int64_t> ReadDate(std::string_view text, DateOrder order) {
  Scanner time_alone(text);
  if (const auto time = TakeTime(time_alone)) {
    if (time_alone.AtEnd()) return time->count();
  }
  Scanner scanner(text);
  const auto month = scanner.TakeMonth();
  const auto day = month ? TakeMonthFirst(scanner, *month) : TakeNumberFirst(scanner, order);
  if (!day) return std::nullopt;
  std::chrono::seconds time{0};
  if (!scanner.AtEnd()) {
    if (scanner.TakeOne("T ,") == '\0') return std::nullopt;
    scanner.SkipBlanks();
    const auto taken = TakeTime(scanner);
    if (!taken || !scanner.AtEnd()) return std::nullopt;
    time = *taken;
  }
  return (day->time_since_epoch() + time).count();
}

}  // namespace velnor
