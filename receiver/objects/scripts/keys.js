// Key codes of ETSI TS 102 796, 10.2.2. Keys of a remote control come as characters of Unicode's
// private use area, whose place there is the code.

const privateUse = 0xE000;

const keyNames = {
    VK_ENTER: 13, VK_PAUSE: 19, VK_PAGE_UP: 33, VK_PAGE_DOWN: 34, VK_LEFT: 37, VK_UP: 38, VK_RIGHT: 39, VK_DOWN: 40,
    VK_0: 48, VK_1: 49, VK_2: 50, VK_3: 51, VK_4: 52, VK_5: 53, VK_6: 54, VK_7: 55, VK_8: 56, VK_9: 57,
    VK_A: 65, VK_B: 66, VK_C: 67, VK_D: 68, VK_E: 69, VK_F: 70, VK_G: 71, VK_H: 72, VK_I: 73, VK_J: 74, VK_K: 75,
    VK_L: 76, VK_M: 77, VK_N: 78, VK_O: 79, VK_P: 80, VK_Q: 81, VK_R: 82, VK_S: 83, VK_T: 84, VK_U: 85, VK_V: 86,
    VK_W: 87, VK_X: 88, VK_Y: 89, VK_Z: 90,
    VK_RED: 403, VK_GREEN: 404, VK_YELLOW: 405, VK_BLUE: 406, VK_REWIND: 412, VK_STOP: 413, VK_PLAY: 415,
    VK_FAST_FWD: 417, VK_INFO: 457, VK_BACK: 461, VK_PLAY_PAUSE: 463,
};

eachEntry(keyNames, (name, code) => {
    defineGlobal(name, code);
    Object.defineProperty(KeyboardEvent, name, { value: code, configurable: true, enumerable: true, writable: true });
});
defineGlobal('KeyEvent', KeyboardEvent);

const engineKey = asFunction(Object.getOwnPropertyDescriptor(KeyboardEvent.prototype, 'key').get);

const copies = new WeakMap();  // the codes of the events of which these are copies

/// @return the code of a remote control's key; 0 for a key that the engine knows
function remoteCodeOf(event) {
    const key = event instanceof KeyboardEvent ? engineKey(event) : '';
    const character = key.length === 1 ? codeAt(key, 0) : 0;
    return character > privateUse && character < 0xF8FF ? character - privateUse : 0;
}

/// The engine gives the keypress of a letter's key the code of the small letter.
function keyOfLetter(event, code) {
    const isSmallLetter = code >= 97 && code <= 122;
    return event.isTrusted && event.type === 'keypress' && isSmallLetter ? code - 32 : code;
}

/// @param valueOf what it is for a remote control's key, by its code
/// @param mended what it is for a key that the engine knows, by the event and the engine's code
function overrideCode(name, valueOf, mended) {
    const engine = asFunction(Object.getOwnPropertyDescriptor(KeyboardEvent.prototype, name).get);
    Object.defineProperty(KeyboardEvent.prototype, name, {
        configurable: true,
        enumerable: true,
        get() {
            const code = remoteCodeOf(this);
            return code ? valueOf(code) : copies.has(this) ? copies.get(this)[name] : mended(this, engine(this));
        },
    });
}
overrideCode('keyCode', code => code, keyOfLetter);
overrideCode('which', code => code, keyOfLetter);
overrideCode('charCode', () => 0, (event, code) => code);

const domNames = {
    37: 'ArrowLeft', 38: 'ArrowUp', 39: 'ArrowRight', 40: 'ArrowDown', 33: 'PageUp', 34: 'PageDown', 19: 'Pause',
    403: 'ColorF0Red', 404: 'ColorF1Green', 405: 'ColorF2Yellow', 406: 'ColorF3Blue', 412: 'MediaRewind', 413: 'MediaStop',
    415: 'MediaPlay', 417: 'MediaFastForward', 457: 'Info', 461: 'GoBack', 463: 'MediaPlayPause',
};
Object.defineProperty(KeyboardEvent.prototype, 'key', {
    configurable: true,
    enumerable: true,
    get() { return domNames[remoteCodeOf(this)] || engineKey(this); },
});

// The engine would write the character into a field that has the focus.
window.addEventListener('keypress', event => {
    if (remoteCodeOf(event))
        event.preventDefault();
}, true);

/// An event for another target, or of another type. The engine does nothing with it by itself.
function copyOfKey(event, type) {
    const copy = new KeyboardEvent(type, {
        key: engineKey(event), code: event.code, repeat: event.repeat, bubbles: true, cancelable: true, view: window,
    });
    const { keyCode, which, charCode } = event;
    copies.set(copy, { keyCode, which, charCode: type === event.type ? charCode : keyCode });
    return copy;
}

// In XHTML the engine gives keys to the root element where nothing has the focus; pages listen at
// their body.
function handToBody(event) {
    if (!event.isTrusted || event.target !== document.documentElement || !document.body)
        return;
    event.stopImmediatePropagation();
    if (!dispatchTo(document.body, copyOfKey(event, event.type)))
        event.preventDefault();
}
each(['keydown', 'keypress', 'keyup'], type => window.addEventListener(type, handToBody, true));

// The engine follows a link at the keydown of Enter, and gives no keypress then.
function pressLink(event) {
    const link = event.target;
    const isLink = isIn(['a', 'area'], link.localName) && link.hasAttribute('href');
    if (!event.isTrusted || event.keyCode !== keyNames.VK_ENTER || !isLink)
        return;
    event.stopImmediatePropagation();
    event.preventDefault();
    if (!dispatchTo(link, copyOfKey(event, 'keydown')))
        return;
    // Who has the focus by then gets the keypress. A button obeys that one, a link its keydown alone.
    const focused = document.activeElement || document.body;
    const isObeyed = focused === link || focused.localName === 'button';
    if (dispatchTo(focused, copyOfKey(event, 'keypress')) && isObeyed)
        focused.click();
}
window.addEventListener('keydown', pressLink, true);
