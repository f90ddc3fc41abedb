# shellcheck shell=bash
# To be read by scripts that have the C++ compiler in CXX.

# The C compiler that belongs to it.
c_compiler() {
    case $CXX in
    *clang++*) printf '%s\n' "${CXX/clang++/clang}" ;;
    *) printf '%s\n' "${CXX/g++/gcc}" ;;
    esac
}
