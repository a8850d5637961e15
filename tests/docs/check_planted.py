"""check_planted.py ROOT: plants one fault after the other in a copy of src/ and docs/, and requires that it is found."""

import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

root = Path(sys.argv[1])
scripts = Path(__file__).parent

# script, file to change, text to add (or a text to replace and its replacement), what the script has to say
FAULTS = [
    ("check_layers.py", "src/brn_mesh_kernel/tasks/Watchdog.cpp", "#include <brn_mesh_kernel/diagnostics/CrashStack.h>\n",
     "no arrow leads from tasks to diagnostics"),
    ("check_layers.py", "src/brn_mesh_common/Util.h", "#include <brn_mesh_kernel/kernel/IService.h>\n",
     "no arrow leads from common to ground floor"),
    ("check_layers.py", "src/brn_mesh_widgets/FrameClock.cpp", "#include <brn_mesh_common/ValidUnicode.h>\n",
     "which is internal to common"),
    ("check_layers.py", "src/brn_stray/Stray.cpp", "#include <vector>\n", "belongs to no layer"),
    ("check_layers.py", "docs/architecture.md", ("| console | `brn_console/` | |", "| console | `brn_console/` | common |"),
     "no file of console includes one of common"),
    ("check_threads.py", "src/brn_mesh_kernel/objects/Delegator.h", "inline std::mutex g_planted;\n", "g_planted"),
    ("check_threads.py", "src/brn_mesh_kernel/progress/Progress.cpp", "tbb::spin_rw_mutex g_planted;\n", "g_planted"),
    ("check_threads.py", "docs/threads.md", ("`LogGate::m_forkMutex`", "`LogGate::m_lock`"), "has no lock"),
    ("check_threads.py", "src/brn_mesh_kernel/logging/LogGate.cpp", "void f() { std::thread(&f).detach(); }\n", "makes a thread"),
    ("check_threads.py", "src/brn_mesh_widgets/FrameClock.cpp", "void f() { connect(a, &QTimer::planted, b); }\n",
     "QTimer::planted"),
]

failures = []
for script, file, change, expected in FAULTS:
    with tempfile.TemporaryDirectory() as folder:
        copy = Path(folder)
        for part in ("src", "docs"):
            shutil.copytree(root / part, copy / part)
        target = copy / file
        target.parent.mkdir(exist_ok=True)
        text = target.read_text(encoding="utf-8") if target.exists() else ""
        target.write_text(text + change if isinstance(change, str) else text.replace(*change), encoding="utf-8")
        result = subprocess.run([sys.executable, scripts / script, copy], capture_output=True, text=True, check=False)
        if result.returncode == 0 or expected not in result.stdout:
            failures.append(f"{script} did not find what was planted in {file}:\n{result.stdout}{result.stderr}")

print("\n".join(failures) or f"{len(FAULTS)} planted faults are found")
sys.exit(1 if failures else 0)
