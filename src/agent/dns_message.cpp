#include "agent/dns_message.h"

#include <algorithm>

namespace velnor {
namespace {

constexpr std::size_t HEADER_SIZE = 12;
constexpr std::size_t LABEL_LIMIT = 63;
constexpr std::size_t NAME_LIMIT = 253;
constexpr unsigned POINTER_BITS = 0xC0;

// A resource record from its TYPE field on: CLASS, TTL, RDLENGTH and the data follow. An MX record's data is
// the preference and the name.
constexpr std::size_t OWNER_SIZE = 2;  // a compressed owner name
constexpr std::size_t LENGTH_OFFSET = 8;
constexpr std::size_t DATA_OFFSET = 10;
constexpr std::size_t NAME_OFFSET = 12;
constexpr std::size_t LEAST_RECORD_SIZE = OWNER_SIZE + DATA_OFFSET;

constexpr unsigned TYPE_A = 1;
constexpr unsigned TYPE_NS = 2;
constexpr unsigned TYPE_CNAME = 5;
constexpr unsigned TYPE_MX = 15;

using Bytes = std::span<const char>;

bool Holds(Bytes reply, std::size_t offset, std::size_t count) {
  return offset <= reply.size() && count <= reply.size() - offset;
}

// The numbers at a place that the reply is known to hold.
unsigned ByteAt(Bytes reply, std::size_t offset) {
  return static_cast<unsigned char>(reply[offset]);
}
std::uint16_t WordAt(Bytes reply, std::size_t offset) {
  return static_cast<std::uint16_t>(ByteAt(reply, offset) << 8 | ByteAt(reply, offset + 1));
}

// Blanks, control characters and dots inside a label have no place in a host's name. A NUL would cut the name
// short and so make it that of another host.
bool IsHostLabel(std::string_view label) {
  return std::all_of(label.begin(), label.end(), [](char c) { return c > ' ' && c < '\x7f' && c != '.'; });
}

// The place of the zero byte that ends the question's name, which is the first of the reply and so has no
// pointer.
std::optional<std::size_t> QuestionNameEnd(Bytes reply) {
  std::size_t at = HEADER_SIZE;
  while (Holds(reply, at, 1)) {
    const unsigned length = ByteAt(reply, at);
    if (length == 0) return at;
    if (length > LABEL_LIMIT) return std::nullopt;
    at += 1 + length;
  }
  return std::nullopt;
}

// Fills the records of the result from the MX answers among the reply's records, the first of which has its
// TYPE field at `at`. Owner names are not parsed: each is taken to be a compressed one, and what a longer one
// has in excess is stepped over up to the zero byte with which the next TYPE field begins.
void FillFromRecords(Bytes reply, std::size_t at, std::size_t record_count, MxResult& result) {
  auto next = result.begin();
  for (; record_count > 0 && Holds(reply, at, DATA_OFFSET); --record_count) {
    const unsigned type = WordAt(reply, at);
    if (type == TYPE_MX) {
      if (next != result.end() && Holds(reply, at, NAME_OFFSET)) {
        next->HostName = ExpandDnsName(reply, at + NAME_OFFSET);
        next->Preference = WordAt(reply, at + DATA_OFFSET);
        ++next;
      }
    } else if (type != TYPE_A && type != TYPE_NS && type != TYPE_CNAME) {
      return;
    }
    at += LEAST_RECORD_SIZE + WordAt(reply, at + LENGTH_OFFSET);
    while (at < reply.size() && reply[at] != '\0') ++at;
  }
}

}  // namespace

std::optional<std::string> EncodeDnsName(std::string_view name) {
  if (name.size() > NAME_LIMIT) return std::nullopt;
  std::string encoded;
  for (;;) {
    const std::string_view label = name.substr(0, name.find('.'));
    if (label.empty() || label.size() > LABEL_LIMIT) return std::nullopt;
    encoded.push_back(static_cast<char>(label.size()));
    encoded.append(label);
    if (label.size() == name.size()) break;
    name.remove_prefix(label.size() + 1);
  }
  encoded.push_back('\0');
  return encoded;
}

DnsName ExpandDnsName(std::span<const char> reply, std::size_t offset) {
  DnsName name;
  std::size_t piece_start = offset;
  while (Holds(reply, offset, 1)) {
    const unsigned length = ByteAt(reply, offset);
    if (length == 0) return name;
    if ((length & POINTER_BITS) != 0) {
      if (!Holds(reply, offset, 2)) return {};
      // To lead before the piece just read, and not only before the pointer, is what makes a circle
      // impossible.
      const std::size_t target = WordAt(reply, offset) & ~(POINTER_BITS << 8);
      if (target >= piece_start) return {};
      offset = piece_start = target;
      continue;
    }
    if (!Holds(reply, offset + 1, length)) return {};
    const std::string_view label(reply.data() + offset + 1, length);
    const std::string_view dot = name.empty() ? "" : ".";
    if (!IsHostLabel(label) || name.size() + dot.size() + label.size() > DnsName::CAPACITY) return {};
    name.Append(dot);
    name.Append(label);
    offset += 1 + length;
  }
  return {};
}

std::optional<MxResult> ParseMxReply(std::span<const char> reply) {
  if (!Holds(reply, 0, HEADER_SIZE)) return std::nullopt;
  const std::size_t answer_count = WordAt(reply, 6);
  const std::size_t record_count = answer_count + WordAt(reply, 8) + WordAt(reply, 10);
  const std::optional<std::size_t> name_end = QuestionNameEnd(reply);
  if (!name_end) return std::nullopt;

  // Behind the question's name stand its type and class, then the records.
  const std::size_t records = *name_end + 5;
  const std::size_t room = reply.size() > records ? (reply.size() - records) / LEAST_RECORD_SIZE : 0;
  std::size_t answers = std::min(answer_count, room);
  if (answers == 0) return std::nullopt;
  const std::size_t first_type = records + OWNER_SIZE;
  if (WordAt(reply, first_type) == TYPE_CNAME) --answers;

  MxResult result(answers);
  FillFromRecords(reply, first_type, record_count, result);
  SortMxRecords(result);
  return result;
}

void SortMxRecords(MxResult& records) {
  std::stable_sort(records.begin(), records.end(),
                   [](const MxRecord& a, const MxRecord& b) { return a.Preference < b.Preference; });
}

}  // namespace velnor
