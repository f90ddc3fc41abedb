// Where the video plane is: beneath the broadcast object that has the video, as far as that is
// known without asking again and again.

const nowhere = [0, 0, 0, 0];

let placed = null;       // as the receiver was told; null for the whole screen
let isPlacePending = false;
let moving = 0;          // transitions that may move the object
const nextFrame = window.requestAnimationFrame.bind(window);

const hasVideo = object => object._state === playStates.connecting || object._state === playStates.presenting;
const isThere = object => object.element.isConnected;

/// Of the objects of the page that have the video the last one; null for none.
function videoElement() {
    const owners = filter(bound, object => hasVideo(object) && isThere(object));
    return owners.length > 0 ? owners[owners.length - 1].element : null;
}

/// A stopped object keeps the video from the screen, until it is released or taken out of the page.
function isVideoStopped() { return some(bound, isThere) && !some(bound, hasVideo); }

/// @param element that has the video, or null @return null for the whole screen
function placeFor(element) {
    if (!element)
        return isVideoStopped() ? nowhere : null;
    if (element.fullScreen)
        return null;
    const { x, y, width, height } = element.getBoundingClientRect();
    return [x, y, width, height];
}

function isPainted(element) {
    const style = getComputedStyle(element);
    return style.backgroundImage !== 'none' || !matches(/^(transparent|rgba\(.*, 0\))$/, style.backgroundColor) ||
        isIn(['img', 'canvas', 'svg'], element.localName);
}

/// Whether something of the page lies beneath an element, at its middle or near a corner.
function isOnBackground(element) {
    if (some([document.documentElement, document.body], each => each && isPainted(each)))
        return true;
    const { x, y, width, height } = element.getBoundingClientRect();
    const places = [[0.5, 0.5], [0.1, 0.1], [0.9, 0.1], [0.1, 0.9], [0.9, 0.9]];
    return some(places, ({ 0: right, 1: down }) => {
        const stack = document.elementsFromPoint(x + width * right, y + height * down);
        const depth = indexIn(stack, element);
        return depth >= 0 && some(part(stack, depth + 1, stack.length), isPainted);
    });
}

/// Whether the page shows a part of an element alone.
function isClipped(element) {
    const own = getComputedStyle(element);
    if (own.clip !== 'auto' || own.clipPath !== 'none')
        return true;
    const box = element.getBoundingClientRect();
    for (let around = element.parentElement; around; around = around.parentElement) {
        const limit = around.getBoundingClientRect();
        const isInside = box.left >= limit.left && box.top >= limit.top && box.right <= limit.right && box.bottom <= limit.bottom;
        if (!isInside && getComputedStyle(around).overflow !== 'visible')
            return true;
    }
    return false;
}

/// Where a transparent object would not do.
function needsHole(element) { return isOnBackground(element) || isClipped(element); }

const hole = 'data-vesta-hole';  // the terminal's style sheet knows it

/// The video is seen through the page's own background, and no further than the object.
function markHole(element) {
    each(document.querySelectorAll('[' + hole + ']'), marked => {
        if (marked !== element || !needsHole(marked))
            marked.removeAttribute(hole);
    });
    if (element && !element.hasAttribute(hole) && needsHole(element))
        element.setAttribute(hole, '');
}

function place() {
    isPlacePending = false;
    const element = videoElement();
    markHole(element);
    const wanted = placeFor(element);
    if (joined(wanted || [], ' ') !== joined(placed || [], ' ')) {
        placed = wanted;
        ask('broadcast.place', null, wanted);
    }
    if (moving > 0)
        placeSoon();
}

/// Once for all that a script changes in a turn.
function placeSoon() {
    watchLayout();
    if (isPlacePending)
        return;
    isPlacePending = true;
    nextFrame(place);
}

let isWatching = false;

/// From the first object that is bound on.
function watchLayout() {
    if (isWatching || !document.documentElement)
        return;
    isWatching = true;
    new MutationObserver(placeSoon).observe(document, {
        attributes: true, childList: true, characterData: true, subtree: true,
    });
    each(['load', 'scroll', 'resize'], name => listen(window, name, placeSoon, true));
    const isAround = event => {
        const element = videoElement();
        return element && event.target.contains && event.target.contains(element);
    };
    each(['transitionrun', 'animationstart'], name =>
        listen(window, name, event => { if (isAround(event)) { ++moving; placeSoon(); } }, true));
    each(['transitionend', 'transitioncancel', 'animationend', 'animationcancel'], name =>
        listen(window, name, event => { if (isAround(event)) { moving = Math.max(0, moving - 1); placeSoon(); } }, true));
}

window.addEventListener('pagehide', () => {
    if (placed)
        ask('broadcast.place', null, null);
});
