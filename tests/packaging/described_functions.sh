#!/usr/bin/env bash
# Every function of the interface says on which thread it is called and since which version it is there, or
# takes over the description of another one.
#   described_functions.sh REPOSITORY
set -euo pipefail
cd "$1"

# The functions whose comments lack something, and how many there are.
check='
    /^\/\/\// { comment = comment $0 "\n"; next }
    /^[A-Za-z_].*[ *](vesta_hbbtv|ve|native|dsmcc|hbbtv|tavo_keyboard)_[A-Za-z_]+\(/ && !/^typedef/ {
        ++functions
        if (comment !~ /@copydetails/ && (comment !~ /@thread\{/ || comment !~ /@since/)) {
            print FILENAME ": " $0
            failed = 1
        }
    }
    { comment = "" }
    END {
        if (functions < 90) {
            print "only " functions " functions were found"
            failed = 1
        }
        exit failed
    }'
awk "$check" include/*.h kit/include/*.h
