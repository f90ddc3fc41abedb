#!/usr/bin/perl
# server.pl FOLDER PORT-FILE: a web server on 127.0.0.1, which writes its port to the file. Besides
# the folder's files it has
#     /redirect?URL    sends on to URL, in which %23 is a #
#     /headers         the request as it came
#     /cookie?COOKIE   sets a cookie
#     /get.php/table   tables/good.aitx, for this server; only its type says that it is a table
# and all of it once more below /open/, for pages of any origin.
use strict;
use warnings;
use IO::Socket::INET;

my ($folder, $portFile) = @ARGV;
my %types = (html => 'application/vnd.hbbtv.xhtml+xml', js => 'application/javascript', css => 'text/css');
my $socket = IO::Socket::INET->new(Listen => 50, LocalAddr => '127.0.0.1') or die;
my $own = '127.0.0.1:' . $socket->sockport;
open(my $port, '>', $portFile) or die;
print $port $socket->sockport, "\n";
close $port;
$SIG{CHLD} = $SIG{PIPE} = 'IGNORE';

sub contentsOf {
    open(my $file, '<:raw', "$folder/$_[0]") or return undef;
    local $/;
    return -d $file ? undef : <$file>;
}

# Status, further fields, content.
sub answerTo {
    my ($path, $query, $request) = @_;
    if ($path eq '/redirect') {
        $query =~ s/%23/#/g;
        return ('302 Found', "Location: $query\r\n", '');
    }
    return ('200 OK', "Content-Type: text/plain\r\n", $request) if $path eq '/headers';
    return ('200 OK', "Set-Cookie: $query\r\n", '') if $path eq '/cookie';
    if ($path eq '/get.php/table') {
        my $table = contentsOf('tables/good.aitx');
        $table =~ s/test\.example/$own/g;
        return ('200 OK', "Content-Type: application/vnd.dvb.ait+xml\r\n", $table);
    }
    my $contents = contentsOf($path);
    my ($suffix) = $path =~ /\.(\w+)$/;
    return ('404 Not Found', '', '') unless defined $contents;
    return ('200 OK', 'Content-Type: ' . ($types{$suffix // ''} // 'text/plain') . "\r\n", $contents);
}

while (my $client = $socket->accept) {
    if (fork) { close $client; next; }
    my $request = '';
    while (defined(my $line = <$client>)) {
        last unless $line =~ /\S/;
        $request .= $line;
    }
    my ($open, $path, $query) = $request =~ m{^\S+ (/open)?(/[^? ]*)\??(\S*)};
    my ($status, $fields, $contents) = answerTo($path // '/', $query // '', $request);
    $fields .= "Access-Control-Allow-Origin: *\r\n" if $open;
    print $client "HTTP/1.0 $status\r\nContent-Length: ", length($contents), "\r\n$fields\r\n$contents";
    exit;
}
