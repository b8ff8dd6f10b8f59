"""lit: text in, one or more tools, text out, compared by FileCheck.

Run by ctest; by hand:  python3 /usr/lib/llvm-14/build/utils/lit/lit.py -sv --param bin=build/release tests/cases
The tools of the build folder, FileCheck and not are on the PATH of every RUN line.
"""

import os

import lit.formats

config.name = "nxopt"
config.test_format = lit.formats.ShTest(execute_external=False)
config.suffixes = [".test", ".c", ".txt", ".nxa"]
config.excludes = ["Inputs", "README.md", "CMakeLists.txt"]
config.test_source_root = os.path.dirname(os.path.abspath(__file__))

build = os.path.abspath(lit_config.params.get("bin", "build/release"))
config.test_exec_root = os.path.join(build, "tests", "cases")

llvm_tools = "/usr/lib/llvm-14/bin"
if not os.access(os.path.join(llvm_tools, "FileCheck"), os.X_OK):
    lit_config.fatal("FileCheck is not in " + llvm_tools + "; tools/install-deps.sh test installs it")

tools = [build] + [os.path.join(build, "tools", tool) for tool in ("nxparse", "nxrun", "nxdis")] + [llvm_tools]
config.environment["PATH"] = os.path.pathsep.join(tools + [config.environment.get("PATH", "/usr/bin:/bin")])
for name in ("ASAN_OPTIONS", "UBSAN_OPTIONS"):
    if name in os.environ:
        config.environment[name] = os.environ[name]

# Cases that begin with C source say "REQUIRES: front-end"; a build without Clang's libraries leaves them out.
if os.access(os.path.join(build, "tools", "nxparse", "nxparse"), os.X_OK):
    config.available_features.add("front-end")
