#include "core/session_service.h"

#include "core/log_service.h"
#include "core/socket_text.h"

namespace velnor {
namespace {

constexpr int ACCEPT_TURN_MS = 1000;
constexpr int ACCEPT_ERROR_PAUSE_MS = 50;
constexpr int STOP_TURN_MS = 10;
constexpr int LEAST_BACKLOG = 5;

SessionSlot* FindFreeSlot(SessionService& service) {
  for (int index = 0; index < MAX_SESSIONS; ++index) {
    SessionSlot& slot = service.SessionTable[static_cast<std::size_t>(index)];
    if (slot.Socket == platform::SOCKET_NONE) {
      slot.SlotIndex = index;
      return &slot;
    }
  }
  return nullptr;
}

void StartSession(SessionService& service, platform::Socket connection, const platform::DottedAddress& peer) {
  SessionSlot* const slot = FindFreeSlot(service);
  if (slot == nullptr) {
    platform::CloseSocket(connection);
    return;
  }
  slot->PeerAddress = peer;
  slot->Socket = connection;
  const auto count_in = [&](platform::ThreadHandle handle) {
    slot->ThreadHandle = handle;
    platform::SectionGuard guard(service.Lock);
    ++service.SessionCount;
  };
  if (platform::StartThread([&service, slot] { service.SessionThread(*slot); }, count_in) == 0) {
    platform::CloseSocket(connection);
    slot->Zero();
  }
}

void AcceptLoop(SessionService& service) {
  while (service.Listening != 0) {
    const int ready = platform::WaitReadable(service.ListenSocket, ACCEPT_TURN_MS);
    if (ready < 0) platform::SleepMilliseconds(ACCEPT_ERROR_PAUSE_MS);
    if (ready <= 0) continue;
    platform::DottedAddress peer;
    const platform::Socket connection = platform::AcceptSocket(service.ListenSocket, peer);
    if (connection == platform::SOCKET_INVALID) {
      // With no descriptor left the connection goes on waiting, and this loop must not spin meanwhile.
      platform::SleepMilliseconds(ACCEPT_ERROR_PAUSE_MS);
    } else if (g_SystemConfig.IsBlockedPeer(peer) == 1) {
      platform::CloseSocket(connection);
    } else {
      StartSession(service, connection, peer);
    }
  }
  WriteLog(service.LogCategory, "%s server ended", service.Name);
}

void CloseAllSessions(SessionService& service) {
  for (SessionSlot& slot : service.SessionTable) {
    const platform::Socket socket = slot.Socket;
    if (socket != platform::SOCKET_NONE) platform::CloseSocket(socket);
  }
}

}  // namespace

void SessionSlot::Zero() {
  ThreadHandle = 0;
  ThreadId = 0;
  SlotIndex = 0;
  PeerAddress.Clear();
  ErrorCount = 0;
  Socket = platform::SOCKET_NONE;
}

void StartSessionService(SessionService& service) {
  service.SessionCount = 0;
  service.ListenPort = g_SystemConfig.*service.PortSetting;
  for (SessionSlot& slot : service.SessionTable) slot.Zero();
  const platform::Socket listener = platform::OpenStreamSocket();
  if (listener == platform::SOCKET_INVALID) return;
  if (platform::BindSocket(listener, service.ListenPort) != 0 ||
      platform::ListenSocket(listener, LEAST_BACKLOG) != 0) {
    WriteLog(service.LogCategory, "can't bind %d port, err:%s", service.ListenPort,
             SocketErrorText(platform::LastSocketError()).c_str());
    platform::CloseSocket(listener);
    return;
  }
  service.ListenSocket = listener;
  service.Listening = 1;
  service.AcceptThread = platform::StartThread([&service] { AcceptLoop(service); });
  WriteLog(service.LogCategory, "%s server started, listen %d port", service.Name, service.ListenPort);
}

void StopSessionService(SessionService& service) {
  if (service.Listening == 0) return;
  platform::CloseSocket(service.ListenSocket);
  CloseAllSessions(service);
  service.Listening = 0;
  platform::JoinThread(service.AcceptThread);
  service.AcceptThread = 0;
  service.ListenSocket = platform::SOCKET_NONE;
  // A connection taken while the first round ran has its slot by now.
  CloseAllSessions(service);
  while (service.SessionCount > 0) platform::SleepMilliseconds(STOP_TURN_MS);
}

SessionSlot* OpenSlot(SessionService& service, int slot_index) {
  if (slot_index < 0 || slot_index >= SESSION_SLOTS) return nullptr;
  SessionSlot& slot = service.SessionTable[static_cast<std::size_t>(slot_index)];
  const platform::Socket socket = slot.Socket;
  return socket == platform::SOCKET_NONE || socket == platform::SOCKET_INVALID ? nullptr : &slot;
}

void LeaveSession(SessionService& service, SessionSlot& slot) {
  slot.Zero();
  platform::SectionGuard guard(service.Lock);
  --service.SessionCount;
}

}  // namespace velnor
