"""Many sessions at once, and clients that go away at any byte of one."""

import socket
import struct
from concurrent.futures import ThreadPoolExecutor

import support
from support import DOMAIN, PASSWORD, POP3_PORT, SMTP_PORT, Peer

GREETINGS = {SMTP_PORT: "220 Velnor SMTP/ESMTP service ready", POP3_PORT: "+OK Velnor pop3 service ready"}
NOOP_REPLIES = {SMTP_PORT: "250 server running OK", POP3_PORT: "+OK "}


class NinetyNine(support.SystemTest):
    def test_the_hundredth_is_closed_without_a_word(self):
        server = self.server_with("alice").start()
        sessions = {port: [self.greeted(port) for _ in range(99)] for port in GREETINGS}
        for port, peers in sessions.items():
            self.assert_closed_without_a_word(port)
            self.assertEqual([peer.say("NOOP") for peer in peers], [NOOP_REPLIES[port]] * 99)
        for port, peers in sessions.items():
            peers[57].say("QUIT")
            peers[57].rest()
            support.wait_for("the free slot", lambda: self.gets_in(port))
        self.assertEqual(server.stop(), 0)
        for peer in sum(sessions.values(), []):
            peer.rest()

    def greeted(self, port):
        peer = Peer(port)
        self.assertEqual(peer.reply(), GREETINGS[port])
        return peer

    def gets_in(self, port):
        with Peer(port) as peer:
            return peer.reply() == GREETINGS[port]


class CutSessions(support.SystemTest):
    """A session script is sent up to each of its bytes, and the client ends its side there."""

    def setUp(self):
        self.server = self.server_with("alice", "bob").start()

    def test_smtp(self):
        head = (f"EHLO client.test\r\nMAIL FROM:<alice@{DOMAIN}>\r\n"
                f"RCPT TO:<bob@{DOMAIN}>\r\nDATA\r\n").encode()
        script = head + b"Subject: cut\r\n\r\nText.\r\n.\r\n"
        self.cut_everywhere(SMTP_PORT, script + b"QUIT\r\n")
        whole = len(b"QUIT\r\n") + 1
        support.wait_for("the delivery of whole messages", lambda: len(self.server.inbox("bob")) >= whole)
        support.wait_for("an empty spool", lambda: not self.server.spool())
        stored = self.server.inbox("bob").values()
        self.assertEqual(len(stored), whole, "a message counts from its end marker on, and not a byte before")
        self.assertTrue(all(text.endswith(b"\r\r\nText.") for text in stored), stored)
        self.go_away_everywhere(SMTP_PORT, head + b"Subject: cut\r\n\r\nText.\r\n.\r")
        self.assertEqual(self.server.spool(), [])
        self.assertEqual(self.server.stop(), 0)

    def test_pop3(self):
        message = self.server.inbox_path("alice") / "n20240101000000000001000002000003"
        message.write_bytes(b"Subject: cut\r\r\n\r\r\nText.")
        script = (f"USER alice@{DOMAIN}\r\nPASS {PASSWORD}\r\n"
                  "LIST\r\nTOP 1 1\r\nRETR 1\r\nDELE 1\r\nQUIT\r").encode()
        self.cut_everywhere(POP3_PORT, script)
        self.go_away_everywhere(POP3_PORT, script)
        self.assertTrue(message.exists(), "only a whole QUIT deletes")
        self.cut(POP3_PORT, script + b"\n")
        self.assertFalse(message.exists())
        self.assertEqual(self.server.stop(), 0)

    def cut_everywhere(self, port, script):
        """The client stops sending and reads to the end, so every byte before the cut counts."""
        self.at_each_byte(script, lambda part: self.cut(port, part))

    def go_away_everywhere(self, port, script):
        """The client resets the connection, so the server may find it gone at any of its steps."""
        self.at_each_byte(script, lambda part: self.go_away(port, part))

    def at_each_byte(self, script, session):
        before = len(self.server.logged("]session connected"))
        with ThreadPoolExecutor(16) as pool:
            list(pool.map(lambda end: session(script[:end]), range(len(script) + 1)))
        count = before + len(script) + 1
        for line in ("]session connected", "]session disconnected"):
            support.wait_for(f"{count} lines with {line}", lambda: len(self.server.logged(line)) == count)

    @staticmethod
    def cut(port, part):
        with Peer(port) as peer:
            peer.socket.sendall(part)
            peer.socket.shutdown(socket.SHUT_WR)
            peer.rest()

    @staticmethod
    def go_away(port, part):
        with Peer(port) as peer:
            peer.reply()
            peer.socket.sendall(part)
            peer.socket.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))


if __name__ == "__main__":
    support.main()
