// Channel, ChannelConfig, ChannelList (OIPF DAE, 7.13.9 to 7.13.11) and Programme (7.16.2).

class Channel {
    constructor(known) {
        eachEntry(known, (name, value) => { this[name] = value === null ? undefined : value; });
    }
}
defineConstants(Channel, {
    TYPE_TV: 0, TYPE_RADIO: 1, TYPE_OTHER: 2,
    ID_ANALOG: 0, ID_DVB_C: 10, ID_DVB_S: 11, ID_DVB_T: 12, ID_DVB_SI_DIRECT: 13, ID_DVB_C2: 14, ID_DVB_S2: 15,
    ID_DVB_T2: 16, ID_ISDB_S: 20, ID_ISDB_C: 21, ID_ISDB_T: 22, ID_ATSC_T: 30, ID_IPTV_SDS: 40, ID_IPTV_URI: 41,
});

const channels = new Map();

/// The same object for the same channel, with what is known of it by now.
function channelOf(known) {
    if (!channels.has(known.ccid))
        channels.set(known.ccid, new Channel(known));
    return Object.assign(channels.get(known.ccid), new Channel(known));
}

function channelOrNull(known) { return known ? channelOf(known) : null; }

/// The channel of a broadcast-related application; null for others.
function currentChannelOf() { return channelOrNull(ask('channel.current', null)); }

function channelList() {
    const list = collectionOf(map(ask('channel.list', []), channelOf));
    const define = (name, value) => Object.defineProperty(list, name, { value });
    define('getChannel', ccid => find(list, channel => channel.ccid === ccid) || null);
    define('getChannelByTriplet', (onid, tsid, sid) =>
        find(list, channel => channel.onid === onid && channel.tsid === tsid && channel.sid === sid) || null);
    define('getChannelBySourceID', () => null);
    return list;
}

class ChannelConfig {
    constructor() {
        Object.defineProperty(this, '_listeners', { value: new Listeners(this, ['ChannelListUpdate']) });
    }

    get channelList() { return channelList(); }
    get favouriteLists() { return collectionOf([]); }
    get currentFavouriteList() { return null; }
}
const channelConfig = new ChannelConfig();

// ---- Channels that a script makes ---------------------------------------------------------------

const isId = value => isInteger(value) && value >= 0 && value <= 0xFFFF;
const deliverySystemTags = [0x43, 0x44, 0x5A, 0x79, 0x7F];

/// @param dsd the whole descriptor, a character for each byte
function isDeliverySystem(dsd) {
    return typeof dsd === 'string' && dsd.length > 2 && isIn(deliverySystemTags, codeAt(dsd, 0)) &&
        codeAt(dsd, 1) === dsd.length - 2;
}

/// OIPF DAE, 7.13.1.3: null for what cannot be a channel here.
function createChannel(idType, first, second, third) {
    const { ID_DVB_SI_DIRECT, ID_DVB_C, ID_DVB_S, ID_DVB_T, ID_DVB_C2, ID_DVB_S2, ID_DVB_T2 } = Channel.prototype;
    if (idType === ID_DVB_SI_DIRECT)
        return isDeliverySystem(first) && isId(second) ? new Channel({ idType, dsd: first, sid: second }) : null;
    const isTriplet = isIn([ID_DVB_C, ID_DVB_S, ID_DVB_T, ID_DVB_C2, ID_DVB_S2, ID_DVB_T2], idType);
    if (!isTriplet || !every([first, second, third], isId))
        return null;
    return new Channel(channelList().getChannelByTriplet(first, second, third) ||
        { idType, onid: first, tsid: second, sid: third });
}

// ---- Programmes ---------------------------------------------------------------------------------

const programmes = new WeakMap();  // what the receiver knows of them

function hexadecimal(number) { return inBase(number, 16); }

class Programme {
    constructor(known, channel) {
        programmes.set(this, known);
        this.name = known.name;
        this.longName = undefined;
        this.description = known.description;
        this.longDescription = known.longDescription || undefined;
        this.startTime = known.startTime;
        this.duration = known.duration;
        this.channelID = channel.ccid;
        this.programmeID = 'dvb://' + joined(map([channel.onid, channel.tsid, channel.sid], hexadecimal), '.') +
            ';' + hexadecimal(known.eventId);
        this.programmeIDType = this.ID_DVB_EVENT;
        this.parentalRatings = collectionOf(ratingsOf(this));
        Object.defineProperty(this, 'channel', { value: channel });
    }

    /// @return the whole descriptors with this tag, each with a character for each byte
    getSIDescriptors(tag, extension) {
        const wanted = filter(descriptorsOf(programmes.get(this).descriptors), descriptor =>
            codeAt(descriptor, 0) === Number(tag) &&
            (extension === undefined || extension === null || codeAt(descriptor, 2) === Number(extension)));
        return wanted.length > 0 ? collectionOf(wanted) : null;
    }
}
defineConstants(Programme, { ID_TVA_CRID: 0, ID_DVB_EVENT: 1, ID_TVA_GROUP_CRID: 2 });

function descriptorsOf(loop) {
    const list = [];
    for (let begin = 0; begin + 2 <= loop.length;) {
        const end = begin + 2 + codeAt(loop, begin + 1);
        if (end > loop.length)
            break;
        add(list, textPart(loop, begin, end));
        begin = end;
    }
    return list;
}

/// Of the parental rating descriptor (ETSI EN 300 468, 6.2.28): countries and ages.
function ratingsOf(programme) {
    const list = [];
    each(programme.getSIDescriptors(0x55) || [], descriptor => {
        for (let place = 2; place + 4 <= descriptor.length; place += 4) {
            const rating = codeAt(descriptor, place + 3);
            if (rating >= 0x01 && rating <= 0x0F)
                add(list, parentalRating(rating + 3, lowerCase(textPart(descriptor, place, place + 3))));
        }
    });
    return list;
}

function programmesOf(channel) {
    return collectionOf(map(ask('channel.programmes', [], channel.sid), known => new Programme(known, channel)));
}
