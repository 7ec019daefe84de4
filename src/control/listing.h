// What a command answers with: a table of rows or one record, shown as text for a person or as JSON for a
// program. No state; any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace velnor {

// A value; the first kind is one that is not known: "-", and null in JSON. Several are joined by ",".
using Cell = std::variant<std::monostate, std::string, std::int64_t, bool, std::vector<std::string>,
                          std::vector<std::int64_t>>;

// Columns are named as the members of an object are in JSON. Each row has a cell for each column.
struct Listing {
  std::vector<std::string> Columns;
  std::vector<std::vector<Cell>> Rows;
};

using Record = std::vector<std::pair<std::string, Cell>>;

// Aligned columns below a line of their names, which a table of one column does without. Control characters
// show as "?".
std::string ListingText(const Listing& listing);

// "name: value", a line each.
std::string RecordText(const Record& record);

// An array of objects, a line each; and one object.
std::string ListingJson(const Listing& listing);
std::string RecordJson(const Record& record);

// The text as valid UTF-8: each byte that belongs to no character becomes U+FFFD.
std::string ValidUtf8(std::string_view text);

}  // namespace velnor
