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

class ReportTableTest : public testing::Test {
 protected:
  ReportTableTest() {
    table_.InsertColumn(0, "Account");
    table_.InsertColumn(1, "Name");
  }

  void Fill(const std::vector<std::string>& accounts) {
    for (const std::string& account : accounts) {
      const int row = table_.InsertRow(table_.RowCount(), account);
      table_.SetCellText(row, 1, "name of " + account);
      table_.SetRowData(row, static_cast<std::intptr_t>(account.size()));
    }
  }

  std::vector<std::size_t> ClickHeader(int column) {
    return table_.Sort(column, table_.ClickAscending(column));
  }

  std::vector<std::string> Accounts() const {
    std::vector<std::string> accounts;
    for (int row = 0; row < table_.RowCount(); ++row) accounts.push_back(table_.CellText(row, 0));
    return accounts;
  }

  ReportTable table_;
};

using Texts = std::vector<std::string>;

TEST_F(ReportTableTest, RowsMoveWholeAndClicksTurnTheOrder) {
  Fill({"10", "9", "100"});
  EXPECT_EQ(ClickHeader(0), (std::vector<std::size_t>{1, 0, 2}));
  EXPECT_EQ(Accounts(), (Texts{"9", "10", "100"}));
  EXPECT_EQ(table_.CellText(0, 1), "name of 9");
  EXPECT_EQ(table_.RowData(2), 3);
  ClickHeader(0);
  EXPECT_EQ(Accounts(), (Texts{"100", "10", "9"}));
  // Another column begins ascending; a deleted row changes nothing of that.
  ClickHeader(1);
  table_.DeleteRow(0);
  ClickHeader(1);
  EXPECT_FALSE(table_.SortAscending());
  // What is new makes the next click begin anew.
  EXPECT_EQ(table_.InsertRow(0, "50"), 0);
  EXPECT_EQ(table_.SortColumn(), -1);
  ClickHeader(1);
  EXPECT_TRUE(table_.SortAscending());
  EXPECT_TRUE(table_.SetCellText(0, 0, "x"));
  EXPECT_EQ(table_.SortColumn(), -1);
}

TEST_F(ReportTableTest, PlacesThatAreNotThere) {
  EXPECT_TRUE(table_.Sort(2, true).empty());
  EXPECT_TRUE(table_.Sort(-1, true).empty());
  EXPECT_EQ(table_.InsertRow(-1, "a"), -1);
  EXPECT_EQ(table_.InsertRow(7, "a"), 0);
  EXPECT_EQ(table_.InsertColumn(-1, "c"), -1);
  for (const int row : {-1, 1}) {
    EXPECT_FALSE(table_.SetCellText(row, 0, "b"));
    EXPECT_FALSE(table_.SetRowData(row, 1));
    EXPECT_FALSE(table_.DeleteRow(row));
  }
  EXPECT_FALSE(table_.SetCellText(0, 2, "b"));
  EXPECT_EQ(ReportTable().InsertRow(0, "a"), -1);  // no column
}

}  // namespace
}  // namespace velnor
