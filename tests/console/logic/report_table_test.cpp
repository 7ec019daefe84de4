#include "console/logic/report_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace velnor {
namespace {

int Sign(int number) {
  return (number > 0) - (number < 0);
}

int CompareTexts(std::string_view a, std::string_view b) {
  return Sign(CompareCells(ReadCell(a, DateOrder::DAY_FIRST), ReadCell(b, DateOrder::DAY_FIRST)));
}

TEST(CompareCells, PairByPairAsHexDecimalDateOrText) {
  const struct {
    const char* A;
    const char* B;
    int Order;
  } cases[] = {
      {"9", "10", -1},
      {"0XfF", "100", -1},
      {"fade", "beef", 1},           // both hexadecimal
      {"ffffffff", "fffffffff", 0},  // beyond 32 bits
      {"-1", "ffffffff", 0},         // unsigned
      {"1.5", "20%", -1},
      {" 2.5", "1e3", -1},
      {"1.5", "1.5e+999", -1},  // beyond the range of the type
      {"-0.5", "1.5e-999", -1},
      {"5 ", "40 ", 1},   // a blank behind it makes text
      {"nan", "inf", 1},  // names, not numbers
      {"2024-01-10", "9.2.2024", -1},
      {"10.01.2024", "9.2.2024", -1},
      {"2024-01-10 9:30", "2024-01-10 14:05", -1},
      {"10.13.2024", "9 bottles", -1},
      {"", "0", -1},  // an empty cell is text
      {"0x", "0", 1},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(CompareTexts(c.A, c.B), c.Order) << c.A << " and " << c.B;
    EXPECT_EQ(CompareTexts(c.B, c.A), -c.Order) << c.B << " and " << c.A;
  }
}

TEST(ReadDate, FormsAndWhatIsNone) {
  constexpr std::int64_t APRIL_3 = 1712102400;  // 2024-04-03 00:00
  constexpr std::int64_t MARCH_4 = 1709510400;
  const struct {
    const char* Text;
    std::optional<std::int64_t> DayFirst;
    std::optional<std::int64_t> MonthFirst;
  } cases[] = {
      {"2024-04-03", APRIL_3, APRIL_3},
      {"2024/4/3 00:01", APRIL_3 + 60, APRIL_3 + 60},
      {"2024-04-03T15:30:05", APRIL_3 + 55805, APRIL_3 + 55805},
      {"3.4.2024", APRIL_3, MARCH_4},
      {"03/04/24 12:00 AM", APRIL_3, MARCH_4},
      {"Apr 3, 2024, 1:00 pm", APRIL_3 + 46800, APRIL_3 + 46800},
      {"25/12/1969", -7 * 86400, -7 * 86400},  // one way alone is in the calendar
      {"1/1/30", -14610 * 86400LL, -14610 * 86400LL},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ReadDate(c.Text, DateOrder::DAY_FIRST), c.DayFirst) << c.Text;
    EXPECT_EQ(ReadDate(c.Text, DateOrder::MONTH_FIRST), c.MonthFirst) << c.Text;
  }
  for (const char* text : {"", "2024", "4.2024", "30.2.2024", "1.2-2024", "1.2.123", "127.0.0.1",
                           "2024-04-03x", "2024-04-03 25:00", "3 Aprils 2024", "April", "May 2024",
                           "13:00 PM", "1:2", "99999999999-1-1", "0.0.2024"}) {
    EXPECT_EQ(ReadDate(text, DateOrder::DAY_FIRST), std::nullopt) << text;
  }
}

TEST(SortedRows, SortsManyCellsAndEndsOnAnyMixture) {
  std::mt19937 random(1);
  const char* const words[] = {"fade", "bob", "12", "0x3", "", "7%", "1.2.2024", "zed", "a", "nan", "9:30"};
  std::vector<SortCell> numbers;
  std::vector<SortCell> mixture;
  for (int i = 0; i < 3000; ++i) {
    numbers.push_back(ReadCell(std::to_string(random() % 500), DateOrder::DAY_FIRST));
    mixture.push_back(ReadCell(words[random() % std::size(words)], DateOrder::DAY_FIRST));
  }
  for (const bool ascending : {true, false}) {
    const auto rows = SortedRows(numbers, ascending);
    EXPECT_TRUE(std::is_sorted(rows.begin(), rows.end(), [&](std::size_t a, std::size_t b) {
      const int order = CompareCells(numbers[a], numbers[b]);
      return ascending ? order < 0 : order > 0;
    }));
    auto all = SortedRows(mixture, ascending);
    std::sort(all.begin(), all.end());
    for (std::size_t i = 0; i < all.size(); ++i) ASSERT_EQ(all[i], i);
  }
}

TEST(ReportTable, AClickTurnsTheOrderUntilSomethingIsNew) {
  ReportTable table;
  EXPECT_EQ(table.InsertRow(0, "no column yet"), -1);
  table.InsertColumn(0, "Account");
  table.InsertColumn(1, "Name");
  for (const char* const account : {"10", "9", "100"}) table.InsertRow(7, account);
  const auto click = [&table](int column) {
    table.Sort(column, table.ClickAscending(column));
    return table.SortAscending();
  };
  EXPECT_TRUE(click(0));
  EXPECT_EQ(table.CellText(0, 0), "9");
  EXPECT_FALSE(click(0));
  EXPECT_EQ(table.CellText(0, 0), "100");
  EXPECT_TRUE(click(1)) << "another column begins ascending";
  table.DeleteRow(0);
  EXPECT_FALSE(click(1)) << "a deleted row changes nothing of that";
  table.InsertRow(0, "50");
  EXPECT_TRUE(click(1));
  table.SetCellText(0, 0, "x");
  EXPECT_TRUE(click(1));
  for (const int place : {-1, 3}) {
    EXPECT_TRUE(table.Sort(place, true).empty());
    EXPECT_FALSE(table.SetCellText(place, 0, "b"));
    EXPECT_FALSE(table.SetRowData(place, 1));
    EXPECT_FALSE(table.DeleteRow(place));
  }
}

}  // namespace
}  // namespace velnor
