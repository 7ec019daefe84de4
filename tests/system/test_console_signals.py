"""The console without a hand on it: signals make it read its files anew, and end it."""
# ctest: console

import os
import shutil
import signal

import support
from support import DOMAIN, SMTP_PORT, greeting, wait_for


class Signals(support.SystemTest):
    def setUp(self):
        self.server = self.server_with("alice", AutoStart=1, LogToFile=1)
        self.server.program = shutil.copy(support.PROGRAMS / "velnor", self.server.programs)
        self.server.listen = False
        os.environ.update(QT_QPA_PLATFORM="offscreen", HOME=str(self.server.directory),
                          XDG_RUNTIME_DIR=str(self.server.directory))
        self.server.start()
        wait_for("the services", lambda: greeting(SMTP_PORT))

    def test_it_reads_its_files_anew_and_ends_in_order(self):
        for domain in "new.test", "newer.test":
            self.server.configure(LocalDomain=f"{DOMAIN}|{domain}|")
            self.server.process.send_signal(signal.SIGHUP)
            wait_for("the new domain", (self.server.mail / domain).is_dir)
        with support.log_on_smtp("alice") as peer:
            self.server.process.send_signal(signal.SIGTERM)
            self.assertEqual(peer.rest(), b"", "an open session is ended without a word")
        self.assertEqual(self.server.wait(), 0)
        log = b"".join(path.read_bytes() for path in (self.server.home / "logs").iterdir())
        for service in b"POP3", b"SMTP", b"AGENT":
            self.assertEqual(log.count(service + b" server ended"), 1)


if __name__ == "__main__":
    support.main()
