'use strict';

// The remote control, by pointer and by the computer's keyboard.

const keyGroups = [
    ['Numbers', 'numbers', ['1', '2', '3', '4', '5', '6', '7', '8', '9', 'INFO', '0', 'BACK']],
    ['Navigation', 'cross', ['UP', 'LEFT', 'OK', 'RIGHT', 'DOWN', 'PAGEUP', 'PAGEDOWN']],
    ['Colours', 'colours', ['RED', 'GREEN', 'YELLOW', 'BLUE']],
    ['Playing', 'playing', ['REWIND', 'PLAY', 'PAUSE', 'FORWARD', 'PLAYPAUSE', 'STOP']],
];
const letters = [...'ABCDEFGHIJKLMNOPQRSTUVWXYZ'];
const aliases = ['ENTER'];  // another name of OK

const keyFaces = {
    LEFT: '◀', RIGHT: '▶', UP: '▲', DOWN: '▼', REWIND: '◀◀', PLAY: '▶', PAUSE: '❚❚', FORWARD: '▶▶', PLAYPAUSE: '▶❚❚',
    STOP: '■', PAGEUP: '⇑', PAGEDOWN: '⇓', BACK: '↩', INFO: 'i',
};
const keySpoken = {
    LEFT: 'Left', RIGHT: 'Right', UP: 'Up', DOWN: 'Down', REWIND: 'Rewind', PLAY: 'Play', PAUSE: 'Pause',
    FORWARD: 'Forward', PLAYPAUSE: 'Play or pause', STOP: 'Stop', PAGEUP: 'Page up', PAGEDOWN: 'Page down',
    BACK: 'Back', INFO: 'Information', RED: 'Red', GREEN: 'Green', YELLOW: 'Yellow', BLUE: 'Blue',
};

const keysOfComputer = {
    ArrowLeft: 'LEFT', ArrowRight: 'RIGHT', ArrowUp: 'UP', ArrowDown: 'DOWN', Enter: 'OK', Backspace: 'BACK',
    BrowserBack: 'BACK', F1: 'RED', F2: 'GREEN', F3: 'YELLOW', F4: 'BLUE', PageUp: 'PAGEUP', PageDown: 'PAGEDOWN',
    MediaPlayPause: 'PLAYPAUSE', MediaStop: 'STOP', MediaRewind: 'REWIND', MediaFastForward: 'FORWARD', Help: 'INFO',
};
/// No control and no scrolling wants these, so they are the television's where nothing has the focus.
const keysOfNobody = ['Enter', 'Backspace', 'F1', 'F2', 'F3', 'F4'];

/// The group of the key set (ETSI TS 102 796, annex A) that asks for a key.
const groupOfKey = {
    LEFT: 'NAVIGATION', RIGHT: 'NAVIGATION', UP: 'NAVIGATION', DOWN: 'NAVIGATION', OK: 'NAVIGATION', BACK: 'NAVIGATION',
    REWIND: 'VCR', PLAY: 'VCR', PAUSE: 'VCR', FORWARD: 'VCR', PLAYPAUSE: 'VCR', STOP: 'VCR',
    PAGEUP: 'SCROLL', PAGEDOWN: 'SCROLL', INFO: 'INFO', RED: 'RED', GREEN: 'GREEN', YELLOW: 'YELLOW', BLUE: 'BLUE',
};

function groupOf(key) {
    return groupOfKey[key] || (/^[0-9]$/.test(key) ? 'NUMERIC' : 'ALPHA');
}

/// @return the receiver's name for a key of the computer; null for one that is not the television's
function keyForEvent(event) {
    if (event.ctrlKey || event.altKey || event.metaKey || event.isComposing)
        return null;
    if (Object.hasOwn(keysOfComputer, event.key))
        return keysOfComputer[event.key];
    return /^[0-9a-z]$/i.test(event.key) ? event.key.toUpperCase() : null;
}

class Remote {
    /// @param send sends a command and gives its answer
    constructor(send) {
        this.send = send;
        this.names = '';
        this.isSending = false;
        this.refusal = null;  // the decision against the key that is on its way
        find('remote').addEventListener('click', event => {
            const button = event.target.closest('button[data-tv-key]');
            if (button)
                this.press(button.dataset.tvKey);
        });
        document.addEventListener('keydown', event => this.pressedOnComputer(event));
        this.setKeys([]);
    }

    begin() {
        this.refusal = null;
        update(find('key-answer'), 'No key was pressed yet.');
        find('key-answer').className = 'answer';
    }

    setState(state) {
        if (state.keys.join() !== this.names)
            this.setKeys(state.keys);
        const focused = state.windows.find(window => window.has_keys);
        const application = focused && state.applications.find(one => one.window === focused.id);
        const asked = new Set(application ? application.key_names : []);
        for (const button of find('remote').querySelectorAll('button[data-tv-key]'))
            button.classList.toggle('asked-for', asked.has(groupOf(button.dataset.tvKey)));
    }

    setKeys(names) {
        this.names = names.join();
        const isThere = key => names.length === 0 || names.includes(key);
        const drawn = new Set([...keyGroups.flatMap(([, , keys]) => keys), ...letters, ...aliases]);
        const others = names.filter(key => !drawn.has(key));
        update(find('remote-keys'),
            keyGroups.map(([label, kind, keys]) => keyGroup(label, kind, keys.filter(isThere))),
            element('details', { class: 'letters' }, element('summary', null, 'Letters'),
                keyGroup('Letters', 'alphabet', letters.filter(isThere))),
            others.length === 0 ? null : keyGroup('Other keys', 'others', others));
    }

    pressedOnComputer(event) {
        const key = keyForEvent(event);
        if (!key || !this.isOurs(event))
            return;
        event.preventDefault();
        if (!event.repeat || !this.isSending)  // a key that is held repeats no faster than it is answered
            this.press(key);
    }

    /// The screen and the remote have every key, but that Enter is for the button that has the focus. Where
    /// nothing has it, what scrolls the page scrolls it, and characters are nobody's.
    isOurs(event) {
        const focused = document.activeElement;
        if (!focused || focused === document.body)
            return keysOfNobody.includes(event.key);
        const isForButton = event.key === 'Enter' && focused.matches('button, summary');
        return Boolean(focused.closest('.takes-keys')) && !isForButton;
    }

    async press(key) {
        this.isSending = true;
        this.highlight(key);
        const answer = await this.send(`key ${key}`);
        this.isSending = false;
        if (answer.outcome !== 'done')
            this.show('refused', key, answer.text || answer.outcome);
    }

    highlight(key) {
        for (const button of find('remote').querySelectorAll('button.pressed'))
            button.classList.remove('pressed');
        const button = [...find('remote').querySelectorAll('button[data-tv-key]')].find(one => one.dataset.tvKey === key);
        if (button)
            button.classList.add('pressed');
    }

    /// Decisions come before the key that they are about. One against an application need not be the last
    /// word: it may have asked for the key beside its key set.
    happened({ source, event, text, details }) {
        if (source === 'decision' && details && details.subject === 'key' && !details.verdict)
            this.refusal = text;
        if (source !== 'user' || event !== 'key' || !details)
            return;
        const refusal = this.refusal;
        this.refusal = null;
        if (details.consumed)
            this.show('application', details.key, 'the application has it.');
        else if (refusal)
            this.show('refused', details.key, refusal);
        else
            this.show('receiver', details.key, 'the receiver has it; no application does.');
    }

    show(who, key, why) {
        const heading = { application: 'application', receiver: 'receiver', refused: 'refused' }[who];
        find('key-answer').className = `answer ${who}`;
        update(find('key-answer'), element('strong', null, `${key}: ${heading}`), ' ', element('bdi', null, why));
    }
}

function keyGroup(label, kind, keys) {
    return element('div', { class: `keys ${kind}`, role: 'group', 'aria-label': label }, keys.map(key =>
        element('button', { type: 'button', class: `key key-${key.toLowerCase()}`, 'data-tv-key': key,
            'aria-label': keySpoken[key], title: keySpoken[key] }, keyFaces[key] || key)));
}
