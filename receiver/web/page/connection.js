'use strict';

// The connection to the receiver: its events, what it shows of itself, and commands to it.

const shortestPause = 500;  // ms until the next attempt; twice as long each time
const longestPause = 8000;

class Connection {
    /// @param handlers hello(greeting), happening(record, isNew), state(state), screen(painting), status(word)
    ///        with the words connecting, connected, gone, ended; what is not new was there before this tab looked
    /// @param position gives "RUN.N" of the last happening that is known, or ''
    constructor(handlers, position) {
        this.handlers = handlers;
        this.position = position;
        this.events = null;
        this.pause = shortestPause;
        this.timer = 0;
        this.hasEnded = false;
        this.isReplayed = false;  // what was there before: a state comes after it
        this.stateQuery = new Latest(() => this.fetchState());
    }

    /// A hidden tab costs nothing: no events, no timers, no requests.
    follow() {
        const isSeen = () => document.visibilityState === 'visible';
        document.addEventListener('visibilitychange', () => isSeen() ? this.open() : this.close());
        window.addEventListener('pagehide', () => this.close());
        window.addEventListener('pageshow', event => { if (event.persisted) this.open(); });
        window.addEventListener('online', () => { if (isSeen()) this.open(); });
        if (isSeen())
            this.open();
    }

    open() {
        this.close();
        const position = this.position();
        const events = new EventSource(position ? `/events?after=${encodeURIComponent(position)}` : '/events');
        this.events = events;
        this.handlers.status('connecting');
        const on = (name, handle) => events.addEventListener(name, event => {
            if (events === this.events)
                handle(JSON.parse(event.data));
        });
        on('hello', greeting => this.greeted(greeting));
        on('happening', happening => this.handlers.happening(happening, this.isReplayed));
        on('state', () => {
            this.isReplayed = true;
            this.stateQuery.ask();
        });
        on('screen', ({ painting }) => this.handlers.screen(painting));
        on('end', () => { this.hasEnded = true; });
        events.onerror = () => { if (events === this.events) this.lost(); };
    }

    close() {
        clearTimeout(this.timer);
        if (this.events)
            this.events.close();
        this.events = null;
    }

    greeted(greeting) {
        this.pause = shortestPause;
        this.hasEnded = false;
        this.isReplayed = false;
        this.handlers.status('connected');
        this.handlers.hello(greeting);
        this.stateQuery.ask();
    }

    lost() {
        this.close();
        this.handlers.status(this.hasEnded ? 'ended' : 'gone');
        this.timer = setTimeout(() => this.open(), this.pause);
        this.pause = Math.min(2 * this.pause, longestPause);
    }

    async fetchState() {
        const state = await fetched('/state.json', answer => answer.json());
        if (state && this.events)
            this.handlers.state(state);
    }

    /// @return {outcome, text, lines} in any case; the outcome "failed" where nobody answers
    async command(line) {
        try {
            const body = line.replace(/[\r\n]+/g, ' ');
            const answer = await fetch('/command', { method: 'POST', headers: { 'Content-Type': 'text/plain' }, body });
            const text = await answer.text();
            try {
                return JSON.parse(text);
            } catch {
                return { outcome: 'failed', text: text || answer.statusText, lines: [] };
            }
        } catch {
            return { outcome: 'failed', text: 'the receiver does not answer', lines: [] };
        }
    }
}

/// Asks for something that is renewed all the time: one request at a time, and one more after it where
/// there was something new in between.
class Latest {
    constructor(request) {
        this.request = request;
        this.isAsking = false;
        this.isDue = false;
    }

    async ask() {
        this.isDue = true;
        if (this.isAsking)
            return;
        this.isAsking = true;
        try {
            while (this.isDue) {
                this.isDue = false;
                await this.request();
            }
        } finally {
            this.isAsking = false;
        }
    }
}
