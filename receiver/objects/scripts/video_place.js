// Where the video plane is: beneath the broadcast object that has the video, as far as that is
// known without asking again and again.

let placed = null;       // as the receiver was told
let isPlacePending = false;
let moving = 0;          // transitions that may move the object
const nextFrame = window.requestAnimationFrame.bind(window);

/// The object that has the video, if it is in the document.
function videoOwner() {
    const hasVideo = each => each._state === playStates.connecting || each._state === playStates.presenting;
    const owner = [...bound].filter(hasVideo).pop();
    return owner && owner.element.isConnected ? owner : null;
}

/// The one that says where the video is: not where it fills the screen.
function videoElement() {
    const owner = videoOwner();
    return owner && !owner._fullScreen ? owner.element : null;
}

/// Whether something of the page lies beneath an element: the background of one that it is in.
function isOnBackground(element) {
    for (let around = element.parentElement; around; around = around.parentElement) {
        const style = getComputedStyle(around);
        if (style.backgroundImage !== 'none' || !/^(transparent|rgba\(.*, 0\))$/.test(style.backgroundColor))
            return true;
    }
    return false;
}

const hole = 'data-vesta-hole';  // the terminal's style sheet knows it

/// The video is seen through the page's own background.
function markHole() {
    const owner = videoOwner();
    const element = owner ? owner.element : null;
    for (const marked of document.querySelectorAll('[' + hole + ']')) {
        if (marked !== element || !isOnBackground(marked))
            marked.removeAttribute(hole);
    }
    if (element && !element.hasAttribute(hole) && isOnBackground(element))
        element.setAttribute(hole, '');
}

function place() {
    isPlacePending = false;
    const element = videoElement();
    markHole();
    const box = element ? element.getBoundingClientRect() : null;
    const wanted = box ? [box.x, box.y, box.width, box.height] : null;
    if (String(wanted) !== String(placed)) {
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
    for (const name of ['load', 'scroll', 'resize'])
        window.addEventListener(name, placeSoon, true);
    const isAround = event => {
        const element = videoElement();
        return element && event.target.contains && event.target.contains(element);
    };
    for (const name of ['transitionrun', 'animationstart'])
        window.addEventListener(name, event => { if (isAround(event)) { ++moving; placeSoon(); } }, true);
    for (const name of ['transitionend', 'transitioncancel', 'animationend', 'animationcancel'])
        window.addEventListener(name, event => { if (isAround(event)) { moving = Math.max(0, moving - 1); placeSoon(); } }, true);
}

window.addEventListener('pagehide', () => {
    if (placed)
        ask('broadcast.place', null, null);
});
