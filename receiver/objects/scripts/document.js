// What pages of HbbTV's XHTML expect of the engine.

const isXhtml = document.contentType !== 'text/html';

// In an XML document of a type that the engine does not know as XHTML, createElement makes elements
// without behaviour.
if (isXhtml) {
    const create = Document.prototype.createElement;
    Document.prototype.createElement = function (name, options) {
        return this === document ? this.createElementNS(xhtml, lowerCase(String(name)), options) : apply(create, this, [name, options]);
    };
}

// No script objects are in workers: what they ask for would go out without permission. HbbTV does not
// require workers.
each(['Worker', 'SharedWorker'], name => Reflect.deleteProperty(window, name));
Reflect.deleteProperty(Object.getPrototypeOf(navigator), 'serviceWorker');

// A page that is not well-formed is a page that failed to load.
if (isMain && isXhtml) {
    document.addEventListener('DOMContentLoaded', () => {
        if (document.getElementsByTagName('parsererror').length > 0)
            ask('page.malformed', null);
    }, { capture: true, once: true });
}

// An application may always close its window.
window.close = function () {
    ask('page.close', null);
};

defineGlobal('debug', function debug(text) {
    ask('page.log', null, String(text));
});
