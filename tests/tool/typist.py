# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
#
# Usage: typist.py SHELL... <LINES
# Starts the interactive shell on a pseudo-terminal and types the lines, each when the one before has
# run. They may hold tabs. Fails with what the terminal showed if one does not end.
import fcntl
import os
import pty
import select
import struct
import sys
import tempfile
import termios
import time

LIMIT = 20  # seconds for a line, of which a busy machine may need many


def main():
    lines = sys.stdin.read().splitlines()
    process, terminal = pty.fork()
    if process == 0:
        os.execvp(sys.argv[1], sys.argv[1:])
    fcntl.ioctl(terminal, termios.TIOCSWINSZ, struct.pack("HHHH", 24, 400, 0, 0))
    shown = b""

    def wait(is_over):
        nonlocal shown
        last = time.monotonic() + LIMIT
        while not is_over():
            if time.monotonic() > last:
                sys.exit("no end; the terminal showed: " + repr(shown.decode(errors="replace")))
            if select.select([terminal], [], [], 0.01)[0]:
                try:
                    shown += os.read(terminal, 65536)
                except OSError:  # the shell has ended
                    return

    with tempfile.TemporaryDirectory() as folder:
        done = os.path.join(folder, "done")
        wait(lambda: b"ready>" in shown)
        for line in lines:
            os.write(terminal, line.encode() + b" ; : >" + done.encode() + b"\r")
            wait(lambda: os.path.exists(done))
            os.remove(done)
    os.write(terminal, b"exit\r")
    wait(lambda: False)
    os.waitpid(process, 0)


main()
