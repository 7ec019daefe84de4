// Sockets under numbers of our own.
//
// A number is given out once in the life of the process and never again. Closing a socket makes every wait,
// read or write that another thread has pending on it fail at once; the descriptor below goes back to the
// system only when the last of them has left it, so a late or second close can never reach somebody else's
// connection. A write to a peer that is gone is an error result, never a signal. Descriptors are
// close-on-exec. IPv4 only.
//
// Any thread may call any function on any socket. A failed call leaves its reason in LastSocketError of its
// thread.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "platform/fixed_text.h"

namespace platform {

using Socket = std::int64_t;
inline constexpr Socket SOCKET_NONE = 0;      // no socket: a free place in a table
inline constexpr Socket SOCKET_INVALID = -1;  // what a failed open or accept gives

// An IPv4 address in dotted form.
using DottedAddress = FixedText<19>;

// Prepares the process for network work: a broken connection raises no signal, and as many descriptors may be
// open as the system allows. Once, before any other function here. 0, or the system's error number.
int StartSockets();

// The system's number for what failed last in this thread, and its text (empty for 0 and for an unknown
// number).
int LastSocketError();
std::string SocketErrorMessage(int error);

// A new TCP or UDP socket, or SOCKET_INVALID.
Socket OpenStreamSocket();
Socket OpenDatagramSocket();

// Binds to `port` at all local addresses; 0 lets the system choose. 0, or -1: port in use, not allowed or out
// of range.
int BindSocket(Socket socket, int port);

// Starts listening. The queue of connections not yet accepted holds at least `leastBacklog`; the largest that
// the system grants is asked for, since a client that finds it full hangs where it should be refused. 0 or
// -1.
int ListenSocket(Socket socket, int leastBacklog);

// The port a socket is bound to, or -1.
int LocalPort(Socket socket);

// Waits until there is something to read: bytes, a connection, the peer's end, or an error that the read will
// report. 1 readable, 0 nothing within the time, -1 closed by another thread or not a socket.
int WaitReadable(Socket socket, int milliseconds);

// Takes a waiting connection, with the peer's address. SOCKET_INVALID if there is none any more.
Socket AcceptSocket(Socket listener, DottedAddress& peer);

// Connects to a dotted address. 0, or -1: refused, unreachable, not a dotted address, or not done within the
// time.
int ConnectSocket(Socket socket, std::string_view address, int port, int milliseconds);

// One read of at most `room.size()` bytes, waiting for the first. The number of bytes, 0 when the peer has
// closed, or -1. PeekBytes leaves the bytes where they are.
int ReceiveBytes(Socket socket, std::span<char> room);
int PeekBytes(Socket socket, std::span<char> room);

// Whether more text of the same message follows at once, so that segments may be held until they are full.
enum class SendHint { LAST, MORE };

// Sends all of `bytes`. Their number, or -1: the peer is gone, has taken no byte for 60 seconds, or the
// socket was closed by another thread. What went out before a failure is not told.
int SendBytes(Socket socket, std::string_view bytes, SendHint hint = SendHint::LAST);

// One datagram out to a dotted address, and one in from anywhere. The number of bytes, or -1.
int SendDatagram(Socket socket, std::string_view bytes, std::string_view address, int port);
int ReceiveDatagram(Socket socket, std::span<char> room);

// 0, or -1 when the number is closed already or was never given out; both are harmless.
int CloseSocket(Socket socket);

// Whether the text is an IPv4 address in dotted form.
bool IsDottedAddress(std::string_view text);

}  // namespace platform
