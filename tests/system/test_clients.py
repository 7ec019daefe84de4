"""Clients that nobody here wrote take a message with an attachment of 2 MB through the program."""

import email
import email.policy
import os
import poplib
import smtplib
import subprocess
from email.message import EmailMessage

import support
from support import DOMAIN, PASSWORD, POP3_PORT, SMTP_PORT

ATTACHMENT_SIZE = 2 * 1024 * 1024


def message_with_attachment(attachment):
    message = EmailMessage(policy=email.policy.SMTP)
    message["From"], message["To"] = f"alice@{DOMAIN}", f"bob@{DOMAIN}"
    message["Subject"] = "A large file"
    message.set_content(".\n..\n.a line that begins with a dot\n\nThe end.\n")
    message.add_attachment(attachment, maintype="application", subtype="octet-stream", filename="large.bin")
    return message.as_bytes()


class RealClients(support.SystemTest):
    def setUp(self):
        self.server = self.server_with("alice", "bob", "carol").start()
        self.attachment = os.urandom(ATTACHMENT_SIZE)
        self.message = message_with_attachment(self.attachment)

    def test_a_large_attachment_comes_back_whole(self):
        support.at_once(self.through_python, self.through_curl)
        self.assertEqual(self.server.stop(), 0)

    def through_python(self):
        with smtplib.SMTP("127.0.0.1", SMTP_PORT) as client:
            client.ehlo()
            client.user, client.password = f"alice@{DOMAIN}", PASSWORD
            client.auth("LOGIN", client.auth_login, initial_response_ok=False)
            self.assertEqual(client.sendmail(f"alice@{DOMAIN}", [f"bob@{DOMAIN}"], self.message), {})
        support.wait_for("the delivery to bob", lambda: self.server.inbox("bob"))
        client = poplib.POP3("127.0.0.1", POP3_PORT)
        client.user(f"bob@{DOMAIN}")
        client.pass_(PASSWORD)
        self.assertEqual(client.stat()[0], 1)
        lines = client.retr(1)[1]
        self.check(b"".join(line + b"\r\n" for line in lines))
        client.dele(1)
        client.quit()
        self.assertEqual(self.server.inbox("bob"), {})

    def through_curl(self):
        sent = self.server.directory / "sent"
        sent.write_bytes(self.message)
        self.curl(f"smtp://127.0.0.1:{SMTP_PORT}/client.test", "--mail-from", f"alice@{DOMAIN}",
                  "--mail-rcpt", f"carol@{DOMAIN}", "--upload-file", sent)
        support.wait_for("the delivery to carol", lambda: self.server.inbox("carol"))
        self.check(self.curl(f"pop3://127.0.0.1:{POP3_PORT}/1", "--user", f"carol@{DOMAIN}:{PASSWORD}"))

    def curl(self, *arguments):
        command = ["curl", "--silent", "--show-error", *arguments]
        return subprocess.run(command, check=True, stdout=subprocess.PIPE).stdout

    def check(self, received):
        head, _, message = received.partition(b"\r\n")
        self.assertTrue(head.startswith(b"Received: from "), head)
        self.assertTrue(message == self.message, "the message has changed on its way")
        attachment, = email.message_from_bytes(message, policy=email.policy.SMTP).iter_attachments()
        self.assertTrue(attachment.get_content() == self.attachment, "the attachment has changed on its way")


if __name__ == "__main__":
    support.main()
