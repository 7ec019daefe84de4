// The remote road of a delivery: find the domain's exchangers, reach one of them, and hand it the message.

#include "agent/agent.h"
#include "agent/delivery.h"
#include "agent/mx_resolver.h"
#include "agent/smtp_client.h"
#include "core/log_service.h"

namespace velnor {
namespace {

constexpr int COMPLETED = 250;

// The exchange with the one exchanger that was reached. Whatever it brings is final for the group.
class Exchange {
 public:
  Exchange(Delivery& delivery, const RecipientGroup& group, platform::Socket connection)
      : delivery_(delivery),
        group_(group),
        connection_(connection),
        thread_id_(static_cast<int>(delivery.ThreadId)) {}

  // True if the exchanger has taken the message for at least one recipient.
  bool Run() {
    const int helo = SendHelo(connection_, delivery_.SenderDomain, reply_);
    if (!Passed(helo, "HELO")) return false;
    const int mail_from = SendMailFrom(connection_, delivery_.Head.ReturnPath, reply_);
    if (!Passed(mail_from, "MAIL FROM")) return false;
    const bool delivered = OfferRecipients() && HandOver();
    SendQuit(connection_);
    return delivered;
  }

 private:
  // Logs the outcome of a command that concerns the whole group, and notifies the group of a refusal.
  bool Passed(int code, const char* command) {
    if (code == COMPLETED) {
      WriteLog(LOG_AGENT, "[%d]%s is OK", thread_id_, command);
      return true;
    }
    NotifyGroup();
    WriteLog(LOG_AGENT, "[%d]%s is failed, error:%s", thread_id_, command, LogSafe(reply_).c_str());
    return false;
  }

  // True if the exchanger accepts at least one recipient. The sender hears of each of the others.
  bool OfferRecipients() {
    bool accepted = false;
    for (const auto& recipient : group_.Recipients) {
      const std::string address = group_.AddressOf(recipient);
      if (SendRcptTo(connection_, address, reply_) == COMPLETED) {
        WriteLog(LOG_AGENT, "[%d]RCPT TO [%s] is accepted", thread_id_, LogSafe(address).c_str());
        accepted = true;
      } else {
        WriteLog(LOG_AGENT, "[%d]RCPT TO [%s] is not accepted, error:%s", thread_id_,
                 LogSafe(address).c_str(), LogSafe(reply_).c_str());
        NotifySender(delivery_, group_, recipient, reply_);
      }
    }
    return accepted;
  }

  bool HandOver() {
    const int result = SendMessageData(connection_, delivery_.SpoolFile, reply_);
    if (result == COMPLETED) {
      reply_.Clear();
      WriteLog(LOG_AGENT, "[%d]MAIL DATA is completed", thread_id_);
      return true;
    }
    if (result == SMTP_MESSAGE_UNREADABLE) {
      delivery_.Fault = true;
    } else {
      NotifyGroup();
    }
    WriteLog(LOG_AGENT, "[%d]MAIL DATA is failed, error:%s", thread_id_, LogSafe(reply_).c_str());
    return false;
  }

  void NotifyGroup() {
    for (const auto& recipient : group_.Recipients) NotifySender(delivery_, group_, recipient, reply_);
  }

  Delivery& delivery_;
  const RecipientGroup& group_;
  const platform::Socket connection_;
  const int thread_id_;
  ReplyText reply_;
};

// The first connection to one of the exchangers, in their order, that brings a greeting. A name server can
// list more addresses than anybody can wait for, so a stop of the agent ends the walk, and the group is tried
// again.
platform::Socket ConnectToExchanger(const MxResult& exchangers, std::uint32_t thread_id) {
  ReplyText reply;
  for (const MxRecord& exchanger : exchangers) {
    for (const platform::DottedAddress& address : exchanger.Addresses) {
      if (IsAgentStopping()) return platform::SOCKET_INVALID;
      const platform::Socket connection = ConnectSmtp(address, reply);
      if (connection != platform::SOCKET_INVALID) return connection;
      WriteLog(LOG_AGENT, "[%d]Connect server is failed", static_cast<int>(thread_id));
    }
  }
  return platform::SOCKET_INVALID;
}

}  // namespace

bool DeliverRemoteGroup(Delivery& delivery, const RecipientGroup& group) {
  const std::optional<MxResult> exchangers = ResolveMxAddresses(LookupMx(group.Domain));
  if (!exchangers) {
    RequeueGroup(delivery, group);
    WriteLog(LOG_AGENT, "[%d]can not resolve mx address(%s)", static_cast<int>(delivery.ThreadId),
             LogSafe(group.Domain).c_str());
    return false;
  }
  const platform::Socket connection = ConnectToExchanger(*exchangers, delivery.ThreadId);
  if (connection == platform::SOCKET_INVALID) {
    RequeueGroup(delivery, group);
    return false;
  }
  const bool delivered = Exchange(delivery, group, connection).Run();
  platform::CloseSocket(connection);
  return delivered;
}

}  // namespace velnor
