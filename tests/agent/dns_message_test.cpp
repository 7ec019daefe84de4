#include "agent/dns_message.h"

#include <gtest/gtest.h>

#include "support/scripted_name_server.h"

namespace velnor {
namespace {

using namespace std::string_literals;
using test::DnsLabels;
using test::DnsMx;
using test::DnsPointer;
using test::DnsRecord;
using test::DnsReply;
using test::DnsWord;

const std::string LABEL_63(63, 'a');

// The place of the question's name, and of the name in the first answer, in replies about a.bc.
constexpr unsigned QUESTION = 12;
constexpr unsigned FIRST_MX_NAME = 12 + 6 + 4 + 14;

// "10 host, 20 -" for the records of a result, with "-" for an empty name; "none" for none.
std::string Show(const std::optional<MxResult>& result) {
  if (!result) return "none";
  std::string text;
  for (const MxRecord& record : *result) {
    text += (text.empty() ? "" : ", ") + std::to_string(record.Preference) + " ";
    text += record.HostName.empty() ? "-" : record.HostName.c_str();
  }
  return text;
}

TEST(EncodeDnsName, LengthBeforeEachLabelAndNoneForWhatHasNoWireForm) {
  EXPECT_EQ(EncodeDnsName("a.bc"), "\1a\2bc\0"s);
  EXPECT_EQ(EncodeDnsName(LABEL_63 + ".x"), "\x3f" + LABEL_63 + "\1x\0"s);

  const std::string longest = LABEL_63 + "." + LABEL_63 + "." + LABEL_63 + "." + std::string(61, 'b');
  EXPECT_TRUE(EncodeDnsName(longest));
  for (const std::string& name : {""s, ".a"s, "a..b"s, "a."s, LABEL_63 + "a.b", longest + "b"}) {
    EXPECT_EQ(EncodeDnsName(name), std::nullopt) << name;
  }
}

TEST(ExpandDnsName, FollowsPointersBackAndNothingElse) {
  const std::string longest = LABEL_63 + "." + LABEL_63 + "." + LABEL_63 + "." + LABEL_63;
  const struct {
    const char* what;
    std::string bytes;
    std::size_t offset;
    std::string name;
  } cases[] = {
      {"labels, then a pointer", "\2bc\0\1a\xC0\0"s, 4, "a.bc"},
      {"a pointer to a pointer", "\2bc\0\xC0\0\xC0\4"s, 6, "bc"},
      {"one top bit is a pointer too", "\2bc\0\x40\0"s, 4, "bc"},
      {"the root", "\0"s, 0, ""},
      {"255 characters", DnsLabels(longest), 0, longest},
      {"256 characters and more", DnsLabels(longest + ".a"), 0, ""},
      {"a pointer to itself", "\xC0\0"s, 0, ""},
      {"two pointers in a circle", "\xC0\2\xC0\0"s, 2, ""},
      {"a pointer ahead", "\xC0\2\1a\0"s, 0, ""},
      {"half a pointer", "\1a\0\xC0"s, 3, ""},
      {"a label beyond the end", "\1a\5bc"s, 0, ""},
      {"an offset beyond the end", "\1a\0"s, 4, ""},
      {"a NUL in a label", "\4host\5\0evil\0"s, 0, ""},
      {"a line end in a label", "\3a\r\nb\0"s, 0, ""},
  };
  for (const auto& c : cases) {
    // A copy of exactly these bytes, so that a sanitizer sees a read beyond them.
    const std::vector<char> bytes(c.bytes.begin(), c.bytes.end());
    EXPECT_EQ(ExpandDnsName(bytes, c.offset).View(), c.name) << c.what;
  }
}

TEST(ParseMxReply, TakesTheAnswersByTheFixedSteps) {
  const std::string host = DnsLabels("mx");
  const std::string mx = DnsMx(10, host);
  const std::string address = DnsRecord(test::DNS_A, "\x7f\0\0\1"s);
  const std::string one = DnsReply("a.bc", {mx});
  // The first answer's owner name takes four bytes in the place of two.
  const std::string long_owner = "\1a\xC0\x0e" + DnsMx(10, DnsPointer(QUESTION)).substr(2);
  const struct {
    const char* what;
    std::string reply;
    std::string result;
  } cases[] = {
      {"no answer", DnsReply("a.bc", {}), "none"},
      {"by preference, equal ones as they came",
       DnsReply("a.bc", {DnsMx(20, DnsLabels("m1.a.bc")), DnsMx(10, "\2m2" + DnsPointer(QUESTION)), mx}),
       "10 m2.a.bc, 10 mx, 20 m1.a.bc"},
      {"a leading alias has no record, and is not followed",
       DnsReply("a.bc", {DnsRecord(test::DNS_CNAME, DnsLabels("b.c")), mx}), "10 mx"},
      {"an address among the answers keeps an empty record, in front",
       DnsReply("a.bc", {mx, address, DnsMx(5, host)}), "0 -, 5 mx, 10 mx"},
      {"additional exchangers fill what answers left, and no more",
       DnsReply("a.bc", {address}, {DnsMx(7, host), DnsMx(8, host)}), "7 mx"},
      {"an owner name of more than two bytes is stepped over", DnsReply("a.bc", {mx, long_owner}),
       "10 mx, 10 a.bc"},
      {"a name that can be no host's", DnsReply("a.bc", {DnsMx(10, "\2a\0"s + host)}), "10 -"},
      {"a pointer beyond the end", DnsReply("a.bc", {DnsMx(10, DnsPointer(4000))}), "10 -"},
      {"more answers counted than there are bytes for", std::string(one).replace(6, 2, DnsWord(65535)),
       "10 mx"},
      {"half a question", one.substr(0, 15), "none"},
      {"a pointer in the question", std::string(one).replace(12, 2, DnsPointer(12)), "none"},
      {"a record's length that leads out of the reply",
       DnsReply("a.bc", {mx, DnsMx(20, host)}).replace(FIRST_MX_NAME - 4, 2, DnsWord(65535)), "0 -, 10 mx"},
      {"a record that ends before its preference", one.substr(0, FIRST_MX_NAME - 1), "0 -"},
      {"no bytes", "", "none"},
  };
  for (const auto& c : cases) {
    const std::vector<char> bytes(c.reply.begin(), c.reply.end());
    EXPECT_EQ(Show(ParseMxReply(bytes)), c.result) << c.what;
  }
}

}  // namespace
}  // namespace velnor
