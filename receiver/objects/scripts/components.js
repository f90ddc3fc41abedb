// The components of the current channel (OIPF DAE, 7.16.5): which there are, and which are selected.

const componentTypes = [0, 1, 2];  // video, audio, subtitle
const subtitleType = 2;

class AVComponent {
    constructor(known) {
        this.componentTag = known.componentTag === null ? undefined : known.componentTag;
        this.pid = known.pid;
        this.type = known.type;
        this.encoding = known.encoding;
        this.encrypted = known.encrypted;
        Object.assign(this, AVComponent.ofType[known.type](known));
    }
}
AVComponent.ofType = [
    known => ({ aspectRatio: known.aspectRatio === null ? undefined : known.aspectRatio }),
    known => ({ language: known.language, audioDescription: known.audioDescription,
        audioChannels: known.audioChannels || undefined }),
    known => ({ language: known.language, hearingImpaired: known.hearingImpaired }),
];

/// Several subtitles may share a stream.
function keyOf(component) {
    return joined([component.pid, component.language, component.hearingImpaired], '/');
}

const components = {
    channel: '',
    chosen: new Map(),  // keys by type; what is not there is as the receiver has it

    forget() { this.chosen.clear(); },

    /// @param type undefined or null for all
    known(type) {
        const channel = currentChannelOf();
        const list = channel ? map(ask('channel.components', [], channel.sid), known => new AVComponent(known)) : [];
        if (!channel || channel.ccid !== this.channel)
            this.forget();
        this.channel = channel ? channel.ccid : '';
        return collectionOf(filter(list, each => type === undefined || type === null || each.type === type));
    },

    /// The first of a type, but for subtitles, unless a script chose.
    active(type) {
        const keys = map(componentTypes, each => this.activeKeys(each));
        return collectionOf(filter(this.known(type), component => isIn(keys[component.type], keyOf(component))));
    },

    activeKeys(type) {
        const first = type === subtitleType && !subtitlesEnabled() ? [] : part(this.known(type), 0, 1);
        return this.chosen.has(type) ? this.chosen.get(type) : map(first, keyOf);
    },

    /// @param wanted a component, or a type: its first component @return the type that changed, or null
    select(wanted) {
        const component = wanted instanceof AVComponent ? wanted : this.known(wanted)[0];
        if (!component || !isIn(componentTypes, component.type))
            return null;
        if (!some(this.known(component.type), each => keyOf(each) === keyOf(component)))
            return null;
        this.chosen.set(component.type, [keyOf(component)]);
        return component.type;
    },

    /// @param wanted a component, or a type @return as above
    unselect(wanted) {
        const type = wanted instanceof AVComponent ? wanted.type : wanted;
        if (!isIn(componentTypes, type))
            return null;
        const isLeft = each => wanted instanceof AVComponent && keyOf(each) !== keyOf(wanted);
        this.chosen.set(type, map(filter(this.active(type), isLeft), keyOf));
        return type;
    },
};
