// The look-up of a domain's mail exchangers: the agent's own DNS client, and the system's host look-up for
// addresses.
//
// One question for MX records goes to the primary name server of the settings, and to the secondary one if
// the first gives no reply. Nothing is kept: each attempt to deliver asks again, and a domain without
// exchangers does not fall back to its own address. Blocks up to 6 seconds a name server, and as long as the
// host look-up takes an exchanger. Worker threads, each with its own socket.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "agent/dns_message.h"

namespace velnor {

inline constexpr int DNS_PORT = 53;
inline constexpr std::uint16_t DNS_TYPE_MX = 15;

// What QueryNameServer gives when no reply came.
inline constexpr int DNS_NO_SERVER = -2;  // neither a dotted address nor a host that is known
inline constexpr int DNS_NO_SOCKET = -3;
inline constexpr int DNS_NOT_SENT = -4;  // also for a name that has no wire form: nothing goes out then
inline constexpr int DNS_RECEIVE_FAILED = -5;
inline constexpr int DNS_TIMEOUT = -6;  // nothing within 6 seconds

// The exchangers of a domain in order of preference, without addresses. None if no name server gave a reply,
// or the reply had no answer. What the primary server has answered is final. An empty setting for it means
// the system's own first name server.
std::optional<MxResult> LookupMx(std::string_view domain, int port = DNS_PORT);

// Gives each exchanger its addresses, at most 20. One that is not known stays without. None for none.
std::optional<MxResult> ResolveMxAddresses(std::optional<MxResult> records);

// One question, sent once, and one datagram taken as its reply. The number of bytes in `reply`, which may be
// 0, or one of the values above. The reply is believed whatever its id, its flags and its sender are.
int QueryNameServer(std::string_view name, std::string_view server, int port, std::uint16_t type,
                    std::span<char> reply);

}  // namespace velnor
