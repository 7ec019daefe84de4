"""The console on a small desktop: from no domain to a message in and out, tray and back, to the end."""
# ctest: heavy console timeout=300

import os
import shutil

import support
from desktop import Desktop
from support import DOMAIN, PASSWORD, POP3_PORT, greeting, needs, wait_for

GREEN, RED = (46, 158, 79), (210, 59, 59)  # of the Start and Stop pictures, and of the server's sign
MESSAGE = f"From: alice@{DOMAIN}\r\nTo: alice@{DOMAIN}\r\nSubject: A note\r\n\r\nTo myself.\r\n"


@needs("Xvfb", "openbox", "trayer", "xdotool", "xprop", "xwininfo", "xclip", "import")
class Console(support.SystemTest):
    def setUp(self):
        self.server = self.server_with(domains=())
        self.server.program = shutil.copy(support.PROGRAMS / "velnor", self.server.programs)

    def test_a_day_of_an_administrator(self):
        with Desktop(self.server.directory) as self.desktop:
            os.environ.update(self.desktop.env)
            self.server.process = self.server.run()
            self.create_the_domain()
            self.create_the_account()
            self.start_from_the_toolbar()
            self.send_and_fetch_while_the_log_shows_it()
            self.second_start_ends_in_silence()
            self.hide_to_the_tray_and_come_back()
            self.exit_after_a_cancel_and_an_ok()

    def create_the_domain(self):
        self.desktop.window("Velnor")
        self.desktop.key("ctrl+comma")
        self.desktop.window("Configuration")
        self.desktop.type("Domains")
        self.desktop.key("Tab", "Tab")
        self.desktop.type(DOMAIN)
        self.desktop.key("alt+a")
        wait_for("the domain's directory", (self.server.mail / DOMAIN).is_dir)
        self.desktop.key("Escape")
        self.desktop.wait_until_gone("Configuration")
        self.assertIn(f"LocalDomain={DOMAIN}|", (self.server.home / "velnor.ini").read_text())

    def create_the_account(self):
        self.desktop.window("Velnor")
        self.desktop.key("alt+t", "u")
        self.desktop.window("User Setup")
        self.desktop.key("alt+n")
        self.desktop.window("Add New User")
        self.desktop.type("alice")
        self.desktop.key("Tab")
        self.desktop.type(PASSWORD)
        self.desktop.key("alt+3", "alt+s", "alt+o")
        wait_for("the profile", (self.server.mail / DOMAIN / "alice" / "config.ini").is_file)
        self.desktop.wait_until_gone("Add New User")
        self.desktop.window("User Setup")
        self.desktop.key("alt+F4")
        self.desktop.wait_until_gone("User Setup")

    def start_from_the_toolbar(self):
        window = self.desktop.window("Velnor")
        self.assertIsNone(self.desktop.find_colour(RED, window), "Stop is grey")
        self.desktop.click(wait_for("the Start button", lambda: self.desktop.find_colour(GREEN, window)))
        wait_for("the Stop button", lambda: self.desktop.find_colour(RED, window))

    def send_and_fetch_while_the_log_shows_it(self):
        support.submit("alice", "alice", MESSAGE)
        wait_for("the delivery", lambda: self.server.count("alice"))
        self.assertIn(b"To myself.", *support.fetch(f"alice@{DOMAIN}"))
        for line in ("SMTP server started", f"RCPT TO:<alice@{DOMAIN}>", "AGENT]", "RETR 1"):
            self.assertIn(line.lower(), wait_for(line, lambda: self.log_with(line)).lower())

    def log_with(self, text):
        """What the log list gives to the clipboard, once it holds the text."""
        self.desktop.window("Velnor")
        self.desktop.key("ctrl+a", "ctrl+c")
        log = self.desktop.clipboard()
        return log if text.lower() in log.lower() else None

    def second_start_ends_in_silence(self):
        second = self.server.run()
        output, errors = second.communicate()
        self.assertEqual((second.returncode, output, errors), (0, b"", b""))
        self.assertEqual(len(self.desktop.windows("Velnor")), 1)

    def hide_to_the_tray_and_come_back(self):
        self.desktop.window("Velnor")
        self.desktop.key("alt+F4")
        self.desktop.wait_until_gone("Velnor")
        self.assertTrue(greeting(POP3_PORT))
        self.desktop.click(wait_for("the tray's sign", lambda: self.desktop.find_colour(GREEN)), times=2)
        self.desktop.window("Velnor")

    def exit_after_a_cancel_and_an_ok(self):
        self.desktop.key("ctrl+q")
        self.desktop.window("Prompt")
        self.desktop.key("Escape")
        self.desktop.wait_until_gone("Prompt")
        self.assertTrue(greeting(POP3_PORT))
        self.desktop.window("Velnor")
        self.desktop.key("alt+F4")
        self.desktop.wait_until_gone("Velnor")
        self.desktop.open_menu(wait_for("the tray's sign", lambda: self.desktop.find_colour(GREEN)), "velnor")
        self.desktop.key("x")
        self.desktop.window("Prompt")
        self.desktop.key("Return")
        self.assertEqual(self.server.process.wait(support.PATIENCE), 0)


if __name__ == "__main__":
    support.main()
