// XMLHttpRequest and fetch ask the application manager before they go out (ETSI TS 102 796, 9.3.2).
// Where it allows another origin, the engine is told to let requests go there, and hears of it in the
// event loop: requests wait until then. One for which the script itself waits cannot.

const denied = 1;
const changes = new Map();  // of origins, by the number of the event after which they hold
let changed = null;  // a promise while there are such changes

onReceiverEvent('OriginsChanged', event => {
    const hold = changes.get(event.number);
    if (!hold)
        return;  // another document of the window asked for it
    changes.delete(event.number);
    if (changes.size === 0)
        changed = null;
    hold();
});

/// The host of another origin, as the receiver names it; null for the document's own.
function otherOrigin(target) {
    const isOther = matches(/^https?:$/, target.protocol) && target.origin !== ownOrigin;
    return isOther ? target.protocol + '//' + target.hostname : null;
}

/// @return null where it may not go out, else the promise that it has to wait for; undefined for none
function permit(url) {
    let target;
    try {
        target = new URL(url, document.baseURI);
    } catch (error) {
        return undefined;  // the engine says what is wrong with it
    }
    if (target.protocol === 'data:' || target.protocol === 'blob:')
        return undefined;  // they go nowhere
    const other = otherOrigin(target);
    const { 0: permission, 1: number } = ask('request.permission', [denied, null], document.URL, target.href, other);
    if (number !== null)
        changed = new Promise(resolve => changes.set(number, resolve));
    if (permission === denied)
        return null;
    return (other && changed) || undefined;
}

const { open: openRequest, send: sendRequest, abort: abortRequest } = XMLHttpRequest.prototype;
const delayed = new WeakMap();  // requests that have to wait before they go out

XMLHttpRequest.prototype.open = function open(method, url, ...rest) {
    if (arguments.length < 2)
        return apply(openRequest, this, arguments);  // which throws
    const wait = permit(String(url));
    if (wait === null)
        throw new DOMException('The application may not ask for ' + url, 'SecurityError');
    const result = apply(openRequest, this, [method, url, rest.length > 0 ? rest[0] : true, rest[1], rest[2]]);
    const mayWait = rest.length === 0 || Boolean(rest[0]);
    delayed.set(this, mayWait && wait ? { wait, isSent: false } : null);
    return result;
};

XMLHttpRequest.prototype.send = function send(body) {
    const delay = delayed.get(this);
    if (!delay)
        return apply(sendRequest, this, [body]);
    if (delay.isSent)
        throw new DOMException('The request has been sent', 'InvalidStateError');
    delay.isSent = true;
    whenDone(delay.wait, () => {
        if (delayed.get(this) !== delay)
            return;  // it was aborted, or opened anew
        delayed.delete(this);
        apply(sendRequest, this, [body]);
    });
};

XMLHttpRequest.prototype.abort = function abort() {
    const delay = delayed.get(this);
    delayed.delete(this);
    apply(abortRequest, this, []);
    each(delay && delay.isSent ? ['abort', 'loadend'] : [], event => dispatchTo(this, new ProgressEvent(event)));
};

const fetchAnything = window.fetch;
const permittedFetch = function fetch(input, options) {
    const url = input instanceof Request ? input.url : String(input);
    const wait = permit(url);
    if (wait === null)
        return Promise.reject(new DOMException('The application may not ask for ' + url, 'SecurityError'));
    const go = () => apply(fetchAnything, window, [input, options]);
    return wait ? whenDone(wait, go) : go();
};
defineGlobal('fetch', permittedFetch);
