// Any bytes as a name server's reply: the walk stays within them, and what comes out keeps the promises of
// the header.
#include <algorithm>
#include <cstdlib>

#include "agent/dns_message.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

bool IsVisible(char c) {
  return c > ' ' && c < '\x7f';
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  const std::span<const char> reply(reinterpret_cast<const char*>(data), size);
  const auto result = velnor::ParseMxReply(reply);
  if (!result) return 0;
  Require(result->size() <= size / 12);
  Require(std::is_sorted(result->begin(), result->end(),
                         [](const auto& a, const auto& b) { return a.Preference < b.Preference; }));
  for (const velnor::MxRecord& record : *result) {
    const std::string_view name = record.HostName;
    Require(std::all_of(name.begin(), name.end(), IsVisible));
    Require(record.Addresses.empty());
  }
  return 0;
}
