"""A server that is configured, watched and changed by velnorctl alone."""

import contextlib
import json
import os
import pty
import shutil
import subprocess

import support
from support import DOMAIN, PASSWORD, POP3_PORT, PROGRAMS, PROJECT, SMTP_PORT, Peer, greeting

TEXT = b"Subject: to all\r\n\r\nText."
COMPLETION = PROJECT / "packaging" / "completion" / "velnorctl.bash"


class Administration(support.SystemTest):
    def setUp(self):
        self.server = self.server_with()
        self.control = shutil.copy(PROGRAMS / "velnorctl", self.server.programs)
        (self.server.home / "velnor.ini").unlink()

    def run_control(self, *words, input=""):
        return subprocess.run([self.control, "--directory", self.server.home, *map(str, words)], input=input,
                              text=True, capture_output=True, cwd="/")

    def do(self, *words, input=""):
        """The words about a command that must succeed."""
        result = self.run_control(*words, input=input)
        self.assertEqual(result.returncode, 0, result)
        return result.stderr

    def ask(self, *words):
        """The answer of a command that must succeed."""
        result = self.run_control(*words, "--json")
        self.assertEqual(result.returncode, 0, result)
        return json.loads(result.stdout)

    def configure(self):
        self.do("config", "set", f"MailPath={self.server.mail}", "SmtpPort", SMTP_PORT, "Pop3Port", POP3_PORT)
        self.do("domain", "add", DOMAIN)
        for account in ("alice", "bob", "all"):
            self.do("user", "add", f"{account}@{DOMAIN}", "Pop3Enable=1", "SmtpEnable=1", input=PASSWORD)
        self.do("maillist", "add", f"all@{DOMAIN}")
        for account in ("alice", "bob"):
            self.do("maillist", "add-member", f"all@{DOMAIN}", f"{account}@{DOMAIN}")
        self.do("rule", "add", "127.0.0.9")

    def test_a_configured_server_takes_mail_and_changes(self):
        self.configure()
        for command in ("status", "ready"):
            self.assertEqual(self.run_control(command).returncode, 1)
        self.server.start()
        self.assertEqual(self.run_control("ready").stdout, "smtp: yes\npop3: yes\nspool: yes\n")
        status = self.ask("status")
        self.assertEqual((status["process"], status["program"], status["directory"], status["ports"]),
                         (self.server.process.pid, self.server.program, str(self.server.home),
                          [POP3_PORT, SMTP_PORT]))
        self.assertEqual(greeting(SMTP_PORT, "127.0.0.9"), "")
        self.send_to_the_list()
        self.change_while_it_runs()
        self.assertEqual(self.server.stop(), 0)
        self.assertEqual(self.run_control("config", "check").stdout, "")

    def send_to_the_list(self):
        support.send("alice", ["all"], TEXT)
        entry, = self.ask("queue", "list")
        self.assertEqual((entry["sender"], entry["recipients"]), (f"alice@{DOMAIN}", [f"all@{DOMAIN}"]))
        self.assertIn('velnor_queue_files{state="waiting"} 1', self.run_control("metrics").stdout)
        support.wait_for("the list's mail", lambda: self.server.count("bob") and self.server.count("alice"))
        [text] = support.fetch(f"bob@{DOMAIN}")
        self.assertIn(TEXT, text)
        self.assertEqual(self.ask("mailbox", f"bob@{DOMAIN}")["messages"], 1)

    def change_while_it_runs(self):
        self.assertIn("velnorctl reload", self.do("domain", "add", "new.test"))
        self.assertIn("velnorctl reload", self.do("rule", "add", "127.0.0.8"))
        self.assertIn("at once", self.do("user", "password", f"bob@{DOMAIN}", input="changed\n"))
        self.do("user", "add", "carl@new.test", input="x\n")
        with Peer(SMTP_PORT) as peer:
            peer.reply()
            peer.say("HELO client.test")
            peer.say("MAIL FROM:<x@y.test>")
            self.assertEqual(peer.say("RCPT TO:<carl@new.test>"), "503 not local mail")
            self.do("reload")
            support.wait_for("the domain", lambda: peer.say("RCPT TO:<carl@new.test>") == "250 accept user")
        support.wait_for("the new rule", lambda: not greeting(SMTP_PORT, "127.0.0.8"))
        for password, begin in ((PASSWORD, "-ERR"), ("changed", "+OK")):
            self.assertEqual(support.reply_to_log_on("bob", password).split()[0], begin)

    def test_a_typed_password_is_not_shown(self):
        self.configure()
        terminal, end = pty.openpty()
        words = "--directory", self.server.home, "user", "password", f"bob@{DOMAIN}"
        run = subprocess.Popen([self.control, *words], stdin=end, stdout=end, stderr=end)
        os.close(end)
        shown = b""
        for prompt in (b"Password: ", b"The same again: "):
            while not shown.endswith(prompt):
                shown += os.read(terminal, 1024)
            os.write(terminal, b"typed-secret\n")
        self.assertEqual(run.wait(support.PATIENCE), 0)
        with contextlib.suppress(OSError):  # the other end is closed
            while chunk := os.read(terminal, 1024):
                shown += chunk
        os.close(terminal)
        self.assertNotIn(b"typed", shown)
        profile = (self.server.mail / DOMAIN / "bob" / "config.ini").read_text()
        self.assertIn("Password=typed-secret", profile)

    def shell_at_a_terminal(self):
        """A function that types into a shell: what stands on its line after the keys and a tab."""
        terminal, end = pty.openpty()
        home = self.server.directory
        path = f"{self.server.programs}:{os.environ['PATH']}"
        # Of a session of its own, lest it take hold of the terminal at which the tests run.
        shell = subprocess.Popen(["bash", "--norc", "-i"], stdin=end, stdout=subprocess.PIPE,
                                 stderr=subprocess.DEVNULL, text=True, cwd=home, start_new_session=True,
                                 env={"HOME": home, "PATH": path, "TERM": "dumb", "INPUTRC": os.devnull})
        for end_it in (shell.communicate, shell.kill, lambda: os.close(terminal)):  # the last comes first
            self.addCleanup(end_it)
        os.close(end)
        show = r"""bind -x '"\C-t": printf "%s\n" "$READLINE_LINE"; READLINE_LINE='"""
        os.write(terminal, f"unset HISTFILE; source '{COMPLETION}'; {show}; echo ready\n".encode())
        self.assertEqual(shell.stdout.readline(), "ready\n")

        def line_after(keys):
            os.write(terminal, f"{keys}\t\x14".encode())
            return shell.stdout.readline().removesuffix("\n")

        return line_after

    def test_the_shell_completes(self):
        self.configure()
        self.do("user", "add", f"z'$(>made)`\"@{DOMAIN}", "Pop3Enable=1", input=PASSWORD)
        spaced = self.server.directory / "my w"
        shutil.copytree(self.server.home, spaced)
        bob, members = f"bob@{DOMAIN}", f"maillist remove-member all@{DOMAIN} "
        here = f"velnorctl --directory {self.server.home} "
        line_after = self.shell_at_a_terminal()
        for typed, inserted in (
                (f"{here}sta", "tus "), (f"{here}maillist a", "dd"), (f"{here}config set Sm", "tpPort "),
                (f"{here}user show b", f"ob@{DOMAIN} "), (f"{here}user show bob@", f"{DOMAIN} "),
                (f"{here}user show bob@{DOMAIN[:2]}", f"{DOMAIN[2:]} "), (f"{here}mailbox {bob} b", ""),
                (f"{here}user show {bob} b", ""), (f"{here}config get MailPath Sm", ""),
                (f"{here}rule delete ", "127.0.0.9 "), (f"{here}rule delete 127.0.0.9 ", ""),
                (f"{here}--json {members}al", f"ice@{DOMAIN} "), (f"{here}{members}b", f"ob@{DOMAIN} "),
                (f"{here}user set {bob} ResponseE", "nable="),
                (f"{here}user show z", rf"""\'\$\(\>made\)\`\"@{DOMAIN} """),
                (rf"{here}user show z\'\$", rf"""\(\>made\)\`\"@{DOMAIN} """),
                (f'{here}user show "z', rf"""'\$(>made)\`\"@{DOMAIN}" """),
                (f"{here}user show 'z", rf"""'\''$(>made)`"@{DOMAIN}' """),
                ("velnorctl --directory ~/my", r"\ w/"),
                (f"velnorctl --directory={spaced.parent}/my", r"\ w/"),
                (f'velnorctl --directory "{spaced}" user show b', f"ob@{DOMAIN} "),
                (r"velnorctl --directory ~/my\ w user show b", f"ob@{DOMAIN} "),
                (f"velnorctl --directory={self.server.home} user show b", f"ob@{DOMAIN} ")):
            self.assertEqual(line_after(typed), typed + inserted)
        self.assertFalse((self.server.directory / "made").exists())


if __name__ == "__main__":
    support.main()
