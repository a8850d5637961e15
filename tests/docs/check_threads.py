"""check_threads.py ROOT: compares the tables of docs/threads.md with src/.

The table of locks has every mutex that is declared in src/, with its file, and no other. The table of threads names
every file that makes threads. The table of signals has every signal that src/ connects to.
"""

import re
import sys
from collections import Counter
from pathlib import Path

root = Path(sys.argv[1])
source = root / "src"
page = (root / "docs/threads.md").read_text(encoding="utf-8")
failures = []


def table(heading):
    """The rows below the table's heading, of which the first cell is given, as lists of cells."""
    found = re.search(rf"^\| {heading} \|.*\n\|[-|]+\|\n((?:\|.*\n)+)", page, re.MULTILINE)
    if not found:
        sys.exit(f"docs/threads.md: no table begins with {heading}")
    return [[cell.strip() for cell in row.strip("|").split("|")] for row in found.group(1).splitlines()]


def code(text):
    """The text without its comments."""
    return re.sub(r"//[^\n]*|/\*.*?\*/", "", text, flags=re.DOTALL)


def named(path, name):
    """Whether the page's name for a file means the path: it may leave out folders in front."""
    return path == name or path.endswith("/" + name)


MUTEX = re.compile(
    r"\b(?:std::(?:recursive_|shared_|timed_|recursive_timed_|shared_timed_)?mutex|(?:tbb::|oneapi::tbb::)?\w*spin\w*mutex"
    r"|Q(?:Recursive)?Mutex|QReadWriteLock|QSemaphore|\w*Mutex|CRITICAL_SECTION|SRWLOCK|pthread_(?:mutex|rwlock|spinlock)_t)"
    r"\s*&?\s+&?(\w+)\s*(?:;|=|\{)"
)
THREAD = re.compile(r"\bstd::j?thread\s*\(|\bstd::j?thread\s+\w+\s*[({]|\bCreateThread\s*\(|\b_beginthreadex\s*\("
                    r"|\bpthread_create\s*\(|\bstartThread\s*\(\s*[&\[]|\bnew QThread\b"
                    r"|\bQThread::create\b|\bstd::async\b|\bQtConcurrent::run\b")
THREAD_FOR_OTHERS = re.compile(r"library/Process_\w+\.cpp")  # startThread(): the table names those who call it
SIGNAL = re.compile(r"\bconnect\([^;]*?&(\w+::\w+)")

locks, makers, signals = Counter(), set(), set()
for file in sorted([*source.rglob("*.h"), *source.rglob("*.cpp")]):
    path = file.relative_to(source).as_posix()
    text = code(file.read_text(encoding="utf-8"))
    for mutex in MUTEX.finditer(text):
        if not re.search(r"\b(?:class|struct|using|return)\s*$", text[: mutex.start()]):
            locks[path, mutex.group(1)] += 1
    if THREAD.search(text) and not THREAD_FOR_OTHERS.search(path):
        makers.add(path)
    signals.update(SIGNAL.findall(text))

listed = []
for lock, declared, *_ in table("lock"):
    name = re.match(r"`(?:\w+::)?(\w+)`", lock)
    file = re.fullmatch(r"`([^`]+)`", declared)
    if not name or not file:
        failures.append(f"docs/threads.md: the lock {lock} in {declared} is not written as `Class::name` and `file`")
        continue
    matching = [key for key in locks if key[1] == name.group(1) and named(key[0], file.group(1))]
    if not matching:
        failures.append(f"docs/threads.md: {declared} has no lock {lock}")
    listed += matching
for key, count in locks.items():
    if listed.count(key) != count:
        failures.append(f"src/{key[0]}: {key[1]} stands {count} times there, {listed.count(key)} times in the table of locks")

thread_files = {name for _, made, *_ in table("thread") for name in re.findall(r"`([^`]+\.(?:h|cpp))`", made)}
for path in makers:
    if not any(named(path, name) for name in thread_files):
        failures.append(f"src/{path}: makes a thread that is not in the table of threads")
for name in thread_files:
    if not any(named(path, name) for path in makers):
        failures.append(f"docs/threads.md: {name} makes no thread")

cells = " ".join(first for first, *_ in table("signal or event"))
for signal in sorted(signals):
    owner, name = signal.split("::")
    if f"`{signal}" not in cells and not (f"`{owner}::" in cells and f"`{name}`" in cells):
        failures.append(f"src/: {signal} is connected to, and is not in the table of signals")

if sum(locks.values()) < 10 or len(makers) < 3 or len(signals) < 5:
    failures.append(f"only {sum(locks.values())} locks, {len(makers)} makers of threads, {len(signals)} signals were found")

print("\n".join(failures) or f"{sum(locks.values())} locks, {len(makers)} makers of threads and {len(signals)} signals are listed")
sys.exit(1 if failures else 0)
