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
        for (const character of origin)
            hash = Math.imul(hash ^ character.codePointAt(0), 0x01000193);
        parts.push((hash >>> 0).toString(16).padStart(8, '0'));
    }
    return parts.join('-');
}

class Configuration {
    get dtt_network_ids() {
        const { ID_DVB_T, ID_DVB_T2 } = Channel.prototype;
        const terrestrial = channelList().filter(channel => [ID_DVB_T, ID_DVB_T2].includes(channel.idType));
        const ids = new Set(terrestrial.map(channel => channel.nid).filter(id => id !== undefined));
        return ids.size > 0 ? collectionOf([...ids]) : undefined;
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
for (const name of Object.keys(settings))
    Object.defineProperty(Configuration.prototype, name, { enumerable: true, get() { return settings[name]; } });
const configuration = new Configuration();

/// As the terminal calls itself in its user agent (ETSI TS 102 796, 7.3.2.4).
function identification() {
    const [, list] = /HbbTV\/[0-9.]+ \(([^)]*)\)/.exec(navigator.userAgent) || [, ''];
    const [, vendorName, modelName, softwareVersion, hardwareVersion] = list.split(';').map(text => text.trim());
    const known = { vendorName, modelName, softwareVersion, hardwareVersion };
    return Object.fromEntries(Object.entries(known).filter(([, value]) => value));
}

class LocalSystem {
    constructor() { Object.assign(this, identification()); }

    get systemReady() { return true; }
    get volume() { return volume; }
    get mute() { return false; }
}

class ConfigurationObject extends Embedded {
    get configuration() { return configuration; }
    get localSystem() { return new LocalSystem(); }
}
defineKind(type => type === 'application/oipfconfiguration', ConfigurationObject);
defineFactoryMethod('createConfigurationObject', 'application/oipfconfiguration');
