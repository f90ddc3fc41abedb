// application/oipfSearchManager (OIPF DAE, 7.12): programmes from the broadcast's schedule.

const searchTargets = { schedule: 1, onDemand: 2, all: 3 };
const searchCompleted = 0;
const searchFailed = 4;

class SearchResults {
    constructor(search) {
        Object.defineProperty(this, '_search', { value: search });
        Object.defineProperty(this, '_items', { value: [], writable: true });
        this._show([], 0, 0);
    }

    get length() { return this._items.length; }
    item(index) { return this._items[index]; }

    /// Always false: what is found comes with an event.
    getResults(offset, count) {
        this._search._find(Number(offset) || 0, Number(count) || 0);
        return false;
    }

    abort() {
        this._search._abort();
        return true;
    }

    update() { this._show([], 0, 0); }

    _show(items, offset, totalSize) {
        for (let index = 0; index < this._items.length; ++index)
            delete this[index];
        Object.assign(this, items);
        this._items = items;
        this.offset = offset;
        this.totalSize = totalSize;
    }
}

class MetadataSearch {
    constructor(manager, target) {
        Object.defineProperty(this, '_manager', { value: manager });
        Object.defineProperty(this, '_turn', { value: 0, writable: true });
        Object.defineProperty(this, '_wanted', { value: null, writable: true });  // channel and time
        this.searchTarget = target;
        this.query = undefined;
        this.result = new SearchResults(this);
    }

    /// @param startTime seconds since 1970; null: from now on
    findProgrammesFromStream(channel, startTime, count) {
        if (!(channel instanceof Channel))
            throw new TypeError('findProgrammesFromStream: a Channel is expected');
        const from = startTime === null || startTime === undefined ? now() / 1000 : Number(startTime);
        const most = count === null || count === undefined ? Infinity : Number(count);
        this._abort();
        this._wanted = { channel, from, most };
    }

    setQuery(query) { this.query = query; }
    createQuery(field, comparison, value) { return { field, comparison, value }; }
    addRatingConstraint() { }
    addCurrentRatingConstraint() { }
    addChannelConstraint() { }
    orderBy() { }

    _abort() {
        ++this._turn;
        this.result._show([], 0, 0);
    }

    _find(offset, count) {
        const turn = ++this._turn;
        soon(() => {
            if (turn !== this._turn)
                return;
            const found = this._wanted ? findInSchedule(this._wanted) : [];
            this.result._show(part(found, offset, offset + count), offset, found.length);
            const state = this._wanted ? searchCompleted : searchFailed;
            this._manager.fire('MetadataSearch', { search: this, state }, [this, state]);
        });
    }
}

/// What is still on at the time, and what comes after it.
function findInSchedule({ channel, from, most }) {
    const known = filter(ask('search.schedule', [], channel.sid), each => each.startTime + each.duration > from);
    return map(part(known, 0, most), each => new Programme(each, channel));
}

class SearchManager extends Embedded {
    constructor(element) { super(element); }

    get guideDaysAvailable() { return 0; }
    getChannelConfig() { return channelConfig; }

    createSearch(target) {
        const wanted = Number(target);
        if (!isIn(Object.values(searchTargets), wanted))
            throw new TypeError('createSearch: a search target is expected');
        return new MetadataSearch(this, wanted);
    }
}
defineKind(type => type === 'application/oipfsearchmanager', SearchManager, ['MetadataSearch', 'MetadataUpdate']);
defineFactoryMethod('createSearchManagerObject', 'application/oipfsearchmanager');
