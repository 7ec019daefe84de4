// SessionService: a listening port, its accept thread and a table of sessions, as the SMTP and the POP3
// service have them.
//
// The accept thread gives each connection a slot of the table and a thread that runs the protocol's session.
// It alone fills a free slot; the slot then belongs to its session, which zeroes it as its last act. The
// table has no lock: a Socket of 0 marks a slot free. A stop closes the sockets, which is how sessions hear
// of it.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "core/system_config.h"
#include "platform/lock.h"
#include "platform/socket.h"
#include "platform/thread.h"

namespace velnor {

inline constexpr int SESSION_SLOTS = 100;               // the last one is never given out
inline constexpr int MAX_SESSIONS = SESSION_SLOTS - 1;  // sessions at one time

struct SessionSlot {
  std::atomic<platform::ThreadHandle> ThreadHandle = 0;  // the session's, in place before its first step
  std::atomic<platform::Socket> Socket = platform::SOCKET_NONE;
  std::uint32_t ThreadId = 0;           // at the head of all the session's log lines
  int SlotIndex = 0;                    // the slot's own place in the table
  platform::DottedAddress PeerAddress;  // the peer in dotted form
  int ErrorCount = 0;                   // error replies sent on this connection

  // Frees the slot for the accept thread.
  void Zero();
};

struct SessionService {
  // Constant: what makes the service this one.
  const char* Name;  // in its log lines
  int LogCategory;
  SharedNumber CSystemConfig::*PortSetting;
  void (*SessionThread)(SessionSlot& slot);  // the body of each session's thread

  std::array<SessionSlot, SESSION_SLOTS> SessionTable{};
  int ListenPort = 0;  // the setting as it stood at the start
  platform::Socket ListenSocket = platform::SOCKET_NONE;
  std::atomic<std::int32_t> Listening = 0;     // 1 from the moment the listener stands until the stop
  std::atomic<std::int32_t> SessionCount = 0;  // session threads; changed under Lock, read without it
  platform::CriticalSection Lock{};
  platform::ThreadHandle AcceptThread = 0;
};

// Opens the port and starts the accept thread. A port that can't be bound is told by one log line, and the
// service stays down. Console thread.
void StartSessionService(SessionService& service);

// Closes the port and all sessions, and returns when their threads have ended. Without effect on a service
// that is down. Console thread.
void StopSessionService(SessionService& service);

// The slot of that index if it holds a connection, or none.
SessionSlot* OpenSlot(SessionService& service, int slot_index);

// The last step of a session thread: frees the slot and takes the thread off the count.
void LeaveSession(SessionService& service, SessionSlot& slot);

}  // namespace velnor
