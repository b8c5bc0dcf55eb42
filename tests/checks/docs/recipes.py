#!/usr/bin/env python3
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

"""Compares the recipes for Yocto and Buildroot with what is installed, and with the conventions of
BitBake and of Buildroot's check-package. Neither tool is packaged in Debian."""

import fnmatch
import hashlib
import pathlib
import re
import sys

VERSION = pathlib.Path("VERSION").read_text().strip()
LICENSE = pathlib.Path("LICENSE").read_bytes()
INSTALLED = pathlib.Path("tests/checks/docs/installed.txt").read_text().split()
SNIPPET = pathlib.Path("packaging/init/switch-mode.sh.in").read_text()
failed = False


def check(right, what):
    global failed
    if not right:
        print(what)
        failed = True


def check_options(text):
    """Whether the build has the options that a recipe sets: CMake accepts any name."""
    known = pathlib.Path("CMakeLists.txt").read_text()
    known += "".join(path.read_text() for path in pathlib.Path("cmake").iterdir())
    for option in re.findall(r"-D(SWITCH_QUERIER_\w+)=", text):
        check(re.search(rf"(set|option)\({option}\b", known), f"the build has no option {option}")


def yocto():
    recipe = pathlib.Path(f"packaging/yocto/switch-querier_{VERSION}.bb")
    check(recipe.exists(), f"there is no {recipe}")
    text = recipe.read_text().replace("\\\n", " ")
    variables = dict(re.findall(r'^(\S+)\s*[?+.]*=\+?\s*"(.*)"$', text, re.M))

    # The directory of the sources has moved between releases; BitBake's default is right in all.
    sources = re.search(r"^S\b|WORKDIR", text, re.M)
    check(not sources, "the recipe sets S or names WORKDIR")
    check("${BP}" in variables["SRC_URI"], "SRC_URI does not take the version of the file's name")
    checksum = f"file://LICENSE;md5={hashlib.md5(LICENSE).hexdigest()}"
    check(variables["LIC_FILES_CHKSUM"] == checksum, f"LIC_FILES_CHKSUM is not {checksum}")
    check(variables["LICENSE"] == "MIT", "LICENSE is not MIT")
    inherited = re.search(r"^inherit (.*)$", text, re.M).group(1).split()
    check(inherited == ["cmake", "systemd"], f"the recipe inherits {inherited}")
    check(
        re.search(r'^SYSTEMD_AUTO_ENABLE \?= "disable"$', text, re.M),
        "the unit is enabled, or an image cannot enable it",
    )
    check(
        "-DSWITCH_QUERIER_SYSTEMD_UNIT_DIR=${UNIT_DIR}" in variables["EXTRA_OECMAKE"]
        and "systemd_system_unitdir" in variables["UNIT_DIR"],
        "the recipe does not say where the unit goes",
    )
    check_options(text)
    # BitBake leaves a variable that nobody sets as it is.
    unknown = set(re.findall(r"\$\{(\w+)\}", text)) - set(variables) - {"BP", "PN", "datadir"}
    check(not unknown, f"the recipe names {unknown}")

    # Only what an installed file needs is recommended: the snippet calls flock.
    recommended = variables["RRECOMMENDS:${PN}"].split()
    check(recommended == ["util-linux-flock"], f"the recipe recommends {recommended}")
    check("exec flock" in SNIPPET, "the snippet does not call flock")
    check("RDEPENDS:${PN}" not in variables, "the package depends on another one")

    # BitBake's defaults of FILES for the package and its documentation, what systemd.bbclass adds,
    # and the recipe's own. BitBake refuses a file that none of them names.
    unit = re.sub(r"@.*\.", "@.", variables["SYSTEMD_SERVICE:${PN}"])
    packages = re.search(r'^PACKAGES =\+ "(.*)"$', text, re.M)
    added = [name[len("FILES:") :] for name in variables if name.startswith("FILES:")]
    check(packages and packages.group(1).split() == added, f"{added} are not all in PACKAGES")
    own = [
        value.replace("${datadir}", "/usr/share")
        for name, value in variables.items()
        if name.startswith("FILES:")
    ]
    patterns = [
        "/usr/sbin/*",
        "/usr/share/switch-querier",
        "/usr/share/doc",
        "/usr/share/man",
        f"/usr/lib/systemd/system/{unit}",
        *own,
    ]
    used = set()
    for name in INSTALLED:
        matching = [
            pattern
            for pattern in patterns
            if fnmatch.fnmatch(name, f".{pattern}") or name.startswith(f".{pattern}/")
        ]
        check(len(matching) == 1, f"{name} is in {len(matching)} packages of the recipe")
        used |= set(matching)
    check(used == set(patterns), f"nothing is installed for {set(patterns) - used}")


def buildroot():
    directory = pathlib.Path("packaging/buildroot")
    names = sorted(path.name for path in directory.iterdir())
    check(
        names == ["Config.in", "switch-querier.hash", "switch-querier.mk"],
        f"a Buildroot package of {names}",
    )
    for path in directory.iterdir():
        text = path.read_text()
        check("SPDX" not in text, f"{path}: no file of Buildroot has such a header")
        check(text.endswith("\n") and not text.endswith("\n\n"), f"{path}: how it ends")
        check(not re.search(r"[ \t]$", text, re.M), f"{path}: space at the end of a line")
        check("\n\n\n" not in text, f"{path}: two empty lines")

    makefile = (directory / "switch-querier.mk").read_text()
    head = ["#" * 80, "#", "# switch-querier", "#", "#" * 80, ""]
    check(makefile.split("\n")[:6] == head, "the makefile does not begin as Buildroot's do")
    check(makefile.endswith("\n$(eval $(cmake-package))\n"), "how the makefile ends")
    variables = dict(re.findall(r"^(\w+) \+?= *(.*)$", makefile, re.M))
    check(all(name.startswith("SWITCH_QUERIER_") for name in variables), "a variable's name")
    check(not re.search(r"^ +\S", makefile, re.M), "an indentation by spaces")
    check(variables["SWITCH_QUERIER_VERSION"] == VERSION, "the version")
    # With the default of _SOURCE and _SITE_METHOD Buildroot fetches NAME-VERSION.tar.gz.
    check(re.fullmatch(r"https://\S+[^/]", variables["SWITCH_QUERIER_SITE"]), "the site")
    for name in ("SOURCE", "SITE_METHOD", "INSTALL_STAGING", "INSTALL_TARGET", "AUTORECONF"):
        check(f"SWITCH_QUERIER_{name}" not in variables, f"{name} is needless")
    check(variables["SWITCH_QUERIER_LICENSE"] == "MIT", "the licence")
    check(variables["SWITCH_QUERIER_LICENSE_FILES"] == "LICENSE", "the licence's file")
    choice = re.search(
        r"^ifeq \(\$\(BR2_INIT_SYSTEMD\),y\)\n(.*)\nelse\n(.*)\nendif$", makefile, re.M
    )
    option = "SWITCH_QUERIER_CONF_OPTS += -DSWITCH_QUERIER_SYSTEMD_UNIT_DIR="
    check(
        choice and choice.groups() == (option + "/usr/lib/systemd/system", option),
        "the unit does not depend on the init system",
    )
    check_options(makefile)

    hashes = (directory / "switch-querier.hash").read_text().split("\n")
    check(hashes[0].startswith("# "), "the hash does not say where it comes from")
    check(
        hashes[1:] == [f"sha256  {hashlib.sha256(LICENSE).hexdigest()}  LICENSE", ""],
        f"the hash of LICENSE is not {hashes[1:]}",
    )

    config = (directory / "Config.in").read_text()
    check(
        config.startswith('config BR2_PACKAGE_SWITCH_QUERIER\n\tbool "switch-querier"\n'),
        "how Config.in begins",
    )
    described = config[config.index("\thelp\n") + 6 : config.index("\ncomment ")]
    for line in described.split("\n"):
        check(
            not line or (line.startswith("\t  ") and len(line) <= 3 + 62),
            f"the help has the line {line!r}",
        )
    check(re.search(r"^\t  https://\S+\n$", described, re.M), "the help has no address")
    # What the option depends on, the comment tells whoever cannot see the option.
    depends = re.findall(r"^\tdepends on (BR2_\w+)", config, re.M)
    comment = config[config.index("\ncomment ") :]
    check(
        f"depends on {' || '.join('!' + symbol for symbol in depends)}\n" in comment,
        "the comment depends on something else",
    )


yocto()
buildroot()
sys.exit(1 if failed else 0)
