// DNS messages, as far as the look-up of mail exchangers needs them (RFC 1035): a name to its wire form and
// back, and the walk over a reply.
//
// Pure functions on bytes; any thread. A reply may come from anybody: each read is checked against the bytes
// received, a name can neither run in a circle nor outgrow its room, and a count is believed only as far as
// the bytes go.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/text.h"
#include "platform/socket.h"

namespace velnor {

// A name as dotted text.
using DnsName = FixedText<255>;

// One mail exchanger of a domain.
struct MxRecord {
  std::uint16_t Preference = 0;
  DnsName HostName;  // empty in a record that no MX answer filled, which is to be passed over
  std::vector<platform::DottedAddress> Addresses;  // at most 20, in the order in which they are to be tried
};

// The exchangers of a domain, lowest preference first. It may be empty, or hold unfilled records alone.
using MxResult = std::vector<MxRecord>;

// The name's wire form: each label behind its length, and a zero byte. None if the name has an empty label, a
// label of more than 63 bytes or more than 253 bytes in all; a dot at the end makes an empty label.
std::optional<std::string> EncodeDnsName(std::string_view name);

// The name at an offset of the reply as dotted text, compression pointers followed. Empty for the root, and
// for a name that leaves the reply, runs in a circle, has no room in a DnsName or could be no host's.
DnsName ExpandDnsName(std::span<const char> reply, std::size_t offset);

// The exchangers in the bytes of a reply, without addresses, in order. One record stands for each answer, a
// leading alias (CNAME) aside, so an answer of another type leaves a record unfilled. None if there is no
// answer, or no whole header and question before it; empty if an alias is all that there is.
std::optional<MxResult> ParseMxReply(std::span<const char> reply);

// Puts the lowest preference first; records of the same preference keep their order.
void SortMxRecords(MxResult& records);

}  // namespace velnor
