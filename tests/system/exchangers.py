"""Scripted mail exchangers and a name server on the loopback, for what no real one can be made to do.

A script is a list of steps, one a reply: the text to send, or one of the values below instead.
"""

import socket
import struct
import threading
import time

from support import replace_in_etc

CLOSE = "close"        # ends the connection
SILENCE = "silence"    # never answers
DRIBBLE = "dribble"    # sends its greeting a byte at a time
GOOD = ["220 ready", "250 hello", "250 sender", "250 recipient", "354 go on", "250 taken"]


class Exchanger:
    """One exchanger: it plays its script on each connection.

    It keeps what it heard, a list of lines a connection, and when each connection came.
    """

    def __init__(self, address, script):
        self.script, self.heard, self.times = script, [], []
        self.listener = socket.create_server((address, 25), backlog=200)
        threading.Thread(target=self._accept, daemon=True).start()

    def _accept(self):
        while True:
            connection, _ = self.listener.accept()
            lines = []
            self.times.append(time.time())
            self.heard.append(lines)
            threading.Thread(target=self._play, args=(connection, lines), daemon=True).start()

    def _play(self, connection, lines):
        with connection, connection.makefile("rb") as stream:
            try:
                for step in self.script:
                    self.answer(connection, step)
                    if step == CLOSE:
                        return
                    self._listen(stream, lines, step)
                while line := stream.readline():
                    lines.append(line)
            except OSError:
                pass

    def answer(self, connection, step):
        if step == DRIBBLE:
            connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            for byte in b"220 ready\r\n":
                connection.sendall(bytes([byte]))
                time.sleep(0.05)
        elif step not in (CLOSE, SILENCE):
            connection.sendall(step.encode() + b"\r\n")

    @staticmethod
    def _listen(stream, lines, step):
        """Reads what comes behind a reply: a command, or behind 354 the whole message."""
        while line := stream.readline():
            lines.append(line)
            if not str(step).startswith("354") or line == b".\r\n":
                return


class NameServer:
    """Answers each question for MX records from `zones`: the hosts of a domain with their preferences."""

    def __init__(self, zones):
        self.zones, self.questions = zones, []
        self.socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.socket.bind(("127.0.0.1", 53))
        threading.Thread(target=self._serve, daemon=True).start()

    def _serve(self):
        while True:
            question, peer = self.socket.recvfrom(512)
            self.questions.append(question)
            name, at = [], 12
            while length := question[at]:
                name.append(question[at + 1:at + 1 + length].decode())
                at += 1 + length
            records = [self._record(*exchanger) for exchanger in self.zones.get(".".join(name), [])]
            head = question[:2] + struct.pack(">HHHHH", 0x8180, 1, len(records), 0, 0)
            self.socket.sendto(head + question[12:at + 5] + b"".join(records), peer)

    @staticmethod
    def _record(preference, host):
        name = b"".join(bytes([len(label)]) + label.encode() for label in host.split(".")) + b"\0"
        data = struct.pack(">H", preference) + name
        return struct.pack(">HHHIH", 0xC00C, 15, 1, 60, len(data)) + data


def hosts_file(addresses):
    """The text of /etc/hosts with these addresses by name, and no others but the loopback's."""
    return "".join(f"{to} {name}\n" for name, to in {"localhost": "127.0.0.1", **addresses}.items())


def know_hosts(addresses):
    """Lets the system's host look-up know these names and no others."""
    replace_in_etc(hosts=hosts_file(addresses), nsswitch_conf="hosts: files\n")
