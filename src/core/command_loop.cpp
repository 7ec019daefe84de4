#include "core/command_loop.h"

#include <string>

#include "core/log_service.h"
#include "core/socket_text.h"

namespace velnor {
namespace {

Session TakeLine(SessionSlot& slot, SessionProtocol& protocol) {
  std::string received;
  switch (RecvLine(slot.Socket, received, COMMAND_LINE_LIMIT)) {
    case RECV_LINE_TIMEOUT:
      protocol.TimedOut();
      return Session::ENDS;
    case RECV_LINE_CLOSED:
      return Session::ENDS;
    default:
      break;
  }
  const CommandText line(TrimBlanks(CommandText(received)));
  protocol.LogLine(line);
  return protocol.HandleLine(line);
}

}  // namespace

void RunSession(SessionService& service, SessionSlot& slot, SessionProtocol& protocol) {
  slot.ThreadId = platform::CurrentThreadId();
  WriteLog(service.LogCategory, "[%d][%s]session connected", static_cast<int>(slot.ThreadId),
           slot.PeerAddress.c_str());
  protocol.Greet();
  while (protocol.MayRead() && TakeLine(slot, protocol) == Session::GOES_ON) continue;
  platform::CloseSocket(slot.Socket);
  platform::CloseThreadHandle(slot.ThreadHandle);
  protocol.Disconnected();
  LeaveSession(service, slot);
}

}  // namespace velnor
