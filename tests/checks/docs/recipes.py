#!/usr/bin/env python3
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

"""Models what BitBake and Buildroot, which Debian does not package, make of the recipes: which
package takes an installed file, which options the build gets, and with which CMake it works."""

import fnmatch
import glob
import pathlib
import re
import shlex
import subprocess
import sys

UNITS = "/usr/lib/systemd/system"
INSTALLED = pathlib.Path("tests/stages/builds/installed.txt").read_text().replace("./", "/").split()
CMAKE = "".join(
    pathlib.Path(name).read_text()
    for pattern in ("CMakeLists.txt", "[afgjl]*/CMakeLists.txt", "cmake/*.cmake")
    for name in glob.glob(pattern)
)
MINIMUM = int(re.search(r"^cmake_minimum_required\(VERSION 3\.(\d+)", CMAKE, re.M).group(1))
failed = False


def check(right, what):
    global failed
    if not right:
        print(what)
        failed = True


def check_options(options):
    """Whether the build has the options that a recipe sets: CMake accepts any name."""
    for option in re.findall(r"-D(\w+)=", options):
        check(re.search(rf"(set|option)\({option}\b", CMAKE), f"the build has no option {option}")


def packages_of(recipe, variables):
    """The patterns of FILES by package: bitbake.conf's, those of the classes, and the recipe's."""
    programs = "/usr/bin/* /usr/sbin/* /usr/lib/lib*.so.* /etc /usr/share/switch-querier"
    files = {"${PN}": programs, "${PN}-doc": "/usr/share/doc /usr/share/man /usr/share/info"}
    if re.search(r"^inherit .*\bbash-completion\b", recipe, re.M):
        files["${PN}-bash-completion"] = "/usr/share/bash-completion"
    # systemd.bbclass wants the unit or its template to be there, and packages the file that
    # SYSTEMD_SERVICE names. An instance is no file.
    for service in variables["SYSTEMD_SERVICE:${PN}"].split():
        template = re.sub(r"@.*\.", "@.", service)
        check({f"{UNITS}/{service}", f"{UNITS}/{template}"} & {*INSTALLED}, f"no unit {service}")
        if f"{UNITS}/{service}" in INSTALLED:
            files["${PN}"] += f" {UNITS}/{service}"
    for name, value in variables.items():
        if name.startswith("FILES:"):
            value = value.replace("${systemd_system_unitdir}", UNITS)
            files[name[len("FILES:") :]] = files.get(name[len("FILES:") :], "") + " " + value
    return files


def yocto():
    layer = pathlib.Path("packaging/yocto")
    configuration = (layer / "conf/layer.conf").read_text().replace("${LAYERDIR}", str(layer))
    pattern = re.search(r'^BBFILES \+= "(.*)"$', configuration, re.M).group(1)
    recipes = glob.glob(pattern)
    check(len(recipes) == 1, f"the layer has the recipes {recipes}")
    # The name of the branch master is no name of a release.
    known = re.search(r"Yocto ([a-z, ]+) and master;", pathlib.Path("README.md").read_text())
    compatible = re.findall(r'^LAYERSERIES_COMPAT_switch-querier = "(.*)"$', configuration, re.M)
    releases = known.group(1).replace(",", "")
    check(compatible == [releases], f"the layer is compatible with {compatible}, not {releases}")
    recipe = pathlib.Path(recipes[0]).read_text().replace("\\\n", " ")
    assigned = re.findall(r'^(\S+)\s*([?+.]*=\+?)\s*"(.*)"$', recipe, re.M)
    variables = {name: value for name, _, value in assigned}
    # The directory of the sources has moved between releases; BitBake's default is right in all.
    check(not re.search(r"^S\b|WORKDIR", recipe, re.M), "the recipe sets S or names WORKDIR")
    check("${BP}" in variables["SRC_URI"], "SRC_URI does not take the version of the file's name")
    check(("SYSTEMD_AUTO_ENABLE", "?=", "disable") in assigned, "the unit is enabled, or cannot be")
    options = variables["EXTRA_OECMAKE"]
    check_options(options)
    check("_UNIT_DIR=${UNIT_DIR} " in options, "nothing says where the unit goes")
    # BitBake leaves a variable that nobody sets as it is.
    unknown = {*re.findall(r"\$\{(\w+)\}", recipe)} - {"BP", "PN", "systemd_system_unitdir"}
    check(unknown <= {*variables}, f"the recipe names {unknown - {*variables}}")
    # do_package fails for a file that no package takes.
    files = packages_of(recipe, variables)
    for name in INSTALLED:
        takers = [
            package
            for package, patterns in files.items()
            for pattern in patterns.split()
            if fnmatch.fnmatch(name, pattern) or name.startswith(f"{pattern}/")
        ]
        check(len(takers) == 1, f"{name} is in these packages of the recipe: {takers}")


def made_by_buildroot(contact, init):
    """The variables that make gets from the package with this configuration of Buildroot."""
    text = f"""
{init} = y
BR2_PACKAGE_SWITCH_QUERIER_CONTACT = "{contact}"
qstrip = $(strip $(subst ",,$(1)))
KCONFIG_ENABLE_OPT = $(1)=y
include packaging/buildroot/switch-querier.mk
$(foreach name,$(filter SWITCH_QUERIER_%,$(.VARIABLES)),$(info $(name) := $(strip $($(name)))))
nothing: ;
"""
    run = subprocess.run(["make", "-f", "-"], input=text, capture_output=True, text=True)
    check(run.returncode == 0, run.stderr)
    return dict(re.findall(r"^(\w+) := (.*)$", run.stdout, re.M))


def buildroot():
    directory = pathlib.Path("packaging/buildroot")
    # What its check-package objects to.
    for path in directory.iterdir():
        text = path.read_text()
        check(not re.search(r"[ \t]$|^ +\S|\n\n\n|\n\n\Z", text, re.M), f"{path}: whitespace")
    makefile = (directory / "switch-querier.mk").read_text()
    head = ["#" * 80, "#", "# switch-querier", "#", "#" * 80, ""]
    check(makefile.split("\n")[:6] == head, "the makefile does not begin as Buildroot's do")
    config = (directory / "Config.in").read_text()
    for line in re.findall(r"^\t  .*$", config, re.M):
        check(len(line) <= 3 + 62, f"the help has the line {line!r}")

    contact = "A <a@b.c>"
    for init, directory in (("BR2_INIT_SYSTEMD", UNITS), ("BR2_INIT_BUSYBOX", "")):
        made = made_by_buildroot(contact, init)
        options = [f"-DSWITCH_QUERIER_CONTACT={contact}"]
        options.append(f"-DSWITCH_QUERIER_SYSTEMD_UNIT_DIR={directory}")
        given = shlex.split(made["SWITCH_QUERIER_CONF_OPTS"])
        check(given == options, f"with {init} the build gets {given}")
        check_options(" ".join(given))
    fragment = pathlib.Path("packaging/linux/gpio-sysfs.config").read_text()
    kernel = made["SWITCH_QUERIER_LINUX_CONFIG_FIXUPS"].split()
    check(kernel == re.findall(r"^CONFIG_\w+=y$", fragment, re.M), f"the kernel gets {kernel}")

    # What the option depends on, the comment tells whoever cannot see the option.
    depends = re.findall(r"^\tdepends on (BR2_\w+)", config, re.M)
    hidden = f"\tdepends on {' || '.join('!' + symbol for symbol in depends)}\n"
    check(config.endswith(hidden), "the comment depends on something else than the option")
    # Buildroot takes the host's CMake from 3.18 on, and makes one if a package selects a newer.
    selected = re.findall(r"^\tselect BR2_HOST_CMAKE_AT_LEAST_3_(\d+)", config, re.M)
    wanted = [str(MINIMUM)] * (MINIMUM > 18)
    check(selected == wanted, f"Config.in selects {selected} for 3.{MINIMUM}")


def cmake():
    """Whether the product's files use nothing newer than the CMake that they ask for: the manual of
    the installed one tells."""
    heading = r"^(?:.*\$<)?(\w+)(?:[:>].*|\n[-^]+)\n\n *\.\. versionadded:: 3\.(\d+)"
    since = {}
    for chapter in ("commands", "variables", "properties", "manual cmake-generator-expressions"):
        run = subprocess.run(f"cmake --help-{chapter}".split(), capture_output=True, text=True)
        since |= re.findall(heading, run.stdout, re.M)
    check(since.get("PROJECT_IS_TOP_LEVEL") == "21", "CMake's manual does not tell the versions")
    code = re.sub(r"#.*", "", CMAKE)
    for name in sorted({*re.findall(r"\w+", code)} & since.keys()):
        check(int(since[name]) <= MINIMUM, f"{name} needs CMake 3.{since[name]}")
    check(not re.search(r"\$<CONFIG:\w*,", code), "a list in $<CONFIG> needs CMake 3.19")


yocto()
buildroot()
cmake()
sys.exit(1 if failed else 0)
