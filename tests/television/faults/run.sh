#!/usr/bin/env bash
# run.sh RECEIVER STREAMS FAULT
# Lets something go wrong below the receiver's real browser, and looks whether it lives on. Every
# step waits for what the receiver says, as long as it takes (within a minute).
set -euo pipefail

receiver=$(realpath "$1")
streams=$(realpath "$2")
fault=$3
cd "$(dirname "${BASH_SOURCE[0]}")"

helpers=()
scratch=$(mktemp -d)
mkdir "$scratch/left"
cleanup() {
    [[ ${#helpers[@]} -eq 0 ]] || kill "${helpers[@]}" 2>/dev/null || true
    rm -rf "$scratch"
}
trap cleanup EXIT

# What is played, and what is reported when its AUTOSTART application runs.
stream=two-services
started='http://one.example/index.html: 200'

# switch_on [OPTION...]: the receiver with commands from us, its AUTOSTART application running.
switch_on() {
    local sites=../../receiver/sessions/site
    coproc RECEIVER {
        TMPDIR=$scratch/left exec "$receiver" --browser wpe --loop --site http://test.example/=site \
            --site "http://one.example=$sites/one" --site "http://two.example=$sites/two" \
            "$@" "$streams/$stream.ts" 2>&1
    }
    helpers+=("$RECEIVER_PID")
    exec {to}>&"${RECEIVER[1]}" {from}<&"${RECEIVER[0]}"
    receiver_pid=$RECEIVER_PID
    expect "$started"
}

tell() {
    printf '%s\n' "$*" >&"$to"
}

# expect TEXT: reads on until a line holds it.
expect() {
    local line
    while IFS= read -r -t 60 line <&"$from"; do
        printf '%s\n' "$line" >>"$scratch/seen"
        [[ $line == *"$1"* ]] && return
    done
    printf 'expected, and never seen: %s\n' "$1" >&2
    grep -A 12 'ERROR: .*Sanitizer' "$scratch/seen" >&2 || true
    printf 'seen was:\n' >&2
    cat "$scratch/seen" >&2
    exit 1
}

switch_off() {
    local code=0
    tell quit
    expect 'the receiver has ended'
    wait "$receiver_pid" || code=$?
    [[ $code -eq 0 ]] || {
        printf 'the receiver ended with exit code %s\n' "$code" >&2
        exit 1
    }
}

# Not one file of the receiver's own.
nothing_is_left() {
    local files
    files=$(find "$scratch/left" -mindepth 1)
    [[ -z $files ]] || {
        printf 'left behind: %s\n' "$files" >&2
        exit 1
    }
}

# children NAME: the receiver's processes of that name.
children() {
    local status
    for status in /proc/[0-9]*/status; do
        if grep -q "^Name:.$1" "$status" 2>/dev/null &&
            grep -q "^PPid:.$receiver_pid\$" "$status" 2>/dev/null &&
            ! grep -q '^State:.Z' "$status" 2>/dev/null; then
            basename "$(dirname "$status")"
        fi
    done
}

# processor_time: of all web processes together, in hundredths of a second.
processor_time() {
    local process
    for process in $(children WPEWebProcess); do
        cat "/proc/$process/stat" 2>/dev/null || true
    done | awk '{ sum += $14 + $15 } END { print sum + 0 }'
}

busy_for_a_second() {
    local before
    before=$(processor_time)
    sleep 1
    echo $(($(processor_time) - before))
}

# resident: the receiver's memory in KiB.
resident() {
    sed -n 's/^VmRSS:[^0-9]*\([0-9]*\) kB$/\1/p' "/proc/$receiver_pid/status"
}

# expect_memory_of KIB: there is about as much of it as there was.
expect_memory_of() {
    local now
    now=$(resident)
    [[ $now -le $(($1 + 32768)) ]] || {
        printf 'resident memory: %s KiB, then %s KiB\n' "$1" "$now" >&2
        exit 1
    }
}

expect_few_web_processes() {
    [[ $(children WPEWebProcess | wc -l) -le 4 ]] || {
        printf 'too many web processes: %s\n' "$(children WPEWebProcess | tr '\n' ' ')" >&2
        exit 1
    }
}

# serve PERL [ARGUMENT...]: a server on $port, whose $socket the Perl code accepts from.
serve() {
    local code=$1
    shift
    mkfifo "$scratch/port"
    perl -MIO::Socket::INET -e '
        $SIG{PIPE} = "IGNORE";
        my $socket = IO::Socket::INET->new(Listen => 50, LocalAddr => "127.0.0.1");
        open(my $port, ">", shift @ARGV); print $port $socket->sockport, "\n"; close $port;
        '"$code" "$scratch/port" "$@" &
    helpers+=("$!")
    read -r port <"$scratch/port"
}

page_works() {
    tell start http://test.example/page.html
    expect 'page is there'
}

crashed_page() {
    switch_on
    page_works
    kill -KILL $(children WPEWebProcess)
    expect 'its web process crashed; the application ends'
    expect '0.0 stopped'
    page_works
    switch_off
}

crashed_network() {
    switch_on
    page_works
    kill -KILL $(children WPENetworkProce)
    page_works
    switch_off
}

endless_script() {
    switch_on --script-limit 2
    tell start http://test.example/endless.html
    expect 'begins'
    expect 'a script does not come to its end; the page is ended'
    expect '0.0 stopped'
    page_works
    switch_off
}

# A viewer does not wait for a page that never comes to its end of loading.
zapped_away_from_endless_script() {
    switch_on --script-limit 100
    tell start http://test.example/endless.html
    expect 'begins'
    tell zap 2
    expect 'http://two.example/index.html: 200'
    page_works
    switch_off
    ! grep -q 'a script does not come to its end' "$scratch/seen"
}

# The broadcast does not wait for it either.
endless_script_is_killed() {
    stream=timed-kill
    started='begins'
    switch_on --script-limit 100
    expect 'a.1 KILL'
    expect 'a.1 stopped'
    switch_off
    ! grep -q 'a script does not come to its end' "$scratch/seen"
}

# It is left while it is asked whether its scripts answer: nobody is there to end it later.
endless_script_is_left() {
    local waited=0 busy
    switch_on --script-limit 4
    tell start http://test.example/endless_later.html
    expect 'begins'
    sleep 1.5
    tell zap 2
    expect 'http://two.example/index.html: 200'
    # Less than nothing: a process ended meanwhile.
    until busy=$(busy_for_a_second) && [[ $busy -ge 0 && $busy -le 50 ]]; do
        [[ $((waited += 1)) -lt 40 ]] || {
            printf 'a web process runs on\n' >&2
            exit 1
        }
    done
    page_works
    switch_off
}

# While a script runs nobody answers whether it does; the pictures of an animation come nevertheless.
pages_left_while_they_paint() {
    local round
    switch_on --script-limit 4
    for round in {1..5}; do
        tell start http://test.example/late.html
        expect 'begins'
        sleep 1.5
        tell zap 2
        expect 'http://two.example/index.html: 200'
        tell zap 1
        expect_first_service
    done
    page_works
    switch_off
}

hungry_page() {
    switch_on
    tell start http://test.example/hungry.html
    expect 'its web process took too much memory; the application ends'
    page_works
    switch_off
}

malformed_page() {
    switch_on
    tell start http://test.example/malformed.html
    expect 'the page is not well-formed'
    page_works
    switch_off
}

refused_connection() {
    switch_on
    # Nobody listens there: the port was ours until just now.
    local port
    port=$(perl -MIO::Socket::INET -e 'print IO::Socket::INET->new(Listen => 1, LocalAddr => "127.0.0.1")->sockport')
    tell start "http://127.0.0.1:$port/page.html"
    expect "http://127.0.0.1:$port/page.html: Connection terminated unexpectedly"
    page_works
    switch_off
}

silent_server() {
    switch_on
    serve 'my @kept; while (my $client = $socket->accept) { push @kept, $client; }'
    tell start "http://127.0.0.1:$port/page.html"
    expect "opens http://127.0.0.1:$port/page.html"
    page_works
    switch_off
}

# Requests that are never answered: they end with their page, and others of the host's get answers.
unanswered_requests() {
    switch_on
    mkfifo "$scratch/ended"
    serve '
        use IO::Select;
        my $select = IO::Select->new($socket);
        my ($asked, $ended, %waits) = (0, 0);
        while (my @ready = $select->can_read) { for my $client (@ready) {
            if ($client == $socket) { $select->add($socket->accept); next; }
            my $count = sysread($client, my $request, 65536);
            if (!$count) {
                $select->remove($client); close $client;
                if ($waits{$client} && ++$ended == 4) { open(my $end, ">", $ARGV[0]); print $end "4\n"; close $end; }
                next;
            }
            if ($request =~ m{^GET /never}) { $waits{$client} = 1; ++$asked; next; }
            my $body = $request =~ m{^GET /page} ? "<html><body><script>"
                . "for (var i = 0; i < 4; ++i) fetch(\"/never\" + i);"
                . "fetch(\"/answer\").then(function (a) { debug(\"length \" + a.headers.get(\"Content-Length\")); });"
                . "</script></body></html>" : "answer";
            print $client "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Length: "
                . length($body) . "\r\nConnection: close\r\n\r\n$body";
            $select->remove($client); close $client;
        } }' "$scratch/ended"
    local ended
    tell start "http://127.0.0.1:$port/page.html"
    expect 'length 6'
    page_works
    read -r -t 60 ended <"$scratch/ended"
    switch_off
}

# A server whose XML AIT has no end: no more of it is taken than any table has.
endless_table() {
    switch_on
    serve '
        while (my $client = $socket->accept) {
            print $client "HTTP/1.0 200 OK\r\nContent-Type: application/vnd.dvb.ait+xml\r\n\r\n";
            while (print $client " " x 65536) {}
        }'
    tell create "http://127.0.0.1:$port/table"
    expect "http://127.0.0.1:$port/table: the table did not come whole"
    expect '0.0 stopped'
    tell status
    expect 'a.1  in window 1'
    page_works
    switch_off
    nothing_is_left
}

# serve_files CODE [ARGUMENT...]: a server on $port with a process for each connection. CODE finds the
# path in $path, and the connection in $client; page(TEXT), table(NAME) and to(URL) answer.
serve_files() {
    local code=$1
    shift
    serve '
        $SIG{CHLD} = "IGNORE";
        my $client;
        sub answer { print $client "HTTP/1.0 $_[0]\r\n", $_[1] // "", "\r\n", $_[2] // ""; }
        sub page { answer("200 OK", "Content-Type: text/html\r\n", "<html><body>$_[0]</body></html>"); }
        sub to { answer("302 Found", "Location: $_[0]\r\n"); }
        sub table {
            open(my $file, "<", "../../receiver/sessions/site/one/tables/$_[0]"); local $/;
            answer("200 OK", "Content-Type: application/vnd.dvb.ait+xml\r\n", <$file>);
        }
        while ($client = $socket->accept) {
            if (fork) { close $client; next; }
            my ($path) = <$client> =~ m{^\S+ (\S+)};
            while (<$client> =~ /\S/) {}
            '"$code"'
            exit;
        }' "$@"
}

# Servers send the page and its frames elsewhere: only the page may get to an application or a table.
redirected_frames() {
    switch_on
    serve_files '
        if ($path =~ m{^/to\?(.*)}) { to($1); }
        elsif ($path eq "/table") { table("good.aitx"); }
        elsif ($path eq "/first") { page("<iframe src=\"/to?dvb://current.ait/a.1\"></iframe>"
            . "<iframe src=\"/to?/table\"></iframe><iframe src=\"/to?/frame\"></iframe>"
            . "<script>onload = function () { location = \"/to?/second\"; }</script>"); }
        elsif ($path eq "/second") { page("<script>debug(\"second page\"); setTimeout(function () {"
            . "location = \"/to?dvb://current.ait/a.1\"; });</script>"); }
        else { page(""); }'
    tell start "http://127.0.0.1:$port/first"
    expect 'second page'
    expect 'the page goes to dvb://current.ait/a.1'
    expect "$started"
    tell start "http://127.0.0.1:$port/to?/table"
    expect "http://127.0.0.1:$port/table: an XML AIT for its window"
    switch_off
    [[ $(grep -c 'the page goes to' "$scratch/seen") -eq 1 ]]
    [[ $(grep -c 'an XML AIT for' "$scratch/seen") -eq 1 ]]
}

# serve_slow_table: besides, /slow is a table of which the first half comes, and the rest when a line
# is written to the gate; /slower one of which nothing comes until then.
serve_slow_table() {
    mkfifo "$scratch/gate" "$scratch/sent"
    exec {gate}<>"$scratch/gate" {sent}<>"$scratch/sent"  # nobody waits for the other end
    serve_files '
        if ($path =~ m{^/slow(er)?}) {
            my $text = ""; my $whole = $client; my $isSlower = $1;
            $client = undef;
            open($client, ">", \$text); table("good.aitx"); close $client;
            $client = $whole;
            my $first = $isSlower ? 0 : length($text) / 2;
            syswrite($client, substr($text, 0, $first));
            open(my $asked, ">", $ARGV[1]); print $asked "asked\n"; close $asked;
            open(my $gate, "<", $ARGV[0]); <$gate>; close $gate;
            syswrite($client, substr($text, $first)); close $client;
            open(my $sent, ">", $ARGV[1]); print $sent "sent\n"; close $sent;
        }
        elsif ($path eq "/table") { table("good.aitx"); }
        elsif ($path eq "/missing") { answer("404 Not Found"); }
        '"$1"'
        else { page("<script>debug(\"$path is there\");</script>"); }' "$scratch/gate" "$scratch/sent"
}

# expect_of_server WORD: what it says of the slow table.
expect_of_server() {
    local word
    read -r -t 60 word <&"$sent"
    [[ $word == "$1" ]]
}

# A page that is to give way to a table goes on to another page meanwhile: the table comes too late.
late_table() {
    switch_on
    serve_slow_table 'elsif ($path eq "/page") { page("<script>"
        . "var left = 20; function look() { if (--left === 0) location = \"/next\"; }"
        . "onload = function () { location = \"/slow\"; setInterval(look, 50); };</script>"); }'
    tell start "http://127.0.0.1:$port/page"
    expect_of_server asked
    expect '/next is there'
    echo go >&"$gate"
    expect_of_server sent
    tell wait painted
    tell status
    expect "shown, loaded, has the keys  http://127.0.0.1:$port/page"
    ! grep -q 'an XML AIT for its window' "$scratch/seen"
    switch_off
    nothing_is_left
}

# superseded_table SLOW LATER SEEN PAGE TABLES: the table SLOW that a script asks for is slow, and the
# script creates LATER meanwhile. When SEEN was reported, the table comes: it is not one of the TABLES
# that come in force, and PAGE stays.
superseded_table() {
    switch_on
    serve_slow_table ''
    page_works
    tell create "http://127.0.0.1:$port/$1"
    expect_of_server asked
    tell create "http://127.0.0.1:$port/$2"
    expect "$3"
    echo go >&"$gate"
    expect_of_server sent
    expect "http://127.0.0.1:$port/$1: another application was started meanwhile"
    tell status
    expect "shown, loaded, has the keys  ${4/PORT/$port}"
    [[ $(grep -c 'an XML AIT for its window' "$scratch/seen") -eq "$5" ]]
    switch_off
    nothing_is_left
}

table_superseded_by_table() {
    local page='http://two.example/index.html?signalled=1&more=2'
    superseded_table slow table "$page: 200" "$page" 1
}

table_superseded_by_page() {
    superseded_table slower page '/page is there' http://127.0.0.1:PORT/page 0
}

# What was created later comes to nothing either.
table_superseded_by_nothing() {
    superseded_table slow missing '/missing: 404' http://test.example/page.html 0
}

# A link to a file that is no page: nothing is kept, and the application goes on.
unwanted_download() {
    switch_on
    tell start http://test.example/download.html
    expect 'still here'
    page_works
    switch_off
    nothing_is_left
}

# The last zap led to service 1, whose application is there now: nothing else will start.
expect_first_service() {
    expect "$started"
}

# Not one process, view or descriptor more, nor memory, than after the first few.
many_zaps() {
    local round before after memory
    switch_on
    for round in {1..100}; do
        tell zap 2
        expect 'tuned to service 2'
        tell zap 1
        expect 'tuned to service 1'
        if [[ $round -eq 5 ]]; then
            expect_first_service
            page_works
            before=$(find "/proc/$receiver_pid/fd" | wc -l)
            memory=$(resident)
        fi
    done
    expect_first_service
    page_works
    after=$(find "/proc/$receiver_pid/fd" | wc -l)
    [[ $after -le $((before + 8)) ]] || {
        printf 'descriptors: %s, then %s\n' "$before" "$after" >&2
        exit 1
    }
    expect_memory_of "$memory"
    expect_few_web_processes
    switch_off
}

# The blocks of a script stop coming: its page waits, and is left like any other.
stalled_script() {
    local round before
    stream=stalled-script
    started='script.js: pending, module 2 has'
    switch_on
    page_works
    for round in {1..12}; do
        tell zap 2
        expect 'http://two.example/index.html: 200'
        [[ $round -ne 4 ]] || before=$(resident)
        tell zap 1
        expect_first_service
    done
    expect_memory_of "$before"
    expect_few_web_processes
    ! grep -q 'crashed' "$scratch/seen"
    page_works
    switch_off
}

"$fault"
