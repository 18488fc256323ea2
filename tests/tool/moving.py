#!/usr/bin/python3
# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
"""Usage: moving.py settings|kills COMMAND FOLDER ROUNDS [SEED]
settings: random settings move from box to box, are reset and come back.
kills: SIGKILL at random moments of an import or a reset leaves the old file or the new one."""
import json
import os
import pathlib
import random
import subprocess
import sys
import time

MODE, COMMAND, FOLDER, ROUNDS = sys.argv[1], sys.argv[2], pathlib.Path(sys.argv[3]), int(sys.argv[4])
SEED = int(sys.argv[5]) if len(sys.argv) > 5 else random.SystemRandom().randrange(10**9)
CHANCE = random.Random(SEED)
LETTERS = list("abcXYZ019 _-.,;:=%@\\\"'[]{}()*?!#$&|<>~^+") + [
    "\t", "\n", "\r", "\x01", "\x7f", "\u00e9", "\u00ff", "\u0416", "\u20ac", "\u202e", "\U0001f4fa", "pin"]


class Box:
    def __init__(self, name):
        self.folder = FOLDER / name
        for part in ("var", "etc", "tmp"):
            (self.folder / part).mkdir(parents=True)
        self.custom = self.folder / "var/custom.conf"
        self.defaults = self.folder / "etc/stbapp.conf"
        self.defaults.write_text("[Video]\noutput=hdmi\n", encoding="ascii")
        self.storage = self.folder / "var/epg.db"
        self.storage.write_text("[a]\nb=1\n", encoding="ascii")
        self.environment = {**os.environ, "TMPDIR": str(self.folder / "tmp"),
                            "STBCONFIG_PERSISTENT_PREFIX": f"{self.folder}/var/",
                            "STBCONFIG_DEFAULTS_PREFIX": f"{self.folder}/etc/"}

    def start(self, *words, **options):
        return subprocess.Popen([COMMAND, *words], env=self.environment, **options)

    def run(self, *words, given=None):
        return subprocess.run([COMMAND, *words], env=self.environment, input=given, check=False,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE)

    def does(self, *words, given=None):
        done = self.run(*words, given=given)
        require(done.returncode == 0, f"{words}: status {done.returncode}: {done.stderr.decode()[-2000:]}")
        return done.stdout

    def listed(self):
        done = self.run("list", "--from", "custom", "--json", "--show-secrets")
        require(done.returncode in (0, 1), f"list: {done.stderr.decode()}")
        return {row["setting"]: row["value"] for row in json.loads(done.stdout)}

    def status(self):
        status = self.custom.stat()
        return status.st_mode, status.st_uid, status.st_gid

    def left(self):
        """What is left in the scratch directory once the process that removes it had its time."""
        for _ in range(500):
            if not list((self.folder / "tmp").iterdir()):
                return []
            time.sleep(0.01)
        return list((self.folder / "tmp").iterdir())


def require(is_so, what):
    if not is_so:
        sys.exit(what)


def units(text):
    """The UTF-16 units, of which Qt's texts are made."""
    data = text.encode("utf-16-le")
    return [data[i] | data[i + 1] << 8 for i in range(0, len(data), 2)]


def name_in_file(name):
    return "".join(chr(u) if chr(u).isascii() and chr(u).isalnum() else
                   f"%{u:02X}" if u < 256 else f"%U{u:04X}" for u in units(name))


def text_in_file(text):
    return '"' + "".join(f"\\x{u:x}" for u in units("@" + text if text.startswith("@") else text)) + '"'


def file_of(settings):
    """The file, encoded here and not by Qt: everything is escaped."""
    lines = []
    for name, value in settings.items():
        group, key = name.split("/", 1) if "/" in name else ("", name)
        section = "%General" if group == "General" else name_in_file(group) if group else "General"
        lines.append(f"[{section}]")
        texts = value if isinstance(value, list) else [value]
        lines.append("\\".join(map(name_in_file, key.split("/"))) + "=" + ", ".join(map(text_in_file, texts)))
    return ("\n".join(lines) + "\n").encode("ascii")


def word(longest):
    return "".join(CHANCE.choice(LETTERS) for _ in range(CHANCE.randint(1, longest)))


def random_name():
    parts = [word(5) for _ in range(CHANCE.randint(1, 4))]
    if len(parts) > 1 and CHANCE.random() < .2:
        parts[0] = CHANCE.choice(["General", "Logging ", "Video", "User"])
    if len(parts) > 1 and parts[0].lower() == "general":
        parts[0] = "General"
    return "/".join(parts)


def random_settings(count):
    settings = {}
    while len(settings) < count:
        texts = ["" if CHANCE.random() < .1 else CHANCE.choice(["", "@", "@Size(1 2)", "@@", "/", "%41", " "]) + word(6)
                 for _ in range(CHANCE.choice([1, 1, 1, 2, 3]))]
        settings[random_name()] = texts[0] if len(texts) == 1 else texts
    return settings


def check_settings(number, count):
    near, far = Box(f"near{number}"), Box(f"far{number}")
    settings = random_settings(count)
    near.custom.write_bytes(file_of(settings))
    near.custom.chmod(0o640)
    require(near.listed() == settings, "the file is not what it is meant to be")
    before = near.status()
    others = near.storage.read_bytes(), near.defaults.read_bytes()

    text = near.does("export", "--show-secrets")
    rows = far.does("import", "-", "--json", given=text)
    require({row["setting"] for row in json.loads(rows)} == set(settings), "import does not say what it adds")
    require(far.listed() == settings, "an import differs")
    require(far.custom.read_bytes() == text, "an export is not what a storage holds")
    inode = far.custom.stat().st_ino
    require(far.does("import", "-", given=text) == b"", "a second import says that something changes")
    require(far.custom.stat().st_ino == inode, "a second import writes")

    kept = CHANCE.sample(sorted(settings), min(3, count))
    plain = [name for name in kept if not set(name) & set("*?")]
    words = [f"--keep={name}" for name in plain]
    wanted = {name: value for name, value in settings.items()
              if any(name == each or name.startswith(each + "/") for each in plain)}
    expected = near.does("reset", *words, "--dry-run")
    require(near.listed() == settings, "a dry run changes something")
    require(near.does("reset", *words) == expected, "a dry run says something else than the real one")
    require(near.listed() == wanted, "not exactly what is kept remains")
    near.does("reset")
    require(near.listed() == {}, "a reset leaves something")
    require(near.does("reset") == b"", "a second reset says that something changes")
    near.does("import", "-", given=text)
    require(near.listed() == settings, "export, reset and import do not restore")
    require(near.status() == before, "mode or owner is another one")
    require((near.storage.read_bytes(), near.defaults.read_bytes()) == others, "another file is touched")
    require(not near.left() and not far.left(), "a scratch directory stays")


def check_kills():
    box = Box("killed")
    old = file_of(random_settings(40))
    box.custom.write_bytes(old)
    given = FOLDER / "given.conf"
    given.write_bytes(file_of(random_settings(40)))
    commands = {("import", str(given)): None, ("reset", "--keep", "*a*"): None, ("import", "--replace", str(given)): None}
    longest = 0
    for words in commands:
        box.custom.write_bytes(old)
        begin = time.monotonic()
        box.does(*words)
        longest = max(longest, time.monotonic() - begin)
        commands[words] = box.custom.read_bytes()
    found = {"old": 0, "new": 0}
    for number in range(ROUNDS):
        words = list(commands)[number % len(commands)]
        box.custom.write_bytes(old)
        ours, theirs = os.pipe()
        process = box.start(*words, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, pass_fds=[theirs])
        os.close(theirs)
        time.sleep(CHANCE.uniform(0, longest))
        process.kill()
        process.wait()
        os.read(ours, 1)  # ends when its children have died too, which may still write
        os.close(ours)
        now = box.custom.read_bytes()
        require(now in (old, commands[words]), f"round {number}: {words} leaves neither the old file nor the new one")
        found["old" if now == old else "new"] += 1
        require(not box.left(), f"round {number}: {words} leaves {box.left()}")
        box.does(*words)
        require(box.custom.read_bytes() == commands[words], f"round {number}: a second run does not complete")
    print(found)


print("seed", SEED)
if MODE == "kills":
    check_kills()
else:
    for each in range(ROUNDS):
        check_settings(each, CHANCE.randint(1, 30))
    check_settings(ROUNDS, 10000)
