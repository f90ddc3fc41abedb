// video/broadcast (OIPF DAE, 7.13.1 and 7.16.5; ETSI TS 102 796, A.2.4).

const playStates = { unrealized: 0, connecting: 1, presenting: 2, stopped: 3 };
const errorOfObject = { noChannel: 2, tuner: 100, unrealized: 10 };

const bound = [];  // the objects that are not unrealized; the last one may have the video

function expectRelated() {
    if (!ask('channel.isRelated', false, document.URL))
        throw new DOMException('The application is not related to a broadcast', 'SecurityError');
}

class Broadcast extends Embedded {
    constructor(element) {
        super(element);
        this._state = playStates.unrealized;
        this._fullScreen = false;
        this._wanted = null;  // the channel that was set last
        this._turn = 0;  // what was under way before the last call is void
    }

    get playState() { return this._state; }
    get fullScreen() { return this._fullScreen; }
    get currentChannel() { return currentChannelOf(); }

    get programmes() {
        expectRelated();
        const channel = currentChannelOf();
        return channel ? programmesOf(channel) : null;
    }

    getChannelConfig() { return channelConfig; }
    createChannelObject(...args) { return apply(createChannel, null, args); }
    getVolume() { return volume; }

    setVolume(wanted) {
        const isVolume = isFiniteNumber(wanted) && wanted >= 0 && wanted <= 100;
        if (isVolume)
            volume = Math.trunc(wanted);
        return isVolume;
    }

    bindToCurrentChannel() {
        expectRelated();
        const channel = currentChannelOf();
        if (!channel) {
            this._become(playStates.unrealized, errorOfObject.noChannel);
            return null;
        }
        if (this._state !== playStates.unrealized && this._state !== playStates.stopped)
            return channel;
        this._begin();
        const turn = this._turn;
        soon(() => {
            if (turn === this._turn && this._state === playStates.connecting)
                this._become(playStates.presenting);
        });
        return channel;
    }

    setChannel(channel) {
        if (channel === null || channel === undefined) {
            leaveBroadcast(this);
            return;
        }
        if (!(channel instanceof Channel))
            throw new TypeError('setChannel: a Channel is expected');
        this._begin();
        this._wanted = channel;
        const error = ask('channel.tune', errorOfObject.tuner, document.URL, Object.assign({}, channel));
        if (error !== null)
            this._fail(channel, error);
    }

    nextChannel() { this._step(1); }
    prevChannel() { this._step(-1); }

    stop() {
        if (this._state === playStates.connecting || this._state === playStates.presenting)
            this._become(playStates.stopped);
    }

    release() {
        if (this._state !== playStates.unrealized)
            this._become(playStates.unrealized);
    }

    setFullScreen(fullScreen) {
        if (this._fullScreen === Boolean(fullScreen))
            return;
        this._fullScreen = Boolean(fullScreen);
        this._before = fillScreen(this.element, this._fullScreen, this._before);
        placeSoon();
        soon(() => this.fire('FullScreenChange', {}, []));
    }

    addStreamEventListener(url, name, listener) { addStreamEvent(this.element, url, name, listener); }
    removeStreamEventListener(url, name, listener) { removeStreamEvent(this.element, url, name, listener); }

    getComponents(type) { return components.known(type); }
    getCurrentActiveComponents(type) { return components.active(type); }
    selectComponent(wanted) { this._changeComponents('select', wanted); }
    unselectComponent(wanted) { this._changeComponents('unselect', wanted); }

    _changeComponents(how, wanted) {
        const type = components[how](wanted);
        if (type !== null)
            soon(() => this.fire('SelectedComponentChanged', { componentType: type }, [type]));
    }

    _begin() {
        remove(bound, this);
        add(bound, this);  // now the last one
        if (this._state === playStates.connecting)
            ++this._turn;
        else
            this._become(playStates.connecting);
    }

    /// @param error undefined for none
    _become(state, error) {
        ++this._turn;
        this._state = state;
        if (state === playStates.unrealized)
            remove(bound, this);
        placeSoon();
        soon(() => this.fire('PlayStateChange', { state, error }, [state, error]));
    }

    _fail(channel, error) {
        const turn = this._turn;
        soon(() => {
            this.fire('ChannelChangeError', { channel, errorState: error }, [channel, error]);
            if (turn === this._turn)
                this._become(playStates.unrealized, error);
        });
    }

    _succeed(channel) {
        const isAwaited = this._state !== playStates.stopped;
        if (isAwaited)
            this._state = playStates.presenting;
        this.fire('ChannelChangeSucceeded', { channel }, [channel]);
        if (isAwaited && this._state === playStates.presenting)
            this._become(playStates.presenting);
    }

    /// @param direction of the channel list, which goes round
    _step(direction) {
        const list = channelList();
        const current = currentChannelOf();
        if (this._state === playStates.unrealized || !current) {
            const error = errorOfObject.unrealized;
            soon(() => this.fire('ChannelChangeError', { channel: null, errorState: error }, [null, error]));
            return;
        }
        const index = indexWhere(list, channel => channel.ccid === current.ccid);
        this.setChannel(list[(index + direction + list.length) % list.length]);
    }
}

let volume = 100;

const wholeScreen = { position: 'fixed', left: '0px', top: '0px', width: '100vw', height: '100vh' };

/// Lets an object cover what is beneath it on the whole screen, or gives it its own place back.
/// @param before what this returned when it did @return what the element's style had
function fillScreen(element, isWhole, before) {
    const replaced = {};
    eachEntry(wholeScreen, (name, value) => {
        replaced[name] = [element.style.getPropertyValue(name), element.style.getPropertyPriority(name)];
        if (isWhole)
            element.style.setProperty(name, value, 'important');
        else if (before[name][0] === '')
            element.style.removeProperty(name);
        else
            element.style.setProperty(name, before[name][0], before[name][1]);
    });
    return replaced;
}

defineConstants(Broadcast, { COMPONENT_TYPE_VIDEO: 0, COMPONENT_TYPE_AUDIO: 1, COMPONENT_TYPE_SUBTITLE: 2 });
defineKind(type => type === 'video/broadcast', Broadcast, [
    'PlayStateChange', 'ChannelChangeSucceeded', 'ChannelChangeError', 'FullScreenChange', 'ProgrammesChanged',
    'SelectedComponentChanged',
]);
defineFactoryMethod('createVideoBroadcastObject', 'video/broadcast');

/// The application is independent from now on, and nothing is shown any more.
function leaveBroadcast(caller) {
    ask('channel.tune', null, document.URL, null);
    components.forget();
    soon(() => caller.fire('ChannelChangeSucceeded', { channel: null }, [null]));
    each(copyOf(bound), object => object._become(playStates.unrealized));
}

// ---- What the receiver tells --------------------------------------------------------------------

onReceiverEvent('ChannelChanging', () => {
    components.forget();
    each(copyOf(bound), object => {
        if (object._state === playStates.presenting)
            object._become(playStates.connecting);
    });
});

// After what was to be fired before.
onReceiverEvent('ChannelChanged', event => soon(() => {
    const channel = channelOf(event.channel);
    each(copyOf(bound), object => object._succeed(channel));
}));

onReceiverEvent('ChannelFailed', event => {
    each(copyOf(bound), object => {
        if (object._state === playStates.connecting)
            object._fail(object._wanted, event.error);
    });
});

onReceiverEvent('ProgrammesChanged', () => {
    each(copyOf(bound), object => object.fire('ProgrammesChanged', {}, []));
});
