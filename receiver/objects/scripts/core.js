// What all script objects stand on: calls to the receiver, its events, and objects that take their
// behaviour from their type.

// ---- Calls --------------------------------------------------------------------------------------

const { parse, stringify } = JSON;
const xhtml = 'http://www.w3.org/1999/xhtml';

function errorNamed(name, message) {
    return name === 'TypeError' ? new TypeError(message) : new DOMException(message, name);
}

/// JSON.stringify would ask the page's toJSON, of old libraries or of a forger.
/// @param value null, a boolean, number, string, or an array or object of such; null for all else
function serialised(value) {
    if (typeof value === 'string')
        return stringify(value);  // which asks nobody about a string
    if (typeof value === 'boolean' || isFiniteNumber(value))
        return '' + value;
    if (typeof value !== 'object' || value === null)
        return 'null';
    let text = '';
    if (Array.isArray(value)) {
        for (let index = 0; index < value.length; ++index)
            text += (index > 0 ? ',' : '') + serialised(value[index]);
        return '[' + text + ']';
    }
    const names = Object.keys(value);
    for (let index = 0; index < names.length; ++index) {
        const part = value[names[index]];
        if (part !== undefined)
            text += (text ? ',' : '') + stringify(names[index]) + ':' + serialised(part);
    }
    return '{' + text + '}';
}

function request(name, args) {
    const text = native('{"call":' + stringify(name) + ',"arguments":' + serialised(args) + '}');
    if (!text)
        throw errorNamed('InvalidStateError', 'the receiver does not answer');
    const answer = parse(text);
    if (answer.error)
        throw errorNamed(answer.error, answer.message);
    return answer.value;
}

/// Asks the receiver and waits for its answer. @return otherwise where it cannot be had
function ask(name, otherwise, ...args) {
    try {
        return request(name, args);
    } catch (error) {
        return otherwise;
    }
}

// ---- Events of the receiver ---------------------------------------------------------------------

const hearers = new Map();

/// @param name of the receiver's event @param hear is called with it
function onReceiverEvent(name, hear) {
    if (!hearers.has(name))
        hearers.set(name, []);
    add(hearers.get(name), hear);
}

/// A handler that throws is the page's affair, and nobody else's.
function reportException(error) {
    try {
        console.error(String(error));
    } catch (ignored) {
        // The page took the console away.
    }
}

function dispatch(text) {
    const event = parse(text);
    each(copyOf(hearers.get(event.event) || []), hear => {
        try {
            hear(event);
        } catch (error) {
            reportException(error);
        }
    });
}

// ---- Afterwards ---------------------------------------------------------------------------------

// No timers: in a window that is not shown they come late.
const waiting = [];
const { port1: nextTurn, port2: bell } = new MessageChannel();
const ring = bell.postMessage.bind(bell, null);
nextTurn.onmessage = () => {
    try {
        const action = waiting[0];
        removeAt(waiting, 0);
        action();
    } catch (error) {
        reportException(error);
    }
};

/// Does something in a turn of its own, after what was to be done so before.
function soon(action) {
    add(waiting, action);
    ring();
}

// ---- Objects that report events -----------------------------------------------------------------

/// Listeners for objects that are no elements. Handlers may remove themselves while they run.
class Listeners {
    constructor(owner, names) {
        this.owner = owner;
        this.lists = new Map();
        each(names, name => {
            this.lists.set(name, []);
            owner['on' + name] = null;
        });
        const define = (name, value) => Object.defineProperty(owner, name, { value, configurable: true, writable: true });
        define('addEventListener', (name, listener) => this.add(name, listener));
        define('removeEventListener', (name, listener) => this.remove(name, listener));
    }

    add(name, listener) {
        const list = this.lists.get(name);
        if (list && listener && !isIn(list, listener))
            add(list, listener);
    }

    remove(name, listener) { remove(this.lists.get(name) || [], listener); }

    /// @param fields of the event object that listeners get @param args of the on... handler
    fire(name, fields, args) {
        const event = Object.assign({ type: name, target: this.owner }, fields);
        const handler = this.owner['on' + name];
        const calls = typeof handler === 'function' ? [() => apply(handler, this.owner, args)] : [];
        each(this.lists.get(name) || [], listener => add(calls, () =>
            typeof listener === 'function' ? apply(listener, this.owner, [event]) : listener.handleEvent(event)));
        each(calls, call => {
            try {
                call();
            } catch (error) {
                reportException(error);
            }
        });
    }
}

// ---- Elements with a type -----------------------------------------------------------------------

const listen = asFunction(EventTarget.prototype.addEventListener);
const unlisten = asFunction(EventTarget.prototype.removeEventListener);
const dispatchTo = asFunction(EventTarget.prototype.dispatchEvent);
const kinds = [];  // {matches, Implementation, factory}
const implementations = new WeakMap();

/// As HTML has it: the names of the element and of the document are there.
function handlerInMarkup(text) {
    try {
        return new Function('event', 'with (document) with (this) {\n' + text + '\n}');
    } catch (error) {
        reportException(error);
        return null;
    }
}

/// An element's implementation. What it has as properties and methods, the element has.
class Embedded {
    constructor(element) {
        this.element = element;
        this.handlers = Object.create(null);
        this._markup = new Map();
    }

    /// What a script set, else what the markup has in an attribute of any case; null for neither.
    _handlerOf(name) {
        if (name in this.handlers)
            return this.handlers[name];
        const wanted = 'on' + lowerCase(name);
        const attribute = find(this.element.getAttributeNames(), each => lowerCase(each) === wanted);
        if (!attribute)
            return null;
        const text = this.element.getAttribute(attribute);
        const known = this._markup.get(name);
        if (known && known.text === text)
            return known.handler;
        const handler = handlerInMarkup(text);
        this._markup.set(name, { text, handler });
        return handler;
    }

    /// Calls the on... handler, and the listeners of a DOM event.
    fire(name, fields, args) {
        const event = new Event(name);
        eachEntry(fields, (field, value) => Object.defineProperty(event, field, { value, enumerable: true }));
        const handler = this._handlerOf(name);
        const isMarkup = !(name in this.handlers);
        const handle = () => apply(handler, this.element, isMarkup ? [event] : args);
        // Within the dispatch: what it adds is not called for this event.
        if (typeof handler === 'function')
            listen(this.element, name, handle, { once: true });
        dispatchTo(this.element, event);
        unlisten(this.element, name, handle);
    }
}

function typeOf(element) {
    return lowerCase(trimmed(split(element.getAttribute('type') || '', ';')[0]));
}

// What was set on elements before their type.
const early = new WeakMap();

function implementationOf(element) {
    const type = typeOf(element);
    const known = implementations.get(element);
    if (known && known.type === type)
        return known.implementation;
    const kind = find(kinds, each => each.matches(type));
    const implementation = kind ? new kind.Implementation(element, type) : null;
    implementations.set(element, { type, implementation });
    if (implementation && early.has(element)) {
        eachEntry(early.get(element), (name, value) => {
            if (name in implementation)
                Reflect.set(implementation, name, value);
        });
        early.delete(element);
    }
    return implementation;
}

function inheritedDescriptor(name) {
    for (let proto = HTMLObjectElement.prototype; proto; proto = Object.getPrototypeOf(proto)) {
        const found = Object.getOwnPropertyDescriptor(proto, name);
        if (found)
            return found;
    }
    return null;
}

const delegated = new Set();

/// Lets every object element look at its implementation for this name first.
function delegate(name) {
    if (delegated.has(name))
        return;
    delegated.add(name);
    const inherited = inheritedDescriptor(name);
    const bound = new WeakMap();
    Object.defineProperty(HTMLObjectElement.prototype, name, {
        configurable: true,
        enumerable: true,
        get() {
            const implementation = implementationOf(this);
            if (implementation && name in implementation) {
                const value = implementation[name];
                if (typeof value !== 'function' || beginsWith(name, 'on'))
                    return value;
                if (!bound.has(implementation))
                    bound.set(implementation, (...args) => apply(implementation[name], implementation, args));
                return bound.get(implementation);
            }
            if (inherited && inherited.get)
                return apply(inherited.get, this, []);
            return early.has(this) ? early.get(this)[name] : undefined;
        },
        set(value) {
            const implementation = implementationOf(this);
            if (implementation && name in implementation)
                Reflect.set(implementation, name, value);  // one that is read only stays
            else if (inherited && inherited.set)
                apply(inherited.set, this, [value]);
            else if (!early.has(this))
                early.set(this, Object.assign(Object.create(null), { [name]: value }));
            else
                early.get(this)[name] = value;
        },
    });
}

const internal = ['constructor', 'fire', 'element', 'handlers'];

/// @param matches whether a type (lower case, without parameters) is of this kind
/// @param Implementation extends Embedded; names that begin with an underscore are its own
/// @param events names of its events, each with an on... handler
function defineKind(matches, Implementation, events = []) {
    each(events, name => {
        Object.defineProperty(Implementation.prototype, 'on' + name, {
            configurable: true,
            get() { return this._handlerOf(name) || null; },
            set(handler) { this.handlers[name] = handler; },
        });
    });
    for (let proto = Implementation.prototype; proto !== Embedded.prototype; proto = Object.getPrototypeOf(proto)) {
        each(Object.getOwnPropertyNames(proto), name => {
            if (!isIn(internal, name) && !beginsWith(name, '_'))
                delegate(name);
        });
    }
    add(kinds, { matches, Implementation });
}

// ---- The factory --------------------------------------------------------------------------------

const factory = {};
const supportedTypes = ['video/mp4', 'audio/mp4', 'application/dash+xml'];  // and what the factory makes

/// oipfObjectFactory's method for a type.
function defineFactoryMethod(name, type) {
    add(supportedTypes, type);
    factory[name] = function () {
        const element = document.createElementNS(xhtml, 'object');
        element.setAttribute('type', type);
        return element;
    };
}

factory.isObjectSupported = function (type) {
    return isIn(supportedTypes, lowerCase(trimmed(String(type))));
};

// ---- Collections --------------------------------------------------------------------------------

/// An array-like with item(), as the OIPF collections are.
function collectionOf(items) {
    const collection = copyOf(items);
    Object.defineProperty(collection, 'item', { value: index => collection[index] });
    return collection;
}

/// Constants that all objects of a class have.
function defineConstants(Class, constants) {
    eachEntry(constants, (name, value) => Object.defineProperty(Class.prototype, name, { value, enumerable: true }));
}

/// A global that a page may declare anew.
function defineGlobal(name, value) {
    Object.defineProperty(window, name, { value, configurable: true, enumerable: true, writable: true });
}
