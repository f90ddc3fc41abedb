// application/oipfParentalControlManager (OIPF DAE, 7.9): the scheme of broadcasts, without any
// threshold, since nobody has set one.

const broadcastScheme = 'dvb-si';

/// @param age the least of a viewer @param region of the country, ISO 3166, small letters
function parentalRating(age, region) {
    return { name: String(age), scheme: broadcastScheme, value: age, labels: 0, region };
}

/// Its values are ages: there are no names to list.
function parentalRatingScheme() {
    const scheme = collectionOf([]);
    const define = (name, value) => Object.defineProperty(scheme, name, { value, enumerable: true });
    define('name', broadcastScheme);
    define('threshold', parentalRating(0, undefined));
    define('indexOf', name => -1);
    define('iconUri', () => '');
    return scheme;
}

const ratingScheme = parentalRatingScheme();

function parentalRatingSchemes() {
    const schemes = collectionOf([ratingScheme]);
    Object.defineProperty(schemes, 'getParentalRatingScheme', {
        value: name => find(schemes, scheme => scheme.name === name) || null,
    });
    Object.defineProperty(schemes, 'addParentalRatingScheme', { value: () => null });
    return schemes;
}

class ParentalControlManager extends Embedded {
    constructor(element) { super(element); }

    get parentalRatingSchemes() { return parentalRatingSchemes(); }
    get isPINEntryLocked() { return false; }
}
defineKind(type => type === 'application/oipfparentalcontrolmanager', ParentalControlManager);
defineFactoryMethod('createParentalControlManagerObject', 'application/oipfparentalcontrolmanager');
