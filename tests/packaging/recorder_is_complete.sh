#!/usr/bin/env bash
# Compares the lists of exports: whatever the integrator may call is recorded. What is about decisions is
# not, as it changes nothing, nor is the version.
set -euo pipefail
folder="$(dirname "${BASH_SOURCE[0]}")"
export LC_ALL=C

entries() {
    {
        grep -E '^(VestaHbbTV::)?(vesta_hbbtv|native)_' "$folder/exports.txt" | grep -vE '_(reason_text|set_decision_listener|version)$'
        grep -E '^hbbtv_kit_load' "$folder/kit_exports.txt"
    } | sort
}

if ! diff -u <(entries) "$folder/recorder_exports.txt"; then
    echo "An entry function is not recorded, or is none any more." >&2
    exit 1
fi
