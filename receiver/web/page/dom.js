'use strict';

// Elements from data. Whatever comes from the air becomes text, never markup.

const replacementCharacter = '\uFFFD';

// As the receiver's console has it: control characters, separators of lines, marks of direction, of
// byte order and of annotations, and halves of surrogate pairs.
const unseen = /[\p{Cc}\p{Cs}\u061C\u200E\u200F\u2028-\u202E\u2066-\u206F\uFEFF\uFFF9-\uFFFB]/gu;
const unseenInLines = /[^\P{Cc}\n\t]|[\p{Cs}\u061C\u200E\u200F\u2028-\u202E\u2066-\u206F\uFEFF\uFFF9-\uFFFB]/gu;

/// @return the text with � for each character that nobody sees, only what it does to the rest
function visible(text) {
    return String(text).replace(unseen, replacementCharacter);
}

/// As visible(), for what has lines and tabs of its own.
function visibleLines(text) {
    return String(text).replace(/\r\n?/g, '\n').replace(unseenInLines, replacementCharacter);
}

/// @param attributes null, undefined and false leave one out; true is one without a value
/// @param children elements, texts, or null for nothing; arrays of these are taken apart
function element(name, attributes, ...children) {
    const made = document.createElement(name);
    for (const [key, value] of Object.entries(attributes || {})) {
        if (value !== null && value !== undefined && value !== false)
            made.setAttribute(key, value === true ? '' : visible(value));
    }
    for (const child of children.flat(Infinity)) {
        if (child !== null && child !== undefined)
            made.append(child instanceof Node ? child : visible(child));
    }
    return made;
}

/// Makes what an element has equal to what is wanted and leaves alone what is equal already, so that
/// focus, selection, scroll positions and opened details stay.
function update(parent, ...children) {
    const wanted = children.flat(Infinity).filter(child => child !== null && child !== undefined)
        .map(child => child instanceof Node ? child : document.createTextNode(visible(child)));
    wanted.forEach((child, index) => {
        const present = parent.childNodes[index];
        if (!present)
            parent.append(child);
        else if (isAlike(present, child))
            makeEqual(present, child);
        else
            present.replaceWith(child);
    });
    while (parent.childNodes.length > wanted.length)
        parent.lastChild.remove();
}

function isAlike(present, wanted) {
    return present.nodeName === wanted.nodeName &&
        (!present.dataset || present.dataset.key === wanted.dataset.key);
}

function makeEqual(present, wanted) {
    if (present.nodeType === Node.TEXT_NODE) {
        if (present.data !== wanted.data)
            present.data = wanted.data;
        return;
    }
    for (const { name } of [...present.attributes]) {
        const isTheReaders = name === 'open';  // details stay as their reader left them
        if (!wanted.hasAttribute(name) && !isTheReaders)
            present.removeAttribute(name);
    }
    for (const { name, value } of [...wanted.attributes]) {
        if (present.getAttribute(name) !== value && name !== 'open')
            present.setAttribute(name, value);
    }
    update(present, [...wanted.childNodes]);
}

/// The same for a long list in which items come and go but never change: an element each, with the key of
/// its item.
function updateList(parent, items, keyOf, make) {
    const wanted = new Set(items.map(item => String(keyOf(item))));
    for (const child of [...parent.children]) {
        if (!wanted.has(child.dataset.key))
            child.remove();
    }
    items.forEach((item, index) => {
        const present = parent.children[index];
        if (present && present.dataset.key === String(keyOf(item)))
            return;
        const made = make(item);
        made.dataset.key = keyOf(item);
        parent.insertBefore(made, present || null);
    });
}

function find(id) {
    return document.getElementById(id);
}

/// Calls a function once before the next picture, however often it was asked to.
function oncePerFrame(draw) {
    let isDue = false;
    return () => {
        if (isDue)
            return;
        isDue = true;
        requestAnimationFrame(() => {
            isDue = false;
            draw();
        });
    };
}

// Whoever asks for one thing at a time would wait for ever for an answer that got lost.
let longestAnswerMs = 30000;

/// @param read makes what is wanted of an answer
/// @return null where there is no such thing, or nobody answers
async function fetched(address, read) {
    try {
        const answer = await fetch(address, { cache: 'no-store', signal: AbortSignal.timeout(longestAnswerMs) });
        return answer.ok ? await read(answer) : null;
    } catch {
        return null;
    }
}

function withSeparators(number) {
    return String(number).replace(/\B(?=(\d{3})+$)/g, ',');
}

function seconds(time) {
    return Number(time).toFixed(3) + ' s';
}

function hexadecimal(number) {
    return '0x' + Number(number).toString(16).padStart(2, '0');
}

/// @param body a text or a Blob
function saveFile(name, type, body) {
    const address = URL.createObjectURL(new Blob([body], { type }));
    const link = element('a', { href: address, download: name });
    link.click();
    setTimeout(() => URL.revokeObjectURL(address), 10000);
}

/// A table with a heading for each column; cells are what element() takes as children.
function table(caption, headings, rows) {
    return element('table', null,
        element('caption', { class: 'for-readers' }, caption),
        element('thead', null, element('tr', null, headings.map(heading => element('th', { scope: 'col' }, heading)))),
        element('tbody', null, rows.map(cells => element('tr', null, cells.map(cell => element('td', null, cell))))));
}
