// TCP peers that a test plays by a script, on the loopback and with the system's own calls.
//
// PeerConnection is one end of a connection: the script sends, reads, closes. ScriptedPeer listens on a port
// and plays its script once for each connection, several at a time if they come so; PeerConnection::Connect
// is the other side, a client. Waits end after 40 seconds, so that a test that goes wrong fails instead of
// hanging.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace velnor::test {

class PeerConnection {
 public:
  explicit PeerConnection(int descriptor);
  ~PeerConnection() { Close(); }
  PeerConnection(const PeerConnection&) = delete;
  PeerConnection& operator=(const PeerConnection&) = delete;

  // A client's connection to a port, or none.
  static std::unique_ptr<PeerConnection> Connect(int port);

  // Sends all of it, in one call while there is room. False once the other side is gone.
  bool Send(std::string_view bytes);

  // What came up to and including `end`, or less if the other side closed or fell silent. Nothing behind it
  // is taken.
  std::string ReadUntil(std::string_view end);
  std::string ReadLine() { return ReadUntil("\n"); }
  std::string ReadToClose() { return ReadUntil({}); }

  void Close();

 private:
  int descriptor_;
  std::string unread_;
};

class ScriptedPeer {
 public:
  using Script = std::function<void(PeerConnection&)>;

  // Listens at once, on a port that the system chooses. The script runs on a thread of its own for each
  // connection, which is closed at its end.
  explicit ScriptedPeer(Script script);
  // Takes no more connections and waits until every script has ended.
  ~ScriptedPeer();
  ScriptedPeer(const ScriptedPeer&) = delete;
  ScriptedPeer& operator=(const ScriptedPeer&) = delete;

  int Port() const { return port_; }

 private:
  void Serve();

  const Script script_;
  int listener_ = -1;
  int port_ = 0;
  std::vector<std::jthread> sessions_;  // the serving thread's alone
  std::jthread server_;
};

}  // namespace velnor::test
