"""What the README says of CMake builds a project. Arguments: cmake, the build folder, a work folder.

The block names two ways to the library and the line after them. Each way is configured; the first is built
and run as well: what the second one builds, the test install.subdirectory builds.
"""

import pathlib
import shutil
import subprocess
import sys

import pages


def main():
    cmake, build, work = sys.argv[1], *map(pathlib.Path, sys.argv[2:])
    (block,) = [block for block in pages.blocks(pages.ROOT / "README.md")
                if block.language == "cmake"]
    installed, inside, link = block.lines
    shutil.rmtree(work, ignore_errors=True)
    prefix = work / "prefix"
    for component in ("library", "development"):
        subprocess.run([cmake, "--install", build, "--prefix", prefix, "--component", component],
                       stdout=subprocess.DEVNULL, check=True)
    for way in (installed, inside):
        project = work / way.split("(")[0]
        project.mkdir()
        shutil.copy(pages.ROOT / "examples" / "client.cpp", project)
        (project / "lpmtrie").symlink_to(pages.ROOT)
        (project / "CMakeLists.txt").write_text(
            "cmake_minimum_required(VERSION 3.25)\nproject(Client LANGUAGES CXX)\n"
            f"add_executable(client client.cpp)\n{way}\n{link}\n")
        subprocess.run([cmake, "-S", project, "-B", project / "build", "-G", "Ninja",
                        f"-DCMAKE_PREFIX_PATH={prefix}"], stdout=subprocess.DEVNULL, check=True)
    project = work / installed.split("(")[0]
    subprocess.run([cmake, "--build", project / "build"], stdout=subprocess.DEVNULL, check=True)
    printed = subprocess.run([project / "build" / "client"], capture_output=True, check=True).stdout
    if printed != (pages.ROOT / "examples" / "printed" / "client.txt").read_bytes():
        sys.exit(f"the client printed:\n{printed.decode()}")


main()
