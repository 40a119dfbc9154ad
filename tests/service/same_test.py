"""Equal sources, equal bytes: two copies of the sources, each compiled by itself in a folder of its own.

It is a part, because all of it takes many minutes: the program that builds the samples, compiled and linked, and the driver's image,
with their debug information. BUILD-TREE only says where EDK II is: what a compiler's cache kept may have other paths in it.

usage: same_test.py BUILD-TREE FOLDER

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import os
import pathlib
import re
import shutil
import sys

from debian_root import run
from package_test import demand

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
PROGRAM = "tvq_build_sample"
TARGETS = (PROGRAM, "host/libtvq_image_driver.a")


def copy_sources(target):
    for name in run("git", "-C", ROOT, "ls-files", "--cached", "--others", "--exclude-standard").splitlines():
        if (ROOT / name).is_file():
            (target / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy2(ROOT / name, target / name)


def compile_copy(build, source, tree):
    cache = (build / "CMakeCache.txt").read_text(encoding="utf-8")
    paths = [f"-D{name}={re.search(rf'(?m)^{name}:PATH=(.*)$', cache)[1]}" for name in ("EDK2_DIR", "EXPAT_DIR")]
    environment = {name: value for name, value in os.environ.items() if not name.endswith("_COMPILER_LAUNCHER")} | {"CCACHE_DISABLE": "1"}
    run("cmake", "-S", source, "--preset", "long", "-B", tree, *paths, env=environment)
    run("ninja", "-C", tree, *TARGETS, env=environment)


def main(arguments):
    build, folder = (pathlib.Path(argument).resolve() for argument in arguments)
    shutil.rmtree(folder, ignore_errors=True)
    sources = folder / "one", folder / "another folder" / "deeper"
    # One tree is within its sources, as ours are, and the other one is not.
    one, other = sources[0] / "build" / "long", folder / "tree"
    for source, tree in zip(sources, (one, other), strict=True):
        copy_sources(source)
        compile_copy(build, source, tree)
    made = [file.relative_to(one) for file in one.rglob("*") if file.is_file() and (file.suffix in (".o", ".a") or file.name == PROGRAM)]
    demand(len(made) > 50, f"what was compiled: {made}")
    differing = sorted(str(file) for file in made if (one / file).read_bytes() != (other / file).read_bytes())
    demand(not differing, f"{len(made)} equal files; these differ: {differing}")
    shutil.rmtree(folder)
    print(f"{len(made)} files are the same, compiled in two folders")


if __name__ == "__main__":
    main(sys.argv[1:])
