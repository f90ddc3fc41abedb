#!/usr/bin/env python3
"""What Buildroot's menu shows of the package, read by kconfiglib.

buildroot_menu.py CONFIG_IN                fails and says what is not as it should be
buildroot_menu.py CONFIG_IN --self-check   shows that a menu which is not as it should be is noticed
"""

import os
import re
import sys
import tempfile

import kconfiglib

PACKAGE = "BR2_PACKAGE_VESTA_HBBTV_APPMAN"
# What the toolchain has to have, and what it may not.
WANTED = ("BR2_INSTALL_LIBSTDCPP", "BR2_TOOLCHAIN_HAS_THREADS", "BR2_TOOLCHAIN_GCC_AT_LEAST_8")
UNWANTED = "BR2_STATIC_LIBS"
EXPAT = "BR2_PACKAGE_EXPAT"

# What is noticed.
MISTAKES = (
    (r"\tdepends on BR2_INSTALL_LIBSTDCPP\n", ""),
    (r"AT_LEAST_8 #", "AT_LEAST_9 #"),
    (r"\tdepends on !BR2_STATIC_LIBS\n", ""),
    (r"\|\| BR2_STATIC_LIBS", "|| BR2_STATIC"),
    (r"(?s)\ncomment.*", ""),
    (r"\nif BR2_PACKAGE_VESTA_HBBTV_APPMAN\n", "\nif y\n"),
    (r"\tselect BR2_PACKAGE_EXPAT\n", ""),
    (r"\nendif\n", "\n"),
    (r"\ncomment ", "\ncomments "),
)

failures = []


def expect(holds, text):
    if not holds:
        failures.append(text)


def read(config_in):
    """The package's menu in a Buildroot that has nothing else."""
    with tempfile.TemporaryDirectory() as folder:
        buildroot = os.path.join(folder, "Config.in")
        with open(buildroot, "w", encoding="ascii") as menu:
            for symbol in (*WANTED, UNWANTED, EXPAT):
                menu.write(f'config {symbol}\n\tbool "{symbol}"\n')
            menu.write(f'source "{os.path.abspath(config_in)}"\n')
        os.environ["KCONFIG_WARN_UNDEF"] = "y"
        return kconfiglib.Kconfig(buildroot, warn_to_stderr=False)


def is_offered(menu, symbol):
    return menu.syms[symbol].visibility == 2


def is_remark_shown(menu):
    remarks = [node for node in menu.node_iter() if node.item == kconfiglib.COMMENT]
    expect(len(remarks) == 1, "there is not one remark")
    return any(kconfiglib.expr_value(node.prompt[1]) == 2 for node in remarks)


def set_toolchain(menu, without=None, static=False):
    for symbol in WANTED:
        menu.syms[symbol].set_value(0 if symbol == without else 2)
    menu.syms[UNWANTED].set_value(2 if static else 0)


def check_toolchains(menu):
    set_toolchain(menu)
    expect(is_offered(menu, PACKAGE), "not offered where the toolchain has everything")
    expect(not is_remark_shown(menu), "the remark is shown where nothing is missing")
    for symbol in WANTED:
        set_toolchain(menu, without=symbol)
        expect(not is_offered(menu, PACKAGE), f"offered without {symbol}")
        expect(is_remark_shown(menu), f"no remark where {symbol} is missing")
    set_toolchain(menu, static=True)
    expect(not is_offered(menu, PACKAGE), f"offered with {UNWANTED}")
    expect(is_remark_shown(menu), f"no remark with {UNWANTED}")


def check_kit(menu):
    set_toolchain(menu)
    kit = PACKAGE + "_KIT"
    menu.syms[PACKAGE].set_value(0)
    expect(not is_offered(menu, kit), "the kit is offered without the package")
    menu.syms[PACKAGE].set_value(2)
    expect(is_offered(menu, kit), "the kit is not offered with the package")
    expect(menu.syms[EXPAT].tri_value == 0, "expat is chosen without the kit")
    menu.syms[kit].set_value(2)
    expect(menu.syms[EXPAT].tri_value == 2, "the kit does not choose expat")


def check(config_in):
    failures.clear()
    try:
        menu = read(config_in)
    except kconfiglib.KconfigError as error:
        failures.append(str(error))
        return
    failures.extend(menu.warnings)
    check_toolchains(menu)
    check_kit(menu)


def is_noticed(text, mistake):
    changed = re.sub(*mistake, text)
    with tempfile.NamedTemporaryFile("w", encoding="ascii") as copy:
        copy.write(changed)
        copy.flush()
        check(copy.name)
    return changed != text and bool(failures)


def self_check(config_in):
    with open(config_in, encoding="ascii") as menu:
        text = menu.read()
    return [f"not noticed: {mistake}" for mistake in MISTAKES if not is_noticed(text, mistake)]


def main():
    if sys.argv[2:] == ["--self-check"]:
        found = self_check(sys.argv[1])
    else:
        check(sys.argv[1])
        found = failures
    for line in found:
        print(line, file=sys.stderr)
    return 1 if found else 0


sys.exit(main())
