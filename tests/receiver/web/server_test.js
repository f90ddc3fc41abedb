'use strict';

// The receiver's web server, as programs see it.

const assert = require('node:assert/strict');
const { once } = require('node:events');
const fs = require('node:fs');
const net = require('node:net');
const path = require('node:path');
const { after, before, describe, it } = require('node:test');
const { Receiver, root, sampleStream, temporaryFolder, until } = require('./receiver.js');

/// A receiver for all tests of a group, in which an application runs.
function withReceiver(...options) {
    const stand = {};
    before(async () => {
        stand.receiver = await Receiver.start(...options);
        await stand.receiver.command('wait loaded within 60');
    });
    after(() => stand.receiver.stop());
    return stand;
}

const names = events => events.map(event => event.event);
const happeningsOf = reader => reader.events.filter(event => event.event === 'happening');
const hasHello = reader => until(() => reader.events.length > 0, 'hello');

/// A sanitizer keeps what is freed.
function assertMemory(receiver, before, mostMebibytes) {
    const more = receiver.memory - before;
    assert.ok(process.env.VESTA_SANITIZE || more < mostMebibytes << 20, `${more} bytes more`);
}

describe('Files', () => {
    const stand = withReceiver();

    it('ThePageIsServedAsItLiesInItsFolder', async () => {
        const folder = path.join(root, 'receiver/web/page');
        const types = { '.html': 'text/html', '.css': 'text/css', '.js': 'text/javascript', '.svg': 'image/svg+xml' };
        for (const name of fs.readdirSync(folder)) {
            const response = await stand.receiver.request(`/${name}`);
            assert.equal(response.status, 200, name);
            assert.equal(response.headers['content-type'].split(';')[0], types[path.extname(name)], name);
            assert.equal(response.text, fs.readFileSync(path.join(folder, name), 'utf8'), name);
        }
        const start = await stand.receiver.request('/');
        assert.equal(start.text, fs.readFileSync(path.join(folder, 'index.html'), 'utf8'));
    });

    it('EveryAnswerIsKeptToItsOrigin', async () => {
        for (const where of ['/', '/state.json', '/screen.png', '/happenings.json', '/nothing']) {
            const { headers } = await stand.receiver.request(where);
            assert.match(headers['content-security-policy'], /^default-src 'none'; .*frame-ancestors 'none'$/);
            assert.equal(headers['cross-origin-resource-policy'], 'same-origin');
            assert.equal(headers['x-content-type-options'], 'nosniff');
            assert.equal(headers['cache-control'], 'no-store');
            assert.equal(headers['access-control-allow-origin'], undefined);
        }
    });

    it('WhatIsNotThereIsNotFound', async () => {
        for (const where of ['/nothing', '/../main.cpp', '/%2e%2e/main.cpp', '//', '/page/index.html', '/index.html/'])
            assert.equal((await stand.receiver.request(where)).status, 404, where);
    });

    it('AHeadHasNoBody', async () => {
        for (const where of ['/', '/state.json', '/events']) {
            const socket = stand.receiver.connect();  // a client of the system would leave a body out
            socket.write(`HEAD ${where} HTTP/1.1\r\nHost: 127.0.0.1:${stand.receiver.port}\r\nConnection: close\r\n\r\n`);
            await until(() => socket.isOver, 'the end of the answer');
            assert.match(socket.heard, /^HTTP\/1\.1 200 /, where);
            assert.ok(socket.heard.endsWith('\r\n\r\n') && socket.heard.indexOf('\r\n\r\n') === socket.heard.length - 4, where);
        }
    });
});

describe('Documents', () => {
    const stand = withReceiver();

    it('TheStateHasTheFieldsThatTheGuideNames', async () => {
        const state = await stand.receiver.json('/state.json');
        const guide = fs.readFileSync(path.join(root, 'docs/receiver.md'), 'utf8');
        const table = guide.slice(guide.indexOf('| In `/state.json`'), guide.indexOf('Who may ask:'));
        for (const field of Object.keys(state))
            assert.ok(table.includes(`\`${field}\``), field);
        for (const fields of [state.stream, state.services[0], state.windows[0], state.applications[0],
            state.table.applications[0], state.carousels[0], state.carousels[0].modules[0],
            state.carousels[0].files[0], state.screen, state.switches]) {
            for (const field of Object.keys(fields))
                assert.ok(table.includes(`\`${field}\``), field);
        }
    });

    it('TheStateIsThatAfterTheCommand', async () => {
        await stand.receiver.command('http off');
        assert.equal((await stand.receiver.json('/state.json')).switches.http, false);
        await stand.receiver.command('http on');
        assert.equal((await stand.receiver.json('/state.json')).switches.http, true);
    });

    it('AConsoleHasTheSourceInPlaceOfAPicture', async () => {
        const picture = await stand.receiver.request('/screen.png');
        assert.equal(picture.status, 404);
        assert.equal(picture.text, 'this browser paints nothing\n');
        const page = await stand.receiver.json('/page.json?window=1');
        assert.match(page.source, /<html/);
        for (const where of ['/page.json', '/page.json?window=99', '/page.json?window=x', '/page.json?window='])
            assert.equal((await stand.receiver.request(where)).status, 404, where);
    });

    it('HappeningsGoOnAfterTheOneThatIsKnown', async () => {
        await stand.receiver.command('say one');
        const all = await stand.receiver.json('/happenings.json');
        const last = all.happenings.at(-1);
        await stand.receiver.command('say two');
        const next = await stand.receiver.json(`/happenings.json?after=${all.run}.${last.id}`);
        assert.equal(next.run, all.run);
        assert.ok(next.happenings.some(one => one.text === 'two'));
        assert.ok(next.happenings.every(one => one.id > last.id));
        const other = await stand.receiver.json(`/happenings.json?after=other.${last.id}`);
        assert.equal(other.happenings[0].id, all.happenings[0].id);
    });

    it('WhatWouldBeObeyedIsEscaped', async () => {
        await stand.receiver.command('say "<script>\u001b[2J\u0085\u202E"');
        const { text } = await stand.receiver.request('/happenings.json');
        assert.doesNotMatch(text.replaceAll('\n', ''), /[\u0000-\u001f\u007f-\u009f\u202a-\u202e]/);
        assert.equal(JSON.parse(text).happenings.at(-1).text, '<script>\u001b[2J\u0085\u202E');
    });
});

describe('Commands', () => {
    const stand = withReceiver();

    it('AreAnsweredWithWhatBecameOfThem', async () => {
        const { receiver } = stand;
        assert.deepEqual(await receiver.command('say hello'), { status: 200, outcome: 'done', text: '', lines: [] });
        assert.deepEqual(await receiver.command(''), { status: 200, outcome: 'done', text: '', lines: [] });
        assert.equal((await receiver.command('services\r\n')).lines.length, 1);
        const wrong = await receiver.command('jump');
        assert.deepEqual(wrong, { status: 400, outcome: 'wrong usage', text: 'there is no command jump; help lists them', lines: [] });
        const failed = await receiver.command('zap nowhere');
        assert.equal(failed.status, 409);
        assert.equal(failed.outcome, 'failed');
        assert.equal(receiver.exitCode, null);
    });

    it('ThatWriteOrReadFilesAreRefused', async () => {
        for (const line of ['picture x.png', '"picture" x.png', ' expect-picture x.png']) {
            const response = await stand.receiver.request('/command', { method: 'POST', body: line });
            assert.equal(response.status, 403, line);
        }
    });

    it('AreOneAtATime', async () => {
        const two = await stand.receiver.command('say one\nsay two');
        assert.equal(two.status, 400);
        assert.equal(two.text, 'one line at a time');
    });

    it('ThatWaitAreAnsweredAfterTheirWaitAndHoldUpNobody', async () => {
        const { receiver } = stand;
        let first = null;
        const late = receiver.command('wait running ffff.1 within 5').then(answer => { first = answer.text; });
        assert.equal((await receiver.command('wait running')).outcome, 'done');
        assert.match((await receiver.command('wait running ffff.2 within 0.2')).text, /^waited in vain for .*ffff\.2/);
        assert.equal(first, null);
        await late;
        assert.match(first, /^waited in vain for .*ffff\.1/);
    });

    it('OfOneWhoHasGoneAreHarmless', async () => {
        const { receiver } = stand;
        await until(() => receiver.connections === 0, 'the end of former connections');
        const line = 'wait running ffff.3 within 60';
        const sockets = Array.from({ length: 20 }, () => receiver.connect());
        for (const socket of sockets)
            socket.write(`POST /command HTTP/1.1\r\nHost: 127.0.0.1:${receiver.port}\r\nContent-Length: ${line.length}\r\n\r\n${line}`);
        await until(() => receiver.connections === sockets.length, 'the connections');
        for (let number = 0; number < 5; ++number)  // what came before is taken meanwhile
            await receiver.command('wait running ffff.4 within 0.02');
        for (const socket of sockets) {
            assert.equal(socket.heard, '');
            socket.destroy();
        }
        await until(() => receiver.connections === 0, 'the end of the connections', 20);
        assert.equal((await receiver.request('/state.json')).status, 200);
    });

    it('ThatWouldWaitForLongAreRefused', async () => {
        const answer = await stand.receiver.command('wait running ffff.3 within 301');
        assert.equal(answer.status, 400);
        assert.match(answer.text, /300 seconds/);
    });

    it('KeysSayWhetherTheyWereTaken', async () => {
        const { receiver } = stand;
        await receiver.command('keyset RED');
        await receiver.command('show');
        await receiver.command('key RED');
        await receiver.command('key INFO');
        const { happenings } = await receiver.json('/happenings.json');
        const keys = happenings.filter(one => one.source === 'user' && one.event === 'key');
        assert.deepEqual(keys.map(one => [one.details.key, one.details.consumed]),
            [['RED', true], ['RED', true], ['INFO', false], ['INFO', false]]);
        const refusal = happenings.filter(one => one.event === 'decision' && one.details.subject === 'key').at(-1);
        assert.equal(refusal.details.verdict, false);
    });
});

describe('Events', () => {
    const stand = withReceiver();

    it('BeginWithTheRunAndWhatHasHappened', async () => {
        const reader = stand.receiver.listen();
        await until(() => names(reader.events).includes('state'), 'the beginning');
        assert.equal(reader.events[0].event, 'hello');
        const { run, happenings } = await stand.receiver.json('/happenings.json');
        assert.equal(reader.events[0].data.run, run);
        const first = happeningsOf(reader)[0];
        assert.deepEqual(first.data, happenings[0]);
        assert.equal(first.id, `${run}.${happenings[0].id}`);
        reader.close();
    });

    it('BringWhatHappensToEverybodyInOrder', async () => {
        const readers = [stand.receiver.listen(), stand.receiver.listen()];
        await Promise.all(readers.map(hasHello));
        for (const word of ['alpha', 'beta', 'gamma'])
            await stand.receiver.command(`say ${word}`);
        for (const reader of readers) {
            await until(() => happeningsOf(reader).some(one => one.data.text === 'gamma'), 'gamma');
            const ids = happeningsOf(reader).map(one => one.data.id);
            assert.deepEqual(ids, [...ids].sort((one, other) => one - other));
            assert.equal(new Set(ids).size, ids.length);
            reader.close();
        }
    });

    it('GoOnAfterTheLastThatIsKnown', async () => {
        const { run, happenings } = await stand.receiver.json('/happenings.json');
        const { id } = happenings.at(-2);
        for (const reader of [stand.receiver.listen({ 'Last-Event-ID': `${run}.${id}` }),
            stand.receiver.listen({}, `/events?after=${run}.${id}`)]) {
            await until(() => happeningsOf(reader).length > 0, 'what is new');
            assert.equal(happeningsOf(reader)[0].data.id, id + 1);
            reader.close();
        }
        const stranger = stand.receiver.listen({ 'Last-Event-ID': `other.${id}` });
        await until(() => happeningsOf(stranger).length > 0, 'everything');
        assert.equal(happeningsOf(stranger)[0].data.id, happenings[0].id);
        stranger.close();
    });

    it('SayThatTheStateHasChanged', async () => {
        const reader = stand.receiver.listen();
        await hasHello(reader);
        const count = () => names(reader.events).filter(name => name === 'state').length;
        const before = count();
        await stand.receiver.command('lowmemory');
        await until(() => count() > before, 'a new state');
        reader.close();
    });

    it('HaveRoomForSoManyReaders', async () => {
        const readers = [];
        const fill = async () => {
            const reader = stand.receiver.listen();
            await until(() => reader.status, 'an answer');
            if (reader.status === 200)
                readers.push(reader);
            return reader.status === 503;
        };
        await until(fill, 'the end of the room');
        // Those of other tests may not have been missed yet.
        await until(async () => await fill() && readers.length === 24, 'all the room there is');
        assert.equal((await stand.receiver.request('/events')).status, 503);
        assert.equal((await stand.receiver.request('/state.json')).status, 200);
        readers[0].close();
        await until(async () => {
            const reader = stand.receiver.listen();
            await until(() => reader.status, 'an answer');
            reader.close();
            return reader.status === 200;
        }, 'the place of one who has gone');
        for (const reader of readers)
            reader.close();
    });

    it('WhoDoesNotReadIsDroppedAndCostsNobodyAnything', async () => {
        const receiver = await Receiver.start();
        const socket = receiver.connect();
        socket.write(`GET /events HTTP/1.1\r\nHost: 127.0.0.1:${receiver.port}\r\n\r\n`);
        await until(() => socket.heard.includes('hello'), 'hello');
        socket.pause();
        const reader = receiver.listen();
        await hasHello(reader);
        const before = receiver.memory;
        const text = 'x'.repeat(60000);
        for (let number = 0; number < 600; ++number)
            assert.equal((await receiver.command(`say ${text}`)).status, 200);
        // 36 MB were said: what the system holds, and what waits for the slow one, is less.
        assertMemory(receiver, before, 24);
        await receiver.command('say the last');
        await until(() => happeningsOf(reader).some(one => one.data.text === 'the last'), 'the last');
        socket.resume();
        await until(() => socket.isOver, 'the end of the connection');
        assert.ok(!socket.heard.includes('the last'));
        reader.close();
        assert.equal(await receiver.stop(), 0);
    });
});

describe('Safety', () => {
    const stand = withReceiver();

    it('ForeignNamesOriginsAndSitesAreRefusedWhateverTheyAskFor', async () => {
        const { receiver } = stand;
        const own = `127.0.0.1:${receiver.port}`;
        const foreign = [
            [421, { Host: `evil.example:${receiver.port}` }],
            [421, { Host: '127.0.0.1:1' }],
            [403, { Host: own, Origin: 'http://evil.example' }],
            [403, { Host: own, Origin: 'null' }],
            [403, { Host: own, Origin: `http://localhost:${receiver.port}` }],
            [403, { Host: own, 'Sec-Fetch-Site': 'cross-site' }],
            [403, { Host: own, 'Sec-Fetch-Site': 'same-site' }],
        ];
        const before = (await receiver.json('/happenings.json')).happenings.at(-1).id;
        for (const [status, headers] of foreign) {
            for (const where of ['/', '/state.json', '/screen.png', '/events', '/happenings.json', '/page.json?window=1'])
                assert.equal((await receiver.request(where, { headers })).status, status, where);
            const command = { method: 'POST', body: 'say from elsewhere', headers };
            assert.equal((await receiver.request('/command', command)).status, status);
        }
        const { happenings } = await receiver.json('/happenings.json');
        assert.ok(!happenings.some(one => one.id > before && one.text === 'from elsewhere'));
        const friendly = { Host: own, Origin: `http://${own}`, 'Sec-Fetch-Site': 'same-origin' };
        const allowed = { method: 'POST', body: 'say from here', headers: friendly };
        assert.equal((await receiver.request('/command', allowed)).status, 200);
    });

    it('MethodsGoWhereTheyBelong', async () => {
        const { receiver } = stand;
        for (const method of ['PUT', 'DELETE', 'OPTIONS', 'PATCH'])
            assert.equal((await receiver.request('/state.json', { method })).status, 405, method);
        assert.equal((await receiver.request('/command')).status, 405);
        assert.equal((await receiver.request('/state.json', { method: 'POST', body: '' })).status, 405);
    });

    it('LongBodiesAndThoseOfUnknownLengthAreNotTaken', async () => {
        const { receiver } = stand;
        const before = receiver.memory;
        const long = await new Promise(resolve => {
            const socket = receiver.connect();
            socket.write(`POST /command HTTP/1.1\r\nHost: 127.0.0.1:${receiver.port}\r\nContent-Length: 1000000000\r\n\r\n`);
            const piece = Buffer.alloc(1 << 16, 'x');
            const more = () => {
                if (/^HTTP\/1.1 \d+/.test(socket.heard) || socket.isOver)
                    return resolve(socket.heard);
                socket.write(piece);
                setImmediate(more);
            };
            more();
        });
        assert.match(long, /^HTTP\/1.1 413 /);
        const chunked = receiver.connect();
        chunked.write(`POST /command HTTP/1.1\r\nHost: 127.0.0.1:${receiver.port}\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nsay x\r\n0\r\n\r\n`);
        await until(() => chunked.heard.startsWith('HTTP/1.1 411 '), 'a refusal');
        chunked.destroy();
        assertMemory(receiver, before, 16);
    });

    it('WhatIsNoRequestIsNoHarm', async () => {
        const { receiver } = stand;
        const host = `Host: 127.0.0.1:${receiver.port}`;
        const nonsense = ['\r\n\r\n', 'GET', '\0'.repeat(1000), 'GET / HTTP/9.9\r\n\r\n', `GET ${'/x'.repeat(100000)} HTTP/1.1\r\n${host}\r\n\r\n`,
            'GET / HTTP/1.1\r\n\r\n', `GET / HTTP/1.1\r\n${host}\r\n${host}\r\n\r\n`, `GET http://[ HTTP/1.1\r\n${host}\r\n\r\n`,
            `GET /%00%ff?%zz=%00 HTTP/1.1\r\n${host}\r\n\r\n`, `POST /command HTTP/1.1\r\n${host}\r\nContent-Length: -5\r\n\r\nsay x`,
            `POST /command HTTP/1.1\r\n${host}\r\nContent-Length: 9\r\n\r\nsay`, `GET / HTTP/1.1\r\n${'A: b\r\n'.repeat(100000)}\r\n`,
            `GET /events HTTP/1.1\r\n${host}\r\nLast-Event-ID: ${'9'.repeat(5000)}\r\n\r\n`, `GET / HTTP/1.1\r\n${host}\r\n\r\n`.repeat(50),
            Buffer.from(Array.from({ length: 4096 }, (_, index) => index * 37 % 256))];
        for (const bytes of nonsense) {
            const socket = receiver.connect();
            await until(() => socket.readyState === 'open', 'a connection');
            socket.end(bytes);
            await until(() => socket.isOver || socket.heard !== '', 'what becomes of it', 5).catch(() => {});
            socket.destroy();
            assert.equal((await receiver.request('/state.json')).status, 200);
        }
    });

    it('ConnectionsAreBoundedAndHalfRequestsHoldUpNobody', async () => {
        const { receiver } = stand;
        assert.equal((await receiver.request('/state.json')).status, 200);
        const sockets = Array.from({ length: 80 }, () => receiver.connect());
        for (const socket of sockets)
            socket.write('GET /state.json HTTP/1.1\r\nHost: ');
        // Those beyond the bound are closed; the others are waited for.
        const open = () => sockets.filter(socket => !socket.isOver);
        await until(() => open().length <= 64, 'the end of those that are too many');
        assert.ok(open().length >= 60);
        assert.equal((await receiver.command('say x').catch(() => ({ status: 0 }))).status, 0);
        for (const socket of open().slice(0, 10))
            socket.destroy();
        await until(() => receiver.command('say y').then(answer => answer.status === 200, () => false), 'room');
        for (const socket of sockets)
            socket.destroy();
    });
});

describe('Session', () => {
    it('ListensOnThisMachineAloneUnlessToldOtherwise', async () => {
        const usual = await Receiver.start();
        assert.match(usual.url, /^http:\/\/127\.0\.0\.1:\d+\/$/);
        const elsewhere = net.connect({ host: '127.0.0.2', port: usual.port });
        const [problem] = await once(elsewhere, 'error');
        assert.equal(problem.code, 'ECONNREFUSED');
        const six = await Receiver.start(['--loop', sampleStream], '[::1]:0');
        assert.match(six.url, /^http:\/\/\[::1\]:\d+\/$/);
        assert.equal((await six.request('/state.json')).status, 200);
        const taken = await Receiver.start(['--loop', sampleStream], String(usual.port));
        assert.equal(await taken.exit, 2);
        assert.match(taken.output, new RegExp(`vesta_receiver: --web http://127.0.0.1:${usual.port}/: .*in use`));
        assert.equal(await usual.stop(), 0);
        assert.equal(await six.stop(), 0);
    });

    it('GoesOnAfterTheEndOfTheStreamAndEndsWhenItIsTold', async () => {
        const receiver = await Receiver.start([sampleStream]);
        assert.equal((await receiver.command('wait end within 60')).outcome, 'done');
        assert.equal((await receiver.json('/state.json')).stream.ended, true);
        const failing = await receiver.command('wait running ffff.1 within 60');
        assert.match(failing.text, /^the stream ended before /);
        const reader = receiver.listen();
        await hasHello(reader);
        assert.equal((await receiver.command('quit')).status, 200);
        assert.equal(await receiver.exit, 0);
        await until(() => reader.isOver, 'the end');
        assert.equal(reader.events.at(-1).event, 'end');
        assert.ok(happeningsOf(reader).length > 0);
    });

    it('WaitsThatTheSessionDoesNotOutliveAreAnswered', async () => {
        const receiver = await Receiver.start();
        const wait = receiver.command('wait running ffff.1 within 60');
        await until(async () => (await receiver.command('quit').catch(() => ({}))).status === 200 || receiver.exitCode !== null, 'the end');
        assert.match((await wait).text, /^the receiver ended before /);
        assert.equal(await receiver.exit, 0);
    });

    it('AReportIsWrittenAtItsEndWithOrWithoutAServer', async () => {
        const folder = temporaryFolder();
        const script = path.join(folder, 'script');
        fs.writeFileSync(script, 'wait loaded within 60\nsay "</script><b>"\n');
        for (const [name, web] of [['with.html', ['--web', '0']], ['without.html', []]]) {
            const file = path.join(folder, name);
            const receiver = new Receiver([...web, '--report', file, '--script', script, sampleStream]);
            assert.equal(await receiver.exit, 0, receiver.output);
            const report = fs.readFileSync(file, 'utf8');
            const json = /<script type="application\/json" id="record">([^<]*)<\/script>/.exec(report)[1];
            const record = JSON.parse(json);
            assert.equal(record.input, sampleStream);
            assert.ok(record.happenings.some(one => one.text === '</script><b>'));
            assert.ok(record.happenings.some(one => one.source === 'decision'));
            assert.ok(record.happenings.some(one => one.source === 'log'));
            assert.equal(record.state.applications[0].application, 'a.2a01');
        }
    });

    it('AReportThatCannotBeWrittenIsSaidBeforeAnythingIsPlayed', async () => {
        const folder = temporaryFolder();
        for (const [file, why] of [['/nowhere/report.html', 'No such file or directory'], [folder, 'Is a directory']]) {
            const receiver = new Receiver(['--report', file, sampleStream]);
            assert.equal(await receiver.exit, 2);
            assert.equal(receiver.output, `vesta_receiver: ${file}: ${why}\n`);
        }
    });

    it('NobodyIsLetInWhereTheScriptIsNoScript', async () => {
        const script = path.join(temporaryFolder(), 'script');
        fs.writeFileSync(script, 'jump\n');
        const receiver = new Receiver(['--web', '0', '--script', script, sampleStream]);
        assert.equal(await receiver.exit, 1);
        assert.doesNotMatch(receiver.output, /the television is at/);
    });

    it('EndsWhereThereIsNoStream', async () => {
        const receiver = new Receiver(['--web', '0', '/nowhere/stream.ts']);
        assert.equal(await receiver.exit, 2);
        assert.match(receiver.output, /vesta_receiver: \/nowhere\/stream\.ts: No such file or directory\n$/);
    });
});
