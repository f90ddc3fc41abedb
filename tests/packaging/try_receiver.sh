#!/usr/bin/env bash
# Installs the receiver and what it stands on, moves the installation, and plays the demo with it: from a
# folder in which neither the sources nor the build tree can help.
#   try_receiver.sh BUILD SAMPLES
# CMAKE names the cmake to use, VERSION the project's; PAGE_MODULE is set where there is a real browser.
set -euo pipefail
readonly build=$1 samples=$2
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT

install_and_move() {
    local component
    for component in runtime kit-runtime receiver; do
        "$CMAKE" --install "$build" --prefix "$place/first place" --component "$component" >/dev/null
    done
    mv "$place/first place" "$place/moved"
}

# A page has debug() from the module that is installed with the receiver, and from nowhere else.
try_real_browser() {
    mkdir "$place/site"
    cat >"$place/site/index.html" <<'PAGE'
<!DOCTYPE html>
<html xmlns="http://www.w3.org/1999/xhtml"><body><script>debug("the module is here");</script></body></html>
PAGE
    printf '%s\n' 'start http://installed.example/index.html' 'wait said "the module is here"' \
        >"$place/wpe.script"
    "$place/moved/bin/vesta_receiver" --browser wpe --script "$place/wpe.script" \
        --site "http://installed.example/=$place/site" "$samples/station.ts"
}

install_and_move
cd "$place"
[[ $("$place/moved/bin/vesta_receiver" --version) == "vesta_receiver $VERSION" ]]
"$place/moved/bin/vesta_receiver" --script "$samples/demo.script" "$samples/station.ts" >"$place/log"
grep -q 'window 1 opens dvb://20fa.441.6dd0.2a/index.html' "$place/log"
# No library of the build tree is taken.
ldd "$place/moved/bin/vesta_receiver" | grep vesta_ | { ! grep -vF "$place/moved/"; }
if [[ -n ${PAGE_MODULE:-} ]]; then
    try_real_browser >"$place/log" 2>&1 || { cat "$place/log" >&2; exit 1; }
fi
