"""A second host for a system test: another network namespace behind a cable, and a name server for both.

The test itself is the near host at NEAR, with the exchanger of near.test; the far host has that of far.test.
"""

import os
import subprocess

from support import SystemTest, Server, replace_in_etc, wait_for

NEAR, FAR = "10.77.0.1", "10.77.0.2"


class TwoHosts(SystemTest):
    """A test between the two."""

    def setUp(self):
        # The namespace lives as long as a process in it does.
        holder = self.start("unshare", "--net", "sleep", "infinity")
        own = os.readlink("/proc/self/ns/net")
        wait_for("the far namespace", lambda: os.readlink(f"/proc/{holder.pid}/ns/net") != own)
        self.on_far = ["nsenter", f"--net=/proc/{holder.pid}/ns/net"]  # goes before a command for that host
        self.run_all([], f"link add near type veth peer name far netns {holder.pid}",
                     f"address add {NEAR}/24 dev near", "link set near up")
        self.run_all(self.on_far, f"address add {FAR}/24 dev far", "link set far up", "link set lo up")
        self.start("dnsmasq", "--keep-in-foreground", "--conf-file=/dev/null", "--no-hosts", "--no-resolv",
                   "--pid-file=", "--user=root", f"--listen-address={NEAR}", "--bind-interfaces",
                   "--local=/test/",
                   "--mx-host=near.test,mx.near.test,10", f"--host-record=mx.near.test,{NEAR}",
                   "--mx-host=far.test,mx.far.test,10", f"--host-record=mx.far.test,{FAR}")
        replace_in_etc(resolv_conf=f"nameserver {NEAR}\n", hosts="127.0.0.1 localhost\n",
                       nsswitch_conf="hosts: files dns\n")

    def start(self, *command):
        process = subprocess.Popen(command, stdin=subprocess.DEVNULL)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        return process

    @staticmethod
    def run_all(within, *orders):
        for order in orders:
            subprocess.run([*within, "ip", *order.split()], check=True, stdin=subprocess.DEVNULL)

    def server(self, user, domain, within=()):
        """A server that runs, as the exchanger of one of the domains."""
        server = Server([user], [domain], SmtpPort=25, Pop3Port=110, PrimaryDNS=NEAR)
        self.addCleanup(server.kill)
        return server.start(within)
