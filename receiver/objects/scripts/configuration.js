// application/oipfConfiguration (OIPF DAE, 7.3; ETSI TS 102 796, A.2): what a viewer has set. Nobody
// sets anything here.

const settings = {
    preferredAudioLanguage: 'eng',
    preferredSubtitleLanguage: 'eng',
    preferredUILanguage: 'eng',
    countryId: 'GBR',
    subtitlesEnabled: true,
    timeShiftSynchronized: false,
    audioDescriptionEnabled: false,
};

function subtitlesEnabled() { return settings.subtitlesEnabled; }

/// The same for all documents of an origin, another one for others.
function deviceIdFor(origin) {
    const parts = [];
    for (let part = 0; part < 4; ++part) {
        let hash = 0x811C9DC5 ^ part;  // FNV-1a
        for (let place = 0; place < origin.length; ++place)
            hash = Math.imul(hash ^ codeAt(origin, place), 0x01000193);
        add(parts, padded(hexadecimal(hash >>> 0), 8, '0'));
    }
    return joined(parts, '-');
}

class Configuration {
    get dtt_network_ids() {
        const { ID_DVB_T, ID_DVB_T2 } = Channel.prototype;
        const terrestrial = filter(channelList(), channel => isIn([ID_DVB_T, ID_DVB_T2], channel.idType));
        const ids = [];
        each(terrestrial, ({ nid }) => { if (nid !== undefined && !isIn(ids, nid)) add(ids, nid); });
        return ids.length > 0 ? collectionOf(ids) : undefined;
    }

    get deviceId() { return deviceIdFor(document.location.origin); }

    /// @param callback gets whether the viewer allows it
    requestAccessToDistinctiveIdentifier(callback) {
        if (typeof callback !== 'function')
            throw new TypeError('requestAccessToDistinctiveIdentifier: a function is expected');
        soon(() => callback(true));
    }

    getText() { return null; }
}
each(Object.keys(settings), name =>
    Object.defineProperty(Configuration.prototype, name, { enumerable: true, get() { return settings[name]; } }));
const configuration = new Configuration();

/// As the terminal calls itself in its user agent (ETSI TS 102 796, 7.3.2.4).
function identification() {
    const found = matchOf(/HbbTV\/[0-9.]+ \(([^)]*)\)/, navigator.userAgent);
    const parts = map(split(found ? found[1] : '', ';'), text => trimmed(text));
    const known = {};
    each(['vendorName', 'modelName', 'softwareVersion', 'hardwareVersion'], (name, index) => {
        if (parts[index + 1])
            known[name] = parts[index + 1];
    });
    return known;
}

class LocalSystem {
    constructor() { Object.assign(this, identification()); }

    get systemReady() { return true; }
    get volume() { return volume; }
    get mute() { return false; }
}

class ConfigurationObject extends Embedded {
    constructor(element) { super(element); }

    get configuration() { return configuration; }
    get localSystem() { return new LocalSystem(); }
}
defineKind(type => type === 'application/oipfconfiguration', ConfigurationObject);
defineFactoryMethod('createConfigurationObject', 'application/oipfconfiguration');
