// Stream events (OIPF DAE, 7.13.1; ETSI TS 102 796, 8.2.1): of a carousel's object, or as a document
// describes them (ETSI TS 102 809, 8.2).

const eventListeners = [];  // {object, url, name, listener, number}; object is an element

/// An event or an object's field, as an attribute or as an element, whatever its prefix.
function fieldOf(element, name) {
    if (element.hasAttribute(name))
        return trimmed(element.getAttribute(name));
    const child = find(element.children, each => each.localName === name);
    return child ? trimmed(child.textContent) : '';
}

/// @return {component, id}, or null where the document has no such event
function describedEvent(text, name) {
    const description = new DOMParser().parseFromString(text, 'text/xml');
    const events = description.getElementsByTagNameNS('*', 'stream_event');
    const event = find(events, each => fieldOf(each, 'stream_event_name') === name);
    if (!event)
        return null;
    const component = Number(fieldOf(event.parentNode, 'component_tag') || fieldOf(event, 'component_tag') || NaN);
    const id = Number(fieldOf(event, 'stream_event_id') || NaN);
    return isId(component) && isId(id) ? { component, id } : null;
}

function hearStreamEvent(entry, fields) {
    if (!isIn(eventListeners, entry))
        return;
    const event = new Event('StreamEvent');
    each(['name', 'data', 'text', 'status'], name =>
        Object.defineProperty(event, name, { value: fields[name], enumerable: true }));
    const { object, listener } = entry;
    each(['target', 'currentTarget'], name => Object.defineProperty(event, name, { value: object, enumerable: true }));
    if (typeof listener === 'function')
        apply(listener, object, [event]);
    else
        listener.handleEvent(event);
}

function failStreamEvent(entry) {
    soon(() => hearStreamEvent(entry, { name: entry.name, data: '', text: '', status: 'error' }));
}

async function subscribeToDescription(entry) {
    let described = null;
    try {
        const answer = await permittedFetch(entry.url);
        described = answer.ok ? describedEvent(await answer.text(), entry.name) : null;
    } catch (error) {
        // It cannot be had.
    }
    if (!isIn(eventListeners, entry))
        return;
    if (described)
        entry.number = ask('streamEvents.listenToComponent', null, described.component, described.id, entry.name);
    if (!entry.number)
        failStreamEvent(entry);
}

function findStreamEvent(object, url, name, listener) {
    return indexWhere(eventListeners, each =>
        each.object === object && each.url === url && each.name === name && each.listener === listener);
}

function addStreamEvent(object, target, eventName, listener) {
    const url = absoluteUrl(String(target));
    const name = String(eventName);
    if (!listener || findStreamEvent(object, url, name, listener) >= 0)
        return;
    const entry = { object, url, name, listener, number: null };
    add(eventListeners, entry);
    if (!matches(/^dvb:/i, url)) {
        subscribeToDescription(entry);
        return;
    }
    entry.number = ask('streamEvents.listen', null, url, name);
    if (!entry.number)
        failStreamEvent(entry);
}

function removeStreamEvent(object, target, eventName, listener) {
    const index = findStreamEvent(object, absoluteUrl(String(target)), String(eventName), listener);
    if (index < 0)
        return;
    const entry = eventListeners[index];
    removeAt(eventListeners, index);
    if (entry.number)
        ask('streamEvents.remove', null, entry.number);
}

onReceiverEvent('StreamEvent', fields => {
    const entry = find(eventListeners, each => each.number === fields.listener);
    if (entry)
        hearStreamEvent(entry, fields);
});

window.addEventListener('pagehide', () => {
    each(emptied(eventListeners), ({ number }) => {
        if (number)
            ask('streamEvents.remove', null, number);
    });
});
