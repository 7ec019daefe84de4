"""Holds the include direction of src/: who may include whom, and that the toolkit stays in the console's windows.

    check_includes.py SRC_DIRECTORY    names each line that breaks a rule; status 1 if there is one
    check_includes.py --self-test      shows on a small tree of good and bad lines that each fault is found
"""

import pathlib
import re
import sys
import tempfile

# A room may include itself and the rooms named here.
MAY_INCLUDE = {
    "platform": set(),
    "core": {"platform"},
    "policy": {"platform", "core"},
    "smtp": {"platform", "core", "policy"},
    "agent": {"platform", "core", "policy"},
    "pop3": {"platform", "core", "policy"},
    "console/logic": {"platform", "core", "policy"},
    "console/widgets": {"platform", "core", "policy", "console/logic"},
    "control": {"platform", "core", "policy", "console/logic"},
}
EVERYTHING = set(MAY_INCLUDE) | {"apps"}
WINDOWS = "console/widgets"
WINDOW_PROGRAM = "apps/velnor.cpp"

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')
TOOLKIT = re.compile(r"^(Qt\w*/|Q[A-Z]\w*$|q[a-z]+\.h$|ui_\w+\.h$)")


def room_of(path):
    """The room of a path below src, or None if it lies in none."""
    parts = pathlib.PurePosixPath(path).parts
    for depth in (2, 1):
        room = "/".join(parts[:depth])
        if len(parts) > depth and room in EVERYTHING:
            return room
    return None


def fault_of(source, quote, target):
    """What is wrong with one include line of the file `source` (path below src), or None."""
    room = room_of(source)
    if TOOLKIT.match(target):
        if room == WINDOWS or source == WINDOW_PROGRAM:
            return None
        return f"only {WINDOWS} and {WINDOW_PROGRAM} may include the toolkit"
    if quote == "<":
        return None
    target_room = room_of(target)
    if target_room is None:
        return "an include in quotes names a file by its path below src"
    if target_room == room:
        return None
    if room == "apps":
        if target_room == WINDOWS and source != WINDOW_PROGRAM:
            return f"only {WINDOW_PROGRAM} may include {WINDOWS}"
        return None
    if target_room not in MAY_INCLUDE[room]:
        return f"{room} may not include {target_room}"
    return None


def check(src):
    """Checks the tree: the number of include lines read, and a line of text for each fault."""
    lines_read = 0
    faults = []
    for path in sorted(src.rglob("*")):
        if path.suffix not in (".cpp", ".h"):
            continue
        source = path.relative_to(src).as_posix()
        if room_of(source) is None:
            faults.append(f"{source}: lies in no room")
            continue
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            match = INCLUDE.match(line)
            if not match:
                continue
            lines_read += 1
            fault = fault_of(source, *match.groups())
            if fault:
                faults.append(f"{source}:{number}: {line.strip()}: {fault}")
    return lines_read, faults


# File, include line, and whether it breaks a rule.
SAMPLES = [
    ("platform/file.cpp", '#include "platform/file.h"', False),
    ("platform/clock.cpp", '#include "core/text.h"', True),
    ("core/text.cpp", "#include <string>", False),
    ("core/app.cpp", '#include "platform/file.h"', False),
    ("core/lists.cpp", '#include "policy/rules.h"', True),
    ("core/store.cpp", '  #  include  "smtp/session.h"', True),
    ("core/log.cpp", "#include <QString>", True),
    ("core/lost.cpp", '#include "text.h"', True),
    ("policy/rules.cpp", '#include "core/text.h"', False),
    ("policy/lists.cpp", '#include "pop3/maildrop.h"', True),
    ("smtp/a.cpp", '#include "policy/rules.h"', False),
    ("smtp/b.cpp", '#include "agent/worker.h"', True),
    ("smtp/c.cpp", '#include "pop3/maildrop.h"', True),
    ("agent/a.cpp", '#include "smtp/session.h"', True),
    ("pop3/a.h", '#include "agent/worker.h"', True),
    ("pop3/b.h", '#include "apps/host.h"', True),
    ("console/logic/a.cpp", '#include "core/text.h"', False),
    ("console/logic/b.cpp", '#include "agent/worker.h"', True),
    ("console/logic/c.cpp", '#include "console/widgets/window.h"', True),
    ("console/logic/d.cpp", "#include <QtCore/QObject>", True),
    ("console/widgets/a.cpp", '#include "console/logic/commands.h"', False),
    ("console/widgets/b.cpp", "#include <QDialog>", False),
    ("console/widgets/c.cpp", '#include "ui_window.h"', False),
    ("console/widgets/d.cpp", '#include "smtp/session.h"', True),
    ("control/a.cpp", '#include "console/logic/prompter.h"', False),
    ("control/b.cpp", '#include "console/widgets/window.h"', True),
    ("control/c.cpp", '#include "agent/agent.h"', True),
    ("console/logic/e.cpp", '#include "control/control.h"', True),
    ("apps/velnor.cpp", "#include <QApplication>", False),
    ("apps/velnor.h", '#include "console/widgets/window.h"', True),
    ("apps/velnor_service.cpp", '#include "agent/agent.h"', False),
    ("apps/velnorctl.cpp", "#include <qglobal.h>", True),
    ("attic/a.cpp", "#include <string>", True),
    ("console/a.cpp", "#include <string>", True),
]


def self_test():
    """Checks a made-up tree: exactly the bad files are named."""
    with tempfile.TemporaryDirectory() as directory:
        src = pathlib.Path(directory)
        for name, line, _ in SAMPLES:
            (src / name).parent.mkdir(parents=True, exist_ok=True)
            (src / name).write_text(f"// A comment.\n{line}\n", encoding="utf-8")
        _, faults = check(src)
    found = sorted(fault.split(":")[0] for fault in faults)
    expected = sorted(name for name, _, bad in SAMPLES if bad)
    for name in sorted(set(expected) - set(found)):
        print(f"{name}: its fault was not found")
    for name in sorted(set(found) - set(expected)):
        print(f"{name}: taken for a fault")
    return found == expected


def main(arguments):
    if arguments == ["--self-test"]:
        return 0 if self_test() else 1
    if len(arguments) != 1:
        print(__doc__, file=sys.stderr)
        return 2
    lines_read, faults = check(pathlib.Path(arguments[0]))
    for fault in faults:
        print(fault)
    if lines_read == 0:
        print(f"{arguments[0]}: no include line found")
        return 1
    print(f"{lines_read} include lines, {len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
