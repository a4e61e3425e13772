"""Shared by the tests of the installed library: the paths of the installation, and the two ways in which a project uses
the library. ctest sets Q750_STAGE to the description of the build.
"""
import json
import os
import pathlib
import shutil
import subprocess
import types

STAGE = types.SimpleNamespace(**json.loads(pathlib.Path(os.environ["Q750_STAGE"]).read_text()))
SOURCE = pathlib.Path(STAGE.source)
SCRATCH = pathlib.Path(STAGE.scratch)
PREFIX = SCRATCH / "installed"
COMPONENTS = ("runtime", "development", "virtual", "tools", "sane", "share")
SONAME = f"libquenvar-q750.so.{STAGE.version.split('.')[0]}"

STRICT = "-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror"
FLAGS = f"{STRICT} {STAGE.sanitize}"


def run(*command, status=0, text=True, env=None, **options):
    """Runs a command, which has to exit with this status, and returns its result. `env` extends the environment."""
    if STAGE.emulator and pathlib.Path(STAGE.build) in pathlib.Path(command[0]).parents:
        command = (STAGE.emulator, *command)
    result = subprocess.run([str(word) for word in command], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                            stderr=subprocess.PIPE, text=text, env=os.environ | (env or {}), **options)
    if result.returncode != status:
        raise AssertionError(f"{command} exited with {result.returncode}, not {status}\n{result.stdout}\n{result.stderr}")
    return result


def fresh(folder):
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    return folder


def install(prefix, *options):
    fresh(prefix)
    run(STAGE.cmake, "--install", STAGE.build, "--config", STAGE.config or "Debug", "--prefix", prefix, *options)


def library_folder(prefix):
    return prefix / STAGE.lib


def virtual_folder(prefix):
    """The folder of the library with the virtual scanner, as the pkg-config file gives it."""
    return pathlib.Path(*pkg_config(prefix, "--variable=virtualdir")).resolve()


def header_folder(prefix):
    return prefix / STAGE.include / "quenvar-q750"


def examples_folder(prefix):
    return prefix / STAGE.data / "doc/quenvar-q750/examples"


def configure(project, build, prefix, *options):
    """Configures a separate project, with the compilers of this build."""
    if STAGE.toolchain:
        options = (f"-DCMAKE_TOOLCHAIN_FILE={STAGE.toolchain}", *options)
    return run(STAGE.cmake, "-S", project, "-B", fresh(build), "-G", STAGE.generator, f"-DCMAKE_PREFIX_PATH={prefix}",
               f"-DCMAKE_BUILD_TYPE={STAGE.config}", *options)


def build_with_cmake(example, build, prefix):
    language, compiler = ("C", STAGE.cc) if example == "scan-to-pnm" else ("CXX", STAGE.cxx)
    configure(examples_folder(prefix) / example, build, prefix,
              f"-DCMAKE_{language}_COMPILER={compiler}", f"-DCMAKE_{language}_FLAGS={FLAGS}")
    run(STAGE.cmake, "--build", build)
    return build / example


def readme_commands():
    """The commands of the README that compile the examples, by the name of the example."""
    lines = (SOURCE / "README.md").read_text().splitlines()
    found = [line.strip() for line in lines if line.strip().startswith(("cc ", "c++ "))]
    return {line.split()[-1]: line for line in found}


def build_as_readme_says(example, folder, prefix):
    """Runs the command of the README in a folder that contains the examples. Optimised, because some warnings need
    that."""
    fresh(folder)
    (folder / "examples").symlink_to(examples_folder(prefix))
    for name, compiler in (("cc", STAGE.cc), ("c++", STAGE.cxx)):
        wrapper = folder / "bin" / name
        wrapper.parent.mkdir(exist_ok=True)
        wrapper.write_text(f'#!/bin/sh\nexec "{compiler}" -O2 {FLAGS} "$@"\n')
        wrapper.chmod(0o755)
    run("sh", "-ec", readme_commands()[example], cwd=folder, env=pkg_config_environment(prefix) | {
        "PATH": f"{folder}/bin:{os.environ['PATH']}"})
    return folder / example


def pkg_config_environment(prefix):
    return {"PKG_CONFIG_PATH": str(library_folder(prefix) / "pkgconfig")}


def pkg_config(prefix, *options):
    answer = run("pkg-config", *options, "quenvar-q750", env=pkg_config_environment(prefix)).stdout
    return answer.split()


def loading_from(folder):
    return {"LD_LIBRARY_PATH": str(folder)}


def expect_golden(test, name, text):
    """Compares a text with the file golden/<name>. After an intended change, rewrite all of them with

         UPDATE_GOLDEN=1 ctest --preset dev -R install
    """
    path = SOURCE / "tests/install/golden" / name
    if "UPDATE_GOLDEN" in os.environ:
        path.parent.mkdir(exist_ok=True)
        path.write_bytes(text.encode())
    test.maxDiff = None
    test.assertMultiLineEqual(text, path.read_bytes().decode(), f"differs from {path}; see stage.py for how to update it")
