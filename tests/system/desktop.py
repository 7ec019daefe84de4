"""A small desktop without a screen: display, window manager, perhaps a tray, and hands for mouse and keys."""

import os
import random
import re
import subprocess

from support import wait_for


class Desktop:
    """Programs find it by the environment in `env`. To be used in a `with` statement."""

    def __init__(self, directory, size="1280x800", tray=True):
        self.directory, self.size, self.with_tray = str(directory), size, tray
        self.processes = []
        self.env = {**os.environ, "XDG_RUNTIME_DIR": self.directory, "HOME": self.directory,
                    "XDG_CONFIG_HOME": self.directory, "QT_ACCESSIBILITY": "0", "NO_AT_BRIDGE": "1"}
        for name in ("WAYLAND_DISPLAY", "DBUS_SESSION_BUS_ADDRESS", "XDG_CURRENT_DESKTOP"):
            self.env.pop(name, None)

    def __enter__(self):
        try:
            self._start_all()
        except BaseException:
            self.__exit__()
            raise
        return self

    def _start_all(self):
        reading, writing = os.pipe()
        # Displays of other runs may have been numbered where this one can't see them, so it draws its number.
        number = random.randrange(1000, 30000)
        self._start("Xvfb", f":{number}", "-displayfd", str(writing), "-screen", "0", f"{self.size}x24",
                    "-nolisten", "tcp", "-noreset", pass_fds=[writing])
        os.close(writing)
        with os.fdopen(reading) as ready:
            self.env["DISPLAY"] = ":" + ready.readline().strip()
        self._start("openbox")
        wait_for("the window manager", lambda: "_NET_SUPPORTING_WM_CHECK(WINDOW)" in self._property("-root"))
        if self.with_tray:
            self._start("trayer", "--edge", "bottom", "--widthtype", "request", "--height", "24")
            wait_for("the tray", lambda: self._find("--class", "trayer"))

    def __exit__(self, *_):
        for process in reversed(self.processes):
            process.terminate()
            process.wait()

    def _start(self, *command, pass_fds=()):
        self.processes.append(subprocess.Popen(command, env=self.env, pass_fds=pass_fds,
                                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL))

    def _property(self, *arguments):
        return subprocess.run(["xprop", *arguments, "_NET_SUPPORTING_WM_CHECK"], env=self.env, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout

    def _find(self, *criteria):
        found = subprocess.run(["xdotool", "search", "--onlyvisible", *criteria], env=self.env, text=True,
                               stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        return found.stdout.split()

    def _xdotool(self, *arguments):
        subprocess.run(["xdotool", *map(str, arguments)], env=self.env, check=True)

    def windows(self, title):
        """The windows on the screen with exactly this title."""
        return self._find("--name", f"^{title}$")

    def window(self, title):
        """Waits for the window and gives it the keys."""
        found = wait_for(f"the window {title}", lambda: self.windows(title))[-1]
        self._xdotool("windowactivate", "--sync", found)
        return found

    def wait_until_gone(self, title):
        wait_for(f"the end of the window {title}", lambda: not self.windows(title))

    def key(self, *keys):
        self._xdotool("key", "--delay", 50, *keys)

    def type(self, text):
        self._xdotool("type", "--delay", 20, text)

    def click(self, place, button=1, times=1):
        self._xdotool("mousemove", *place, "click", "--repeat", times, "--delay", 100, button)

    def open_menu(self, place, program):
        """Opens the menu of one of the program's windows and waits until it stands."""
        before = len(self._find("--class", program))
        self.click(place, button=3)
        wait_for("the menu", lambda: len(self._find("--class", program)) > before)

    def find_colour(self, colour, window="root"):
        """The place on the screen of the window's first pixel with this (red, green, blue), or None."""
        picture = subprocess.run(["import", "-silent", "-window", window, "-depth", "8", "ppm:-"], env=self.env,
                                 check=True, stdout=subprocess.PIPE).stdout
        _, size, _, pixels = picture.split(b"\n", 3)
        width = int(size.split()[0])
        place = pixels.find(bytes(colour))
        while place % 3 and place != -1:
            place = pixels.find(bytes(colour), place + 1)
        if place == -1:
            return None
        left, top = self._corner(window)
        return left + place // 3 % width, top + place // 3 // width

    def _corner(self, window):
        if window == "root":
            return 0, 0
        shape = subprocess.run(["xwininfo", "-id", window], env=self.env, check=True, stdout=subprocess.PIPE,
                               text=True).stdout
        return tuple(int(re.search(f"Absolute upper-left {axis}: *(-?[0-9]+)", shape)[1]) for axis in "XY")

    def clipboard(self):
        return subprocess.run(["xclip", "-selection", "clipboard", "-out"], env=self.env, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout

    def picture(self, path, window):
        """Stores the window with its frame as a picture."""
        subprocess.run(["import", "-silent", "-frame", "-window", window, str(path)], env=self.env, check=True)
