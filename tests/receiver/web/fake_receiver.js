'use strict';

// A receiver's web server without a receiver: it serves the page, and what a test gives it to serve.

const fs = require('node:fs');
const http = require('node:http');
const path = require('node:path');
const { PNG } = require('pngjs');

const pageFolder = path.join(__dirname, '../../../receiver/web/page');
const contentTypes = { '.html': 'text/html; charset=utf-8', '.css': 'text/css', '.js': 'text/javascript', '.svg': 'image/svg+xml' };
const contentSecurityPolicy = "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' blob: data:; " +
    "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'";
// Pictures are compared with one font, whatever the machine has.
const fontsOfTests = "\n:root { --font: 'DejaVu Sans'; --mono: 'DejaVu Sans Mono'; }\n";
const mostKept = 8000;

const keyNames = ['RED', 'GREEN', 'YELLOW', 'BLUE', 'OK', 'ENTER', 'LEFT', 'UP', 'RIGHT', 'DOWN', 'BACK', 'PLAY', 'PAUSE',
    'STOP', 'REWIND', 'FORWARD', 'PLAYPAUSE', 'PAGEUP', 'PAGEDOWN', 'INFO', ...'0123456789', ...'ABCDEFGHIJKLMNOPQRSTUVWXYZ'];

/// A state with something in every panel.
function exampleState() {
    return {
        version: '1.0.0', revision: 1, time: 12.345,
        stream: { input: 'sample.ts', ended: false, packets: 204800, continuity_errors: 3, damaged_packets: 0,
            scrambled_packets: 12, damaged_sections: 1, sync_losses: 0, network: null },
        services: [
            { id: 1, name: 'Vesta One', signals_hbbtv: 'yes', tuned: true },
            { id: 2, name: 'Vesta Two', signals_hbbtv: 'maybe', tuned: false },
            { id: 28112, name: 'Plain', signals_hbbtv: 'no', tuned: false },
            { id: 28113, name: '', signals_hbbtv: 'unknown', tuned: false },
        ],
        windows: [
            { id: 1, url: 'dvb://20fa.441.6dd0.2a/index.html', shown: true, loaded: true, has_keys: true },
            { id: 2, url: 'http://b.example/child.html', shown: false, loaded: false, has_keys: false },
        ],
        applications: [
            { application: 'a.2a01', url: 'dvb://20fa.441.6dd0.2a/index.html', window: 1, broadcast_related: true, shown: true,
                parent: null, key_set: 19, key_names: ['RED', 'GREEN', 'NAVIGATION'], boundary: ['dvb://20fa.441.6dd0', 'http://a.example/'] },
            { application: 'b.1', url: 'http://b.example/child.html', window: 2, broadcast_related: false, shown: false,
                parent: 'a.2a01', key_set: 0, key_names: [], boundary: [] },
        ],
        table: { applications: [
            { application: 'a.2a01', name: 'Launcher', control_code: 1, control_name: 'AUTOSTART',
                urls: ['dvb://20fa.441.6dd0.2a/index.html', 'http://backup.example/index.html'],
                profiles: ['0x0000 with version 1.2.1'], verdict: 'runs', reason: null },
            { application: 'a.2a02', name: 'Guide', control_code: 2, control_name: 'PRESENT', urls: ['http://a.example/guide.html'],
                profiles: [], verdict: 'can start', reason: null },
            { application: 'a.2a03', name: 'Recorder', control_code: 2, control_name: 'PRESENT', urls: ['http://a.example/pvr.html'],
                profiles: ['0x0002 with version 1.2.1'], verdict: 'cannot start',
                reason: 'The application needs a profile that the terminal does not have.' },
        ] },
        carousels: [{ component_tag: 42, modules_complete: 3, modules_known: 5,
            modules: [
                { module: 1, version: 0, size: 1234, blocks: 1, received: 1, problem: '' },
                { module: 2, version: 0, size: 40008, blocks: 10, received: 10, problem: '' },
                { module: 3, version: 1, size: 20, blocks: 1, received: 1, problem: '' },
                { module: 4, version: 0, size: 300000, blocks: 74, received: 30, problem: '' },
                { module: 5, version: 0, size: 99999999, blocks: 24600, received: 0, problem: 'too large' },
            ],
            files: [{ path: '/index.html', size: 1234 }, { path: '/img/logo.png', size: 40008 }],
            files_omitted: 0, stream_events: [{ path: '/ev', events: 2 }] }],
        carousel_bytes: 367117,
        pending: [{ window: 2, url: 'http://b.example/child.html' }, { window: null, url: '20fa.441.6dd0.2a/late.png' }],
        screen: { paints: true, width: 1280, height: 720, painting: 1, video: { x: 640, y: 0, width: 640, height: 360 } },
        switches: { http: true, timeshift: false, profiles: 0, start: 'allow', request: 'allow' },
        keys: keyNames,
    };
}

function emptyState() {
    return {
        ...exampleState(), services: [], windows: [], applications: [], table: null, carousels: [], carousel_bytes: 0, pending: [],
        screen: { paints: true, width: 1280, height: 720, painting: 1, video: null },
    };
}

function exampleHappenings() {
    return [
        [0.001, 'platform', 'ait-start', 'tables are wanted'],
        [0.02, 'air', 'service', 'service 1 is "Vesta One"', { service: 1, name: 'Vesta One' }],
        [0.03, 'receiver', 'tuned', 'tuned to service 1', { service: 1 }],
        [0.4, 'air', 'ait', 'AIT version 7, 164 bytes', { version: 7, section: 0, last_section: 0, size: 164 }],
        [0.41, 'decision', 'decision', 'yes, table: The table is in force now. (version 1)', { subject: 'table', verdict: true, reason: 204, wanted: 0, had: 1, text: '' }],
        [0.42, 'library', 'start', 'may a.2a01 start (AUTOSTART)? yes, dvb://20fa.441.6dd0.2a/index.html', { application: 'a.2a01', autostart: true, answer: 0 }],
        [0.43, 'log', 'log', 'log   [      Window] Starting application from AITApplication.', { level: 'log' }],
        [0.44, 'log', 'log', 'debug [         AIT] --- Outputing AIT ---', { level: 'debug' }],
        [0.5, 'browser', 'window-opened', 'window 1 opened', { window: 1 }],
        [0.51, 'browser', 'open', 'window 1 opens dvb://20fa.441.6dd0.2a/index.html', { window: 1, url: 'dvb://20fa.441.6dd0.2a/index.html' }],
        [1.1, 'platform', 'file-ready', '20fa.441.6dd0.2a/index.html: it has come', { path: '20fa.441.6dd0.2a/index.html' }],
        [1.2, 'browser', 'loaded', 'dvb://20fa.441.6dd0.2a/index.html: 336 bytes', { size: 336, status: 200 }],
        [1.3, 'script', 'debug', 'the page is there'],
        [2, 'log', 'log', 'warn  [         AIT] a descriptor is left out', { level: 'warn' }],
        [2.1, 'log', 'log', 'err   [      Window] the page does not answer', { level: 'err' }],
        [2.5, 'decision', 'decision', 'no, start of a.2a03: The profile is missing.', { subject: 'start', verdict: false, reason: 301, application: 'a.2a03', wanted: 2, had: 0, text: '' }],
        [3, 'browser', 'load-failed', 'http://a.example/missing.png: 404', { url: 'http://a.example/missing.png', status: 404 }],
        [4, 'user', 'zap', 'zap to service 1', { service: 1 }],
    ];
}

/// A picture of one colour with a lighter rectangle in it.
function picture(red, green, blue, width = 1280, height = 720) {
    const image = new PNG({ width, height });
    for (let n = 0; n < width * height; ++n) {
        const isInside = n % width > width / 4 && n % width < width / 2 && n > width * height / 4 && n < width * height / 2;
        image.data.set([red, green, blue].map(part => Math.min(255, part + (isInside ? 80 : 0))), 4 * n);
        image.data[4 * n + 3] = 255;
    }
    return PNG.sync.write(image);
}

class FakeReceiver {
    constructor() {
        this.commands = [];
        this.requests = [];  // paths, in order
        this.busyPictures = 0;
        this.mostBusyPictures = 0;
        this.heldPictures = null;  // answers that wait, where a test holds them
        this.answersState = true;
        this.listeners = new Set();
        this.page = null;
        this.answers = new Map();  // a command's first word: {status, body}
        this.begin('r1');
    }

    begin(run) {
        this.run = run;
        this.nextId = 1;
        this.time = 0;
        this.kept = [];
        this.state = exampleState();
        this.painting = 1;
        this.png = picture(20, 60, 90);
    }

    get address() { return `http://127.0.0.1:${this.port}/`; }

    async start() {
        this.server = http.createServer((request, response) => this.serve(request, response));
        await new Promise(done => this.server.listen(this.port || 0, '127.0.0.1', done));
        this.port = this.server.address().port;
    }

    async stop() {
        const closed = new Promise(done => this.server.close(done));
        await Promise.all([...this.listeners].map(listener => new Promise(done => { listener.once('close', done).end(); })));
        this.listeners.clear();
        this.server.closeAllConnections();
        await closed;
    }

    /// Each event in the order of exampleHappenings().
    happenAll(happenings) {
        for (const [time, source, event, text, details] of happenings)
            this.happen(source, event, text, details, time);
    }

    happen(source, event, text, details, time = this.time + 0.1) {
        this.time = time;
        const happening = { id: this.nextId++, time, source, event, text, ...(details ? { details } : {}) };
        this.kept.push(happening);
        if (this.kept.length > mostKept)
            this.kept.shift();
        for (const listener of this.listeners)
            this.sendHappening(listener, happening);
    }

    setState(change) {
        this.state = { ...this.state, ...change, revision: this.state.revision + 1 };
        this.toAll('state', { revision: this.state.revision });
    }

    paint(png) {
        this.png = png;
        ++this.painting;
        this.state.screen = { ...this.state.screen, painting: this.painting };
        this.toAll('screen', { painting: this.painting });
    }

    end() { this.toAll('end', {}); }

    toAll(event, data) {
        for (const listener of this.listeners)
            send(listener, event, data);
    }

    sendHappening(listener, happening) {
        listener.write(`event: happening\nid: ${this.run}.${happening.id}\ndata: ${JSON.stringify(happening)}\n\n`);
    }

    serve(request, response) {
        const url = new URL(request.url, this.address);
        this.requests.push(url.pathname + url.search);
        response.setHeader('Content-Security-Policy', contentSecurityPolicy);
        response.setHeader('X-Content-Type-Options', 'nosniff');
        const serve = {
            '/state.json': () => { if (this.answersState) answerJson(response, 200, this.state); },
            '/screen.png': () => this.servePicture(response),
            '/page.json': () => this.page ? answerJson(response, 200, this.page) : answer(response, 404, 'text/plain', 'no page'),
            '/events': () => this.serveEvents(request, response, url),
            '/command': () => this.serveCommand(request, response),
        }[url.pathname];
        if (serve)
            serve();
        else
            this.serveFile(url.pathname, response);
    }

    serveFile(name, response) {
        const file = path.join(pageFolder, name === '/' ? 'index.html' : path.basename(name));
        if (!fs.existsSync(file))
            return answer(response, 404, 'text/plain', 'no such file');
        const content = fs.readFileSync(file, 'utf8') + (name === '/style.css' ? fontsOfTests : '');
        return answer(response, 200, contentTypes[path.extname(file)], content);
    }

    servePicture(response) {
        if (!this.state.screen.paints)
            return answer(response, 404, 'text/plain', 'this browser paints nothing');
        this.mostBusyPictures = Math.max(this.mostBusyPictures, ++this.busyPictures);
        const finish = () => {
            --this.busyPictures;
            response.setHeader('X-Painting', this.painting);
            answer(response, 200, 'image/png', this.png);
        };
        return this.heldPictures ? this.heldPictures.push(finish) : finish();
    }

    releasePictures() {
        const held = this.heldPictures;
        this.heldPictures = null;
        held.forEach(finish => finish());
    }

    serveEvents(request, response, url) {
        response.writeHead(200, { 'Content-Type': 'text/event-stream', 'Cache-Control': 'no-store' });
        send(response, 'hello', { run: this.run, version: this.state.version });
        const [run, id] = (request.headers['last-event-id'] || url.searchParams.get('after') || '').split('.');
        const last = run === this.run ? Number(id) : 0;
        this.kept.filter(happening => happening.id > last).forEach(happening => this.sendHappening(response, happening));
        send(response, 'state', { revision: this.state.revision });
        this.listeners.add(response);
        response.on('close', () => this.listeners.delete(response));
    }

    serveCommand(request, response) {
        let line = '';
        request.on('data', part => { line += part; });
        request.on('end', () => {
            this.commands.push(line);
            const [status, body] = this.answers.get(line.split(' ')[0]) || this.obey(line);
            answerJson(response, status, body);
        });
    }

    obey(line) {
        const [name, ...words] = line.split(' ');
        const isOn = words[0] === 'on';
        if (name === 'key')
            this.press(words[0]);
        else if (name === 'zap')
            this.setState({ services: this.state.services.map(service => ({ ...service, tuned: service.id === Number(words[0]) })) });
        else if (name === 'http' || name === 'timeshift')
            this.setState({ switches: { ...this.state.switches, [name]: isOn } });
        else if (name === 'profiles')
            this.setState({ switches: { ...this.state.switches, profiles: Number(words[0]) } });
        else if (name === 'answer')
            this.setState({ switches: { ...this.state.switches, [words[0]]: words[1] } });
        return [200, { outcome: 'done', text: '', lines: [] }];
    }

    /// RED is the application's, BLUE is refused, every other key is the receiver's.
    press(key) {
        if (key === 'BLUE')
            this.happen('decision', 'decision', "no, key of a.2a01: The key's group is not in the application's key set.",
                { subject: 'key', verdict: false, reason: 603, application: 'a.2a01', wanted: 8, had: 1, text: '' });
        this.happen('user', 'key', `key ${key} down`, { key, consumed: key === 'RED' });
    }
}

function send(listener, event, data) {
    listener.write(`event: ${event}\ndata: ${JSON.stringify(data)}\n\n`);
}

function answer(response, status, type, content) {
    response.writeHead(status, { 'Content-Type': type, 'Cache-Control': 'no-store' });
    response.end(content);
}

function answerJson(response, status, content) {
    answer(response, status, 'application/json', JSON.stringify(content));
}

module.exports = { FakeReceiver, emptyState, exampleHappenings, exampleState, picture };

if (require.main === module) {  // by hand: node fake_receiver.js [PORT]
    const receiver = new FakeReceiver();
    receiver.port = Number(process.argv[2]) || 8080;
    receiver.happenAll(exampleHappenings());
    receiver.start().then(() => console.log(receiver.address));
}
