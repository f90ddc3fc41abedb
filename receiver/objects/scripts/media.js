// A/V control objects (OIPF DAE, 7.14; ETSI TS 102 796, A.2): there is no decoder, so that media can
// be asked for, and cannot be played.

const mediaStates = { stopped: 0, playing: 1, paused: 2, connecting: 3, buffering: 4, finished: 5, error: 6 };
const mediaErrors = { unsupported: 0, noConnection: 1, unidentified: 2, unavailable: 5 };

const fetchMedia = window.fetch.bind(window);

/// Asks for media, and for no more than whether they are there.
/// @return a promise of one of the errors: nothing is ever played
async function mediaErrorOf(url) {
    if (!url)
        return mediaErrors.unavailable;
    let target;
    try {
        target = new URL(url, document.baseURI);
    } catch (error) {
        return mediaErrors.unavailable;
    }
    if (!isIn(['http:', 'https:'], target.protocol))
        return mediaErrors.unsupported;
    const abort = new AbortController();
    try {
        const answer = await fetchMedia(target.href, { mode: 'no-cors', credentials: 'include', signal: abort.signal });
        if (answer.type === 'opaque')
            return mediaErrors.unidentified;  // of another origin: its status is not for scripts
        return answer.ok ? mediaErrors.unsupported : mediaErrors.unavailable;
    } catch (error) {
        return mediaErrors.noConnection;
    } finally {
        abort.abort();
    }
}

const dataOfObject = Object.getOwnPropertyDescriptor(HTMLObjectElement.prototype, 'data');

class MediaObject extends Embedded {
    constructor(element) {
        super(element);
        this._state = mediaStates.stopped;
        this._error = undefined;
        this._fullScreen = false;
        this._turn = 0;
        this._queue = [];
    }

    get data() { return apply(dataOfObject.get, this.element, []); }
    set data(url) {
        this.stop();
        apply(dataOfObject.set, this.element, [url]);
    }

    get playState() { return this._state; }
    get error() { return this._error; }
    get speed() { return 0; }
    get playPosition() { return 0; }
    get playTime() { return 0; }
    get fullScreen() { return this._fullScreen; }

    /// @param speed 1 without one
    play(speed) {
        if (speed !== undefined && !isFiniteNumber(Number(speed)))
            return false;
        if (this._state === mediaStates.connecting)
            return true;
        const url = this.element.getAttribute('data');
        if (!url)
            return false;
        this._become(mediaStates.connecting);
        const turn = this._turn;
        whenDone(mediaErrorOf(url), error => soon(() => {
            if (turn === this._turn)
                this._become(mediaStates.error, error);
        }));
        return true;
    }

    stop() {
        this._queue = [];
        if (this._state !== mediaStates.stopped)
            this._become(mediaStates.stopped);
        return true;
    }

    seek() { return false; }  // nothing is playing
    next() { return false; }
    previous() { return false; }

    /// @param url null forgets what is queued
    queue(url) {
        if (url === null)
            this._queue = [];
        else
            add(this._queue, String(url));
        return true;
    }

    setFullScreen(fullScreen) {
        if (this._fullScreen === Boolean(fullScreen))
            return;
        this._fullScreen = Boolean(fullScreen);
        soon(() => this.fire('FullScreenChange', {}, []));
    }

    getVolume() { return volume; }
    setVolume(wanted) { return Broadcast.prototype.setVolume(wanted); }

    getComponents() { return collectionOf([]); }
    getCurrentActiveComponents() { return collectionOf([]); }
    selectComponent() { }
    unselectComponent() { }

    /// @param error undefined for none
    _become(state, error) {
        ++this._turn;
        this._state = state;
        this._error = error;
        soon(() => this.fire('PlayStateChange', { state }, [state]));
    }
}
defineConstants(MediaObject, { COMPONENT_TYPE_VIDEO: 0, COMPONENT_TYPE_AUDIO: 1, COMPONENT_TYPE_SUBTITLE: 2 });
defineKind(type => matches(/^(video|audio)\//, type) && type !== 'video/broadcast' || type === 'application/dash+xml', MediaObject, [
    'PlayStateChange', 'PlaySpeedChanged', 'PlayPositionChanged', 'FullScreenChange', 'SelectedComponentChanged',
]);
defineFactoryMethod('createVideoMpegObject', 'video/mpeg');
