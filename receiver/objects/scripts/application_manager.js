// application/oipfApplicationManager (OIPF DAE, 7.2.1 to 7.2.5): applications, their private data
// and their key sets.

const keySetConstants = {
    RED: 0x1, GREEN: 0x2, YELLOW: 0x4, BLUE: 0x8, NAVIGATION: 0x10, VCR: 0x20, SCROLL: 0x40, INFO: 0x80,
    NUMERIC: 0x100, ALPHA: 0x200, OTHER: 0x400,
};

class KeySet {
    constructor(id) {
        Object.defineProperty(this, '_id', { value: id });
        Object.assign(this, keySetConstants);
    }

    get value() { return ask('keyset.value', 0, this._id); }
    get maximumValue() { return ask('keyset.maximum', 0); }
    get otherKeys() { return collectionOf(ask('keyset.otherKeys', [], this._id)); }
    get maximumOtherKeys() { return collectionOf([]); }

    setValue(value, otherKeys) {
        const keys = map(otherKeys || [], Number);
        ask('keyset.setOtherKeys', null, this._id, keys);
        return ask('keyset.set', 0, this._id, Number(value) || 0);
    }

    getKeyIcon() { return null; }
    getKeyLabel() { return null; }
}

class ApplicationPrivateData {
    constructor(id) {
        Object.defineProperty(this, '_id', { value: id });
        this.keyset = new KeySet(id);
    }

    get currentChannel() { return channelOrNull(ask('application.currentChannel', null, this._id)); }
    getFreeMem() { return ask('application.freeMemory', -1); }
}

const applications = new Map();

class Application {
    constructor(id) {
        Object.defineProperty(this, '_id', { value: id });
        this.privateData = new ApplicationPrivateData(id);
        this.listeners = null;
        Object.defineProperty(this, 'listeners', {
            enumerable: false,
            value: new Listeners(this, ['ApplicationActivated', 'ApplicationDeactivated', 'ApplicationShown',
                'ApplicationHidden', 'ApplicationPrimaryReceiver', 'ApplicationNotPrimaryReceiver',
                'ApplicationTopmost', 'ApplicationNotTopmost', 'ApplicationDestroyRequest',
                'ApplicationHibernateRequest', 'KeyPress', 'KeyUp', 'KeyDown']),
        });
    }

    get visible() { return ask('application.isVisible', false, this._id); }
    get active() { return true; }
    get isPrimaryReceiver() { return true; }
    get window() { return window; }
    get permissions() { return collectionOf([]); }

    show() { return ask('application.show', false, this._id); }
    hide() { return ask('application.hide', false, this._id); }
    activateInput() { }
    deactivateInput() { }
    destroyApplication() { ask('application.destroy', null, this._id); }

    createApplication(url, createChild) {
        const created = ask('application.create', null, absoluteUrl(String(url)), Boolean(createChild), this._id);
        return created ? applicationOf(created) : null;
    }
}

/// Relative to the document; the receiver knows no more than where the application began.
function absoluteUrl(url) {
    try {
        return matches(/^[a-z][a-z0-9+.-]*:/i, url) ? url : new URL(url, document.baseURI).href;
    } catch (error) {
        return url;
    }
}

function applicationOf(id) {
    if (!applications.has(id))
        applications.set(id, new Application(id));
    return applications.get(id);
}

function ownApplication() {
    const id = ask('application.own', 0);
    return id ? applicationOf(id) : null;
}

class ApplicationManager extends Embedded {
    constructor(element) { super(element); }

    getOwnerApplication(of) {
        if (of !== undefined && of !== null && of.nodeType !== Node.DOCUMENT_NODE)
            throw new TypeError('getOwnerApplication: a document is expected');
        return ownApplication();
    }

    getChildApplications() { return collectionOf([]); }
    gc() { }
}

const managerEvents = ['LowMemory', 'ApplicationLoaded', 'ApplicationUnloaded', 'ApplicationLoadError'];
defineKind(type => type === 'application/oipfapplicationmanager', ApplicationManager, managerEvents);
defineFactoryMethod('createApplicationManagerObject', 'application/oipfapplicationmanager');

/// Every manager object in the document hears of it.
function tellManagers(name, fields, args) {
    each(copyOf(document.getElementsByTagName('object')), element => {
        const implementation = implementationOf(element);
        if (implementation instanceof ApplicationManager)
            implementation.fire(name, fields, args);
    });
}
onReceiverEvent('LowMemory', () => tellManagers('LowMemory', {}, []));
onReceiverEvent('ApplicationLoadError', event => {
    const appl = applicationOf(event.application);
    tellManagers('ApplicationLoadError', { appl }, [appl]);
});
onReceiverEvent('ApplicationDestroyed', event => {
    const appl = applicationOf(event.application);
    tellManagers('ApplicationUnloaded', { appl }, [appl]);
});

// Before the page hears that it has been loaded (OIPF DAE, 7.2.1.3).
function tellOfLoad() {
    const appl = ownApplication();
    if (appl)
        tellManagers('ApplicationLoaded', { appl }, [appl]);
}
if (isMain)
    window.addEventListener('load', tellOfLoad, { capture: true, once: true });
