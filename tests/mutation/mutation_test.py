# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
"""Breaks the library and the command on purpose, one way at a time, and sees whether a test notices.

The ways are those that tests/mutation/mutations.txt lists, and those that rules make of each line of the
sources: a statement or a condition's part left out, a result emptied, a number, a text or an
operator changed. One that survives for a reason stands with it in tests/mutation/survivors.txt, or its line
in tests/mutation/uncovered.txt. Of the command's tests, a mutant meets those that run its line.
Exits with 0 if every other mutant was caught, with 1 if not, with 2 if a list does not fit the
sources any more.
"""
import argparse
import collections
import concurrent.futures
import os
import pathlib
import queue
import random
import re
import select
import shutil
import signal
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
WORK = ROOT / "build" / "mutation"
COVERAGE = ROOT / "build" / "coverage"
TOOL_PROGRAMS = ["description_test", "provenance_test", "rawfile_test"]

# Lines that are no statement, or that cannot be left out by themselves.
DECLARATION = re.compile(r"(using|return|class|struct|enum|template|friend|static|public|private|"
                         r"namespace|explicit|extern|typedef|break|Q_|~)|.*(= default|= 0|override);$",
                         re.DOTALL)
OPERATORS = {" && ": " || ", " || ": " && ", " == ": " != ", " != ": " == ", " < ": " <= ",
             "true": "false", "false": "true"}


class Misfit(Exception):
    """A list that does not fit the sources any more."""


class Mutation:
    """A title, a file, and the text that is put in place of another between two offsets."""

    def __init__(self, title, file, begin, end, text):
        self.title, self.file, self.begin, self.end, self.text = title, file, begin, end, text

    def applied_to(self, source):
        return source[:self.begin] + self.text + source[self.end:]

    def lines(self):
        """The lines that it changes: their numbers and texts."""
        source = (ROOT / self.file).read_text()
        first, last = (source.count("\n", 0, offset) for offset in (self.begin, self.end))
        return {number + 1: text.strip() for number, text in enumerate(source.splitlines())
                if first <= number <= last}


def listed():
    """The blocks of the list: "-" for the lines that stand there, "+" for those in their place."""
    for block in (ROOT / "tests" / "mutation" / "mutations.txt").read_text().split("\n\n"):
        if block.startswith("##"):
            continue
        title, file, *lines = block.splitlines()
        title = title.removeprefix("# ")
        old, new = ("\n".join(line[1:] for line in lines if line[0] == sign) for sign in "-+")
        source = (ROOT / file).read_text()
        if source.count(old) != 1:
            raise Misfit(f"{title}: its lines do not stand once in {file}; adapt tests/mutation/mutations.txt")
        begin = source.index(old)
        yield Mutation(title, file, begin, begin + len(old), new)


def changes(code):
    """(begin, end, new text) of each change that a rule makes of the code."""
    for statement in re.finditer(r"(?<=[;{}])\s*([^\s;{}#][^;{}]*;)", code):
        is_whole = statement[1].count("(") == statement[1].count(")")  # and no part of a loop's head
        if is_whole and not DECLARATION.match(statement[1]):
            yield *statement.span(1), ";"
    for result in re.finditer(r"\breturn (?!nullptr;|false;)([^;]+);", code):  # which are {} themselves
        yield *result.span(1), "{}"
    for condition in re.finditer(r"\bif \((.+)\)$", code, re.MULTILINE):
        yield *condition.span(1), f"!({condition[1]})"
    for operator in re.finditer("|".join(map(re.escape, OPERATORS)), code):
        yield *operator.span(), OPERATORS[operator[0]]
    for number in re.finditer(r"(?<![\w\"%])\d+(?![\w\"])", code):
        yield *number.span(), str(int(number[0]) + 1)
    for text in re.finditer(r'"([^"\n]*)"', code):
        yield *text.span(1), text[1] + "x"


def blanked(pattern, source):
    """As long as the source, so that offsets stay what they are."""
    return re.sub(pattern, lambda match: re.sub(r"[^\n]", " ", match[0]), source, flags=re.MULTILINE)


def generated():
    library, tools = ROOT / "stbconfig", ROOT / "tools" / "stbconfig"
    paths = [*library.rglob("*.cpp"), *library.rglob("*_p.h"), *tools.rglob("*.cpp"), *tools.rglob("*.h")]
    for path in sorted(paths):
        source = path.read_text()
        file = str(path.relative_to(ROOT))
        # Leaves out what is there only for Qt 6 or for a sanitizer.
        code = blanked(r"^#if QT_VERSION_MAJOR >= 6[^#]*#endif|^#else[^#]*#endif", source)
        code = blanked(r"//.*|^#.*", code)
        for begin, end, text in changes(code):
            before, after = code.rfind("\n", 0, begin) + 1, code.find("\n", end)
            old, new = (" ".join(f"{code[before:begin]}{part}{code[end:after]}".split())
                        for part in (code[begin:end], text))
            yield Mutation(f"{file}: {old} -> {new}", file, begin, end, text)


def excuses(name):
    """The titles of a list in tests/mutation/: of each block all lines but the last, which is the reason."""
    blocks = (ROOT / "tests" / "mutation" / name).read_text().strip().split("\n\n")
    return {title for block in blocks if not block.startswith("##") for title in block.splitlines()[:-1]}


def run(*command, timeout=None):
    return subprocess.run(command, capture_output=True, text=True, stdin=subprocess.DEVNULL,
                          timeout=timeout, cwd=ROOT)


class Case:
    """One of the command's tests: its name, and the lines that it runs, as (file, number)."""

    known = set()  # all lines that any test could run

    def __init__(self, profile):
        self.path, _, number = str(profile.relative_to(COVERAGE / "cases")).rpartition(".")
        self.path = f"tests/tool/{self.path}"
        self.name = re.findall(r'^@test "(.*)" {', (ROOT / self.path).read_text(), re.MULTILINE)[
            int(number) - 1].replace('\\"', '"')
        self.lines, self.kills = set(), 0
        file = None
        report = run("llvm-cov", "export", "-format=lcov", "-skip-functions",
                     COVERAGE / "tools/stbconfig/stbconfig", "-instr-profile", profile).stdout
        for line in report.splitlines():
            if line.startswith("SF:"):
                file = line[3:].removeprefix(f"{ROOT}/")
            elif line.startswith("DA:"):
                number, count = line[3:].split(",")[:2]
                place = file, int(number)
                self.known.add(place)
                if int(count) > 0:
                    self.lines.add(place)


class Cases:
    """The command's tests, as the phase coverage has seen them run."""

    def __init__(self, pool):
        if not self.are_measured():
            run(ROOT / ".ci" / "run", "coverage")
        if not self.are_measured():
            raise Misfit("the command's tests do not say what they run; see .ci/run coverage")
        self.all = list(pool.map(Case, sorted((COVERAGE / "cases").iterdir())))

    @staticmethod
    def are_measured():
        profile = COVERAGE / "profile"
        sources = [*(ROOT / "tools").rglob("*"), *(ROOT / "tests" / "tool").rglob("*")]
        return profile.exists() and profile.stat().st_mtime > max(path.stat().st_mtime for path in sources)

    def of(self, mutation):
        """Those that can notice it, in growing batches, the likeliest first."""
        lines = {(mutation.file, number) for number in mutation.lines()}
        cases = [case for case in self.all if case.lines & lines or not Case.known & lines]
        cases.sort(key=lambda case: (-case.kills, len(case.lines)))
        for begin, end in ((0, 1), (1, 4), (4, 16), (16, None)):
            if cases[begin:end]:
                yield cases[begin:end]


class Workplace:
    """A copy of the sources and what is built from it."""

    def __init__(self, number):
        self.source = WORK / f"source-{number}"
        self.build = WORK / f"build-{number}"
        listing = run("git", "ls-files", "-co", "--exclude-standard").stdout.splitlines()
        for name in filter(os.path.isfile, listing):
            (self.source / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(ROOT / name, self.source / name)
        self.speed_up_tools()
        run("cmake", "-S", self.source, "-B", self.build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
            "-DCMAKE_UNITY_BUILD=ON", "-DSTBCONFIG_BUILD_EXAMPLES=OFF",
            "-DCMAKE_CXX_FLAGS=-Werror=return-type", "-DCMAKE_CXX_FLAGS_DEBUG=-O0")
        if not self.builds("--target", "stbconfig_tool", "stbconfig_man", "faulty_calls", "upgraded",
                           *TOOL_PROGRAMS):
            raise Misfit("the unchanged sources do not compile")

    def speed_up_tools(self):
        """Has each file of the command compiled alone, with what it includes compiled before."""
        tools = self.source / "tools" / "stbconfig"
        headers = set(re.findall(r"^#include (<(?!CLI).+>)", "".join(
            path.read_text() for path in tools.rglob("*.cpp")), re.MULTILINE))
        with open(tools / "CMakeLists.txt", "a", encoding="utf-8") as script:
            script.write("set_target_properties(stbconfig_tool PROPERTIES UNITY_BUILD OFF)\n"
                         f"target_precompile_headers(stbconfig_tool PRIVATE {' '.join(sorted(headers))})\n")

    def builds(self, *targets):
        return run("cmake", "--build", self.build, *targets).returncode == 0

    def first_failure(self, program):
        """The test of a test program that fails first, or None."""
        try:
            tests = run(self.build / "tests" / program, "--gtest_fail_fast", timeout=60)
        except subprocess.TimeoutExpired:
            return f"{program}: no end"
        if tests.returncode == 0:
            return None
        failed = re.search(r"\[  FAILED  \] (\S+)", tests.stdout)
        return failed[1] if failed else f"{program}: status {tests.returncode}"

    def first_failing(self, cases):
        """The name of the case that fails first, or None."""
        command = self.build / "tools" / "stbconfig" / "stbconfig"
        environment = {"STBCONFIG": command, "PROGRAM": command, "BUILD_DIR": self.build, "EMULATOR": "",
                       "QT_MAJOR": "5", "FAULTS_LIBRARY": self.build / "tests" / "libfaulty_calls.so"}
        names = "|".join(re.escape(case.name) for case in cases)
        # Processes that a mutant leaves behind end together with the process that started it.
        alone = ["unshare", "--pid", "--fork", "--kill-child", "--mount-proc"] if os.geteuid() == 0 else []
        with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as directory:
            os.chmod(directory, 0o711)
            tests = subprocess.Popen(
                [*alone, "bats", "--filter", f"^({names})$", *sorted({case.path for case in cases})],
                env={**os.environ, **environment, "TMPDIR": directory}, cwd=self.source, bufsize=0,
                stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                start_new_session=True)
            try:
                while select.select([tests.stdout], [], [], 120)[0]:
                    line = tests.stdout.readline().decode()
                    if line.startswith("not ok"):
                        return line.split(" ", 3)[3].strip()
                    if not line:
                        return None if tests.wait() == 0 else "bats"
                return "no end"
            finally:
                if tests.poll() is None:
                    os.killpg(tests.pid, signal.SIGKILL)
                    tests.wait()

    def verdict_on_library(self):
        """What catches a change of the library, or None if nothing does."""
        programs = ["stbconfig_private_test", "stbconfig_public_test"]  # quick ones first
        if not self.builds("--target", *programs):
            return "the compiler"
        for failure in filter(None, map(self.first_failure, programs)):
            return failure
        if not self.builds():
            return "the compiler"
        for label in ("package", "tool"):
            tests = run("ctest", "--test-dir", self.build, "--stop-on-failure", "--timeout", "300",
                        "--no-tests=error", "-L", label)
            if tests.returncode != 0:
                failed = re.search(r"- (\S+) \((?!Not Run)", tests.stdout)
                return failed[1] if failed else f"a test of the label {label}"
        return None

    def verdict_on_command(self, batches):
        """The same for a change of the command."""
        if not self.builds("--target", "stbconfig_tool", *TOOL_PROGRAMS):
            return "the compiler"
        for failure in filter(None, (self.first_failure(f"tool/{name}") for name in TOOL_PROGRAMS)):
            return failure
        return next(filter(None, map(self.first_failing, batches)), None)

    def try_out(self, mutation, cases):
        path = self.source / mutation.file
        original = path.read_text()
        path.write_text(mutation.applied_to(original))
        try:
            if not mutation.file.startswith("tools/"):
                return self.verdict_on_library()
            verdict = self.verdict_on_command(cases.of(mutation))
        finally:
            path.write_text(original)
        for case in [case for case in cases.all if verdict and case.name in verdict]:
            if case.kills == 0 and self.verdict_on_command([[case]]):
                cases.all.remove(case)
                print(f"useless: {case.name}: fails for the unchanged sources, too", flush=True)
                return self.try_out(mutation, cases)
            case.kills += 1
        return verdict


def main():
    parser = argparse.ArgumentParser(prog="scripts/mutation-test", description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--sample", type=int, metavar="N",
                        help="try N of them, others for each commit, but none that rules make of "
                             "the command: to try those, name a file of it as WORD instead")
    parser.add_argument("words", nargs="*", metavar="WORD",
                        help="try only those whose title contains one of the words")
    arguments = parser.parse_args()

    mutations = [*listed(), *generated()]
    excused, uncovered = excuses("survivors.txt"), excuses("uncovered.txt")
    unknown = excused - {mutation.title for mutation in mutations}
    if unknown:
        raise Misfit(f"{min(unknown)}: no such mutant; adapt tests/mutation/survivors.txt")
    if arguments.words:
        mutations = [m for m in mutations if any(word in m.title for word in arguments.words)]
    if arguments.sample:
        # Most mutants that rules make of the command have met no test yet, so they are tried by hand.
        mutations = [m for m in mutations if not m.title.startswith("tools/")]
        commit = run("git", "rev-parse", "HEAD").stdout
        mutations = random.Random(commit).sample(mutations, min(arguments.sample, len(mutations)))

    shutil.rmtree(WORK, ignore_errors=True)
    workplaces = queue.SimpleQueue()
    workers = os.cpu_count()
    with concurrent.futures.ThreadPoolExecutor(workers) as pool:
        for workplace in pool.map(Workplace, range(workers)):
            workplaces.put(workplace)
        if any(mutation.file.startswith("stbconfig/") for mutation in mutations):
            if workplace.verdict_on_library():
                raise Misfit("the unchanged sources fail; see scripts/test")
        cases = Cases(pool)

        def try_out(mutation):
            workplace = workplaces.get()
            try:
                return mutation, workplace.try_out(mutation, cases)
            finally:
                workplaces.put(workplace)

        count = collections.Counter()
        for mutation, caught_by in pool.map(try_out, mutations):
            places = {f"{mutation.file}: {text}" for text in mutation.lines().values()}
            if caught_by:
                verdict = "caught"
                count["stillborn"] += caught_by == "the compiler"
            else:
                verdict = "excused" if mutation.title in excused or places & uncovered else "SURVIVED"
            count[verdict] += 1
            print(f"{verdict:8}  {mutation.title}{f'  [{caught_by}]' if caught_by else ''}", flush=True)
    print(f"{count['caught']} of {len(mutations)} mutants caught ({count['stillborn']} by the compiler), "
          f"{count['excused']} survive for a reason in tests/mutation/, {count['SURVIVED']} for none")
    return 1 if count["SURVIVED"] else 0


try:
    sys.exit(main())
except Misfit as misfit:
    print(f"mutation-test: {misfit}", file=sys.stderr)
    sys.exit(2)
