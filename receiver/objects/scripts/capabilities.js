// application/oipfCapabilities (OIPF DAE, 7.15.3 and 9): what the terminal can do. It decodes
// nothing, so there are no profiles of media.

const uiProfile = 'OITF_HD_UIPROF';
const profileFragments = ['META_SI', 'META_EIT'];

const capabilitiesText =
    '<profilelist>' +
    `<ui_profile name="${[uiProfile, ...profileFragments].join('+')}"><ext>` +
    '<parentalcontrol schemes="dvb-si">true</parentalcontrol>' +
    '<clientMetadata type="dvb-si">true</clientMetadata>' +
    '</ext></ui_profile>' +
    '</profilelist>';

class Capabilities extends Embedded {
    get xmlCapabilities() { return new DOMParser().parseFromString(capabilitiesText, 'text/xml'); }
    get extraSDVideoDecodes() { return 0; }
    get extraHDVideoDecodes() { return 0; }
    get extraUHDVideoDecodes() { return 0; }

    /// @param profile a profile, fragments or both: "OITF_HD_UIPROF+META_SI", "+DL"
    hasCapability(profile) {
        const [base, ...fragments] = String(profile).split('+');
        const isAny = base !== '' || fragments.length > 0;
        return isAny && (base === '' || base === uiProfile) && fragments.every(each => profileFragments.includes(each));
    }
}
defineKind(type => type === 'application/oipfcapabilities', Capabilities);
defineFactoryMethod('createCapabilitiesObject', 'application/oipfcapabilities');
