#!/usr/bin/python3
# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
"""Usage: moving.py settings|kills|versions|migration-kills COMMAND FOLDER ROUNDS [SEED]
settings: random settings move from box to box, are reset and come back.
kills: SIGKILL at random moments of an import or a reset leaves the old file or the new one.
versions: random settings have other names, values and types in each version of an application.
migration-kills: the same as kills, of a migration and of its prune."""
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

    def describe(self, settings):
        text = json.dumps({"settings": settings})
        (self.folder / "etc/stbapp.schema.json").write_text(text, encoding="ascii")

    def listed(self):
        done = self.run("list", "--from", "custom", "--json", "--show-secrets")
        require(done.returncode in (0, 1), f"list: {done.stderr.decode()}")
        return {row["setting"]: row["value"] for row in json.loads(done.stdout)}

    def status(self):
        status = self.custom.stat()
        return status.st_mode, status.st_uid, status.st_gid

    def left(self):
        """Returns what is left in the scratch directory after the process that removes it had time to do so."""
        for _ in range(500):
            if not list((self.folder / "tmp").iterdir()):
                return []
            time.sleep(0.01)
        return list((self.folder / "tmp").iterdir())


def require(is_so, what):
    if not is_so:
        sys.exit(what)


def units(text):
    """Returns the UTF-16 units, of which Qt's texts are made."""
    data = text.encode("utf-16-le")
    return [data[i] | data[i + 1] << 8 for i in range(0, len(data), 2)]


def name_in_file(name):
    return "".join(chr(u) if chr(u).isascii() and chr(u).isalnum() else
                   f"%{u:02X}" if u < 256 else f"%U{u:04X}" for u in units(name))


def text_in_file(text):
    return '"' + "".join(f"\\x{u:x}" for u in units("@" + text if text.startswith("@") else text)) + '"'


def file_of(settings):
    """Returns the text of the file, with everything escaped. Qt has no part in this."""
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


def check_kills(box, commands):
    """Kills each of the commands at random moments; each comes with the file that it finds."""
    new, longest = {}, 0
    for words, old in commands.items():
        box.custom.write_bytes(old)
        begin = time.monotonic()
        box.does(*words)
        longest = max(longest, time.monotonic() - begin)
        new[words] = box.custom.read_bytes()
        require(new[words] != old, f"{words}: changes nothing")
    found = {"old": 0, "new": 0}
    for number in range(ROUNDS):
        words, old = list(commands.items())[number % len(commands)]
        box.custom.write_bytes(old)
        ours, theirs = os.pipe()
        process = box.start(*words, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, pass_fds=[theirs])
        os.close(theirs)
        time.sleep(CHANCE.uniform(0, longest))
        process.kill()
        process.wait()
        os.read(ours, 1)  # waits until its children have died, too, which may still write
        os.close(ours)
        now = box.custom.read_bytes()
        require(now in (old, new[words]), f"round {number}: {words} leaves neither the old file nor the new one")
        found["old" if now == old else "new"] += 1
        require(not box.left(), f"round {number}: {words} leaves {box.left()}")
        lock = box.folder / "var/custom.conf.lock"
        if lock.exists() and lock.stat().st_size == 0:
            hour_ago = time.time() - 3600
            os.utime(lock, (hour_ago, hour_ago))  # it holds a write only as long as it is new
        box.does(*words)
        require(box.custom.read_bytes() == new[words], f"round {number}: a second run does not complete")
    print(found)


def check_moving_kills():
    old = file_of(random_settings(40))
    given = FOLDER / "given.conf"
    given.write_bytes(file_of(random_settings(40)))
    check_kills(Box("killed"), {words: old for words in (
        ("import", str(given)), ("reset", "--keep", "*a*"), ("import", "--replace", str(given)))})


def check_migration_kills():
    box = Box("killed")
    settings = random_settings(40)
    described = {f"Today/{number}": {"type": "list" if isinstance(value, list) else "text", "was": [name]}
                 for number, (name, value) in enumerate(settings.items())}
    box.describe(described)
    migrated = {**settings, **{name: settings[each["was"][0]] for name, each in described.items()}}
    check_kills(box, {("migrate",): file_of(settings), ("migrate", "--prune"): file_of(migrated)})


def text_of(value):
    return value if isinstance(value, (str, list)) else json.dumps(value)


def random_domain():
    """Returns a type, and some of its values."""
    kind = CHANCE.choice(["text", "int", "bool", "list"])
    if kind == "bool":
        return kind, [True, False]
    if kind == "list":
        return kind, [[word(4), word(4)] for _ in range(3)]
    if kind == "int":
        return kind, CHANCE.sample([-2**31, -7, 0, 1, 30, 100, 2**31 - 1], 3)
    return kind, sorted({word(6) for _ in range(4)})


class Evolving:
    """A setting with the name, type and values that it has in each version of an application."""

    def __init__(self, versions, taken):
        self.names, self.domains, values = [], [], []
        for version in range(versions):
            is_renamed = version == 0 or CHANCE.random() < .6
            name = self.names[-1] if not is_renamed else random_name()
            while is_renamed and name in taken:
                name = random_name()
            taken.add(name)
            domain = self.domains[-1] if version else random_domain()
            if version == 0:
                values = [list(domain[1])]  # each value of the first version, and what becomes of it
            elif is_renamed and domain[0] != "list" and CHANCE.random() < .5:
                domain = random_domain()
                fate = {text_of(value): CHANCE.choice(domain[1]) for value in self.domains[-1][1]}
                values.append([fate[text_of(value)] for value in values[-1]])
            elif is_renamed and domain[0] in ("int", "bool") and CHANCE.random() < .3:
                domain = "text", [text_of(value) for value in domain[1]]
                values.append([text_of(value) for value in values[-1]])
            else:
                values.append(values[-1])
            self.names.append(name)
            self.domains.append(domain)
        self.chosen = CHANCE.randrange(len(values[0]))
        self.fates = values

    def held(self, version):
        return text_of(self.fates[version][self.chosen])

    def described(self, version):
        kind, allowed = self.domains[version]
        result = {"type": kind, "was": []}
        if kind in ("text", "int"):
            result["values"] = allowed
        for older in reversed(range(version)):
            if self.names[older] in self.names[older + 1:version + 1]:
                continue
            table = {text_of(old): new for old, new in self.table(older, version)} \
                if self.domains[older][0] != "list" else {}
            is_same = all(old == text_of(new) for old, new in table.items())
            result["was"].append(self.names[older] if is_same else {"name": self.names[older], "values": table})
        return result

    def table(self, older, version):
        return zip(self.fates[older], self.fates[version])


def check_versions(number, count):
    near, far = Box(f"near{number}"), Box(f"far{number}")
    last = CHANCE.randint(1, 3)
    taken = {"Noise/a", "Video/output"}
    settings = [Evolving(last + 1, taken) for _ in range(count)]
    old = {"Noise/a": "1", **{setting.names[0]: setting.held(0) for setting in settings if CHANCE.random() < .8}}
    kept = [setting for setting in settings if setting.names[0] in old]
    near.custom.write_bytes(file_of(old))
    far.custom.write_bytes(file_of(old))

    def describe(box, version):
        box.describe({setting.names[version]: setting.described(version) for setting in settings})

    for version in range(1, last + 1):
        describe(near, version)
        told = near.does("migrate", "--dry-run", "--json")
        require(near.does("migrate", "--json") == told, "a dry run says something else than the real one")
        held = near.listed()
        for setting in kept:
            for each in range(version + 1):
                require(held.get(setting.names[each]) == setting.held(each),
                        f"{setting.names[each]}: version {each + 1} reads another value after version {version + 1}")
    describe(far, last)
    far.does("migrate")
    today = {setting.names[last]: setting.held(last) for setting in kept}
    require(far.listed() == {**old, **today}, "a run over several versions differs from one run each")
    for words in ("migrate",), ("migrate", "--prune"):
        near.does(*words)
        far.does(*words)
        inode = near.custom.stat().st_ino
        require(near.does(*words) == b"", f"{words}: a second run says that something changes")
        require(near.custom.stat().st_ino == inode, f"{words}: a second run writes")
    require(near.listed() == far.listed() == {"Noise/a": "1", **today}, "a prune leaves or takes something else")
    require(not near.left() and not far.left(), "a scratch directory stays")


print("seed", SEED)
if MODE == "kills":
    check_moving_kills()
elif MODE == "migration-kills":
    check_migration_kills()
elif MODE == "versions":
    for each in range(ROUNDS):
        check_versions(each, CHANCE.randint(1, 30))
    check_versions(ROUNDS, 2000)
else:
    for each in range(ROUNDS):
        check_settings(each, CHANCE.randint(1, 30))
    check_settings(ROUNDS, 10000)
