#!/usr/bin/env bash
# Shows that the library looks up at load time what must not be bound inside it: every hook that
# it calls, and the data that an executable may have copied into itself.
#   replaceable_symbols.sh LIBRARY
set -euo pipefail
readonly library=$1
readelf=${READELF:-readelf}
failed=0

# What relocations name, and on MIPS the global offset table, which has none.
looked_up() {
    "$readelf" -rAW "$library" | awk '{ for (i = 3; i <= NF; ++i) print $i }' | sed 's/@.*//' | sort -u
}

expect_looked_up() {
    if ! grep -qxF "$1" <<<"$relocated"; then
        echo "bound inside the library: $1" >&2
        failed=1
    fi
}

# Every datum that is exported, but the tables of classes.
exported_data() {
    "$readelf" -W --dyn-syms "$library" |
        awk '$4 == "OBJECT" && $7 != "UND" && $8 !~ /^_ZT/ { print $8 }' | sort -u
}

relocated=$(looked_up)
# Nothing in the library calls dsmcc_same_carousel.
for hook in hbbtv_keyset_get_supported_values hbbtv_ait_{start,stop,invalidate,completed} \
    dsmcc_{start,stop,get_file,get_mime_type,read,close_file,clear_cache} \
    dsmcc_stream_event_{subscribe,unsubscribe,unsubscribe_all} dsmcc_xml_stream_event_subscribe; do
    expect_looked_up "$hook"
done
for data in veif_application{Manager,Destroyed}Listener \
    _ZN10VestaHbbTV{13WindowManager,7Logging,19NotificationManager,20ConfigurationManager}8instanceE \
    _ZN10VestaHbbTV11Application7next_idE $(exported_data); do
    expect_looked_up "$data"
done
exit "$failed"
