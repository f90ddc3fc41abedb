// The language as it is before the page's scripts: those may declare globals of the same names, and
// libraries change what the engine's have. What arrays, strings and functions have as methods are
// functions here, and no script object counts on the methods, nor on what a loop by `of`, a spread
// array or a pattern asks an array for.

const {
    AbortController, DOMException, DOMParser, Date, Document, Element, Event, EventTarget, Function,
    HTMLObjectElement, HTMLUnknownElement, KeyboardEvent, MessageChannel, MutationObserver, Node, Number,
    ProgressEvent, Promise, Request, String, TypeError, URL, XMLHttpRequest, console, getComputedStyle,
    origin: ownOrigin,
} = window;
const { isFinite: isFiniteNumber, isInteger } = Number;
const { now } = Date;

function staticsOf(holder) {
    return window.Object.create(null, window.Object.getOwnPropertyDescriptors(holder));
}
const Array = staticsOf(window.Array);
const JSON = staticsOf(window.JSON);
const Math = staticsOf(window.Math);
const Object = staticsOf(window.Object);
const Reflect = staticsOf(window.Reflect);
const { apply } = Reflect;

/// A class with the methods of another, which nobody else changes.
function isolated(Class) {
    class Isolated extends Class {
        constructor() { super(); }  // the one that the language writes spreads its arguments
    }
    const { constructor, ...methods } = Object.getOwnPropertyDescriptors(Class.prototype);
    Object.defineProperties(Isolated.prototype, methods);
    return Isolated;
}
const Map = isolated(window.Map);
const Set = isolated(window.Set);
const WeakMap = isolated(window.WeakMap);

// ---- Arrays -------------------------------------------------------------------------------------

function each(list, action) {
    for (let index = 0; index < list.length; ++index)
        action(list[index], index);
}

function add(list, item) { list[list.length] = item; }

function map(list, valueOf) {
    const values = [];
    each(list, item => add(values, valueOf(item)));
    return values;
}

function filter(list, isWanted) {
    const found = [];
    each(list, item => { if (isWanted(item)) add(found, item); });
    return found;
}

/// @return -1 for none
function indexWhere(list, isWanted) {
    for (let index = 0; index < list.length; ++index) {
        if (isWanted(list[index]))
            return index;
    }
    return -1;
}

/// @return undefined for none
function find(list, isWanted) { return list[indexWhere(list, isWanted)]; }
function some(list, isWanted) { return indexWhere(list, isWanted) >= 0; }
function every(list, isWanted) { return !some(list, item => !isWanted(item)); }
function indexIn(list, wanted) { return indexWhere(list, item => item === wanted); }
function isIn(list, wanted) { return indexIn(list, wanted) >= 0; }

/// @param end the first that is not taken
function part(list, begin, end) {
    const taken = [];
    each(list, (item, index) => { if (index >= begin && index < end) add(taken, item); });
    return taken;
}
function copyOf(list) { return part(list, 0, list.length); }

function removeAt(list, place) {
    for (let index = place; index + 1 < list.length; ++index)
        list[index] = list[index + 1];
    --list.length;
}

/// @return whether it was there
function remove(list, item) {
    const place = indexIn(list, item);
    if (place >= 0)
        removeAt(list, place);
    return place >= 0;
}

/// @return all that was in it
function emptied(list) {
    const items = copyOf(list);
    list.length = 0;
    return items;
}

function joined(list, between) {
    let text = '';
    each(list, (item, index) => { text += (index > 0 ? between : '') + item; });
    return text;
}

/// @param action gets name and value of what an object has
function eachEntry(object, action) { each(Object.keys(object), name => action(name, object[name])); }

// ---- Strings and functions ----------------------------------------------------------------------

/// A method as a function: what it is called on comes first.
function asFunction(method) { return (self, ...args) => apply(method, self, args); }

const split = asFunction(String.prototype.split);
const trimmed = asFunction(String.prototype.trim);
const lowerCase = asFunction(String.prototype.toLowerCase);
const beginsWith = asFunction(String.prototype.startsWith);
const textPart = asFunction(String.prototype.slice);
const codeAt = asFunction(String.prototype.charCodeAt);
const padded = asFunction(String.prototype.padStart);
const inBase = asFunction(Number.prototype.toString);
const matchOf = asFunction(window.RegExp.prototype.exec);
function matches(pattern, text) { return matchOf(pattern, text) !== null; }
const whenDone = asFunction(Promise.prototype.then);

