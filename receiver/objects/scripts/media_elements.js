// <video> and <audio>: without a decoder the engine does not know them. They answer, and know errors
// only.

class MediaElement {
    constructor(element) {
        this.element = element;
        this.paused = true;
        this.currentTime = 0;
        this.volume = 1;
        this.muted = false;
        this.defaultMuted = false;
        this.playbackRate = 1;
        this.defaultPlaybackRate = 1;
        this.error = null;
        this.networkState = MediaElement.empty;
        this.turn = 0;
        this.waiting = [];  // promises of play()
    }

    get ended() { return false; }
    get seeking() { return false; }
    get duration() { return NaN; }
    get readyState() { return 0; }
    get videoWidth() { return 0; }
    get videoHeight() { return 0; }
    get currentSrc() { return this.element.src; }
    get buffered() { return MediaElement.noRanges; }
    get played() { return MediaElement.noRanges; }
    get seekable() { return MediaElement.noRanges; }

    get src() {
        const source = this.element.getAttribute('src') || MediaElement.sourceIn(this.element);
        return source ? new URL(source, document.baseURI).href : '';
    }
    set src(url) {
        this.element.setAttribute('src', url);
        this.load();
    }

    canPlayType() { return ''; }

    play() {
        const wasPaused = this.paused;
        this.paused = false;
        if (wasPaused)
            this.tell('play');
        if (this.networkState !== MediaElement.loading)
            this.load();
        return new Promise((resolve, reject) => add(this.waiting, reject));
    }

    pause() {
        if (!this.paused)
            this.tell('pause');
        this.paused = true;
    }

    /// Asks for the media; what comes cannot be decoded.
    load() {
        const turn = ++this.turn;
        const url = this.src;
        this.error = null;
        this.networkState = MediaElement.loading;
        this.tell('loadstart');
        whenDone(mediaErrorOf(url), () => soon(() => {
            if (turn === this.turn)
                this.fail();
        }));
    }

    fail() {
        this.networkState = MediaElement.noSource;
        this.error = { code: MediaElement.sourceNotSupported, message: 'nothing can be decoded' };
        this.element.dispatchEvent(new Event('error'));
        each(emptied(this.waiting), reject => reject(new DOMException('nothing can be decoded', 'NotSupportedError')));
    }

    tell(name) { soon(() => this.element.dispatchEvent(new Event(name))); }

    static sourceIn(element) {
        const source = element.getElementsByTagName('source')[0];
        return source ? source.getAttribute('src') : null;
    }
}
MediaElement.empty = 0;
MediaElement.loading = 2;
MediaElement.noSource = 3;
MediaElement.sourceNotSupported = 4;
MediaElement.noRanges = { length: 0, start() { throw new DOMException('no ranges', 'IndexSizeError'); }, end() { throw new DOMException('no ranges', 'IndexSizeError'); } };

const mediaElements = new WeakMap();

function mediaElementOf(element) {
    if (!isIn(['video', 'audio'], element.localName))
        return null;
    if (!mediaElements.has(element))
        mediaElements.set(element, new MediaElement(element));
    return mediaElements.get(element);
}

const mediaElementNames = [
    'paused', 'currentTime', 'volume', 'muted', 'defaultMuted', 'playbackRate', 'defaultPlaybackRate', 'error',
    'networkState', 'ended', 'seeking', 'duration', 'readyState', 'videoWidth', 'videoHeight', 'currentSrc', 'buffered',
    'played', 'seekable', 'src', 'canPlayType', 'play', 'pause', 'load',
];
const writableNames = ['currentTime', 'volume', 'muted', 'defaultMuted', 'playbackRate', 'defaultPlaybackRate', 'src'];

function defineMediaElements() {
    each(mediaElementNames, name => {
        Object.defineProperty(HTMLUnknownElement.prototype, name, {
            configurable: true,
            enumerable: true,
            get() {
                const media = mediaElementOf(this);
                const value = media ? media[name] : undefined;
                return typeof value === 'function' ? (...args) => apply(value, media, args) : value;
            },
            set(value) {
                const media = mediaElementOf(this);
                if (!media)
                    Object.defineProperty(this, name, { value, configurable: true, enumerable: true, writable: true });
                else if (isIn(writableNames, name))
                    media[name] = value;
            },
        });
    });
}

/// The engine has its own nevertheless, which ends the process where there is no decoder.
function defineAudioConstructor() {
    defineGlobal('Audio', function Audio(url) {
        if (!new.target)
            throw new TypeError('Audio: `new` is missing');
        const element = document.createElementNS(xhtml, 'audio');
        element.setAttribute('preload', 'auto');
        if (url !== undefined)
            mediaElementOf(element).src = url;
        return element;
    });
}

// An engine that has media elements has them.
if (document.createElementNS(xhtml, 'video') instanceof HTMLUnknownElement) {
    defineMediaElements();
    defineAudioConstructor();
}
