// application/oipfCapabilities (OIPF DAE, 7.15.3 and 9): what the terminal can do. It decodes
// nothing, so there are no profiles of media.

const uiProfile = 'OITF_HD_UIPROF';
const profileFragments = ['META_SI', 'META_EIT'];

const capabilitiesText =
    '<profilelist>' +
    `<ui_profile name="${joined([uiProfile, joined(profileFragments, '+')], '+')}"><ext>` +
    '<parentalcontrol schemes="dvb-si">true</parentalcontrol>' +
    '<clientMetadata type="dvb-si">true</clientMetadata>' +
    '</ext></ui_profile>' +
    '</profilelist>';

class Capabilities extends Embedded {
    constructor(element) { super(element); }

    get xmlCapabilities() { return new DOMParser().parseFromString(capabilitiesText, 'text/xml'); }
    get extraSDVideoDecodes() { return 0; }
    get extraHDVideoDecodes() { return 0; }
    get extraUHDVideoDecodes() { return 0; }

    /// @param profile a profile, fragments or both: "OITF_HD_UIPROF+META_SI", "+DL"
    hasCapability(profile) {
        const parts = split(String(profile), '+');
        const fragments = part(parts, 1, parts.length);
        const isAny = parts[0] !== '' || fragments.length > 0;
        return isAny && (parts[0] === '' || parts[0] === uiProfile) && every(fragments, each => isIn(profileFragments, each));
    }
}
defineKind(type => type === 'application/oipfcapabilities', Capabilities);
defineFactoryMethod('createCapabilitiesObject', 'application/oipfcapabilities');
