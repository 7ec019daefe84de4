"""The console reads its files anew when it is asked to by a signal, and goes on."""
# ctest: console

import os
import shutil
import signal

import support
from support import DOMAIN, SMTP_PORT, Peer


class ConsoleReload(support.SystemTest):
    def test_a_signal_makes_it_read_its_files_anew(self):
        os.environ["QT_QPA_PLATFORM"] = "offscreen"
        os.environ["XDG_RUNTIME_DIR"] = os.environ["HOME"] = str(self.server_with().directory)
        server = self.server_with("alice", AutoStart=1)
        server.program = shutil.copy(support.PROGRAMS / "velnor", server.programs)
        server.listen = False
        server.start()
        support.wait_for("the services", self.answers)

        server.configure(LocalDomain=f"{DOMAIN}|new.test|")
        server.process.send_signal(signal.SIGHUP)
        support.wait_for("the new domain", (server.mail / "new.test").is_dir)
        server.configure(LocalDomain=f"{DOMAIN}|newer.test|")
        server.process.send_signal(signal.SIGHUP)
        support.wait_for("the newer domain", (server.mail / "newer.test").is_dir)
        self.assertTrue(self.answers())
        self.assertIsNone(server.process.poll())

    @staticmethod
    def answers():
        try:
            with Peer(SMTP_PORT) as peer:
                return peer.reply().startswith("220 ")
        except ConnectionRefusedError:
            return False


if __name__ == "__main__":
    support.main()
