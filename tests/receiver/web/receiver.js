'use strict';

// The receiver with its web server, and clients that say exactly what the test wants.

const { spawn } = require('node:child_process');
const fs = require('node:fs');
const http = require('node:http');
const net = require('node:net');
const os = require('node:os');
const path = require('node:path');

const program = process.env.VESTA_RECEIVER;
const root = path.resolve(__dirname, '../../..');
const sampleStream = path.join(root, 'samples/station.ts');

/// Looks again and again until something holds. @return what it held with
async function until(condition, what, seconds = 60) {
    const end = Date.now() + seconds * 1000;
    while (Date.now() < end) {
        const held = await condition();
        if (held)
            return held;
        await new Promise(resolve => setTimeout(resolve, 20));
    }
    throw new Error(`waited in vain for ${what}`);
}

class Receiver {
    /// @param options of the command line; the port is any that is free
    static async start(options = ['--loop', sampleStream], address = '0') {
        const receiver = new Receiver(['--web', address, ...options]);
        await until(() => receiver.port || receiver.exitCode !== null, 'the address of the page');
        return receiver;
    }

    constructor(options) {
        this.output = '';
        this.exitCode = null;
        this.process = spawn(program, options, { stdio: ['ignore', 'pipe', 'pipe'] });
        const take = text => {
            this.output += text;
        };
        this.process.stdout.on('data', take);
        this.process.stderr.on('data', take);
        this.exit = new Promise(resolve => this.process.on('close', code => {
            this.exitCode = code;
            resolve(code);
        }));
    }

    get url() {
        const found = /the television is at (http:\S+\/)\n/.exec(this.output);
        return found && found[1];
    }

    get port() {
        return this.url && Number(new URL(this.url).port);
    }

    /// Bytes of memory that are its own.
    get memory() {
        const status = fs.readFileSync(`/proc/${this.process.pid}/status`, 'utf8');
        return Number(/RssAnon:\s+(\d+) kB/.exec(status)[1]) * 1024;
    }

    /// How many connections to its page it has accepted and not closed, whether the other side has or not.
    get connections() {
        const port = this.port.toString(16).toUpperCase().padStart(4, '0');
        const established = '01', left = '08';
        return ['tcp', 'tcp6'].flatMap(kind => fs.readFileSync(`/proc/net/${kind}`, 'utf8').split('\n'))
            .map(line => line.trim().split(/\s+/))
            .filter(([, local = '', , state, , , , , , inode]) => local.endsWith(`:${port}`) &&
                [established, left].includes(state) && inode !== '0')
            .length;
    }

    async stop() {
        if (this.exitCode === null)
            this.process.kill('SIGTERM');
        return this.exit;
    }

    /// @return { status, headers, bytes, text }
    request(where, { method = 'GET', headers = {}, body } = {}) {
        const host = new URL(this.url).hostname.replace(/[[\]]/g, '');
        return new Promise((resolve, reject) => {
            const options = { host, port: this.port, path: where, method, headers, agent: false };
            const request = http.request(options, response => {
                const parts = [];
                response.on('data', part => parts.push(part));
                response.on('end', () => {
                    const bytes = Buffer.concat(parts);
                    resolve({ status: response.statusCode, headers: response.headers, bytes, text: bytes.toString('utf8') });
                });
                response.on('error', reject);
            });
            request.on('error', reject);
            request.end(body);
        });
    }

    async json(where) {
        const response = await this.request(where);
        return JSON.parse(response.text);
    }

    picture() {
        return this.request('/screen.png');
    }

    /// @return the answer's document and status
    async command(line) {
        const response = await this.request('/command', { method: 'POST', body: line });
        return { status: response.status, ...JSON.parse(response.text) };
    }

    /// A connection that says what it is told, and keeps what it hears.
    connect() {
        const socket = net.connect({ host: '127.0.0.1', port: this.port });
        socket.heard = '';
        socket.isOver = false;
        socket.on('data', bytes => {
            socket.heard += bytes;
        });
        socket.on('error', () => {});
        socket.on('close', () => {
            socket.isOver = true;
        });
        return socket;
    }

    /// A reader of /events. @return { events, close() }
    listen(headers = {}, where = '/events') {
        const reader = { events: [], isOver: false, status: 0 };
        const options = { host: '127.0.0.1', port: this.port, path: where, headers, agent: false };
        const request = http.get(options, response => {
            reader.status = response.statusCode;
            let text = '';
            response.setEncoding('utf8');
            response.on('data', part => {
                text += part;
                const blocks = text.split('\n\n');
                text = blocks.pop();
                for (const block of blocks)
                    takeEvent(block, reader.events);
            });
            response.on('close', () => {
                reader.isOver = true;
            });
        });
        request.on('error', () => {
            reader.isOver = true;
        });
        reader.close = () => request.destroy();
        return reader;
    }
}

function takeEvent(block, events) {
    const event = {};
    for (const line of block.split('\n')) {
        const colon = line.indexOf(': ');
        if (colon > 0)
            event[line.slice(0, colon)] = line.slice(colon + 2);
    }
    if (event.event)
        events.push({ ...event, data: JSON.parse(event.data) });
}

/// A folder that goes with the test's process.
function temporaryFolder() {
    const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'vesta-web-'));
    process.on('exit', () => fs.rmSync(folder, { recursive: true, force: true }));
    return folder;
}

module.exports = { Receiver, program, root, sampleStream, temporaryFolder, until };
